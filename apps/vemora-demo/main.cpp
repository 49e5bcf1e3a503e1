#include "CallbackLog.h"
#include "CommandLine.h"
#include "DemoApplication.h"

#include <csignal>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <variant>

int main(int argc, char** argv) {
  // Whoever read our output may be gone: that ends a write, not the program.
  std::signal(SIGPIPE, SIG_IGN);
  auto read = vemora::readCommandLine(argc, argv);
  if (const auto* exit = std::get_if<vemora::ExitNow>(&read)) return exit->status;

  auto& commandLine = std::get<vemora::CommandLine>(read);
  std::string problem;
  std::shared_ptr<vemora::CallbackLog> log = vemora::CallbackLog::open(commandLine.events, problem);
  if (!log) {
    std::cerr << "vemora-demo: " << problem << "\n";
    return 2;
  }
  return vemora::DemoApplication(std::move(commandLine), std::move(log)).run();
}
