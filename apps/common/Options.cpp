#include "Options.h"

#include "GLibHandles.h"

#include <gio/gio.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <system_error>

namespace vemora {

namespace fs = std::filesystem;

/// The state of the callback of GLib's parser.
struct OptionsReader {
  std::span<const Option> options;
  Options result;

  /// `given` is "--name" or "-n".
  [[nodiscard]] std::string nameOf(std::string_view given) const {
    if (given.starts_with("--")) return std::string(given.substr(2));
    for (const Option& option : options) {
      if (option.shortName && given.substr(1) == std::string_view(&option.shortName, 1)) return option.name;
    }
    return std::string(given);
  }

  static gboolean onOption(const char* given, const char* value, gpointer reader, GError** error) {
    auto* const self = static_cast<OptionsReader*>(reader);
    const std::string name = self->nameOf(given);
    if (value && !*value) {
      g_set_error(error, G_OPTION_ERROR, G_OPTION_ERROR_BAD_VALUE, "--%s: the value is empty", name.c_str());
      return FALSE;
    }
    self->result.values_[name].emplace_back(value ? value : "");
    return TRUE;
  }

  void addParameter(const char* text) { result.parameters_.emplace_back(text); }
};

namespace {

std::vector<GOptionEntry> entriesOf(std::span<const Option> options) {
  std::vector<GOptionEntry> entries;
  for (const Option& option : options) {
    int flags = G_OPTION_FLAG_NONE;
    if (option.kind == Option::Kind::Flag) flags |= G_OPTION_FLAG_NO_ARG;
    if (option.kind == Option::Kind::File) flags |= G_OPTION_FLAG_FILENAME;
    entries.push_back({option.name, option.shortName, flags, G_OPTION_ARG_CALLBACK,
                       reinterpret_cast<gpointer>(&OptionsReader::onOption), option.help,
                       option.placeholder});
  }
  entries.push_back({"version", 0, G_OPTION_FLAG_NO_ARG, G_OPTION_ARG_CALLBACK,
                     reinterpret_cast<gpointer>(&OptionsReader::onOption), "Show the version", nullptr});
  entries.push_back({nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr});
  return entries;
}

std::optional<std::string> whyUnreadable(const fs::path& path, bool wantFolder) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (error) return error.message();
  if (wantFolder && !fs::is_directory(status)) return "not a folder";
  if (!wantFolder && fs::is_directory(status)) return "is a folder";
  if (!wantFolder && !fs::is_regular_file(status)) return "not a regular file";
  if (access(path.c_str(), wantFolder ? R_OK | X_OK : R_OK) != 0) {
    return std::error_code(errno, std::generic_category()).message();
  }
  return std::nullopt;
}

fs::path readable(const std::string& option, const fs::path& path, bool wantFolder) {
  if (const auto why = whyUnreadable(path, wantFolder)) {
    throw BadArguments("--" + option + ": cannot read '" + path.string() + "': " + *why);
  }
  return fs::absolute(path);
}

}  // namespace

Options Options::read(const ProgramDescription& program, std::span<const Option> options, int argc,
                      char** argv) {
  OptionsReader reader{options, {}};
  const std::vector<GOptionEntry> entries = entriesOf(options);
  const GOptionContextPtr context(g_option_context_new(program.parameters));
  g_option_context_set_summary(context.get(), program.summary);
  g_option_context_set_description(context.get(), program.description);
  GOptionGroup* const group = g_option_group_new(program.name, "", "", &reader, nullptr);
  g_option_group_add_entries(group, entries.data());
  g_option_context_set_main_group(context.get(), group);

  GErrorHolder error;
  if (!g_option_context_parse(context.get(), &argc, &argv, error.out())) throw BadArguments(error.message());
  if (reader.result.has("version")) {
    std::cout << program.name << " " << program.version << std::endl;
    std::exit(EXIT_SUCCESS);
  }
  for (int i = 1; i < argc; ++i) reader.addParameter(argv[i]);
  if (!program.parameters && argc > 1) throw BadArguments("unexpected argument: " + std::string(argv[1]));
  return std::move(reader.result);
}

std::vector<std::string> Options::values(std::string_view name) const {
  const auto found = values_.find(name);
  return found == values_.end() ? std::vector<std::string>() : found->second;
}

std::optional<std::string> Options::value(std::string_view name) const {
  const auto found = values_.find(name);
  return found == values_.end() ? std::nullopt : std::optional(found->second.back());
}

std::optional<fs::path> Options::file(std::string_view name) const {
  const auto text = value(name);
  return text ? std::optional<fs::path>(*text) : std::nullopt;
}

int reportBadArguments(const char* program, const BadArguments& problem) {
  std::cerr << program << ": " << problem.what() << "\nTry '" << program << " --help'.\n";
  return kBadArgumentsStatus;
}

std::optional<double> readNumber(const std::string& text) {
  char* end = nullptr;
  const double value = g_ascii_strtod(text.c_str(), &end);
  const bool isAll = end != text.c_str() && end == text.c_str() + text.size();
  return isAll && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::optional<std::uint64_t> readWholeNumber(std::string_view text, std::uint64_t largest) {
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isAll = error == std::errc() && end == text.data() + text.size();
  return isAll && value <= largest ? std::optional(value) : std::nullopt;
}

fs::path readableFile(const std::string& option, const fs::path& file) {
  return readable(option, file, false);
}

fs::path readableFolder(const std::string& option, const fs::path& folder) {
  return readable(option, folder, true);
}

fs::path writableFile(const std::string& option, const fs::path& path) {
  fs::path file = fs::absolute(path);
  const bool isWritable = file.has_filename() && !fs::is_directory(file) &&
                          access(fs::exists(file) ? file.c_str() : file.parent_path().c_str(), W_OK) == 0;
  if (!isWritable) throw BadArguments("--" + option + ": cannot write the file '" + path.string() + "'");
  return file;
}

std::optional<std::string> whyUnreadableFile(const fs::path& file) {
  return whyUnreadable(file, false);
}

std::optional<std::string> whyUnreadableFolder(const fs::path& folder) {
  return whyUnreadable(folder, true);
}

}  // namespace vemora
