#pragma once

#include "FileResponse.h"

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace vemora {

/// A document that is served together with the files that it names, and nothing else of its folder.
///
/// A file is named by "{{origin}}/NAME", or by a relative address, in the document or in an XML or JSON file
/// that is itself named; NAME counts from the document's folder, and never leads out of it. All lie below an
/// address that cannot be guessed, because other users of the machine can reach the server too.
class SharedDocument {
 public:
  explicit SharedDocument(const std::filesystem::path& document);

  /// "/SECRET/", where the secret has 128 random bits.
  [[nodiscard]] const std::string& prefix() const { return prefix_; }
  /// The path of the document itself, percent-encoded.
  [[nodiscard]] std::string path() const;
  /// The file at a decoded path below the prefix; absent unless the document names it.
  [[nodiscard]] std::optional<std::filesystem::path> find(std::string_view relative) const;
  /// What the addresses in shared documents become on a server with this origin.
  [[nodiscard]] Replacements replacements(const std::string& origin) const;

 private:
  struct Named {
    std::set<std::filesystem::path> files;
    std::set<std::string> marked;  ///< The names after "{{origin}}/", as they are written.
  };
  [[nodiscard]] Named named() const;
  void addNamesIn(const std::filesystem::path& file, Named& named) const;

  std::filesystem::path document_;
  std::string prefix_;
};

}  // namespace vemora
