// Code for the gnustep-1.9 ABI upon GCC's libobjc: class layout at load, and the entry points of ARC.
#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>
extern "C" {
typedef struct objc_object* id;
struct Sel {
  const char* name;
  const char* types;
};
typedef const Sel* SEL;
typedef void* (*IMP)(id, SEL, ...);
struct Ivar {
  const char* name;
  const char* type;
  int offset;
};
struct IvarList {
  int count;
  Ivar list[1];
};
struct Proto {
  void* isa;
  const char* name;
  struct ProtoList* protocols;
  void* a;
  void* b;
};
struct ProtoList {
  ProtoList* next;
  size_t count;
  Proto* list[1];
};
struct Cls {
  Cls* isa;
  Cls* super;
  const char* name;
  long version;
  unsigned long info;
  long size;
  IvarList* ivars;
  void* methods;
  void* dtable;
  Cls* sub;
  Cls* sib;
  ProtoList* protocols;
  void* gc;
  long abi;
  int** offsets;
  void* props;
  void* strong;
  void* weak;
};
struct Category {
  const char* name;
  const char* cls;
  void* im;
  void* cm;
  ProtoList* protocols;
};
struct Symtab {
  unsigned long nsel;
  void* sels;
  unsigned short ncls, ncat;
  void* defs[1];
};
struct Module {
  unsigned long version, size;
  const char* name;
  Symtab* symtab;
};
struct Super {
  id self;
  Cls* cls;
};
struct Slot {
  Cls* owner;
  Cls* cached;
  const char* types;
  int version;
  IMP method;
};
IMP objc_msg_lookup(id, SEL);
IMP objc_msg_lookup_super(Super*, SEL);
SEL sel_registerName(const char*);
Cls* objc_lookUpClass(const char*);
Cls* objc_getClass(const char*);
void* class_getInstanceMethod(Cls*, SEL);
IMP method_setImplementation(void*, IMP);
void* _Block_copy(const void*);
size_t class_getInstanceSize(Cls*);
void* _OBJC_CLASS_NSConstantString[32];
}
namespace {
struct Pending {
  Cls* cls;
  std::string super;
};  // the name, as the run time overwrites it with the class once that has loaded
std::map<std::string, Pending>& pending() {
  static std::map<std::string, Pending> m;
  return m;
}
void fixProtocols(ProtoList* l) {
  for (; l; l = l->next)
    for (size_t i = 0; i < l->count; i++) {
      if ((size_t)l->list[i]->isa <= 4) l->list[i]->isa = (void*)2;
      fixProtocols(l->list[i]->protocols);
    }
}
bool fix(const Pending& p) {  // own size and offsets become absolute once the superclass's size is known
  Cls* c = p.cls;
  if (c->size > 0) return true;
  long base;
  if (auto it = pending().find(p.super); it != pending().end()) {
    if (!fix(it->second)) return false;
    base = it->second.cls->size;
  } else if (Cls* s = objc_lookUpClass(p.super.c_str()))
    base = s->size;
  else
    return false;
  c->size = base - c->size;
  if (c->ivars)
    for (int i = 0; i < c->ivars->count; i++) {
      c->ivars->list[i].offset += base;
      if (c->offsets && c->offsets[i]) *c->offsets[i] += base;
    }
  return true;
}
template <class R = void, class... A>
R send(id o, SEL s, A... a) {
  return ((R(*)(id, SEL, A...))objc_msg_lookup(o, s))(o, s, a...);
}
#define S(n)                            \
  ([] {                                 \
    static SEL s = sel_registerName(n); \
    return s;                           \
  }())
std::recursive_mutex weakMutex;
std::map<id, std::set<id*>> weakRefs;
IMP nsDealloc;
void* deallocHook(id self, SEL s) {
  {
    std::lock_guard l(weakMutex);
    if (auto it = weakRefs.find(self); it != weakRefs.end()) {
      for (id* p : it->second) *p = nullptr;
      weakRefs.erase(it);
    }
  }
  return nsDealloc(self, s);
}
void hook() {
  static std::once_flag f;
  std::call_once(f, [] {
    void* m = class_getInstanceMethod(objc_getClass("NSObject"), S("dealloc"));
    nsDealloc = method_setImplementation(m, (IMP)deallocHook);
  });
}
}  // namespace
extern "C" {
void __objc_exec_class(Module* m) {
  static auto real = (void (*)(Module*))dlsym(RTLD_NEXT, "__objc_exec_class");
  if (m->version > 8) {
    m->version = 8;
    m->size = sizeof(Module);
    Symtab* t = m->symtab;
    for (int i = 0; i < t->ncls; i++) {
      Cls* c = (Cls*)t->defs[i];
      fixProtocols(c->protocols);
      pending()[c->name] = {c, (const char*)c->super};
    }
    for (int i = 0; i < t->ncat; i++) fixProtocols(((Category*)t->defs[t->ncls + i])->protocols);
    for (auto& [n, p] : pending()) fix(p);
  }
  real(m);
  for (auto& [n, p] : pending()) fix(p);
}
Slot* objc_msg_lookup_sender(id* r, SEL s, id) {
  static thread_local Slot slot;
  slot.method = objc_msg_lookup(*r, s);
  return &slot;
}
Slot* objc_slot_lookup_super(Super* r, SEL s) {
  static thread_local Slot slot;
  slot.method = objc_msg_lookup_super(r, s);
  return &slot;
}
id objc_retain(id o) {
  return o ? send<id>(o, S("retain")) : o;
}
void objc_release(id o) {
  if (o) send(o, S("release"));
}
id objc_autorelease(id o) {
  return o ? send<id>(o, S("autorelease")) : o;
}
id objc_retainAutorelease(id o) {
  return objc_autorelease(objc_retain(o));
}
id objc_autoreleaseReturnValue(id o) {
  return objc_autorelease(o);
}
id objc_retainAutoreleaseReturnValue(id o) {
  return objc_retainAutorelease(o);
}
id objc_retainAutoreleasedReturnValue(id o) {
  return objc_retain(o);
}
id objc_unsafeClaimAutoreleasedReturnValue(id o) {
  return o;
}
id objc_retainBlock(id o) {
  return (id)_Block_copy(o);
}
void objc_storeStrong(id* p, id o) {
  id old = *p;
  objc_retain(o);
  *p = o;
  objc_release(old);
}
void* objc_autoreleasePoolPush() {
  id c = (id)objc_getClass("NSAutoreleasePool");
  return send<id>(c, S("new"));
}
void objc_autoreleasePoolPop(void* p) {
  send((id)p, S("drain"));
}
id objc_storeWeak(id* p, id o) {
  hook();
  std::lock_guard l(weakMutex);
  if (*p) weakRefs[*p].erase(p);
  *p = o;
  if (o) weakRefs[o].insert(p);
  return o;
}
id objc_initWeak(id* p, id o) {
  *p = nullptr;
  return objc_storeWeak(p, o);
}
void objc_destroyWeak(id* p) {
  objc_storeWeak(p, nullptr);
}
id objc_loadWeakRetained(id* p) {
  std::lock_guard l(weakMutex);
  return objc_retain(*p);
}
id objc_loadWeak(id* p) {
  return objc_autorelease(objc_loadWeakRetained(p));
}
void objc_copyWeak(id* d, id* s) {
  id o = objc_loadWeakRetained(s);
  objc_initWeak(d, o);
  objc_release(o);
}
void objc_moveWeak(id* d, id* s) {
  objc_copyWeak(d, s);
  objc_destroyWeak(s);
}
void objc_setProperty(id, SEL, long, id, bool, bool);
void objc_setProperty_nonatomic_copy(id o, SEL s, id v, long off) {
  objc_setProperty(o, s, off, v, false, true);
}
void objc_setProperty_atomic_copy(id o, SEL s, id v, long off) {
  objc_setProperty(o, s, off, v, true, true);
}
void objc_setProperty_nonatomic(id o, SEL s, id v, long off) {
  objc_setProperty(o, s, off, v, false, false);
}
void objc_setProperty_atomic(id o, SEL s, id v, long off) {
  objc_setProperty(o, s, off, v, true, false);
}
int __gxx_personality_v0(int, int, unsigned long, void*, void*);
int __gnustep_objcxx_personality_v0(int a, int b, unsigned long c, void* d, void* e) {
  return __gxx_personality_v0(a, b, c, d, e);
}
}
