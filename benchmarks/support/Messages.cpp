#include "support/Messages.h"

namespace vemora::bench {

namespace {

std::string ad(int index) {
  const std::string number = std::to_string(index);
  return R"({"id":"film-)" + number + R"(","index":)" + number +
         R"(,"vpi":"mp4","title":"Morning Ferry, part )" + number +
         R"( of a longer story","duration":15.2,"price":1.25,)" +
         R"("url":"https://media.example/campaigns/2048/films/morning-ferry-)" + number +
         R"(/master-720p.mp4?token=5f1c9a3be07d","clickthru":"https://advertiser.example/ferry?src=ad&pos=)" +
         number + R"(","tracking":["https://tracker.example/impression?cb=48151623&ad=)" + number +
         R"(","https://tracker.example/quartile?cb=48151623&ad=)" + number +
         R"("],"skippable":true,"skipoffset":5})";
}

}  // namespace

std::string pingMessage() {
  return R"({"jsonrpc":"2.0","method":"ping","params":{}})";
}

std::string eventMessage(const std::string& adId, double elapsed) {
  return R"({"jsonrpc":"2.0","method":"event","params":{"id":")" + adId +
         R"(","event":"AdTimeChange","data":)" + std::to_string(elapsed) + "}}";
}

std::string getConfigMessage() {
  return R"({"jsonrpc":"2.0","id":"2914","method":"get.config","params":{"apikey":"publisher-key","params":{)"
         R"("channel_id":"1234","platform_type":"apple","placement_type":"inline","vpi":["mp4","tvjs","vpaid_js"],)"
         R"("regs[gdpr]":"1","user[consent]":"BOEFEAyOEFEAyAHABDENAI4AAAB9vABAASA"},"custom":{},"playback":{},)"
         R"("device":{"ifa":"00000000-0000-0000-0000-000000000000","ua":"Mozilla/5.0 (X11; Linux x86_64) )"
         R"(AppleWebKit/605.1.15 (KHTML, like Gecko) Version/16.0 Safari/605.1.15","lang":"en_GB","make":"Apple",)"
         R"("model":"iPhone","os":"iOS","osv":"17.4","dnt":true,"lmt":true,)"
         R"("geo":{"country":"GB","lat":null,"lon":null,"type":null}},"app":{"ext":{"vemorasdk":{"ver":"1.0.0",)"
         R"("name":"Example"}},"bundle":"org.example.app","uid":"9f8a1b2c3d4e5f60718293a4b5c6d7e8","ver":"1.0.0",)"
         R"("name":"Example","id":"9f8a1b2c3d4e5f60718293a4b5c6d7e8"},"imp":{}}})";
}

std::string getAdsReply() {
  std::string text = R"({"jsonrpc":"2.0","id":"2915","result":{"data":{"adgroup":{"ads":[)";
  for (int i = 0; i < 7; ++i) {
    if (i > 0) text += ",";
    text += ad(i);
  }
  return text + "]}}}}";
}

std::vector<NamedMessage> allMessages() {
  return {{"a ping", pingMessage()},
          {"an event", eventMessage("film-1", 3.75)},
          {"a get.config request", getConfigMessage()},
          {"a 3 KB get.ads reply", getAdsReply()}};
}

}  // namespace vemora::bench
