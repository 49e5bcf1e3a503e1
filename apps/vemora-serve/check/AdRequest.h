#pragma once

#include <Vemora/JsonValue.h>

#include <filesystem>
#include <string>

namespace vemora::check {

/// The params of "get.config" and "get.ads" as a host on a desktop would send them.
///
/// `own` is laid over it: of the members that both have and that are objects the entries are merged, every
/// other member replaces.
JsonValue adRequest(const JsonValue& own);

/// Reads a JSON object from a file. Null, and `problem` set, when it holds none.
JsonValue readObject(const std::filesystem::path& file, std::string& problem);

}  // namespace vemora::check
