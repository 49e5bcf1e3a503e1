#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace vemora::bench {

/// The HTTPS server of a page, in a separate process, so that its work is not measured.
///
/// It is a fork: to be started first of all in `main`, before anything has made a thread.
class PageServer {
 public:
  /// Ends the program with a message when it cannot start. "pages" and "media" are folders of other
  /// pages and of the ads' media.
  PageServer(const std::filesystem::path& page, const std::optional<std::filesystem::path>& ads,
             const std::optional<std::filesystem::path>& pages = {},
             const std::optional<std::filesystem::path>& media = {});
  /// One that another process has started.
  static PageServer runningAt(std::string host, std::string certificatePem);
  ~PageServer();
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;

  /// "127.0.0.1:PORT"
  const std::string& host() const { return host_; }
  std::string pageAddress() const;
  const std::string& certificatePem() const { return certificatePem_; }

 private:
  PageServer(int process, std::string host, std::string certificatePem);

  int process_ = -1;
  std::string host_;
  std::string certificatePem_;
};

}  // namespace vemora::bench
