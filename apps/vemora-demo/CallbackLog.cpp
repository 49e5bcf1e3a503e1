#include "CallbackLog.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <string_view>

namespace vemora {
namespace {

constexpr std::size_t kBarWidth = 28;
constexpr std::size_t kNameWidth = 17;

std::string inSeconds(double seconds) {
  std::array<char, G_ASCII_DTOSTR_BUF_SIZE> text{};
  return g_ascii_formatd(text.data(), static_cast<int>(text.size()), "%.2f", seconds);
}

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(width, text.size()), ' ');
  return text;
}

std::string titleOf(const VemoraAd& ad) {
  const auto title = ad.title().stringValue();
  return ad.id().stringValue().value_or("") + (title ? " \"" + *title + "\"" : "");
}

std::string bar(double elapsed, double duration) {
  const double share = duration > 0 ? std::clamp(elapsed / duration, 0.0, 1.0) : 0.0;
  const auto filled = static_cast<std::size_t>(std::lround(share * static_cast<double>(kBarWidth)));
  return "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "] " + inSeconds(elapsed) +
         " of " + inSeconds(duration) + " s";
}

std::string details(const PlayerCallback& callback) {
  std::string text;
  if (callback.timeElapsed) {
    text += bar(*callback.timeElapsed, callback.ad ? callback.ad->duration().doubleValue() : 0) + "  ";
  }
  if (callback.ad) text += titleOf(*callback.ad);
  if (callback.group) {
    const std::size_t count = callback.group->ads().size();
    text += std::to_string(count) + (count == 1 ? " ad, " : " ads, ") +
            inSeconds(callback.group->totalDuration()) + " s";
  }
  if (callback.error) text += (text.empty() ? "" : "; ") + toString(*callback.error);
  return text;
}

std::string lineOf(const PlayerCallback& callback) {
  std::string time = inSeconds(callback.time);
  time.insert(0, 7 - std::min<std::size_t>(7, time.size()), ' ');
  const std::string more = details(callback);
  const std::string name(shortNameOf(callback.kind));
  return time + "  " + (more.empty() ? name : padded(name, kNameWidth) + more);
}

}  // namespace

std::unique_ptr<CallbackLog> CallbackLog::open(const std::optional<std::string>& eventsFile,
                                               std::string& problem) {
  std::unique_ptr<CallbackLog> log(new CallbackLog);
  if (eventsFile == "-") {
    log->people_ = stderr;
    log->events_ = stdout;
  } else if (eventsFile) {
    log->events_ = std::fopen(eventsFile->c_str(), "we");
    log->ownsEvents_ = true;
    if (!log->events_) {
      problem = "cannot write '" + *eventsFile + "': " + g_strerror(errno);
      return nullptr;
    }
  }
  log->isTerminal_ = isatty(fileno(log->people_)) != 0;
  return log;
}

CallbackLog::~CallbackLog() {
  endProgressLine();
  if (ownsEvents_ && events_) std::fclose(events_);
}

void CallbackLog::write(const PlayerCallback& callback) {
  const std::lock_guard lock(mutex_);
  writeForPrograms(callback);
  writeForPeople(callback);
}

void CallbackLog::say(const std::string& line) {
  const std::lock_guard lock(mutex_);
  endProgressLine();
  std::fprintf(people_, "%s\n", line.c_str());
  std::fflush(people_);
}

std::optional<std::string> CallbackLog::problem() {
  const std::lock_guard lock(mutex_);
  return problem_;
}

void CallbackLog::writeForPeople(const PlayerCallback& callback) {
  const std::string line = lineOf(callback);
  if (isTerminal_ && callback.kind == CallbackKind::AdTimeUpdate) {
    // One line that is updated in place: carriage return, then clear the rest of a longer one.
    std::fprintf(people_, "\r%s\x1b[K", line.c_str());
    inProgressLine_ = true;
  } else {
    endProgressLine();
    std::fprintf(people_, "%s\n", line.c_str());
  }
  std::fflush(people_);
}

void CallbackLog::writeForPrograms(const PlayerCallback& callback) {
  if (!events_) return;
  const std::string line = toJson(callback).serialized().value_or("{}") + "\n";
  const bool written = std::fputs(line.c_str(), events_) >= 0 && std::fflush(events_) == 0;
  if (!written && !problem_) problem_ = std::string("cannot write the events: ") + g_strerror(errno);
}

void CallbackLog::endProgressLine() {
  if (inProgressLine_) std::fputc('\n', people_);
  inProgressLine_ = false;
}

}  // namespace vemora
