#pragma once

#include <glib-object.h>

#include <cstddef>
#include <utility>

namespace vemora {

/// Owns one reference to a GObject. How it came by that reference is always said in words:
///
///   auto made = GObjectPtr<GSocketClient>::adopt(g_socket_client_new());   // (transfer full)
///   auto kept = GObjectPtr<GSocket>::retain(g_socket_connection_get_socket(c));  // (transfer none)
///   auto view = GObjectPtr<GtkWidget>::sink(gtk_label_new("text"));         // floating
template <typename T>
class GObjectPtr {
 public:
  GObjectPtr() = default;
  GObjectPtr(std::nullptr_t) {}  // NOLINT(google-explicit-constructor): null is a value like any other

  /// Takes over a reference that the caller was given.
  [[nodiscard]] static GObjectPtr adopt(T* object) { return GObjectPtr(object); }
  /// Adds a reference to an object that somebody else owns.
  [[nodiscard]] static GObjectPtr retain(T* object) {
    if (object) g_object_ref(object);
    return GObjectPtr(object);
  }
  /// Becomes the owner of a floating object, or adds a reference where it floats no more.
  [[nodiscard]] static GObjectPtr sink(T* object) {
    if (object) g_object_ref_sink(object);
    return GObjectPtr(object);
  }

  GObjectPtr(const GObjectPtr& other) : GObjectPtr(retain(other.object_)) {}
  GObjectPtr(GObjectPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  GObjectPtr& operator=(GObjectPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~GObjectPtr() {
    if (object_) g_object_unref(object_);
  }

  [[nodiscard]] T* get() const { return object_; }
  /// Gives the reference away, for parameters that take it over.
  [[nodiscard]] T* release() { return std::exchange(object_, nullptr); }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  explicit GObjectPtr(T* object) : object_(object) {}

  T* object_ = nullptr;
};

}  // namespace vemora
