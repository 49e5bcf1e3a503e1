#include "base/Utf8.h"

#include <Vemora/JsonValue.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <new>
#include <random>
#include <thread>

namespace vemora {
namespace {

TEST(JsonValue, KeepsEveryIntegerOfSixtyFourBits) {
  for (const char* text :
       {"0", "-1", "9223372036854775807", "-9223372036854775808", "18446744073709551615"}) {
    const auto value = JsonValue::parse(text);
    ASSERT_TRUE(value) << text;
    EXPECT_EQ(value->serialized(), text);
    EXPECT_EQ(value->stringValue(), text);
  }
}

TEST(JsonValue, ReadsAndWritesDoublesExactly) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    const auto bits = random();
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    if (!std::isfinite(number)) continue;
    const auto text = JsonValue(number).serialized();
    ASSERT_TRUE(text);
    EXPECT_EQ(JsonValue::parse(*text)->doubleValue(), number) << *text;
  }
}

TEST(JsonValue, ReadsEveryNotationOfNumbers) {
  const std::string digits(40, '0');
  for (const std::string& zero : {std::string("0e154"), std::string("-0E-400"), std::string("0.0e+99"),
                                  "0." + digits, "-0." + digits + "e30", std::string("0.00")}) {
    const auto value = JsonValue::parse("[1, " + zero + ",\"0e154\\\"0e154\",2]");
    ASSERT_TRUE(value) << zero;
    EXPECT_EQ(value->elements()[1].doubleValue(), 0) << zero;
    EXPECT_EQ(std::signbit(value->elements()[1].doubleValue()), zero.front() == '-') << zero;
    EXPECT_EQ(value->elements()[2].asString(), "0e154\"0e154");
  }
  for (const char* malformed : {"0e", "00e1", "0.e1", "-0e+", "0e1.0", "0e5-", "[0e1", "\"0e1"}) {
    EXPECT_FALSE(JsonValue::parse(malformed)) << malformed;
  }
  EXPECT_EQ(JsonValue::parse("0." + digits + "1e41")->doubleValue(), 1);
  EXPECT_EQ(JsonValue::parse("184467440737095516158")->doubleValue(), 184467440737095516158.0);
  EXPECT_EQ(JsonValue::parse("-9223372036854775809")->doubleValue(), -9223372036854775809.0);
  EXPECT_EQ(JsonValue::parse("1e-400")->doubleValue(), 0);
  EXPECT_EQ(JsonValue::parse("4.9e-324")->doubleValue(), 4.9e-324);
}

TEST(JsonValue, RejectsTextThatIsNotExactlyOneValue) {
  const std::string withNul("{}\0", 3);
  for (const std::string_view text :
       {std::string_view(""), std::string_view("{} {}"), std::string_view("[1,]"),
        std::string_view("\"\xff\""), std::string_view("nan"), std::string_view("[2e308]"),
        std::string_view("-1e999"), std::string_view(withNul)}) {
    EXPECT_FALSE(JsonValue::parse(text)) << text;
  }
}

TEST(JsonValue, BoundsNesting) {
  const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  const auto deepest = JsonValue::parse(nested(JsonValue::kMaximumDepth));
  ASSERT_TRUE(deepest);
  EXPECT_EQ(deepest->serialized(), nested(JsonValue::kMaximumDepth));
  EXPECT_FALSE(JsonValue::parse(nested(JsonValue::kMaximumDepth + 1)));
  EXPECT_FALSE(JsonValue::array({*deepest}).serialized());
}

TEST(JsonValue, ReplacesLoneSurrogatesAndKeepsPairs) {
  EXPECT_EQ(JsonValue::parse(R"("a\ud800b")")->asString(),
            "a\xef\xbf\xbd"
            "b");
  EXPECT_EQ(JsonValue::parse(R"("\udc00\ud83d\ude00\ud83d")")->asString(),
            "\xef\xbf\xbd\xf0\x9f\x98\x80\xef\xbf\xbd");
  EXPECT_EQ(JsonValue::parse(R"("\\ud800")")->asString(), "\\ud800");
}

