#pragma once

#include <Vemora/JsonValue.h>

namespace vemora::check {

/// The params of "get.config" and "get.ads" as a host on a desktop would send them.
///
/// `own` is merged into it: where both have an object, its entries are merged; every other member of `own`
/// replaces that of the default.
JsonValue adRequest(const JsonValue& own);

}  // namespace vemora::check
