#pragma once

#include "PageView.h"
#include "Timer.h"
#include "Transcript.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vemora::check {

class Conversation;

/// One thing to do in a session, and what to wait for afterwards.
struct Step {
  std::string phase;                                ///< See Phase; empty: the previous one.
  std::function<void(Conversation&)> act;           ///< May be empty.
  std::function<bool(const Transcript&)> done;      ///< Empty: nothing but time.
  std::function<double(const Transcript&)> atMost;  ///< Seconds to wait; asked after the act.
  bool isEssential = false;                         ///< When it is not done in time the session ends.
};

struct Plan {
  std::string session;
  std::vector<Step> steps;
};

/// Plays the native side in one session with a page and writes the transcript of it.
///
/// The steps are done one after the other. When the page ends the group the rest of them is left out, and the
/// session ends a moment later, so that what comes too late is seen as well.
class Conversation {
 public:
  struct Options {
    std::string address;
    JsonValue adRequest;
    PageView::Certificates trusted;
    double timeout = 0;                                  ///< For the whole session.
    std::function<void(const std::string& line)> trace;  ///< Called with all traffic; may be empty.
  };

  Conversation(Plan plan, Options options);

  /// Begins; `finished` is called once, later.
  void start(std::function<void()> finished);
  [[nodiscard]] GtkWidget* widget() const { return view_->widget(); }
  [[nodiscard]] const Transcript& transcript() const { return transcript_; }
  /// Why the page could not be loaded; empty when it could.
  [[nodiscard]] const std::string& loadProblem() const { return loadProblem_; }

  // For the steps.
  void load();
  void probeBridge();
  /// Ends the session when there are none.
  void requireAds();
  void send(const std::string& method, const JsonValue& params = nullptr,
            Purpose purpose = Purpose::Ordinary);
  /// "get.config" and "get.ads".
  void sendAdRequest(const std::string& method, Purpose purpose = Purpose::Ordinary);
  /// Passes a text to the page that is not a message.
  void sendMalformed(const std::string& text);
  void place() { view_->place(); }
  void setShown(bool shown) { view_->setShown(shown); }

 private:
  [[nodiscard]] double now() const;
  void look();
  void beginNextStep();
  void end();
  void deliver(Call call, const std::string& script);
  void onPost(Post post);
  void trace(const std::string& what) const;

  Plan plan_;
  Options options_;
  Transcript transcript_;
  std::string loadProblem_;
  std::function<void()> finished_;
  std::unique_ptr<PageView> view_;
  std::size_t nextStep_ = 0;
  std::int64_t began_ = 0;
  std::uint32_t nextId_;
  bool isEnding_ = false;
  Timer stepTimer_;
  Timer sessionTimer_;
};

}  // namespace vemora::check
