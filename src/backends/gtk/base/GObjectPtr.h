#pragma once

#include "../../glib/GLibHandles.h"  // Relative: the programs include this header without the folder src.

#include <glib-object.h>

#include <utility>

namespace vemora::gtk {

using glib::GBytesPtr;
using glib::GErrorHolder;
using glib::GErrorPtr;
using glib::GFree;
using glib::GKeyFilePtr;
using glib::GMainContextPtr;
using glib::GMainLoopPtr;
using glib::GSourcePtr;
using glib::GStringListPtr;
using glib::GStringPtr;
using glib::GUriPtr;
using glib::GVariantPtr;

/// Owns one reference to a GObject. C types do not show who owns a reference, so each factory names the case:
/// `adopt` takes over the caller's reference ("transfer full"), `retain` adds a reference to a borrowed
/// object ("transfer none"), and `sink` takes over a floating reference.
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
  /// Passes the reference to the caller.
  [[nodiscard]] T* release() { return std::exchange(object_, nullptr); }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  explicit GObjectPtr(T* owned) : object_(owned) {}

  T* object_ = nullptr;
};

/// A weak reference to a GObject: null once the object has been finalized. Not movable.
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

}  // namespace vemora::gtk
