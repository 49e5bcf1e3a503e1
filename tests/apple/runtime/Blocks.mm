// Clang's blocks on GCC's Objective-C runtime, by clang's "Block Implementation Specification". (GNUstep's own
// functions follow an older layout and Debian's libBlocksRuntime retains no captured object.)
#import <Foundation/Foundation.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
namespace {
enum { kRefMask = 0xfffe, kOneRef = 2, kNeedsFree = 1 << 24, kHasCopyDispose = 1 << 25, kIsGlobal = 1 << 28 };
enum { kFieldObject = 3, kFieldBlock = 7, kFieldByref = 8, kByrefCaller = 128 };
struct Descriptor {
  unsigned long reserved, size;
  void (*copy)(void*, const void*);
  void (*dispose)(const void*);
};
struct Block {
  void* isa;
  int flags;
  int reserved;
  void* invoke;
  Descriptor* descriptor;
};
struct Byref {
  void* isa;
  Byref* forwarding;
  int flags;
  int size;
  void (*keep)(void*, void*);
  void (*destroy)(void*);
};
int add(int& flags, int amount) {
  return std::atomic_ref(flags).fetch_add(amount);
}
}
extern "C" {
void* _NSConcreteStackBlock[32];  // a block's isa is the address of one of these
void* _NSConcreteGlobalBlock[32];
void* _Block_copy(const void* argument) {
  auto* block = (Block*)argument;
  if (!block || (block->flags & kIsGlobal)) return block;
  if (block->flags & kNeedsFree) {
    add(block->flags, kOneRef);
    return block;
  }
  auto* heap = (Block*)std::malloc(block->descriptor->size);
  std::memcpy((void*)heap, block, block->descriptor->size);
  heap->flags = (heap->flags & ~kRefMask) | kNeedsFree | kOneRef;
  if (heap->flags & kHasCopyDispose) heap->descriptor->copy(heap, block);
  return heap;
}
void _Block_release(const void* argument) {
  auto* block = (Block*)argument;
  if (!block || !(block->flags & kNeedsFree) || (add(block->flags, -kOneRef) & kRefMask) != kOneRef) return;
  if (block->flags & kHasCopyDispose) block->descriptor->dispose(block);
  std::free(block);
}
void _Block_object_assign(void* destination, const void* object, const int flags) {
  void*& slot = *(void**)destination;
  if (flags & kFieldByref) {
    auto* byref = ((Byref*)object)->forwarding;
    if (!(byref->flags & kNeedsFree)) {
      auto* heap = (Byref*)std::malloc(byref->size);
      std::memcpy((void*)heap, byref, byref->size);
      heap->flags = (byref->flags & ~kRefMask) | kNeedsFree | kOneRef;
      heap->forwarding = byref->forwarding = heap;
      if (heap->flags & kHasCopyDispose) heap->keep(heap, byref);
      byref = heap;
      add(heap->flags, kOneRef);  // one for the block, one for the stack frame's own dispose
    } else {
      add(byref->flags, kOneRef);
    }
    slot = byref;
  } else if (flags & kByrefCaller) {
    slot = (void*)object;
  } else if ((flags & kFieldBlock) == kFieldBlock) {
    slot = _Block_copy(object);
  } else {
    slot = (void*)[(id)object retain];
  }
}
void _Block_object_dispose(const void* object, const int flags) {
  if (flags & kFieldByref) {
    auto* byref = ((Byref*)object)->forwarding;
    if (!(byref->flags & kNeedsFree) || (add(byref->flags, -kOneRef) & kRefMask) != kOneRef) return;
    if (byref->flags & kHasCopyDispose) byref->destroy(byref);
    std::free(byref);
  } else if (flags & kByrefCaller) {
  } else if ((flags & kFieldBlock) == kFieldBlock) {
    _Block_release(object);
  } else {
    [(id)object release];
  }
}
}
@interface VMRBlock : NSObject
@end
@implementation VMRBlock
+ (void)load {
  [self instanceMethodForSelector:@selector(retain)];  // forces +initialize and the dispatch table
  for (void** isa : {_NSConcreteStackBlock, _NSConcreteGlobalBlock})
    std::memcpy(isa, (void*)self, 13 * sizeof(void*));
}
- (id)copyWithZone:(NSZone*)zone {
  return (id)_Block_copy((const void*)self);
}
- (id)copy {
  return (id)_Block_copy((const void*)self);
}
- (id)retain {
  // A block on the stack is copied by Block_copy alone.
  return ((Block*)self)->flags & kNeedsFree ? (id)_Block_copy((const void*)self) : self;
}
- (oneway void)release {
  _Block_release((const void*)self);
}
@end
