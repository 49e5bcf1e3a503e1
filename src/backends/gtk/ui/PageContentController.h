#pragma once

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/GObjectSignal.h"
#include "ports/WebView.h"

#include <webkit/webkit.h>

#include <map>
#include <memory>
#include <string>

namespace vemora::gtk {

/// The named handlers of a page's `window.webkit.messageHandlers`.
///
/// WebKit gives these objects to every frame, and does not tell which frame a message came from. So a script
/// of ours, which runs before those of the page, adds a secret to each message of the main frame and takes
/// the objects away from the others. A message without the secret is dropped: a frame can reach the handlers
/// through a frame of its own that has no document yet, where no script of ours has run.
class PageContentController final : public UserContentController,
                                    public std::enable_shared_from_this<PageContentController> {
 public:
  PageContentController();
  ~PageContentController() override;

  void addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler, std::string_view name) override;
  void removeScriptMessageHandlerForName(std::string_view name) override;

  WebKitUserContentManager* manager() const { return manager_.get(); }

 private:
  struct Registration {
    std::shared_ptr<ScriptMessageHandler> handler;
    SignalConnection received;
  };

  void received(const std::string& name, JSCValue* sent);
  void addBridgeScript();

  const std::string secret_;
  const GObjectPtr<WebKitUserContentManager> manager_;
  std::map<std::string, Registration, std::less<>> registrations_;
};

}  // namespace vemora::gtk
