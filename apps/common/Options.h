#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vemora {

/// The arguments cannot be used; the text says which and why.
class BadArguments : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One option of a program, for its help and for reading it.
struct Option {
  enum class Kind { Flag, Text, File };
  const char* name;         ///< Without the dashes.
  Kind kind;                ///< Text and File take a value, and may be repeated.
  const char* help;         ///< One line.
  const char* placeholder;  ///< The value's name in the help; null for a flag.
  char shortName = 0;
};

struct ProgramDescription {
  const char* name;
  const char* version;
  const char* parameters;  ///< What may follow the options, for the help; null: nothing.
  const char* summary;
  const char* description;
};

/// The options that a program was given, read by GLib's parser: "--help" is built in, "--version" is added.
///
///     const Options options = Options::read(kProgram, kOptions, argc, argv);
///     if (const auto file = options.value("page")) open(*file);
class Options {
 public:
  /// Throws BadArguments. Ends the program after it has printed the help or the version.
  static Options read(const ProgramDescription& program, std::span<const Option> options, int argc,
                      char** argv);

  [[nodiscard]] bool has(std::string_view name) const { return values_.find(name) != values_.end(); }
  /// The last value given; never empty.
  [[nodiscard]] std::optional<std::string> value(std::string_view name) const;
  [[nodiscard]] std::optional<std::filesystem::path> file(std::string_view name) const;
  /// All values in the order given.
  [[nodiscard]] std::vector<std::string> values(std::string_view name) const;
  /// The arguments after the options.
  [[nodiscard]] const std::vector<std::string>& parameters() const { return parameters_; }

 private:
  friend struct OptionsReader;
  std::map<std::string, std::vector<std::string>, std::less<>> values_;
  std::vector<std::string> parameters_;
};

/// The status of a program that was given arguments or input files that it cannot use.
inline constexpr int kBadArgumentsStatus = 2;

/// Prints the problem and a hint at --help; returns the exit status.
int reportBadArguments(const char* program, const BadArguments& problem);

/// The number that the whole text represents; absent when it is not a finite number.
std::optional<double> readNumber(const std::string& text);
/// The same for a whole number without a sign.
std::optional<std::uint64_t> readWholeNumber(std::string_view text, std::uint64_t largest);

/// Throws BadArguments unless the file can be read; returns its absolute path.
std::filesystem::path readableFile(const std::string& option, const std::filesystem::path& file);
std::filesystem::path readableFolder(const std::string& option, const std::filesystem::path& folder);
/// Throws BadArguments unless a file of this name can be created or replaced.
std::filesystem::path writableFile(const std::string& option, const std::filesystem::path& file);

/// Why a file or folder cannot be read; absent when it can.
std::optional<std::string> whyUnreadableFile(const std::filesystem::path& file);
std::optional<std::string> whyUnreadableFolder(const std::filesystem::path& folder);

}  // namespace vemora
