#ifndef VEMORA_VIEWABILITY_H
#define VEMORA_VIEWABILITY_H

/// @file
/// The C interface between Vemora and a viewability-measurement library, or a shim over one, on Linux.
///
/// Vemora is not linked to any such library. When a player needs one, it looks for classes by name and
/// sends them messages by selector text. Without the classes, measurement is off and nothing else changes.
/// The classes that Vemora looks for, and what it sends them:
///
///     VEMORAMoatOptions                create "init"; "setDebugLoggingEnabled:" (bool)
///     VEMORAMoatAnalytics              class: "sharedInstance" (-> object);
///                                      object: "prepareNativeDisplayTracking:" (string),
///                                      "startWithOptions:" (object)
///     VEMORAMoatReactiveVideoTracker   class: "trackerWithPartnerCode:" (string -> object);
///                                      object: "trackVideoAd:withLayer:withDurationMillis:" (JSON, view,
///                                      double -> bool), "dispatchEvent:" (object), "stopTracking"
///     VEMORAMoatAdEvent                create "initWithType:withPlayheadMillis:" (int64, double)
///
/// **How a class is found.** A class is one constant `VemoraExternalClass`. There are two ways:
///
/// - A library exports it as a data symbol with the name of the class (see VEMORA_EXTERNAL_CLASS), and the
///   library is linked into the program or was opened with RTLD_GLOBAL. Libraries opened with RTLD_LOCAL
///   are not searched; that is what dlopen does by default and what most plug-in loaders do. The symbols of
///   an executable are searched only when it is linked with -rdynamic (CMake: ENABLE_EXPORTS).
/// - VemoraRegisterExternalClass registers it, however the library was loaded. A registration takes
///   precedence over a symbol of the same name.
///
/// **Threads.** Vemora calls every function of a class on the main thread only, `release` included.
///
/// **Ownership.** Arguments are borrowed: they are valid for the duration of the call, and a receiver that
/// keeps an object retains it. A text in a result must stay unchanged until the next call into the same
/// class; Vemora copies it at once. An object in a result, and what `create` makes, comes with one
/// reference for Vemora, which Vemora gives back with `release`. A library that exports a class which
/// Vemora has used is never unloaded, even after dlclose.
///
/// **Errors.** A function must not throw or longjmp out. A class with a wrong magic or version, or without
/// a name or one of its functions, is refused with one error in Vemora's log.
///
/// A tracker, in C:
///
///     static bool send(void* receiver, const char* selector, const VemoraExternalValue* arguments,
///                      size_t count, VemoraExternalValue* result) {
///       if (!receiver && strcmp(selector, "trackerWithPartnerCode:") == 0 && count == 1) {
///         result->type = VEMORA_EXTERNAL_OBJECT;
///         result->as.object.isa = &VEMORAMoatReactiveVideoTracker;
///         result->as.object.instance = tracker_new(arguments[0].as.string.text);
///         return true;
///       }
///       if (receiver && strcmp(selector, "stopTracking") == 0) return tracker_stop(receiver), true;
///       return false;  // Not understood.
///     }
///
///     VEMORA_EXTERNAL_CLASS(VEMORAMoatReactiveVideoTracker) = {
///         VEMORA_EXTERNAL_CLASS_HEADER, "VEMORAMoatReactiveVideoTracker", NULL, send, tracker_ref,
///         tracker_unref};

#include <Vemora/VemoraExport.h>

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// "VMRX": distinguishes a class from any other symbol of the same name.
#define VEMORA_EXTERNAL_CLASS_MAGIC 0x564d5258u
/// Changes whenever a structure of this header changes in a way that is not an added member at the end of
/// VemoraExternalClass.
#define VEMORA_EXTERNAL_ABI_VERSION 1u

/// A class of the outside library.
typedef struct VemoraExternalClass VemoraExternalClass;

/// The types of arguments and results.
typedef enum VemoraExternalValueType {
  VEMORA_EXTERNAL_NONE = 0,    ///< No value.
  VEMORA_EXTERNAL_BOOL = 1,    ///< `as.boolean`
  VEMORA_EXTERNAL_INT64 = 2,   ///< `as.integer`
  VEMORA_EXTERNAL_DOUBLE = 3,  ///< `as.real`
  VEMORA_EXTERNAL_STRING = 4,  ///< `as.string`, UTF-8
  VEMORA_EXTERNAL_OBJECT = 5,  ///< `as.object`
  VEMORA_EXTERNAL_JSON = 6,    ///< `as.string`: a dictionary or an array as JSON text (RFC 8259)
  VEMORA_EXTERNAL_VIEW = 7     ///< `as.view`: the native view to watch, a GtkWidget on GTK; arguments only
} VemoraExternalValueType;

