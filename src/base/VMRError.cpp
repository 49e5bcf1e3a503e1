#include <Vemora/VMRError.h>

namespace vemora {

bool VMRError::operator==(const VMRError& other) const {
  const bool sameUnderlying = underlyingError && other.underlyingError
                                  ? *underlyingError == *other.underlyingError
                                  : underlyingError == other.underlyingError;
  return sameUnderlying && domain == other.domain && code == other.code && description == other.description &&
         failureReason == other.failureReason && recoverySuggestion == other.recoverySuggestion;
}

std::string toString(const VMRError& error) {
  std::string text = error.description;
  if (error.failureReason && *error.failureReason != error.description) text += ": " + *error.failureReason;
  text += " (" + error.domain + " " + std::to_string(error.code) + ")";
  if (error.underlyingError) text += ", caused by: " + toString(*error.underlyingError);
  return text;
}

}  // namespace vemora
