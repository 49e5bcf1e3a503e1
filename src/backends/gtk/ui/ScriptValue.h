#pragma once

#include <Vemora/JsonValue.h>

#include <jsc/jsc.h>

namespace vemora::gtk {

/// What a page posted, as a value: undefined is null; what JSON cannot hold (cycles, big integers) is its
/// text.
JsonValue jsonFromScriptValue(JSCValue* value);

}  // namespace vemora::gtk
