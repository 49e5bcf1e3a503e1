#include "CoreTest.h"
#include "base/VMRUtilities.h"
#include "core/context/VMRCrypto.h"
#include "core/model/VMRConfig.h"
#include "core/model/VemoraTypes_p.h"

#include <Vemora/InternalInconsistencyException.h>
#include <Vemora/VemoraAdGroup.h>
#include <Vemora/VemoraAdRequest.h>
#include <Vemora/VemoraTypes.h>

#include <cmath>

namespace vemora {
namespace {

class PublicTypesTest : public CoreTest {};

// Settings and log.

TEST_F(PublicTypesTest, PrintsErrorsAlwaysAndOtherMessagesInDebugMode) {
  Vemora::debugMode(false);
  EXPECT_FALSE(Vemora::debugMode());
  Vemora::log("quiet");
  Vemora::logError("loud");
  Vemora::debugMode(true);
  Vemora::log("printed");
  EXPECT_EQ(system().lines(), (std::vector<testing::LogLine>{{LogLevel::Error, "VEMORA ERROR: loud"},
                                                             {LogLevel::Default, "VEMORA LOG: printed"}}));
}

TEST_F(PublicTypesTest, FallsBackToTheVersionNumber) {
  EXPECT_EQ(Vemora::version(), "1.2.3");
  platform().fakeBundle().library["CFBundleShortVersionString"] = "";
  EXPECT_EQ(Vemora::version(), "1");
  platform().fakeBundle().library.clear();
  EXPECT_EQ(Vemora::version(), "1");
  EXPECT_STREQ(reinterpret_cast<const char*>(VemoraVersionString), "@(#)PROGRAM:Vemora  PROJECT:Vemora-1\n");
}

// Requests.

TEST_F(PublicTypesTest, RequestsFallBackToTheDefaultKey) {
  EXPECT_EQ(VemoraAdRequest::init()->apiKey(), "unkeyed-client");
  EXPECT_EQ(VemoraAdRequest::initWithApiKey("")->apiKey(), "");
  EXPECT_EQ(VemoraAdRequest::initPrivate()->apiKey(), std::nullopt);
  Vemora::setAPIKey("");
  EXPECT_EQ(VemoraAdRequest::init()->apiKey(), "");
  Vemora::setAPIKey("publisher");
  EXPECT_EQ(VemoraAdRequest::init()->apiKey(), "publisher");
  EXPECT_EQ(VemoraAdRequest::initWithApiKey("own")->apiKey(), "own");
  Vemora::setAPIKey(std::nullopt);
  EXPECT_EQ(VemoraAdRequest::init()->apiKey(), "unkeyed-client");
}

TEST_F(PublicTypesTest, RequestsStoreAndRemoveEntries) {
  const auto request = VemoraAdRequest::init();
  EXPECT_EQ(request->placementType(), "none");
  EXPECT_EQ(request->channel(), std::nullopt);
  EXPECT_TRUE(request->paramDict().empty() && request->customDict().empty() &&
              request->playbackDict().empty());
  request->setParam("a", 1);
  request->setParam("a", JsonValue::array({"x", "y"}));
  request->setParam("gone", "x");
  request->setParam("gone", nullptr);
  request->setParam("never", nullptr);
  EXPECT_EQ(JsonValue(request->paramDict()), json(R"({"a":["x","y"]})"));
  request->setCustom("c", json(R"({"d":1})"));
  request->setPlaybackOption("muted", false);
  EXPECT_EQ(JsonValue(request->customDict()).serialized(), R"({"c":{"d":1}})");
  EXPECT_EQ(JsonValue(request->playbackDict()).serialized(), R"({"muted":false})");
}

TEST_F(PublicTypesTest, RequestsTakeListsAndRefuseWhatJsonCannotCarry) {
  const auto request = VemoraAdRequest::init();
  request->setParam("list", {"a", "b"});
  request->setParam("one", {"a"});
  request->setParam("vector", std::vector<std::string>{"c"});
  request->setParam("absent", std::optional<std::vector<std::string>>());
  request->setParam("kept", "before");
  EXPECT_TRUE(system().lines().empty());
  request->setParam("kept", "caf\xe9");
  request->setParam("kept", std::nan(""));
  request->setCustom("caf\xe9", "value");
  EXPECT_EQ(JsonValue(request->paramDict()),
            json(R"({"list":["a","b"],"one":["a"],"vector":["c"],"kept":"before"})"));
  EXPECT_TRUE(request->customDict().empty());
  EXPECT_EQ(system().lines().size(), 3u);
}

// Events.

TEST_F(PublicTypesTest, ConvertsEventsToNamesAndBack) {
  const auto names = adEventArr();
  ASSERT_EQ(names.size(), 26u);
  for (std::ptrdiff_t value = 0; value < 26; ++value) {
    const auto event = static_cast<VemoraAdEvent>(value);
    EXPECT_EQ(VemoraAdEventFromNSString(NSStringFromVemoraAdEvent(event)), event);
    EXPECT_EQ(toString(event), names[static_cast<std::size_t>(value)]);
  }
  EXPECT_EQ(NSStringFromVemoraAdEvent(static_cast<VemoraAdEvent>(9)), "AdVideoThirdQuartile");
  EXPECT_EQ(VemoraAdEventFromNSString("ADSKIPPABLEstatechange"), 25);
  EXPECT_EQ(VemoraAdEventFromNSString("AdStarted "), AdUnknown);
  EXPECT_EQ(VemoraAdEventFromNSString(""), AdUnknown);
  EXPECT_EQ(VemoraAdEventFromNSString(std::nullopt), AdUnknown);
  for (const std::ptrdiff_t value : {26, -1, 1 << 30})
    EXPECT_EQ(NSStringFromVemoraAdEvent(static_cast<VemoraAdEvent>(value)), "AdUnknown");
}

// Ads, groups, configuration.

TEST_F(PublicTypesTest, GroupsSortTheirAdsByIndex) {
  const auto group = VemoraAdGroup::initWithAdGroupDict(json(R"({"adgroup":{"ads":[
      {"id":"c","index":2,"duration":30.5},{"id":"a","duration":"15 s"},{"id":"b","index":"1x"},{"id":"z","index":-1}]}})"));
  std::string order;
  for (const auto& ad : *group) order += *ad->id().asString();
  EXPECT_EQ(order, "zabc");
  EXPECT_EQ(group->totalDuration(), 45.5);
  EXPECT_TRUE(VemoraAdGroup::initWithAdGroupDict(json(R"({"adgroup":{"ads":[]}})"))->ads().empty());
  for (const char* text :
       {"{}", R"({"adgroup":{}})", R"({"adgroup":{"ads":null}})", R"({"adgroup":[]})", "[]", "5"})
    EXPECT_FALSE(VemoraAdGroup::initWithAdGroupDict(json(text))) << text;
  EXPECT_THROW(VemoraAdGroup::init(), InternalInconsistencyException);
}

