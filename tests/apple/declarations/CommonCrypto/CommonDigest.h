#pragma once
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef uint32_t CC_LONG;
#define CC_SHA1_DIGEST_LENGTH 20
unsigned char* CC_SHA1(const void* data, CC_LONG len, unsigned char* md);
#ifdef __cplusplus
}
#endif
