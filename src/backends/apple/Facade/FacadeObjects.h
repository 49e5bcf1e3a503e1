#pragma once

#import "VemoraAd.h"
#import "VemoraAdGroup.h"
#import "VemoraAdRequest.h"

#include <Vemora/VemoraAdGroup.h>
#include <Vemora/VemoraAdRequest.h>

#include <memory>

// One Objective-C object for each object of the core, for as long as anything holds it, so that `==`
// compares what they stand for. nil for null. Any thread.

namespace vemora::apple {

::VemoraAd* _Nullable objectFor(const std::shared_ptr<VemoraAd>& ad);
::VemoraAdGroup* _Nullable objectFor(const std::shared_ptr<VemoraAdGroup>& group);
::VemoraAdRequest* _Nullable objectFor(const std::shared_ptr<VemoraAdRequest>& request);

/// The core's request behind the object; null for nil.
std::shared_ptr<VemoraAdRequest> coreRequestOf(::VemoraAdRequest* _Nullable request);

/// The object that stands for this one of the core, made by the block when there is none yet.
id _Nonnull objectStandingFor(const void* _Nonnull core, id _Nonnull (^_Nonnull make)(void));
/// Called by such an object when it goes.
void forgetObjectFor(const void* _Nonnull core);

/// Raises the platform's exception for a programming error.
void raiseInitNotValid(id _Nonnull receiver);

}  // namespace vemora::apple