TEST_F(PublicTypesTest, AdsStoreValuesWithoutConversion) {
  const auto ad = VemoraAd::initWithAdDictionary(json(
      R"({"id":"a","index":3,"vpi":"mp4","title":7,"duration":15,"price":"1.5","url":null,"clickthru":["x"]})"));
  EXPECT_EQ(ad->index(), JsonValue(3));
  EXPECT_EQ(ad->vpi(), JsonValue("mp4"));
  EXPECT_EQ(ad->title(), JsonValue(7));
  EXPECT_EQ(ad->price(), JsonValue("1.5"));
  EXPECT_TRUE(ad->url().isNull());
  EXPECT_TRUE(ad->clickthru().isArray());
  EXPECT_THROW(VemoraAd::init(), InternalInconsistencyException);
}

TEST_F(PublicTypesTest, AdsOfferTheirValuesAsCppTypes) {
  const auto ad = VemoraAd::initWithAdDictionary(json(
      R"({"id":"a","index":"3","vpi":"mp4","title":"T","duration":15.5,"price":"1.5 EUR","url":5,"clickthru":"u"})"));
  EXPECT_EQ(ad->idText(), "a");
  EXPECT_EQ(ad->indexNumber(), 3);
  EXPECT_EQ(ad->vpiText(), "mp4");
  EXPECT_EQ(ad->titleText(), "T");
  EXPECT_EQ(ad->durationSeconds(), 15.5);
  EXPECT_EQ(ad->priceNumber(), 1.5);
  EXPECT_EQ(ad->urlText(), "5");
  EXPECT_EQ(ad->clickthruText(), "u");
  const auto bare = VemoraAd::initWithAdDictionary(json(R"({"title":null,"duration":[15],"clickthru":{}})"));
  EXPECT_FALSE(bare->idText().empty());
  EXPECT_EQ(bare->indexNumber(), 0);
  EXPECT_EQ(bare->titleText(), std::nullopt);
  EXPECT_EQ(bare->durationSeconds(), std::nullopt);
  EXPECT_EQ(bare->priceNumber(), std::nullopt);
  EXPECT_EQ(bare->clickthruText(), std::nullopt);
}

