// Plain C++: the headers of GLib and of Objective-C clash.

#include "fakes/Fake.h"

#include <jsc/jsc.h>

namespace {

struct Jsc final : fake::Script {
  JSCContext* context = jsc_context_new();

  Jsc() {
    const auto post = [](char* name, char* json, gpointer self) {
      static_cast<Jsc*>(self)->posted(name, json);
    };
    JSCValue* function = jsc_value_new_function(
        context, "post", G_CALLBACK(static_cast<void (*)(char*, char*, gpointer)>(post)), this, nullptr,
        G_TYPE_NONE, 2, G_TYPE_STRING, G_TYPE_STRING);
    jsc_context_set_value(context, "__post", function);
    g_object_unref(function);
    std::string ignored;
    evaluate(
        "var window = this, navigator = {userAgent: 'FakeKit/1.0'};"
        "window.webkit = {messageHandlers: new Proxy({}, {get: (target, name) =>"
        "  ({postMessage: body => __post(name, JSON.stringify({body: body}))})})};",
        ignored);
  }
  ~Jsc() override { g_object_unref(context); }

  std::string evaluate(const std::string& source, std::string& result) override {
    g_autoptr(JSCValue) value =
        jsc_context_evaluate(context, source.data(), static_cast<gssize>(source.size()));
    if (jsc_value_is_string(value)) {
      g_autofree char* text = jsc_value_to_string(value);
      result = text;
    }
    JSCException* exception = jsc_context_get_exception(context);
    std::string text = exception ? jsc_exception_get_message(exception) : "";
    jsc_context_clear_exception(context);
    return text;
  }
};

}  // namespace

fake::Script* fake::makeScript() {
  return new Jsc;
}