TEST(JsonValue, InternsWhatItReads) {
  const auto first = JsonValue::parse(R"({"id":"an id of some length"})");
  const auto second = JsonValue::parse(R"([{"id":"an id of some length"}])");
  const JsonValue id = second->elements()[0]["id"];
  EXPECT_TRUE((*first)["id"].isIdenticalTo(id));
  EXPECT_FALSE(JsonValue("an id of some length").isIdenticalTo(id));
  EXPECT_EQ(JsonValue("an id of some length"), id);
  EXPECT_FALSE(JsonValue(nullptr).isIdenticalTo(nullptr));
}

TEST(JsonValue, ReadsBackEveryCharacterAtEveryPosition) {
  for (std::size_t length = 1; length <= 20; ++length) {
    for (std::size_t at = 0; at < length; ++at) {
      for (int c = 0; c < 0x80; ++c) {
        std::string text(length, 'x');
        text[at] = static_cast<char>(c);
        const auto written = JsonValue(text).serialized();
        ASSERT_TRUE(written);
        ASSERT_EQ(JsonValue::parse(*written)->asString(), text) << *written;
        const bool isPlain = c >= 0x20 && c != '"' && c != '\\';
        ASSERT_EQ(JsonValue::parse("\"" + text + "\"").has_value(), isPlain) << text;
      }
    }
  }
  EXPECT_FALSE(JsonValue::parse("\xef\xbb{}"));
  EXPECT_TRUE(JsonValue::parse("\xef\xbb\xbf{}"));
}

TEST(JsonValue, KeepsTheLastOfRepeatedKeys) {
  EXPECT_EQ(JsonValue::parse(R"({"a":1,"b":2,"a":3})")->serialized(), R"({"b":2,"a":3})");
  std::string large = "{";
  for (int i = 0; i < 100; ++i) large += "\"k" + std::to_string(i % 50) + "\":" + std::to_string(i) + ",";
  large.back() = '}';
  const auto value = JsonValue::parse(large);
  EXPECT_EQ(value->count(), 50u);
  EXPECT_EQ((*value)["k7"].integerValue(), 57);
  EXPECT_TRUE((*value)["k50"].isNull());
}

TEST(JsonValue, ReadsTextAsItsLeadingNumber) {
  EXPECT_EQ(JsonValue(" 42abc").integerValue(), 42);
  EXPECT_EQ(JsonValue("-99999999999999999999").integerValue(), INT64_MIN);
  EXPECT_EQ(JsonValue("9223372036854775807").integerValue(), INT64_MAX);
  EXPECT_EQ(JsonValue("9223372036854775808").integerValue(), INT64_MAX);
  EXPECT_EQ(JsonValue("1.5e2x").doubleValue(), 150);
  EXPECT_EQ(JsonValue("1e").doubleValue(), 1);
  EXPECT_EQ(JsonValue("abc").doubleValue(), 0);
  EXPECT_TRUE(JsonValue("Yes").boolValue());
  EXPECT_TRUE(JsonValue("007").boolValue());
  EXPECT_FALSE(JsonValue("00").boolValue());
  EXPECT_FALSE(JsonValue("no").boolValue());
}

TEST(JsonValue, TreatsBooleansAsNumbersExceptInComparisons) {
  EXPECT_TRUE(JsonValue(true).isNumber());
  EXPECT_EQ(JsonValue(true).integerValue(), 1);
  EXPECT_EQ(JsonValue(true).serialized(), "true");
  EXPECT_NE(JsonValue(true), JsonValue(1));
  // In memory that held other values: the bytes that a boolean does not use must not count.
  alignas(JsonValue) unsigned char room[sizeof(JsonValue)];
  std::memset(room, 0xA5, sizeof room);
  const auto* boolean = new (room) JsonValue(true);
  EXPECT_EQ(*boolean, JsonValue(true));
  EXPECT_NE(*boolean, JsonValue(false));
  EXPECT_EQ(JsonValue(1.0), JsonValue(1u));
  EXPECT_NE(JsonValue(-1), JsonValue(18446744073709551615u));
}

