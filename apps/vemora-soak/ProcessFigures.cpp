#include "ProcessFigures.h"

#include <malloc.h>
#include <unistd.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

namespace vemora {

namespace {

double entriesOf(const char* folder) {
  double count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
  return count;
}

double residentSize() {
  std::ifstream file("/proc/self/statm");
  double total = 0;
  double resident = 0;
  file >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

struct Process {
  int parent = 0;
  std::string name;
  char state = 0;
};

/// proc_pid_stat(5): the name is in brackets and may itself contain some.
Process processOf(const std::string& line) {
  const auto open = line.find('(');
  const auto close = line.rfind(')');
  if (open == std::string::npos || close == std::string::npos) return {};
  Process process;
  process.name = line.substr(open + 1, close - open - 1);
  std::istringstream rest(line.substr(close + 1));
  rest >> process.state >> process.parent;
  return process;
}

std::map<int, Process> allProcesses() {
  std::map<int, Process> all;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
    const std::string name = entry.path().filename();
    if (std::isdigit(static_cast<unsigned char>(name[0])) == 0) continue;
    std::ifstream file(entry.path() / "stat");
    std::string line;
    if (std::getline(file, line)) all[std::stoi(name)] = processOf(line);
  }
  return all;
}

double countWebProcesses() {
  const auto all = allProcesses();
  double count = 0;
  for (const auto& [id, process] : all) {
    if (!process.name.starts_with("WebKit") || process.state == 'Z') continue;
    std::set<int> seen;
    for (auto ancestor = all.find(process.parent);
         ancestor != all.end() && seen.insert(ancestor->first).second;
         ancestor = all.find(ancestor->second.parent)) {
      if (ancestor->first != getpid()) continue;
      ++count;
      break;
    }
  }
  return count;
}

}  // namespace

ProcessFigures ProcessFigures::now() {
  malloc_trim(0);
  const auto heap = mallinfo2();
  return {residentSize(), static_cast<double>(heap.uordblks + heap.hblkhd) / 1024,
          entriesOf("/proc/self/task"), entriesOf("/proc/self/fd"), countWebProcesses()};
}

}  // namespace vemora
