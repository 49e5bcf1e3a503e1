#include "CoreTest.h"
#include "core/bridge/VMRRpc.h"

#include <cstdint>
#include <set>
#include <thread>

namespace vemora {
namespace {

class VMRRpcTest : public CoreTest {};

JsonValue wire(const VMRRpc& message) {
  return json(message.jsonString());
}

TEST_F(VMRRpcTest, AcceptsExactlyTheTextsThatHoldAMessage) {
  for (const char* text :
       {R"({"method":"ping"})", R"({"id":"7","result":{}})", R"({"params":{"a":1}})", R"({"params":[0]})",
        R"({"error":{"code":1}})", R"({"result":0})", R"({"id":null,"method":"x","params":null})",
        // Members after a valid method are not checked.
        R"({"method":"x","params":"text","error":5})"}) {
    EXPECT_TRUE(VMRRpc::messageWithString(text)) << text;
  }
  for (const char* text :
       {"", "{", "\"method\"", "[]", R"([{"method":"x"}])", "{}", "null", R"({"id":"7"})",
        R"({"id":12,"method":"x"})", R"({"id":true,"method":"x"})", R"({"id":{},"method":"x"})",
        R"({"id":"7","error":{}})", R"({"method":"","params":{},"error":{}})", R"({"method":5})",
        R"({"params":"text"})", R"({"error":"text"})", R"({"method":"x"} trailing)",
        "{\"method\":\"\xff\"}"}) {
    EXPECT_FALSE(VMRRpc::messageWithString(text)) << text;
  }
}

TEST_F(VMRRpcTest, DistinguishesResponsesFromRequests) {
  const auto is = [](const char* text) { return VMRRpc::messageWithString(text)->isResponse(); };
  EXPECT_TRUE(is(R"({"id":"7","result":{}})"));
  EXPECT_TRUE(is(R"({"id":"7","method":"get.ads","result":{}})"));
  EXPECT_TRUE(is(R"({"id":"7","method":"get.ads","error":{}})"));
  EXPECT_TRUE(is(R"({"id":"7","method":"","params":{"a":1}})"));
  EXPECT_FALSE(is(R"({"id":"7","method":"event","params":{}})"));
  const auto message = VMRRpc::messageWithString(R"({"method":"Ping"})");
  EXPECT_TRUE(message->isKindOf("Ping"));
  EXPECT_FALSE(message->isKindOf("ping"));
  EXPECT_FALSE(VMRRpc::messageWithString(R"({"result":{}})")->isKindOf(""));
}

TEST_F(VMRRpcTest, WritesOnlyWhatHasEntries) {
  const auto bare = VMRRpc::initWithMethod("get.ads", nullptr);
  EXPECT_EQ(wire(*bare), JsonValue::object({{"jsonrpc", "2.0"}, {"id", bare->ID()}, {"method", "get.ads"}}));
  const auto empty =
      VMRRpc::messageWithString(R"({"id":"7","method":"m","params":{},"result":{},"error":{}})");
  EXPECT_TRUE(empty->hasResult());
  EXPECT_TRUE(empty->hasError());
  EXPECT_EQ(wire(*empty), json(R"({"jsonrpc":"2.0","id":"7","method":"m"})"));
  const auto full = VMRRpc::messageWithString(
      R"({"id":"7","jsonrpc":"1.0","method":"m","params":{"a":"\"\n\u2028é"},"result":{"b":[]},"error":{"c":null}})");
  EXPECT_EQ(wire(*full), json(R"({"jsonrpc":"2.0","id":"7","method":"m","params":{"a":"\"\n\u2028é"},)"
                              R"("result":{"b":[]},"error":{"c":null}})"));
  EXPECT_EQ(VMRRpc::messageWithString(R"({"method":"x","params":"text"})")->jsonString(), "");
  EXPECT_EQ(VMRRpc::initWithMethod("x", JsonValue::object({{"a", "\xff"}}))->jsonString(), "");
}

TEST_F(VMRRpcTest, RepliesEchoIdAndMethod) {
  const auto request = VMRRpc::messageWithString(R"({"id":"42","method":"window","params":{"a":1}})");
  EXPECT_EQ(wire(*request->replyWith(json(R"({"ok":1})"))),
            json(R"({"jsonrpc":"2.0","id":"42","method":"window","result":{"ok":1}})"));
  EXPECT_EQ(wire(*request->replyWithError(json(R"({"code":1})"))),
            json(R"({"jsonrpc":"2.0","id":"42","method":"window","error":{"code":1}})"));
}

TEST_F(VMRRpcTest, CountsIdsUpFromTheRandomSeed) {
  const std::ptrdiff_t first = VMRRpc::nextID();
  EXPECT_GE(first, 4294967295) << "the seed has 32 bits, the counter has the machine's word size";
  EXPECT_EQ(VMRRpc::nextID(), first + 1);
  EXPECT_EQ(VMRRpc::initWithMethod("x", nullptr)->ID(), JsonValue(std::to_string(first + 2)));
  EXPECT_EQ(VMRRpc::messageWithString(R"({"id":"","method":"x"})")->ID(),
            JsonValue(std::to_string(first + 3)));
  EXPECT_FALSE(VMRRpc::messageWithString("{}"));
  EXPECT_EQ(VMRRpc::nextID(), first + 5) << "a message that was refused has taken an id";
  EXPECT_FALSE(VMRRpc::messageWithString(R"({"id":"7"})"));
  EXPECT_EQ(VMRRpc::nextID(), first + 6) << "unless it brought its own";
}

TEST_F(VMRRpcTest, MakesUniqueIdsOnManyThreads) {
  std::vector<std::vector<std::ptrdiff_t>> taken(4);
  std::vector<std::thread> threads;
  for (auto& ids : taken) {
    threads.emplace_back([&ids] {
      for (int i = 0; i < 1000; ++i) ids.push_back(VMRRpc::nextID());
    });
  }
  for (auto& thread : threads) thread.join();
  std::set<std::ptrdiff_t> all;
  for (const auto& ids : taken) all.insert(ids.begin(), ids.end());
  EXPECT_EQ(all.size(), 4000u);
  EXPECT_EQ(*all.rbegin() - *all.begin(), 3999);
}

}  // namespace
}  // namespace vemora
