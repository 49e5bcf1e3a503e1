#pragma once

#include <Vemora/VemoraAdPlayerDelegate.h>
#include <Vemora/VemoraExport.h>

#include <memory>

namespace vemora {

/// The operations of every player. In this class each of them is a no-op; `VemoraAdPlayerBase` implements
/// and documents them.
class VEMORA_EXPORT VemoraAdPlayer {
 public:
  /// A player without a delegate.
  VemoraAdPlayer();
  virtual ~VemoraAdPlayer();
  VemoraAdPlayer(const VemoraAdPlayer&) = delete;
  VemoraAdPlayer& operator=(const VemoraAdPlayer&) = delete;

  /// Shows the loaded ads and starts playing them. See `VemoraAdPlayerBase::start`.
  virtual void start();
  /// Begins a session and fetches its ads. See `VemoraAdPlayerBase::load`.
  virtual void load();
  /// Plays, whether the ads were paused or have not begun yet. See `VemoraAdPlayerBase::play`.
  virtual void play();
  /// Ends the ads as the host app's decision. See `VemoraAdPlayerBase::stop`.
  virtual void stop();
  /// Pauses the ad. See `VemoraAdPlayerBase::pause`.
  virtual void pause();
  /// Continues a paused ad. See `VemoraAdPlayerBase::resume`.
  virtual void resume();
  /// Leaves the ad for the next one. See `VemoraAdPlayerBase::skip`.
  virtual void skip();
  /// Ends the ads as the viewer's decision. See `VemoraAdPlayerBase::close`.
  virtual void close();

  /// The delegate; null when none was set or it has been destroyed. Any thread.
  std::shared_ptr<VemoraAdPlayerDelegate> delegate() const;
  /// Sets the object that callbacks go to. It is held weakly: keep it alive for as long as you want
  /// callbacks. An empty pointer ends them. Set it before `load`: a load that finds no delegate does
  /// nothing and reports nothing; in debug mode the log says so when the delegate was destroyed before it.
  /// Any thread.
  void setDelegate(std::weak_ptr<VemoraAdPlayerDelegate> delegate);

 private:
  friend class VemoraAdPlayerBase;
  /// A delegate was set and has been destroyed.
  bool hasLostDelegate() const;

  struct DelegateField;
  std::unique_ptr<DelegateField> delegate_;
};

}  // namespace vemora
