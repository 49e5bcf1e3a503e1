#pragma once

#include "../common/GObjectPtr.h"

#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <string>

namespace vemora {

/// The page of the soak in a web view of the toolkit's, without the SDK: what it leaves behind is WebKit's.
///
/// It refuses the same features of the page as the SDK does, and has the same two message handlers.
class BareView {
 public:
  /// Begins to load the page; `place` shows it.
  BareView(GtkBox* place, const std::string& host, GTlsCertificate* certificate, bool usesFeatures);
  ~BareView();
  BareView(const BareView&) = delete;
  BareView& operator=(const BareView&) = delete;

  bool hasStarted() const { return started_; }
  GtkWidget* widget() const { return GTK_WIDGET(view_.get()); }

 private:
  void refuseFeatures();
  void received(JSCValue* message);
  void run(const char* script);

  GtkBox* const place_;
  const bool usesFeatures_;
  GObjectPtr<WebKitNetworkSession> session_;
  GObjectPtr<WebKitUserContentManager> manager_;
  GObjectPtr<WebKitWebView> view_;
  bool started_ = false;
};

}  // namespace vemora
