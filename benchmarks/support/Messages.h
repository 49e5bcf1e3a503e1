#pragma once

#include <string>
#include <vector>

/// The messages that the benchmarks carry, in the shapes that a controller page and the SDK exchange.
namespace vemora::bench {

struct NamedMessage {
  std::string name;
  std::string text;
};

std::string pingMessage();
std::string eventMessage(const std::string& adId, double elapsed);
std::string getConfigMessage();
/// A "get.ads" reply of about 3 KB.
std::string getAdsReply();

std::vector<NamedMessage> allMessages();

}  // namespace vemora::bench
