#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/system/PosixLocale.h"

#include <Vemora/Gtk/VemoraGtk.h>

#include <gtest/gtest.h>

namespace vemora::gtk {

namespace {

using Tags = std::vector<std::string>;

Tags tagsOf(std::vector<const char*> names) {
  names.push_back(nullptr);
  return languageTags(names.data());
}

TEST(PosixLocaleTest, NamesLanguagesByTheirTags) {
  EXPECT_EQ(tagsOf({"pt_BR.UTF-8", "pt_BR", "pt.UTF-8", "pt", "C"}), (Tags{"pt-BR", "pt"}));
  EXPECT_EQ(tagsOf({"sr_RS@latin", "de"}), (Tags{"sr-RS", "de"}));
  EXPECT_EQ(tagsOf({"C.UTF-8", "C", "POSIX", ""}), Tags{"en"});
  EXPECT_EQ(tagsOf({"../../etc", "x y", "_US", "deutsch", "en_"}), Tags{"en"});
}

TEST(PosixLocaleTest, FindsTheRegion) {
  EXPECT_EQ(regionOfLocale("de_CH.UTF-8@euro"), "CH");
  EXPECT_EQ(regionOfLocale("en_US"), "US");
  for (const char* name : {"C", "C.UTF-8", "POSIX", "", "de", "es_419", "rubbish/../x"}) {
    EXPECT_EQ(regionOfLocale(name), std::nullopt) << name;
  }
}

TEST(PosixLocaleTest, NamesTheRegionInTheLanguageOfTheLocale) {
  EXPECT_EQ(displayNameOfRegion("DE", "fr_FR.UTF-8"), "Allemagne");
  EXPECT_EQ(displayNameOfRegion("DE", "C"), "Germany");
  EXPECT_EQ(displayNameOfRegion("de", "C"), std::nullopt);
  EXPECT_EQ(displayNameOfRegion("", "C"), std::nullopt);
  EXPECT_EQ(displayNameOfRegion("QX", "C"), std::nullopt);
}

TEST(BundleTest, KnowsTheApplicationAndTheLibrary) {
  const std::unique_ptr<Bundle> bundle = makeBundle();
  EXPECT_EQ(bundle->mainInfo("CFBundleIdentifier"), std::nullopt);
  EXPECT_EQ(bundle->mainInfo("CFBundleName"), std::nullopt);
  const auto application =
      GObjectPtr<GApplication>::adopt(g_application_new("org.example.Bundle", G_APPLICATION_DEFAULT_FLAGS));
  g_application_set_default(application.get());
  g_set_application_name("A Bundle");
  EXPECT_EQ(bundle->mainInfo("CFBundleIdentifier"), "org.example.Bundle");
  EXPECT_EQ(bundle->mainInfo("CFBundleName"), "A Bundle");
  setInfoDictionaryEntry("CFBundleName", "The host's");
  setInfoDictionaryEntry("VemoraControllerHost", "localhost:1");
  EXPECT_EQ(bundle->mainInfo("CFBundleName"), "The host's");
  EXPECT_EQ(bundle->mainInfo("VemoraControllerHost"), "localhost:1");
  setInfoDictionaryEntry("CFBundleName", std::nullopt);
  EXPECT_EQ(bundle->mainInfo("CFBundleName"), "A Bundle");
  g_application_set_default(nullptr);

  EXPECT_EQ(bundle->libraryInfo("CFBundleShortVersionString"), VEMORA_VERSION);
  EXPECT_EQ(bundle->libraryInfo("CFBundleName"), std::nullopt);
  EXPECT_EQ(bundle->localizedString(""), "");
  EXPECT_EQ(bundle->localizedString("Unable to Load Controller"), "Unable to Load Controller");
}

// This program runs with LANG=pt_BR.UTF-8 and no variable that takes precedence.
TEST(BundleTest, FollowsTheEnvironmentsLanguage) {
  const std::unique_ptr<Bundle> bundle = makeBundle();
  EXPECT_EQ(bundle->preferredLocalizations(), (Tags{"pt-BR", "pt"}));
  EXPECT_EQ(bundle->countryCode(), "BR");
  EXPECT_EQ(bundle->displayNameForCountryCode("BR"), "Brasil");
}

TEST(BundleTest, TakesTheCountryFromTheFormatsAndNotFromTheLanguage) {
  const std::unique_ptr<Bundle> bundle = makeBundle();
  g_setenv("LC_MESSAGES", "en_US.UTF-8", TRUE);
  EXPECT_EQ(bundle->countryCode(), "BR");
  g_setenv("LC_TIME", "de_CH.UTF-8", TRUE);
  EXPECT_EQ(bundle->countryCode(), "CH");
  g_setenv("LC_ALL", "fr_FR.UTF-8", TRUE);
  EXPECT_EQ(bundle->countryCode(), "FR");
  for (const char* variable : {"LC_ALL", "LC_TIME", "LC_MESSAGES"}) g_unsetenv(variable);
}

}  // namespace

}  // namespace vemora::gtk
