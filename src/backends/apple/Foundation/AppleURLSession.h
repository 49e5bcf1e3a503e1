#pragma once

#include "ports/URLSession.h"

#include <memory>

@class NSURLRequest;

namespace vemora::apple {

/// nil when the platform refuses the address.
NSURLRequest* toNSURLRequest(const URLRequest& request);

std::unique_ptr<URLSession> makeEphemeralURLSession();

}  // namespace vemora::apple
