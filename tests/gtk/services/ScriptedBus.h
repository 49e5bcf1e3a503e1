#pragma once

#include "../../common/ChildProcess.h"
#include "../../common/TestFolder.h"

#include <cstdlib>
#include <string>

namespace vemora::gtk::test {

using vemora::test::ChildProcess;

/// A private message bus that replaces both the system bus and the session bus. Services can be made
/// activatable with `installService` before the bus starts.
class ScriptedBus {
 public:
  void installService(const std::string& name, const std::string& command) {
    folder_.write("services/" + name + ".service",
                  "[D-BUS Service]\nName=" + name + "\nExec=" + command + "\n");
  }

  void start() {
    const std::string configuration = folder_.write(
        "bus.conf", "<busconfig><type>session</type><listen>unix:path=" + folder_.path("bus") +
                        "</listen><auth>EXTERNAL</auth>"
                        "<servicedir>" +
                        folder_.path("services") +
                        "</servicedir><policy context='default'><allow send_destination='*'"
                        " eavesdrop='true'/><allow eavesdrop='true'/><allow own='*'/></policy></busconfig>");
    daemon_ =
        std::make_unique<ChildProcess>(std::vector<std::string>{"dbus-daemon", "--nofork", "--print-address",
                                                                "--config-file=" + configuration},
                                       ChildProcess::Environment{}, ChildProcess::Errors::Dropped);
    address_ = daemon_->line().value_or("");
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address_.c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
  }

  const std::string& address() const { return address_; }
  std::string path(const std::string& name) const { return folder_.path(name); }

 private:
  vemora::test::TestFolder folder_;
  std::unique_ptr<ChildProcess> daemon_;
  std::string address_;
};

}  // namespace vemora::gtk::test
