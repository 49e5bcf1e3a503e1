#pragma once

#include <filesystem>
#include <string>

namespace vemora {

/// The HTTPS server of one page in a child process, so that nothing it does counts as the host app's. To be
/// started before the program has made a thread. It ends with this object and with the program.
class ChildServer {
 public:
  /// Ends the program with a message when it cannot start.
  explicit ChildServer(const std::filesystem::path& page);
  ~ChildServer();
  ChildServer(const ChildServer&) = delete;
  ChildServer& operator=(const ChildServer&) = delete;

  /// "127.0.0.1:PORT"
  const std::string& host() const { return host_; }
  const std::string& certificatePem() const { return certificatePem_; }
  int process() const { return process_; }

 private:
  int process_ = -1;
  std::string host_;
  std::string certificatePem_;
};

}  // namespace vemora
