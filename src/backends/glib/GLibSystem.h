#pragma once

#include "ports/System.h"

#include <optional>
#include <string>
#include <string_view>

/// The parts of the system port that need no more than GLib, for every backend that has it.
namespace vemora::glib {

std::uint32_t randomUInt32();
std::string newUUIDString();
System::SHA1Digest sha1(std::string_view bytes);
std::optional<URL> urlWithString(std::string_view text);

}  // namespace vemora::glib
