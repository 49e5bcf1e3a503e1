#include "core/context/VMRReachability.h"

#include "ports/Platform.h"

#include <Vemora/NotificationCenter.h>
#include <Vemora/Vemora.h>

#include <netinet/in.h>

#include <string>

namespace vemora {

namespace {

void logFlags(std::uint32_t flags, const char* caller) {
  struct Letter {
    std::uint32_t flag;
    char letter;
  };
  static constexpr Letter kLetters[] = {{NetworkReachabilityIsWWAN, 'W'},
                                        {NetworkReachabilityReachable, 'R'},
                                        {NetworkReachabilityTransientConnection, 't'},
                                        {NetworkReachabilityConnectionRequired, 'c'},
                                        {NetworkReachabilityConnectionOnTraffic, 'C'},
                                        {NetworkReachabilityInterventionRequired, 'i'},
                                        {NetworkReachabilityConnectionOnDemand, 'D'},
                                        {NetworkReachabilityIsLocalAddress, 'l'},
                                        {NetworkReachabilityIsDirect, 'd'}};
  std::string line = "Reachability Flag Status: ";
  for (const auto& [flag, letter] : kLetters) {
    if (flag == NetworkReachabilityTransientConnection) line += ' ';
    line += (flags & flag) ? letter : '-';
  }
  Vemora::log(line + ' ' + caller + '\n');
}

}  // namespace

std::shared_ptr<VMRReachability> VMRReachability::with(std::unique_ptr<NetworkReachability> reference) {
  return reference ? std::shared_ptr<VMRReachability>(new VMRReachability(std::move(reference))) : nullptr;
}

std::shared_ptr<VMRReachability> VMRReachability::reachabilityWithHostName(std::string_view hostName) {
  return with(Platform::shared().networkReachability().createWithName(hostName));
}

std::shared_ptr<VMRReachability> VMRReachability::reachabilityWithAddress(const sockaddr& address) {
  return with(Platform::shared().networkReachability().createWithAddress(address));
}

std::shared_ptr<VMRReachability> VMRReachability::reachabilityForInternetConnection() {
  sockaddr_in zero{};
  zero.sin_family = AF_INET;
  return reachabilityWithAddress(reinterpret_cast<const sockaddr&>(zero));
}

VMRReachability::~VMRReachability() {
  stopNotifier();
}

bool VMRReachability::startNotifier() {
  const bool hasCallback = reachabilityRef_->setCallback([weak = weak_from_this()] {
    if (auto self = weak.lock()) {
      NotificationCenter::defaultCenter().postNotification({kReachabilityChangedNotification, self, nullptr});
    }
  });
  return hasCallback && reachabilityRef_->scheduleWithRunLoop();
}

void VMRReachability::stopNotifier() {
  reachabilityRef_->unscheduleFromRunLoop();
}

bool VMRReachability::connectionRequired() {
  return (reachabilityRef_->flags().value_or(0) & NetworkReachabilityConnectionRequired) != 0;
}

VMRNetworkStatus VMRReachability::currentReachabilityStatus() {
  const auto flags = reachabilityRef_->flags();
  return flags ? networkStatusForFlags(*flags) : VMRNotReachable;
}

VMRNetworkStatus VMRReachability::wifiReachabilityStatus() {
  const auto flags = reachabilityRef_->flags();
  return flags ? localWiFiStatusForFlags(*flags) : VMRNotReachable;
}

VMRNetworkStatus VMRReachability::networkStatusForFlags(std::uint32_t flags) {
  logFlags(flags, "networkStatusForFlags");
  if (!(flags & NetworkReachabilityReachable)) return VMRNotReachable;
  if (flags & NetworkReachabilityIsWWAN) return VMRReachableViaWWAN;
  if (!(flags & NetworkReachabilityConnectionRequired)) return VMRReachableViaWiFi;
  const bool connectsAutomatically =
      flags & (NetworkReachabilityConnectionOnDemand | NetworkReachabilityConnectionOnTraffic);
  const bool needsUser = flags & NetworkReachabilityInterventionRequired;
  return connectsAutomatically && !needsUser ? VMRReachableViaWiFi : VMRNotReachable;
}

VMRNetworkStatus VMRReachability::localWiFiStatusForFlags(std::uint32_t flags) {
  logFlags(flags, "localWiFiStatusForFlags");
  const bool isLocal = (flags & NetworkReachabilityReachable) && (flags & NetworkReachabilityIsDirect);
  return isLocal ? VMRReachableViaWiFi : VMRNotReachable;
}

}  // namespace vemora
