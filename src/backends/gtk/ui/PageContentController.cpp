#include "backends/gtk/ui/PageContentController.h"

#include "backends/gtk/ui/ScriptValue.h"
#include "core/settings/StallWatch.h"
#include "ports/Platform.h"

namespace vemora::gtk {

PageContentController::PageContentController()
    : manager_(GObjectPtr<WebKitUserContentManager>::adopt(webkit_user_content_manager_new())) {
  assertMainThread();
}

PageContentController::~PageContentController() = default;

void PageContentController::addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler,
                                                    std::string_view name) {
  assertMainThread();
  const std::string key(name);
  if (!handler || registrations_.contains(key)) return;
  Registration& registration = registrations_[key];
  registration.handler = std::move(handler);
  // Connect first, so that no message arrives while the handler is registered but not connected.
  registration.received =
      connectSignal<void(JSCValue*)>(manager_.get(), ("script-message-received::" + key).c_str(),
                                     [weak = weak_from_this(), key](JSCValue* body) {
                                       if (const auto self = weak.lock()) self->received(key, body);
                                     });
  webkit_user_content_manager_register_script_message_handler(manager_.get(), key.c_str(), nullptr);
}

void PageContentController::removeScriptMessageHandlerForName(std::string_view name) {
  assertMainThread();
  const auto entry = registrations_.find(name);
  if (entry == registrations_.end()) return;
  webkit_user_content_manager_unregister_script_message_handler(manager_.get(), entry->first.c_str(),
                                                                nullptr);
  registrations_.erase(entry);
}

void PageContentController::received(const std::string& name, JSCValue* body) {
  const StallWatch watch("message of the page");
  const auto entry = registrations_.find(name);
  if (entry == registrations_.end()) return;
  const auto handler = entry->second.handler;
  handler->userContentControllerDidReceiveScriptMessage({name, jsonFromScriptValue(body)});
}

}  // namespace vemora::gtk
