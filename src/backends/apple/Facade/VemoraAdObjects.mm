#include "backends/apple/Facade/FacadeObjects.h"
#include "backends/apple/Foundation/Conversions.h"

namespace core = vemora;
using core::apple::toObject;

@interface VemoraAd ()
- (instancetype)initWithCore:(std::shared_ptr<core::VemoraAd>)ad;
@end
@implementation VemoraAd {
  std::shared_ptr<core::VemoraAd> _core;
}
- (instancetype)init {
  core::apple::raiseInitNotValid(self);
  return nil;
}
- (instancetype)initWithCore:(std::shared_ptr<core::VemoraAd>)ad {
  if ((self = [super init])) _core = std::move(ad);
  return self;
}
- (void)dealloc {
  if (_core) core::apple::forgetObjectFor(_core.get());
}
- (NSNumber*)index {
  return toObject(_core->index());
}
- (NSString*)id {
  return toObject(_core->id());
}
- (NSString*)vpi {
  return toObject(_core->vpi());
}
- (NSString*)title {
  return toObject(_core->title());
}
- (NSNumber*)duration {
  return toObject(_core->duration());
}
- (NSNumber*)price {
  return toObject(_core->price());
}
- (NSString*)url {
  return toObject(_core->url());
}
- (NSString*)clickthru {
  return toObject(_core->clickthru());
}
@end

@interface VemoraAdGroup ()
- (instancetype)initWithCore:(std::shared_ptr<core::VemoraAdGroup>)group ads:(NSArray*)ads;
@end
@implementation VemoraAdGroup {
  std::shared_ptr<core::VemoraAdGroup> _core;
}
@synthesize ads = _ads;
- (instancetype)init {
  core::apple::raiseInitNotValid(self);
  return nil;
}
- (instancetype)initWithCore:(std::shared_ptr<core::VemoraAdGroup>)group ads:(NSArray*)ads {
  if ((self = [super init])) {
    _core = std::move(group);
    _ads = [ads copy];
  }
  return self;
}
- (void)dealloc {
  if (_core) core::apple::forgetObjectFor(_core.get());
}
- (double)totalDuration {
  return _core->totalDuration();
}
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained*)buffer
                                    count:(NSUInteger)length {
  return [_ads countByEnumeratingWithState:state objects:buffer count:length];
}
@end

namespace vemora::apple {

::VemoraAd* objectFor(const std::shared_ptr<VemoraAd>& ad) {
  if (!ad) return nil;
  return objectStandingFor(ad.get(), ^id {
    return [[::VemoraAd alloc] initWithCore:ad];
  });
}

::VemoraAdGroup* objectFor(const std::shared_ptr<VemoraAdGroup>& group) {
  if (!group) return nil;
  // Before the look-up, which is not re-entrant.
  NSMutableArray* ads = [NSMutableArray array];
  for (const auto& ad : *group) [ads addObject:objectFor(ad)];
  return objectStandingFor(group.get(), ^id {
    return [[::VemoraAdGroup alloc] initWithCore:group ads:ads];
  });
}

}  // namespace vemora::apple
