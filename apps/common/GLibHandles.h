#pragma once

#include "../../src/backends/gtk/base/GObjectPtr.h"

#include <glib.h>

#include <memory>
#include <string>

namespace vemora {

using GStringPtr = std::unique_ptr<char, gtk::GFree<g_free>>;
using GBytesPtr = std::unique_ptr<GBytes, gtk::GFree<g_bytes_unref>>;
using GUriPtr = std::unique_ptr<GUri, gtk::GFree<g_uri_unref>>;
using GMainLoopPtr = std::unique_ptr<GMainLoop, gtk::GFree<g_main_loop_unref>>;
using GOptionContextPtr = std::unique_ptr<GOptionContext, gtk::GFree<g_option_context_free>>;

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
