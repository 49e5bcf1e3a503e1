// The part of libdispatch that the Apple backend calls.
#pragma once
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef struct dispatch_queue_s* dispatch_queue_t;
typedef uint64_t dispatch_time_t;
typedef void (^dispatch_block_t)(void);
#define DISPATCH_TIME_NOW ((dispatch_time_t)0)
#define DISPATCH_QUEUE_PRIORITY_DEFAULT 0
#define NSEC_PER_SEC 1000000000ull
dispatch_queue_t dispatch_get_main_queue(void);
dispatch_queue_t dispatch_get_global_queue(intptr_t priority, uintptr_t flags);
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);
#ifdef __cplusplus
}
#endif
