#include "core/page/VMRWebViewRuntime.h"

#include "base/Ascii.h"
#include "base/JsonDescription.h"
#include "core/bridge/VMRBridgeErrors.h"
#include "core/inspect/Inspection.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>

namespace vemora {

namespace {

constexpr char kPagePath[] = "/mobile/sdk/v4/native/VMRWebViewRuntime.html";
constexpr char kRpcHandler[] = "Vemora";
constexpr char kLogHandler[] = "VemoraLog";
constexpr double kVisibilityInterval = 1.0;
constexpr double kMinimumExtent = 20.0;
constexpr double kMinimumVisiblePart = 0.5;

std::string pageAddress() {
  return "https://" +
         Platform::shared().bundle().mainInfo("VemoraControllerHost").value_or(VEMORA_CONTROLLER_HOST) +
         kPagePath;
}

/// The part of the view that no superview's edge cuts off has at least half of the view's area.
bool isMostlyInsideSuperviews(const View& webView) {
  const double threshold = webView.frame().area() * kMinimumVisiblePart;
  Rect part = webView.bounds();
  std::shared_ptr<View> kept;
  const View* view = &webView;
  while (std::shared_ptr<View> superview = view->superview()) {
    const std::optional<Rect> converted = view->convertRectToView(part, *superview);
    if (!converted) return false;
    part = converted->intersection(superview->bounds());
    if (part.area() < threshold) return false;
    kept = std::move(superview);
    view = kept.get();
  }
  return true;
}

bool isOnScreen(const View& webView) {
  if (!webView.window() || webView.isHidden()) return false;
  const Rect frame = webView.frame();
  if (frame.height < kMinimumExtent || frame.width < kMinimumExtent) return false;
  return isMostlyInsideSuperviews(webView);
}

void stopObserving(WebView& webView, const KeyValueObserver* observer) {
  webView.setLayoutObserver({});
  webView.removeObserver(observer, "window");
  webView.removeObserver(observer, "hidden");
}

/// The message as a JavaScript expression. The JSON text is one already, except that an object literal takes
/// the key "__proto__" for its prototype and loses the value.
std::string scriptOf(const std::string& json) {
  if (json.find(R"("__proto__")") == std::string::npos) return json;
  return "JSON.parse(" + *JsonValue(json).serialized() + ")";
}

VMRError noWebView() {
  return makeError(VMRErrorBridge, "The platform made no web view", "There is no display");
}

}  // namespace

std::shared_ptr<WeakMessageHandler> WeakMessageHandler::initWith(
    std::weak_ptr<ScriptMessageHandler> handler) {
  auto made = std::make_shared<WeakMessageHandler>();
  made->setHandler(std::move(handler));
  return made;
}

void WeakMessageHandler::userContentControllerDidReceiveScriptMessage(const ScriptMessage& message) {
  if (const auto handler = handler_.lock()) handler->userContentControllerDidReceiveScriptMessage(message);
}

std::shared_ptr<VMRWebViewRuntime> VMRWebViewRuntime::init() {
  std::shared_ptr<VMRWebViewRuntime> runtime(new VMRWebViewRuntime);
  runtime->build();
  return runtime;
}

void VMRWebViewRuntime::build() {
  const auto webView = Platform::shared().application().createWebView({}, configuration());
  webView_.set(webView);
  const auto monitor = VMRWebViewMonitor::initWithRuntime(self());
  setLoaded(monitor);
  if (!webView) {
    hasNoWebView_ = true;
    if (inspect::isOn()) inspect::record("page", number(), {{"event", "noView"}});
    monitor->fail(noWebView());
    return;
  }
  webView->setNavigationDelegate(monitor);
  webView->setUIDelegate(monitor);
  webView->setScrollEnabled(false);
  updateVisibility();
  loadHtml();
  webView->addObserver(self(), "window", false);
  webView->addObserver(self(), "hidden", true);
  webView->setLayoutObserver(self());
}

VMRWebViewRuntime::~VMRWebViewRuntime() {
  auto webView = webView_.exchange(nullptr);
  if (!webView) return;
  const KeyValueObserver* address = this;  // Compared only: the rest has been destroyed by then.
  const auto end = [address](WebView& view) { stopObserving(view, address); };
  if (dispatch().isMainThread()) {
    end(*webView);
  } else {
    // Views belong to the main thread, their destruction included.
    dispatch().mainAsync([webView = std::move(webView), end] { end(*webView); });
  }
}

std::shared_ptr<VMRWebViewRuntime> VMRWebViewRuntime::self() {
  return std::static_pointer_cast<VMRWebViewRuntime>(shared_from_this());
}

WebViewConfiguration VMRWebViewRuntime::configuration() {
  WebViewConfiguration made;
  made.userContentController = Platform::shared().application().createUserContentController();
  made.allowsInlineMediaPlayback = true;
  made.mediaTypesRequireUserAction = false;
  made.upgradeToHTTPS = true;
  const auto handler = WeakMessageHandler::initWith(self());
  made.userContentController->addScriptMessageHandler(handler, kRpcHandler);
  made.userContentController->addScriptMessageHandler(handler, kLogHandler);
  return made;
}

void VMRWebViewRuntime::loadHtml() {
  URLRequest request;
  request.url = pageAddress();
  request.addValue("*", "Access-Control-Allow-Origin");
  if (inspect::isOn()) inspect::record("page", number(), {{"event", "loading"}, {"url", request.url}});
  if (const auto webView = getWebView()) webView->loadRequest(request);
}

void VMRWebViewRuntime::pageDidNotLoad(const VMRError& reason) {
  VMRError failure = reason;
  failure.description = "The controller page did not load: " + pageAddress() + ": " + reason.description;
  Vemora::logError(failure.description);
  loadFailure_ = std::make_shared<const VMRError>(std::move(failure));
}

void VMRWebViewRuntime::postMessage(const std::shared_ptr<VMRRpc>& message, ErrorHandler errorHandler) {
  if (inspect::isOn())
    inspect::record("message", number(), {{"direction", "toPage"}, {"body", message->properties()}});
  std::string script =
      "window.VemoraProxy.bridge.onMessage(JSON.stringify(" + scriptOf(message->jsonString()) + "));";
  dispatch().mainAsync([self = self(), script = std::move(script), errorHandler = std::move(errorHandler)] {
    self->evaluate(script, errorHandler);
  });
}

void VMRWebViewRuntime::evaluate(const std::string& script, const ErrorHandler& errorHandler) {
  const auto webView = getWebView();
  if (!webView) {
    // After `close` the call runs into its time-out instead.
    if (hasNoWebView_ && errorHandler) errorHandler(noWebView());
    return;
  }
  webView->evaluateJavaScript(script, [script, errorHandler, cause = loadFailure_](const auto& error) {
    if (!error) return;
    Vemora::logError("FAILED JS EVAL: " + script + "\n" + toString(*error));
    if (!errorHandler) return;
    VMRError reported = *error;
    if (!reported.underlyingError) reported.underlyingError = cause;
    errorHandler(reported);
  });
}

void VMRWebViewRuntime::userContentControllerDidReceiveScriptMessage(const ScriptMessage& message) {
  const bool isLine = equalsIgnoringCase(message.name, kLogHandler);
  if (inspect::isOn() && !isLine)
    inspect::record("message", number(), {{"direction", "fromPage"}, {"body", message.body}});
  if (isLine) {
    Vemora::log("JS LOG - " + describe(message.body));
  } else if (message.body.isObject()) {
    deliver(VMRRpc::messageWithProperties(message.body));
  } else {
    Vemora::log("JS Invalid message body - " + describe(message.body));
  }
}

void VMRWebViewRuntime::deliver(const std::shared_ptr<VMRRpc>& message) {
  messages_->deliver([self = self(), message] { self->onMessage(message); });
}

void VMRWebViewRuntime::updateVisibility() {
  updateForVisibilityChange();
  dispatch().mainAfter(kVisibilityInterval, [weak = std::weak_ptr(self())] {
    if (const auto self = weak.lock()) self->updateVisibility();
  });
}

void VMRWebViewRuntime::observeValueForKeyPath(std::string_view keyPath) {
  if (keyPath == "window" || keyPath == "hidden") updateForVisibilityChange();
}

void VMRWebViewRuntime::viewDidLayout() {
  updateForVisibilityChange();
}

void VMRWebViewRuntime::updateForVisibilityChange() {
  const auto webView = getWebView();
  const bool isVisible = webView && isOnScreen(*webView);
  if (inspect::isOn() && webView) recordLayout(*webView);
  // Stored before the observers are notified: the client asks for it in `onShow`.
  if (isVisible_.exchange(isVisible) == isVisible) return;
  if (inspect::isOn()) inspect::record("visibility", number(), {{"visible", isVisible}});
  for (const Observer& observer : observers()) {
    const auto alive = observer.lock();
    if (!alive) continue;
    dispatch().detachNewThread([alive, isVisible] { isVisible ? alive->onShow() : alive->onHide(); });
  }
}

void VMRWebViewRuntime::recordLayout(const WebView& webView) {
  const Layout layout{webView.frame(), webView.window() != nullptr, webView.isHidden()};
  if (std::exchange(recordedLayout_, layout) == layout) return;
  const Rect& frame = layout.frame;
  inspect::record("layout", number(),
                  {{"frame", JsonValue::array({frame.x, frame.y, frame.width, frame.height})},
                   {"inWindow", layout.isInWindow},
                   {"hidden", layout.isHidden}});
}

void VMRWebViewRuntime::close() {
  dispatch().mainAsync([self = self()] { self->tearDown(); });
}

void VMRWebViewRuntime::tearDown() {
  const auto webView = getWebView();
  if (!webView) return;
  if (inspect::isOn()) inspect::record("page", number(), {{"event", "closed"}});
  webView->setNavigationDelegate({});
  webView->setUIDelegate({});
  webView->stopLoading();
  // "VemoraLog" stays registered: kept on purpose.
  webView->configuration().userContentController->removeScriptMessageHandlerForName(kRpcHandler);
  URLRequest blank;
  blank.url = "about:blank";
  webView->loadRequest(blank);
  webView->removeFromSuperview();
  removeObservers();
  webView_.set(nullptr);
}

void VMRWebViewRuntime::removeMessageHandlers() {
  const auto webView = getWebView();
  if (!webView) return;
  for (const char* name : {kRpcHandler, kLogHandler}) {
    webView->configuration().userContentController->removeScriptMessageHandlerForName(name);
  }
}

void VMRWebViewRuntime::removeObservers() {
  if (const auto webView = getWebView()) stopObserving(*webView, this);
}

}  // namespace vemora
