#include "ConformanceCheck.h"

#include "../../common/GLibHandles.h"
#include "../../common/InputFiles.h"
#include "AdRequest.h"
#include "Conversation.h"
#include "FailureRecordings.h"
#include "Plans.h"
#include "Report.h"
#include "Rules.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <exception>
#include <iostream>
#include <memory>

namespace vemora::check {

namespace {

constexpr int kFailure = 1;
constexpr int kSpacing = 12;

constexpr char kNoDisplay[] =
    "--check shows the page in a window and needs a display; without one try\n"
    "  dbus-run-session xvfb-run -a vemora-serve --check ...";

/// All sessions at once, side by side in one window.
class Check {
 public:
  explicit Check(const CheckOptions& options, const JsonValue& adRequest) : options_(options) {
    for (Plan& plan : allPlans()) {
      const auto& names = options.sessions;
      if (!names.empty() && std::find(names.begin(), names.end(), plan.session) == names.end()) continue;
      conversations_.push_back(std::make_unique<Conversation>(
          std::move(plan), Conversation::Options{options.address, adRequest, options.trusted, options.timeout,
                                                 options.trace}));
    }
    openWindow();
  }
  Check(const Check&) = delete;
  Check& operator=(const Check&) = delete;
  ~Check() {
    g_signal_handlers_disconnect_by_data(window_, this);
    gtk_window_destroy(window_);
  }

  /// Absent when every session ended; otherwise why the page cannot be judged.
  std::optional<std::string> run() {
    began_ = g_get_monotonic_time();
    running_ = conversations_.size();
    for (const auto& conversation : conversations_) {
      conversation->start([this, &conversation] { onFinished(*conversation); });
    }
    if (running_ > 0 && !problem_) g_main_loop_run(loop_.get());
    return problem_;
  }

  [[nodiscard]] std::vector<Transcript> transcripts() const {
    std::vector<Transcript> all;
    for (const auto& conversation : conversations_) all.push_back(conversation->transcript());
    return all;
  }
  [[nodiscard]] double seconds() const {
    return static_cast<double>(g_get_monotonic_time() - began_) / G_USEC_PER_SEC;
  }

 private:
  void openWindow() {
    window_ = GTK_WINDOW(gtk_window_new());
    gtk_window_set_title(window_, options_.address.c_str());
    GtkWidget* const row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, kSpacing);
    for (const auto& conversation : conversations_) {
      GtkWidget* const column = gtk_box_new(GTK_ORIENTATION_VERTICAL, kSpacing);
      gtk_box_append(GTK_BOX(column), gtk_label_new(conversation->transcript().session.c_str()));
      GtkWidget* const place = gtk_overlay_new();
      gtk_widget_set_size_request(place, PageView::kWidth, PageView::kHeight);
      gtk_overlay_add_overlay(GTK_OVERLAY(place), conversation->widget());
      gtk_box_append(GTK_BOX(column), place);
      gtk_box_append(GTK_BOX(row), column);
    }
    gtk_window_set_child(window_, row);
    g_signal_connect(window_, "close-request", G_CALLBACK(+[](GtkWindow*, gpointer self) -> gboolean {
                       static_cast<Check*>(self)->giveUp("the window was closed");
                       return TRUE;
                     }),
                     this);
    gtk_window_present(window_);
  }

  void onFinished(const Conversation& conversation) {
    if (!conversation.loadProblem().empty()) {
      giveUp("cannot load " + options_.address + ": " + conversation.loadProblem());
    }
    if (--running_ == 0) g_main_loop_quit(loop_.get());
  }

  void giveUp(const std::string& why) {
    if (!problem_) problem_ = why;
    g_main_loop_quit(loop_.get());
  }

  const CheckOptions& options_;
  const GMainLoopPtr loop_{g_main_loop_new(nullptr, FALSE)};
  std::vector<std::unique_ptr<Conversation>> conversations_;
  GtkWindow* window_ = nullptr;
  std::size_t running_ = 0;
  std::int64_t began_ = 0;
  std::optional<std::string> problem_;
};

int cannotCheck(const CheckOptions& options, const std::string& why) {
  std::cerr << "vemora-serve: " << why << "\n";
  if (options.asJson) std::cout << problemAsJson(options.address, why) << std::flush;
  return kFailure;
}

}  // namespace

std::vector<std::string> sessionNames() {
  std::vector<std::string> names;
  for (const Plan& plan : allPlans()) names.push_back(plan.session);
  return names;
}

int runCheck(const CheckOptions& options) {
  const JsonValue own = options.adRequest ? readJsonObject("request", *options.adRequest) : JsonValue();
  if (!gtk_init_check()) return cannotCheck(options, kNoDisplay);

  Check check(options, adRequest(own));
  if (const auto why = check.run()) return cannotCheck(options, *why);
  const std::vector<Transcript> transcripts = check.transcripts();
  const std::vector<Rule> rules = allRules();
  std::vector<Finding> findings = judge(rules, transcripts);
  try {
    if (options.recordings) recordFailures(transcripts, options.address, *options.recordings, findings);
  } catch (const std::exception& error) {
    std::cerr << "vemora-serve: --recordings: " << error.what() << "\n";
  }
  std::cout << (options.asJson ? reportAsJson(findings, options.address, check.seconds())
                               : reportAsText(findings, check.seconds()))
            << std::flush;
  return static_cast<int>(resultOf(findings));
}

}  // namespace vemora::check
