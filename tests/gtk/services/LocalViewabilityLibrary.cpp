#include <Vemora/VemoraViewability.h>

// One class, in a library that is only ever opened for its opener alone.

namespace {

bool send(void*, const char*, const VemoraExternalValue*, size_t, VemoraExternalValue*) {
  return false;
}
void ignore(void*) {}

}  // namespace

VEMORA_EXTERNAL_CLASS(LocalClass) = {
    VEMORA_EXTERNAL_CLASS_HEADER, "LocalClass", nullptr, send, ignore, ignore};
