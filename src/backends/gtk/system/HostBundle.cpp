#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/InfoDictionary.h"
#include "backends/gtk/system/PosixLocale.h"

#include <glib.h>
#include <libintl.h>

#include <memory>

namespace vemora::gtk {

namespace {

class HostBundle final : public Bundle {
 public:
  std::optional<std::string> mainInfo(std::string_view key) override {
    return InfoDictionary::shared().entry(key);
  }

  std::optional<std::string> libraryInfo(std::string_view key) override {
    if (key == "CFBundleShortVersionString") return VEMORA_VERSION;
    return std::nullopt;
  }

  std::vector<std::string> preferredLocalizations() override { return languageTags(g_get_language_names()); }

  std::string localizedString(std::string_view key) override {
    std::string text(key);
    // The entry with the empty key is the header of the catalogue.
    if (text.empty() || text.find('\0') != std::string::npos) return text;
    const char* translated = dgettext(nullptr, text.c_str());
    if (g_utf8_validate(translated, -1, nullptr)) return translated;
    const GStringPtr utf8(g_locale_to_utf8(translated, -1, nullptr, nullptr, nullptr));
    return utf8 ? utf8.get() : text;
  }

  std::optional<std::string> countryCode() override { return regionOfLocale(formatsLocale()); }

  std::optional<std::string> displayNameForCountryCode(std::string_view code) override {
    return displayNameOfRegion(code, messagesLocale());
  }
};

}  // namespace

std::unique_ptr<Bundle> makeBundle() {
  return std::make_unique<HostBundle>();
}

}  // namespace vemora::gtk
