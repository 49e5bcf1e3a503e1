#pragma once
#include <objc/objc.h>
typedef struct objc_method* Method;
typedef struct objc_ivar* Ivar;
typedef struct objc_category* Category;
typedef struct objc_property* objc_property_t;
#ifdef __cplusplus
extern "C" {
#endif
const char* class_getName(Class);
Class object_getClass(id);
#ifdef __cplusplus
}
#endif