TEST_F(PublicTypesTest, AdsWithoutAnIdGetConsecutiveNumbersAcrossGroups) {
  const auto number = [](const char* text) {
    return VemoraAd::initWithAdDictionary(json(text))->id().integerValue();
  };
  const auto first = number("{}");
  EXPECT_EQ(number(R"({"id":""})"), first + 1);
  EXPECT_EQ(number(R"({"id":null})"), first + 2);
  EXPECT_EQ(number("5"), first + 3) << "also for an element that is not an object";
  const auto group = VemoraAdGroup::initWithAdGroupDict(json(R"({"adgroup":{"ads":[{},"x"]}})"));
  EXPECT_EQ(group->ads()[1]->id(), JsonValue(std::to_string(first + 5)));
  EXPECT_TRUE(group->ads()[1]->id().isIdenticalTo(json("\"" + std::to_string(first + 5) + "\"")))
      << "an event looks the ad up by identity";
}

TEST_F(PublicTypesTest, OnlyANumberEnablesViewability) {
  const auto enabled = [](const char* text) {
    return VMRConfig::initWithConfigDict(json(text))->featureMOATEnabled();
  };
  for (const char* text :
       {R"({"features":{"moat":1}})", R"({"features":{"moat":true}})", R"({"features":{"moat":0.5}})"})
    EXPECT_TRUE(enabled(text)) << text;
  for (const char* text : {R"({"features":{"moat":"1"}})", R"({"features":{"moat":0}})",
                           R"({"features":{"moat":null}})", R"({"features":[]})", "{}", "null", "[]"})
    EXPECT_FALSE(enabled(text)) << text;
  EXPECT_EQ(VMRConfig::initWithConfigDict(json(R"({"moat_partner_code":"x"})"))->moatPartnerCode(), "x");
  EXPECT_EQ(VMRConfig::initWithConfigDict(json(R"({"moat_partner_code":5})"))->moatPartnerCode(),
            std::nullopt);
}

// Helpers.

TEST_F(PublicTypesTest, FindsValuesByPath) {
  const JsonValue root = json(R"({"ads":[1,2],"a":{"b":{"0":"x"}},"":{"a":5},"s":"text"})");
  const auto at = [&](const char* path) { return VMRUtilities::jsonValueFrom(root, path); };
  EXPECT_EQ(at("ads"), json("[1,2]"));
  EXPECT_EQ(at("a/b/0"), JsonValue("x"));
  EXPECT_EQ(at("/a"), JsonValue(5));
  EXPECT_EQ(at(""), json(R"({"a":5})"));
  for (const char* nowhere : {"ads/0", "s/b", "missing/b", "a/b/", "a//b", "a/b/0/x"})
    EXPECT_TRUE(at(nowhere).isNull());
  EXPECT_TRUE(VMRUtilities::jsonValueFrom(json("[{}]"), "0").isNull());
}

TEST_F(PublicTypesTest, ComputesSha1Digests) {
  EXPECT_EQ(VMRCrypto::sha1(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  EXPECT_EQ(VMRCrypto::sha1("\xc3\xa9"), "bf15be717ac1b080b4f1c456692825891ff5073d");
}

}  // namespace
}  // namespace vemora
