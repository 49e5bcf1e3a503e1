#pragma once

#import "Vemora.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

/// A host app's delegate that records the callbacks.
@interface AdHost : NSObject <VemoraAdPlayerDelegate> {
 @public
  std::vector<std::string> _callbacks;
  /// Runs inside the callback of that name.
  std::map<std::string, std::function<void(VemoraAdPlayerBase*)>> _hooks;
  /// nil by default: a new request for each load.
  std::function<VemoraAdRequest*()> _makeRequest;
  VemoraAd* _started;
  BOOL _hasEnded;
  NSError* _error;
  double _aspectRatio;
}
@end
