#include "Conversation.h"

#include <algorithm>
#include <utility>

namespace vemora::check {

namespace {

/// How long messages are still recorded after the end of a group, which nothing may follow.
constexpr double kAfterTheEnd = 0.7;
constexpr char kOddText[] =
    "\"quoted\" \\ back\\\\slash\r\n\ttab \u2028\u2029 </script> \u00fc \u6f22 \U0001F600";

std::string callScript(const std::string& argument) {
  return "window.VemoraProxy.bridge.onMessage(" + argument + ");";
}

JsonValue member(const char* key, JsonValue value) {
  return JsonValue::object({{key, std::move(value)}});
}

/// The request with one more entry in its "custom".
JsonValue withOddText(const JsonValue& request) {
  std::vector<JsonValue::Entry> entries(request.entries().begin(), request.entries().end());
  entries.push_back({"custom", member(kOddText, kOddText)});
  return JsonValue::object(std::move(entries));
}

}  // namespace

Conversation::Conversation(Plan plan, Options options)
    : plan_(std::move(plan)), options_(std::move(options)), nextId_(g_random_int()) {
  transcript_.session = plan_.session;
  PageView::Listener listener;
  listener.loaded = [this] {
    if (transcript_.loadedAt) return;
    transcript_.loadedAt = now();
    trace("loaded");
    look();
  };
  listener.loadFailed = [this](const std::string& why) {
    loadProblem_ = why;
    end();
  };
  listener.gone = [this](const std::string& why) {
    transcript_.gone = why;
    trace(why);
    end();
  };
  listener.posted = [this](Post post) { onPost(std::move(post)); };
  view_ = std::make_unique<PageView>(options_.trusted, std::move(listener));
}

void Conversation::start(std::function<void()> finished) {
  finished_ = std::move(finished);
  began_ = g_get_monotonic_time();
  sessionTimer_.start(options_.timeout, [this] { end(); });
  beginNextStep();
}

double Conversation::now() const {
  return static_cast<double>(g_get_monotonic_time() - began_) / G_USEC_PER_SEC;
}

/// Called after each entry in the transcript.
void Conversation::look() {
  if (isEnding_ || !finished_) return;
  const Step& step = plan_.steps[nextStep_ - 1];
  if (step.done && step.done(transcript_)) beginNextStep();
}

void Conversation::beginNextStep() {
  if (nextStep_ == plan_.steps.size() || endedAt(transcript_)) {
    isEnding_ = true;
    stepTimer_.start(kAfterTheEnd, [this] { end(); });
    return;
  }
  const Step& step = plan_.steps[nextStep_++];
  if (!step.phase.empty()) {
    transcript_.phases.push_back({now(), step.phase});
    trace("-- " + step.phase);
  }
  if (step.act) step.act(*this);
  if (!finished_) return;
  stepTimer_.start(step.atMost(transcript_), [this, &step] {
    if (step.isEssential) {
      end();
    } else {
      beginNextStep();
    }
  });
}

void Conversation::end() {
  if (!finished_) return;
  isEnding_ = true;
  stepTimer_.cancel();
  sessionTimer_.cancel();
  transcript_.end = now();
  view_->close();
  std::exchange(finished_, nullptr)();
}

void Conversation::load() {
  view_->load(options_.address);
}

void Conversation::probeBridge() {
  view_->evaluate("typeof (((window.VemoraProxy || {}).bridge || {}).onMessage)",
                  [this](const std::string& type) {
                    transcript_.bridgeType = type;
                    if (type == "function") {
                      look();
                    } else {
                      end();
                    }
                  });
}

void Conversation::requireAds() {
  if (adList(transcript_).count().value_or(0) == 0) end();
}

void Conversation::send(const std::string& method, const JsonValue& params, Purpose purpose) {
  const std::string id = std::to_string(nextId_++);
  std::vector<JsonValue::Entry> message{{"jsonrpc", "2.0"}, {"id", id}, {"method", method}};
  if (params.count().value_or(0) > 0) message.push_back({"params", params});
  const std::string json = JsonValue::object(std::move(message)).serialized().value_or("null");
  deliver({now(), purpose, id, method, params, std::nullopt}, callScript("JSON.stringify(" + json + ")"));
}

void Conversation::sendAdRequest(const std::string& method, Purpose purpose) {
  send(method, purpose == Purpose::OddText ? withOddText(options_.adRequest) : options_.adRequest, purpose);
}

void Conversation::sendMalformed(const std::string& text) {
  const std::string literal = JsonValue(text).serialized().value_or("\"\"");
  deliver({now(), Purpose::Malformed, "", literal, nullptr, std::nullopt}, callScript(literal));
}

void Conversation::deliver(Call call, const std::string& script) {
  trace("<- " + script);
  const std::size_t place = transcript_.calls.size();
  transcript_.calls.push_back(std::move(call));
  view_->evaluate(script, [this, place](const std::string& outcome) {
    transcript_.calls[place].outcome = outcome;
    look();
  });
}

void Conversation::onPost(Post post) {
  if (!finished_) return;
  post.at = now();
  const std::string what = post.body.serialized().value_or(post.type);
  trace((post.handler == Post::Handler::Log ? "-> log " : "-> ") + what);
  transcript_.posts.push_back(std::move(post));
  look();
}

void Conversation::trace(const std::string& what) const {
  if (options_.trace) options_.trace(transcript_.session + " " + inSeconds(now()) + " " + what);
}

}  // namespace vemora::check
