#pragma once

#include <Vemora/VemoraAdPlayerDelegate.h>
#include <Vemora/VemoraExport.h>

#include <memory>

namespace vemora {

/// The operations of every player. On its own it is an empty facade: each operation does nothing.
class VEMORA_EXPORT VemoraAdPlayer {
 public:
  VemoraAdPlayer();
  virtual ~VemoraAdPlayer();
  VemoraAdPlayer(const VemoraAdPlayer&) = delete;
  VemoraAdPlayer& operator=(const VemoraAdPlayer&) = delete;

  virtual void start();
  virtual void load();
  virtual void play();
  virtual void stop();
  virtual void pause();
  virtual void resume();
  virtual void skip();
  virtual void close();

  /// Held weakly; null when there is none or it has gone. Any thread.
  std::shared_ptr<VemoraAdPlayerDelegate> delegate() const;
  void setDelegate(std::weak_ptr<VemoraAdPlayerDelegate> delegate);

 private:
  struct DelegateField;
  std::unique_ptr<DelegateField> delegate_;
};

}  // namespace vemora
