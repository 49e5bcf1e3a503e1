#include <Vemora/VemoraViewability.h>

// Symbols that are not usable classes, each for a different reason, and one that is.

namespace {

bool send(void*, const char* selector, const VemoraExternalValue* arguments, size_t count,
          VemoraExternalValue* result) {
  // Answers every message with its last argument; "nothing" is not understood.
  if (selector[0] == 'n') return false;
  if (count > 0) *result = arguments[count - 1];
  return true;
}
void ignore(void*) {}

}  // namespace

VEMORA_EXTERNAL_CLASS(OddEcho) = {VEMORA_EXTERNAL_CLASS_HEADER, "OddEcho", nullptr, send, ignore, ignore};
VEMORA_EXTERNAL_CLASS(OddVersion) = {VEMORA_EXTERNAL_CLASS_MAGIC,
                                     VEMORA_EXTERNAL_ABI_VERSION + 1,
                                     sizeof(VemoraExternalClass),
                                     "OddVersion",
                                     nullptr,
                                     send,
                                     ignore,
                                     ignore};
VEMORA_EXTERNAL_CLASS(OddMagic) = {
    0, VEMORA_EXTERNAL_ABI_VERSION, sizeof(VemoraExternalClass), "OddMagic", nullptr, send, ignore, ignore};
VEMORA_EXTERNAL_CLASS(OddSize) = {
    VEMORA_EXTERNAL_CLASS_MAGIC, VEMORA_EXTERNAL_ABI_VERSION, 16, "OddSize", nullptr, send, ignore, ignore};
VEMORA_EXTERNAL_CLASS(OddFunctions) = {
    VEMORA_EXTERNAL_CLASS_HEADER, "OddFunctions", nullptr, nullptr, ignore, ignore};
VEMORA_EXTERNAL_CLASS(OddName) = {VEMORA_EXTERNAL_CLASS_HEADER, "AnotherName", nullptr, send, ignore, ignore};

extern "C" {
extern VEMORA_EXPORT const char OddByte;
const char OddByte = 'V';
VEMORA_EXPORT void OddFunction() {}
}