TEST(JsonValue, WritesNothingThatJsonCannotCarry) {
  EXPECT_FALSE(JsonValue(std::nan("")).serialized());
  EXPECT_FALSE(JsonValue(std::string("\xc3")).serialized());
  EXPECT_EQ(JsonValue(std::string("a\0b", 3)).serialized(), "\"a\\u0000b\"");
}

TEST(JsonValue, ConvertsCharactersAndListsAsText) {
  EXPECT_EQ(JsonValue('a'), JsonValue("a"));
  EXPECT_TRUE(JsonValue(static_cast<const char*>(nullptr)).isNull());
  static_assert(!std::is_convertible_v<wchar_t, JsonValue> && !std::is_convertible_v<char32_t, JsonValue>);
  static_assert(!std::is_convertible_v<std::vector<void*>, JsonValue>);
  const std::vector<std::string> texts{"a", "b"};
  EXPECT_EQ(JsonValue(texts).serialized(), R"(["a","b"])");
  EXPECT_EQ(JsonValue(std::optional(texts)).serialized(), R"(["a","b"])");
  EXPECT_EQ(JsonValue(std::vector<bool>{true, false}).serialized(), "[true,false]");
}

TEST(JsonValue, LooksUpArrayElementsByPosition) {
  const JsonValue value = *JsonValue::parse(R"({"ads":["first","second"]})");
  EXPECT_EQ(value["ads"][0], JsonValue("first"));
  EXPECT_EQ(value["ads"][std::size_t{1}], JsonValue("second"));
  EXPECT_TRUE(value["ads"][2].isNull());
  EXPECT_TRUE(value["ads"][-1].isNull());
  EXPECT_TRUE(value[0].isNull());
}

TEST(Utf8, AcceptsExactlyTheTextsOfTheStandard) {
  for (const std::string_view valid : {std::string_view(), std::string_view("a\0b", 3),
                                       std::string_view("\xc3\xa9\xf0\x9f\x98\x80\xed\x9f\xbf")}) {
    EXPECT_TRUE(isUtf8(valid)) << valid;
  }
  // Cut off, overlong, a surrogate, beyond U+10FFFF, and a continuation byte on its own.
  for (const std::string_view invalid :
       {"\xc3", "a\xf0\x9f\x98", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\x80"}) {
    EXPECT_FALSE(isUtf8(invalid)) << invalid;
    EXPECT_FALSE(JsonValue(invalid).serialized()) << invalid;
    EXPECT_FALSE(JsonValue::parse("\"" + std::string(invalid) + "\"")) << invalid;
  }
}

TEST(JsonValue, InternsOnManyThreadsAtOnce) {
  // Few texts, short lifetimes and many threads: one thread releases a string while another looks it up.
  const auto text = [](int i) { return "shared text number " + std::to_string(i % 7); };
  std::vector<std::thread> threads;
  for (int seed = 0; seed < 4; ++seed) {
    threads.emplace_back([&text, seed] {
      for (int i = 0; i < 20000; ++i) {
        const JsonValue first = JsonValue::internedString(text(i + seed));
        const JsonValue copy = first;
        const JsonValue second = JsonValue::internedString(text(i + seed));
        ASSERT_TRUE(first.isIdenticalTo(second));
        ASSERT_EQ(copy.asString(), text(i + seed));
      }
    });
  }
  for (auto& thread : threads) thread.join();

  // Growing tables, and values that cross threads.
  const JsonValue kept = JsonValue::internedString("kept");
  threads.clear();
  for (int part = 0; part < 4; ++part) {
    threads.emplace_back([&kept, part] {
      std::vector<JsonValue> held;
      for (int i = 0; i < 5000; ++i)
        held.push_back(JsonValue::internedString(std::to_string(i + part * 2500)));
      for (int i = 0; i < 5000; ++i)
        ASSERT_TRUE(held[static_cast<std::size_t>(i)].isIdenticalTo(
            JsonValue::internedString(std::to_string(i + part * 2500))));
      ASSERT_TRUE(kept.isIdenticalTo(JsonValue::internedString("kept")));
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace vemora
