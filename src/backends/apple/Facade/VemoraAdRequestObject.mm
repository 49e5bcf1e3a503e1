#include "backends/apple/Facade/FacadeObjects.h"
#include "backends/apple/Foundation/Conversions.h"

#include <Vemora/Vemora.h>

namespace core = vemora;
using core::apple::toNSString;
using core::apple::toOptionalString;
using core::apple::toString;

namespace {

using Request = std::shared_ptr<core::VemoraAdRequest>;
using Dictionary = core::JsonDictionary& (core::VemoraAdRequest::*)();
using Setter = void (core::VemoraAdRequest::*)(std::string_view, const core::JsonValue&);

/// One of the request's dictionaries, and the setter that checks what goes into it.
struct Entries {
  Dictionary dictionary;
  Setter setter;
};
const Entries kParams = {&core::VemoraAdRequest::paramDict, &core::VemoraAdRequest::setParam};
const Entries kCustom = {&core::VemoraAdRequest::customDict, &core::VemoraAdRequest::setCustom};
const Entries kPlayback = {&core::VemoraAdRequest::playbackDict, &core::VemoraAdRequest::setPlaybackOption};

/// nil removes the entry, NSNull is a null of JSON.
void set(const Request& request, const Entries& entries, NSString* key, id value) {
  const std::string name = toString(key);
  const auto converted = core::apple::toJsonStrictly(value);
  if (!converted) {
    core::Vemora::logError("The request's entry \"" + name + "\" was refused: it is not valid JSON");
  } else if (value == [NSNull null]) {
    (request.get()->*entries.dictionary)().insert_or_assign(name, nullptr);
  } else {
    (request.get()->*entries.setter)(name, *converted);
  }
}

}  // namespace

/// A dictionary of a request as Foundation has it. It keeps the core's request.
@interface VMRRequestDictionary : NSMutableDictionary
@end
@implementation VMRRequestDictionary {
 @public
  Request _request;
  Entries _entries;
}
- (core::JsonDictionary&)entries {
  return (_request.get()->*_entries.dictionary)();
}
- (NSUInteger)count {
  return [self entries].size();
}
- (id)objectForKey:(id)key {
  if (![key isKindOfClass:[NSString class]]) return nil;
  const auto found = [self entries].find(toString(key));
  if (found == [self entries].end()) return nil;
  return core::apple::toObject(found->second) ?: [NSNull null];
}
- (NSEnumerator*)keyEnumerator {
  NSMutableArray* keys = [NSMutableArray array];
  for (const auto& [key, value] : [self entries]) [keys addObject:toNSString(key) ?: @""];
  return [keys objectEnumerator];
}
- (void)setObject:(id)value forKey:(id)key {
  if ([key isKindOfClass:[NSString class]]) set(_request, _entries, key, value);
}
- (void)removeObjectForKey:(id)key {
  if ([key isKindOfClass:[NSString class]]) [self entries].erase(toString(key));
}
// What a class cluster asks of its subclasses.
- (instancetype)init {
  return [super init];
}
- (instancetype)initWithObjects:(const id[])objects
                        forKeys:(const id<NSCopying>[])keys
                          count:(NSUInteger)count {
  return self;
}
- (instancetype)initWithCapacity:(NSUInteger)capacity {
  return self;
}
- (Class)classForCoder {
  return [NSMutableDictionary class];
}
@end

@interface VemoraAdRequest ()
- (instancetype)initWithCore:(Request)request NS_DESIGNATED_INITIALIZER;
@end
@implementation VemoraAdRequest {
 @public
  Request _core;
  VMRRequestDictionary *_params, *_custom, *_playback;
}
- (instancetype)init {
  return [self initWithApiKey:nil];
}
- (instancetype)initWithApiKey:(NSString*)apiKey {
  if ((self = [super init])) {
    [self setUp:core::VemoraAdRequest::initWithApiKey(toOptionalString(apiKey))];
    core::apple::objectStandingFor(_core.get(), ^id {
      return self;
    });
  }
  return self;
}
- (instancetype)initWithCore:(Request)request {
  if ((self = [super init])) [self setUp:std::move(request)];
  return self;
}
- (void)setUp:(Request)request {
  _core = std::move(request);
  const auto make = [self](const Entries& entries) {
    VMRRequestDictionary* made = [[VMRRequestDictionary alloc] init];
    made->_request = self->_core;
    made->_entries = entries;
    return made;
  };
  _params = make(kParams);
  _custom = make(kCustom);
  _playback = make(kPlayback);
}
- (void)dealloc {
  if (_core) core::apple::forgetObjectFor(_core.get());
}
- (NSString*)apiKey {
  return toNSString(_core->apiKey());
}
- (void)setApiKey:(NSString*)apiKey {
  _core->setApiKey(toOptionalString(apiKey));
}
- (NSString*)channel {
  return toNSString(_core->channel());
}
- (void)setChannel:(NSString*)channel {
  _core->setChannel(toOptionalString(channel));
}
- (NSString*)placementType {
  return toNSString(_core->placementType());
}
- (void)setPlacementType:(NSString*)type {
  _core->setPlacementType(toOptionalString(type));
}
- (NSMutableDictionary*)paramDict {
  return _params;
}
- (NSMutableDictionary*)customDict {
  return _custom;
}
- (NSMutableDictionary*)playbackDict {
  return _playback;
}
- (void)setParam:(NSString*)key value:(id)value {
  set(_core, kParams, key, value);
}
- (void)setParam:(NSString*)key values:(NSArray*)values {
  set(_core, kParams, key, values);
}
- (void)setCustom:(NSString*)key value:(id)value {
  set(_core, kCustom, key, value);
}
- (void)setCustom:(NSString*)key values:(NSArray*)values {
  set(_core, kCustom, key, values);
}
- (void)setPlaybackOption:(NSString*)key value:(id)value {
  set(_core, kPlayback, key, value);
}
- (void)setPlaybackOption:(NSString*)key boolValue:(BOOL)value {
  set(_core, kPlayback, key, [NSNumber numberWithBool:value]);
}
@end

namespace vemora::apple {

::VemoraAdRequest* objectFor(const std::shared_ptr<VemoraAdRequest>& request) {
  if (!request) return nil;
  return objectStandingFor(request.get(), ^id {
    return [[::VemoraAdRequest alloc] initWithCore:request];
  });
}

std::shared_ptr<VemoraAdRequest> coreRequestOf(::VemoraAdRequest* request) {
  return request ? request->_core : nullptr;
}

}  // namespace vemora::apple
