#import <Foundation/Foundation.h>

/// Marks what the framework exports: everything else is hidden, Objective-C classes included.
#define VEMORA_OBJC_EXPORT __attribute__((visibility("default")))

/// Marks what is called on the main thread. Swift takes it for the main actor.
#if defined(__has_attribute) && __has_attribute(swift_attr)
#define VEMORA_MAIN_ACTOR __attribute__((swift_attr("@MainActor")))
#else
#define VEMORA_MAIN_ACTOR
#endif
