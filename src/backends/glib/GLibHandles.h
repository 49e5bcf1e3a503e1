#pragma once

#include <glib.h>

#include <memory>
#include <string>

/// Owners of what GLib's C functions return. Objects have `GObjectPtr`.
namespace vemora::glib {

/// Turns a C function that frees into a deleter without a size.
template <auto Free>
struct GFree {
  template <typename T>
  void operator()(T* pointer) const {
    Free(pointer);
  }
};

using GStringPtr = std::unique_ptr<char, GFree<g_free>>;
using GStringListPtr = std::unique_ptr<char*, GFree<g_strfreev>>;
using GBytesPtr = std::unique_ptr<GBytes, GFree<g_bytes_unref>>;
using GErrorPtr = std::unique_ptr<GError, GFree<g_error_free>>;
using GKeyFilePtr = std::unique_ptr<GKeyFile, GFree<g_key_file_unref>>;
using GMainContextPtr = std::unique_ptr<GMainContext, GFree<g_main_context_unref>>;
using GMainLoopPtr = std::unique_ptr<GMainLoop, GFree<g_main_loop_unref>>;
using GOptionContextPtr = std::unique_ptr<GOptionContext, GFree<g_option_context_free>>;
using GSourcePtr = std::unique_ptr<GSource, GFree<g_source_unref>>;
using GUriPtr = std::unique_ptr<GUri, GFree<g_uri_unref>>;
using GVariantPtr = std::unique_ptr<GVariant, GFree<g_variant_unref>>;

/// Receives the error of one GLib call: `if (!call(..., error.out())) report(error.message());`
class GErrorHolder {
 public:
  GErrorHolder() = default;
  GErrorHolder(const GErrorHolder&) = delete;
  GErrorHolder& operator=(const GErrorHolder&) = delete;
  ~GErrorHolder() { g_clear_error(&error_); }

  /// The address to pass on. Drops the error of an earlier call.
  GError** out() {
    g_clear_error(&error_);
    return &error_;
  }
  explicit operator bool() const { return error_ != nullptr; }
  [[nodiscard]] bool matches(GQuark domain, int code) const {
    return g_error_matches(error_, domain, code) != FALSE;
  }
  [[nodiscard]] std::string message() const { return error_ ? error_->message : std::string(); }

 private:
  GError* error_ = nullptr;
};

}  // namespace vemora::glib
