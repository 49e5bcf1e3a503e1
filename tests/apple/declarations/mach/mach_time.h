#pragma once
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef struct mach_timebase_info {
  uint32_t numer, denom;
} mach_timebase_info_data_t;
int mach_timebase_info(mach_timebase_info_data_t* info);
uint64_t mach_absolute_time(void);
#ifdef __cplusplus
}
#endif
