#pragma once

#include "../../common/GObjectPtr.h"
#include "Timer.h"
#include "Transcript.h"

#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vemora::check {

/// A web view with one controller page, set up as a host sets it up: media play inline and without a user
/// gesture, and the page reaches the message handlers "Vemora" and "VemoraLog". Nothing is kept between two
/// of them.
///
/// Threads: the main thread. Lifetime: nothing is reported after the destructor; the widget has to be out of
/// its container by then.
class PageView {
 public:
  /// The size of the view while it is placed.
  static constexpr int kWidth = 320;
  static constexpr int kHeight = 180;

  struct Listener {
    std::function<void()> loaded;
    std::function<void(const std::string& why)> loadFailed;
    std::function<void(const std::string& why)> gone;
    std::function<void(Post)> posted;  ///< Without a time.
  };
  using Certificates = std::vector<GObjectPtr<GTlsCertificate>>;

  /// `trusted`: certificates to trust in addition to those that the system trusts.
  PageView(Certificates trusted, Listener listener);
  PageView(const PageView&) = delete;
  PageView& operator=(const PageView&) = delete;
  ~PageView();

  [[nodiscard]] GtkWidget* widget() const;
  void load(const std::string& address);
  /// Runs a script and reports its outcome, in the words of `Call::outcome`; for text, the text itself.
  void evaluate(const std::string& script, std::function<void(const std::string& outcome)> done);
  /// Gives the view the size of an ad instead of the minimal size that it begins with.
  void place();
  void setShown(bool shown);
  /// Ends the page; nothing is reported any more.
  void close();

 private:
  struct Hooks;
  void finishLoading();
  [[nodiscard]] bool trust(const char* address, GTlsCertificate* certificate);

  Certificates trusted_;
  Listener listener_;
  GObjectPtr<WebKitNetworkSession> session_;
  GObjectPtr<WebKitWebView> view_;
  std::shared_ptr<PageView*> self_;  ///< Contains null after the destructor, for scripts that complete later.
  std::string address_;
  bool hasFailed_ = false;
  int retries_ = 0;
  Timer retry_;
  bool isOver_ = false;
};

}  // namespace vemora::check
