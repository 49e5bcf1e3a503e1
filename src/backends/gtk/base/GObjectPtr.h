#pragma once

#include <glib-object.h>

#include <utility>

namespace vemora::gtk {

/// Owns one reference to a GObject. How it came by the reference is said when it is made, since the types of
/// the C interfaces do not say it: `adopt` takes over a reference that was given away ("transfer full"),
/// `retain` adds one to a borrowed object ("transfer none"), `sink` makes a floating reference its own.
template <typename T>
class GObjectPtr {
 public:
  GObjectPtr() = default;
  GObjectPtr(std::nullptr_t) {}
  static GObjectPtr adopt(T* object) { return GObjectPtr(object); }
  static GObjectPtr retain(T* object) {
    return GObjectPtr(object ? static_cast<T*>(g_object_ref(object)) : nullptr);
  }
  static GObjectPtr sink(T* object) {
    return GObjectPtr(object ? static_cast<T*>(g_object_ref_sink(object)) : nullptr);
  }

  GObjectPtr(const GObjectPtr& other) : GObjectPtr(retain(other.object_)) {}
  GObjectPtr(GObjectPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  GObjectPtr& operator=(GObjectPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~GObjectPtr() { reset(); }

  void reset() {
    if (T* object = std::exchange(object_, nullptr)) g_object_unref(object);
  }
  T* get() const { return object_; }
  /// Gives the reference away.
  [[nodiscard]] T* release() { return std::exchange(object_, nullptr); }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  explicit GObjectPtr(T* owned) : object_(owned) {}

  T* object_ = nullptr;
};

/// Points at a GObject without keeping it: null once the object has gone. Stays where it was made.
template <typename T>
class GObjectWeakPtr {
 public:
  GObjectWeakPtr() { g_weak_ref_init(&reference_, nullptr); }
  explicit GObjectWeakPtr(T* object) { g_weak_ref_init(&reference_, object); }
  ~GObjectWeakPtr() { g_weak_ref_clear(&reference_); }
  GObjectWeakPtr(const GObjectWeakPtr&) = delete;
  GObjectWeakPtr& operator=(const GObjectWeakPtr&) = delete;

  GObjectPtr<T> lock() const { return GObjectPtr<T>::adopt(static_cast<T*>(g_weak_ref_get(&reference_))); }
  void set(T* object) { g_weak_ref_set(&reference_, object); }

 private:
  mutable GWeakRef reference_;
};

/// Frees what GLib's own functions free.
template <auto Free>
struct GFree {
  template <typename T>
  void operator()(T* pointer) const {
    Free(pointer);
  }
};

}  // namespace vemora::gtk
