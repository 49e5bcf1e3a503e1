#include "../common/Options.h"
#include "CallbackLog.h"
#include "CommandLine.h"
#include "DemoApplication.h"

#include <csignal>
#include <memory>
#include <string>
#include <utility>

namespace {

int run(int argc, char** argv) {
  vemora::CommandLine commandLine = vemora::readCommandLine(argc, argv);
  std::string problem;
  std::shared_ptr<vemora::CallbackLog> log = vemora::CallbackLog::open(commandLine.events, problem);
  if (!log) throw vemora::BadArguments(problem);
  return vemora::DemoApplication(std::move(commandLine), std::move(log)).run();
}

}  // namespace

int main(int argc, char** argv) {
  // The reader of the output may have exited: the write then fails, and the program continues.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return run(argc, argv);
  } catch (const vemora::BadArguments& problem) {
    return vemora::reportBadArguments("vemora-demo", problem);
  }
}
