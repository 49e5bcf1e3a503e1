#pragma once

#include "gtk/LoopbackServer.h"

#include <string>

namespace vemora::test {

/// An HTTPS server that every runtime loads its controller page from, and whose certificate is trusted.
class ControllerServer : public LoopbackServer {
 public:
  static constexpr char kPagePath[] = "/mobile/sdk/v4/native/VMRWebViewRuntime.html";

  explicit ControllerServer(const std::string& page);
  ~ControllerServer();
};

}  // namespace vemora::test
