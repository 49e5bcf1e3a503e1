#pragma once

#include <glib.h>

#include <memory>
#include <string>

namespace vemora {

/// Turns a C function that frees into a deleter without a size.
template <auto Free>
struct FreeWith {
  template <typename T>
  void operator()(T* value) const {
    Free(value);
  }
};

using GStringPtr = std::unique_ptr<char, FreeWith<g_free>>;
using GBytesPtr = std::unique_ptr<GBytes, FreeWith<g_bytes_unref>>;
using GUriPtr = std::unique_ptr<GUri, FreeWith<g_uri_unref>>;
using GMainLoopPtr = std::unique_ptr<GMainLoop, FreeWith<g_main_loop_unref>>;
using GOptionContextPtr = std::unique_ptr<GOptionContext, FreeWith<g_option_context_free>>;

/// Receives the error of one GLib call: `if (!call(..., error.out())) report(error.message());`
class GErrorHolder {
 public:
  GErrorHolder() = default;
  GErrorHolder(const GErrorHolder&) = delete;
  GErrorHolder& operator=(const GErrorHolder&) = delete;
  ~GErrorHolder() { g_clear_error(&error_); }

  /// The address to pass on; what an earlier call left is dropped.
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

}  // namespace vemora