/// A text in UTF-8.
typedef struct VemoraExternalString {
  const char* text;  ///< In arguments a zero byte follows the text; in results it need not.
  size_t length;     ///< In bytes, without the zero byte.
} VemoraExternalString;

/// An instance of a class, or, with a null instance, the class itself.
typedef struct VemoraExternalObject {
  const VemoraExternalClass* isa;  ///< The class of the object.
  void* instance;                  ///< What `create` or a result gave; null for the class itself.
} VemoraExternalObject;

/// An argument or a result.
typedef struct VemoraExternalValue {
  uint32_t type;  ///< A VemoraExternalValueType; readers treat types that they do not know as no value.
  union {
    bool boolean;                 ///< Of VEMORA_EXTERNAL_BOOL.
    int64_t integer;              ///< Of VEMORA_EXTERNAL_INT64.
    double real;                  ///< Of VEMORA_EXTERNAL_DOUBLE.
    VemoraExternalString string;  ///< Of VEMORA_EXTERNAL_STRING and VEMORA_EXTERNAL_JSON.
    VemoraExternalObject object;  ///< Of VEMORA_EXTERNAL_OBJECT.
    void* view;                   ///< Of VEMORA_EXTERNAL_VIEW.
  } as;                           ///< The value, in the member that belongs to `type`.
} VemoraExternalValue;

/// A class. Constant once it has been found or registered.
struct VemoraExternalClass {
  uint32_t magic;       ///< VEMORA_EXTERNAL_CLASS_MAGIC
  uint32_t abiVersion;  ///< VEMORA_EXTERNAL_ABI_VERSION
  size_t structSize;    ///< sizeof(VemoraExternalClass) as the library was built
  const char* name;     ///< The name that Vemora looks for.

  /// Creates an instance with an initialiser such as "init". Null when the class does not understand the
  /// initialiser or fails. The function pointer may be null in a class that has no public initialiser.
  void* (*create)(const char* initialiser, const VemoraExternalValue* arguments, size_t argumentCount);

  /// Sends a message to an instance of this class, or, with a null receiver, to the class itself. The
  /// result is VEMORA_EXTERNAL_NONE before the call and may be left so. False when the receiver does not
  /// understand the selector.
  bool (*send)(void* receiver, const char* selector, const VemoraExternalValue* arguments,
               size_t argumentCount, VemoraExternalValue* result);

  /// Adds one reference to an instance.
  void (*retain)(void* instance);
  /// Gives back one reference to an instance.
  void (*release)(void* instance);
};

/// The first three members of a class.
#define VEMORA_EXTERNAL_CLASS_HEADER \
  VEMORA_EXTERNAL_CLASS_MAGIC, VEMORA_EXTERNAL_ABI_VERSION, sizeof(VemoraExternalClass)

/// Begins the definition of a class that is found as a symbol. See the example above.
#ifdef __cplusplus
#define VEMORA_EXTERNAL_CLASS(name)                        \
  extern "C" VEMORA_EXPORT const VemoraExternalClass name; \
  const VemoraExternalClass name
#else
#define VEMORA_EXTERNAL_CLASS(name)                    \
  extern VEMORA_EXPORT const VemoraExternalClass name; \
  const VemoraExternalClass name
#endif

/// Registers a class under its name. The structure is used in place and must stay in place, unchanged,
/// until the process ends. False, with an error in the log, when the class is refused or another one is
/// registered under the name. Registering the same class again is a no-op. Any thread.
VEMORA_EXPORT bool VemoraRegisterExternalClass(const VemoraExternalClass* externalClass);

/// Removes the registration; a no-op for a class that is not registered. Objects created until then stay in
/// use until they are released. Any thread.
VEMORA_EXPORT void VemoraUnregisterExternalClass(const VemoraExternalClass* externalClass);

#ifdef __cplusplus
}
#endif

#endif
