#include <Vemora/VemoraViewability.h>

// One class, in a library that is opened with RTLD_LOCAL only.

namespace {

bool send(void*, const char*, const VemoraExternalValue*, size_t, VemoraExternalValue*) {
  return false;
}
void ignore(void*) {}

}  // namespace

VEMORA_EXTERNAL_CLASS(LocalClass) = {
    VEMORA_EXTERNAL_CLASS_HEADER, "LocalClass", nullptr, send, ignore, ignore};
