#pragma once
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef struct os_log_s* os_log_t;
typedef uint8_t os_log_type_t;
#define OS_LOG_TYPE_DEFAULT ((os_log_type_t)0x00)
#define OS_LOG_TYPE_ERROR ((os_log_type_t)0x10)
os_log_t os_log_create(const char* subsystem, const char* category);
// On the platform a macro, whose format must be a literal.
void os_log_with_type(os_log_t log, os_log_type_t type, const char* format, ...)
    __attribute__((format(os_log, 3, 4)));
#ifdef __cplusplus
}
#endif
