#import "VemoraDefines.h"

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// The domain of all errors that delegates get.
VEMORA_OBJC_EXPORT FOUNDATION_EXPORT NSString* const VMRErrorDomain;
/// The domain of an error with which the controller page answered, as the underlying error of one of ours.
VEMORA_OBJC_EXPORT FOUNDATION_EXPORT NSString* const VMRControllerErrorDomain;

/// The codes in VMRErrorDomain. Swift catches them as `VMRError.noAds`.
typedef NS_ERROR_ENUM(VMRErrorDomain, VMRErrorCode){
    VMRErrorNoRequest = 5001,      ///< The delegate supplied no ad request.
    VMRErrorBridge = 5002,         ///< The controller page could not be reached or did not answer.
    VMRErrorNoAds = 5003,          ///< The controller answered without ads.
    VMRErrorPlayback = 5004,       ///< The controller ended playback with an error.
    VMRErrorNotResponding = 5005,  ///< The controller stopped sending heartbeats.
};

NS_ASSUME_NONNULL_END
