#include "DemoApplication.h"

#include "../common/GLibHandles.h"
#include "../common/InputFiles.h"
#include "BeaconCollector.h"
#include "Screenshot.h"
#include "Timeout.h"

#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/Vemora.h>
#include <Vemora/VemoraInlineAdPlayer.h>
#include <Vemora/VemoraInterstitialAdPlayer.h>
#include <Vemora/VemoraResizableAdPlayer.h>

#include <glib-unix.h>

#include <algorithm>
#include <csignal>
#include <utility>

namespace vemora {
namespace {

namespace fs = std::filesystem;

constexpr const char* kApplicationId = "org.vemora.Demo";
constexpr unsigned kLastBeaconsInMilliseconds = 1000;
constexpr double kScreenshotAtSeconds = 2.0;
constexpr float kSizeStep = 1.25F;
constexpr float kSmallestSize = 0.2F;

const VMRError& rootOf(const VMRError& error) {
  return error.underlyingError ? rootOf(*error.underlyingError) : error;
}

/// What to try when the controller page did not load for this reason.
std::string hintFor(const VMRError& reason) {
  if (reason.domain == g_quark_to_string(G_TLS_ERROR)) {
    return "If this is a test server, name its certificate with --ca FILE.";
  }
  if (reason.domain == "HTTP")
    return "The server is there, but it does not serve a controller page at this address.";
  return "Check the host and port of --controller-host, and that its server runs.";
}

/// "5002: RPC bridge failure (Failed to send get.ads); the page answered 403: unknown api key", or, when the
/// page did not load, which page and why.
std::string describe(const VMRError& error) {
  const VMRError& root = rootOf(error);
  const std::string code = std::to_string(error.code) + ": ";
  if (root.description.starts_with("The controller page did not load")) {
    return code + root.description + ".\n" + hintFor(root);
  }
  std::string text = code + error.description;
  if (error.failureReason && !error.failureReason->empty()) text += " (" + *error.failureReason + ")";
  if (&root != &error) text += "; the page answered " + std::to_string(root.code) + ": " + root.description;
  return text;
}

}  // namespace

DemoApplication::DemoApplication(CommandLine commandLine, std::shared_ptr<CallbackLog> log)
    : commandLine_(std::move(commandLine)), log_(std::move(log)), rehearsal_(commandLine_.rehearsal) {}

int DemoApplication::run() {
  if (!gtk_init_check()) {
    log_->say(
        "There is no display to show a window on. Set DISPLAY or WAYLAND_DISPLAY, or run it with xvfb-run.");
    return 1;
  }
  g_set_application_name("Vemora Demo");
  // Several may run at once, each with its own window.
  application_ =
      GObjectPtr<GtkApplication>::adopt(gtk_application_new(kApplicationId, G_APPLICATION_NON_UNIQUE));
  g_signal_connect(application_.get(), "activate", G_CALLBACK(+[](GtkApplication*, gpointer self) {
                     static_cast<DemoApplication*>(self)->activate();
                   }),
                   this);
  g_application_run(G_APPLICATION(application_.get()), 0, nullptr);
  return failures_.empty() ? 0 : 1;
}

void DemoApplication::activate() {
  g_application_hold(G_APPLICATION(application_.get()));
  Vemora::debugMode(commandLine_.debug);
  if (commandLine_.inspect) Vemora::startRecording(commandLine_.inspect->string());
  if (commandLine_.apiKey) Vemora::setAPIKey(commandLine_.apiKey);
  if (commandLine_.subjectToGDPR || commandLine_.consent) {
    gtk::setConsent(commandLine_.subjectToGDPR, commandLine_.consent);
  }
  window_ = std::make_unique<DemoWindow>(
      application_.get(), commandLine_.placement,
      DemoWindow::Handlers{[this](Command command) { perform(command); },
                           [this] { endEarly("The window was closed before the ads had ended."); }});
  window_->present();
  watchForEarlyEnd();
  if (const auto& host = commandLine_.controllerHost) {
    usePage(host->hostAndPort, host->host, commandLine_.certificate);
  } else {
    startServer();
  }
}

void DemoApplication::watchForEarlyEnd() {
  const auto interrupted = [](gpointer self) -> gboolean {
    static_cast<DemoApplication*>(self)->endEarly("Interrupted.");
    return G_SOURCE_CONTINUE;
  };
  signalSources_.push_back(g_unix_signal_add(SIGINT, interrupted, this));
  signalSources_.push_back(g_unix_signal_add(SIGTERM, interrupted, this));
  if (!commandLine_.timeout) return;
  const double milliseconds = std::min(*commandLine_.timeout * 1000, static_cast<double>(G_MAXINT));
  timeoutSource_ = addTimeout(static_cast<unsigned>(milliseconds), [this] {
    timeoutSource_ = 0;
    endEarly("The session did not end within the time of --timeout.");
  });
}

void DemoApplication::startServer() {
  const std::optional<fs::path> program = ServerProcess::findProgram();
  if (!program)
    return finish("There is no vemora-serve next to this program; name a host with --controller-host.");
  const ServerProcess::Options options{commandLine_.ads, commandLine_.media, commandLine_.config,
                                       commandLine_.vastFile};
  server_ = ServerProcess::start(*program, options,
                                 {[this](const ServerProcess::Ready& ready) { useServer(ready); },
                                  [this](const std::string& why) { finish(why); }});
}

void DemoApplication::useServer(const ServerProcess::Ready& ready) {
  const GUriPtr uri(g_uri_parse(ready.origin.c_str(), G_URI_FLAGS_NONE, nullptr));
  if (!uri) return finish("The server failed: '" + ready.origin + "' is no address");
  documentAddress_ = ready.documentAddress;
  usePage(ready.origin.substr(std::string_view("https://").size()), g_uri_get_host(uri.get()),
          ready.certificateFile);
}

void DemoApplication::usePage(const std::string& hostAndPort, const std::string& host,
                              const std::optional<fs::path>& certificateFile) {
  if (finished_) return;
  origin_ = "https://" + hostAndPort;
  gtk::setInfoDictionaryEntry("VemoraControllerHost", hostAndPort);
  if (certificateFile) {
    GErrorHolder error;
    certificate_ = GObjectPtr<GTlsCertificate>::adopt(
        g_tls_certificate_new_from_file(certificateFile->c_str(), error.out()));
    if (!certificate_)
      return finish("'" + certificateFile->string() + "' is no certificate: " + error.message());
    gtk::allowTLSCertificateForHost(certificate_.get(), host);
  }
  load();
}

void DemoApplication::load() {
  window_->showStatus("Loading …");
  log_->say("Loading from " + origin_);
  player_ = makePlayer();
  delegate_ =
      std::make_shared<RecordingDelegate>(makeRequest(), [this, log = log_](const PlayerCallback& callback) {
        log->write(callback);
        // It comes on a thread of the player, and only the log is thread-safe.
        if (callback.kind != CallbackKind::RequestForPlayer) onCallback(callback);
      });
  player_->setDelegate(delegate_);
  if (commandLine_.size) player_->setSize(size_ = *commandLine_.size);
  player_->load();
}

std::shared_ptr<VemoraAdPlayerBase> DemoApplication::makePlayer() const {
  switch (commandLine_.placement) {
    case Placement::Inline:
      return VemoraInlineAdPlayer::initInView(window_->adView());
    case Placement::Resizable:
      return VemoraResizableAdPlayer::initInView(window_->adView());
    case Placement::Interstitial:
      return VemoraInterstitialAdPlayer::initWithAdPlayerDelegate({});
  }
  g_assert_not_reached();
}

std::shared_ptr<VemoraAdRequest> DemoApplication::makeRequest() const {
  auto request = VemoraAdRequest::init();
  request->setChannel(commandLine_.channel);
  addVast(*request);
  for (const auto& [key, value] : commandLine_.params) request->setParam(key, value);
  return request;
}

void DemoApplication::addVast(VemoraAdRequest& request) const {
  if (commandLine_.vastUrl) request.setParam("vast_url", *commandLine_.vastUrl);
  if (!commandLine_.vastFile) return;
  if (server_) {
    request.setParam("vast_url", documentAddress_);
  } else {
    std::string text = contentOf(*commandLine_.vastFile);
    replaceAll(text, kOriginMark, origin_);
    request.setParam("vast_xml", text);
  }
}

void DemoApplication::onCallback(const PlayerCallback& callback) {
  if (finished_) return;
  switch (callback.kind) {
    case CallbackKind::DidLoadAds:
      onLoaded(callback);
      break;
    case CallbackKind::AdStart:
      window_->showStatus(callback.ad ? callback.ad->title().stringValue().value_or("Ad") : "Ad");
      [[fallthrough]];
    case CallbackKind::AdPlaying:
      window_->setPaused(false);
      break;
    case CallbackKind::AdPaused:
      window_->setPaused(true);
      break;
    case CallbackKind::AdTimeUpdate:
      onTime(callback);
      break;
    case CallbackKind::AdGroupComplete:
      finish(std::nullopt);
      break;
    case CallbackKind::AdError:
      finish(describe(*callback.error));
      break;
    default:
      break;
  }
  for (const Command command : rehearsal_.dueAt(callback)) perform(command);
}

void DemoApplication::onLoaded(const PlayerCallback& callback) {
  if (!callback.group || callback.group->ads().empty()) {
    return finish(callback.error ? describe(*callback.error) : "No ads, and no error");
  }
  window_->setControlsEnabled(true);
  player_->start();
}

void DemoApplication::onTime(const PlayerCallback& callback) {
  const double elapsed = *callback.timeElapsed;
  const double duration = callback.ad ? callback.ad->duration().doubleValue() : 0;
  window_->showProgress(duration > 0 ? elapsed / duration : 0);
  const bool isUnderWay =
      elapsed >= std::min(kScreenshotAtSeconds, duration > 0 ? duration / 2 : kScreenshotAtSeconds);
  if (isUnderWay && commandLine_.screenshot) takeScreenshot();
}

void DemoApplication::takeScreenshot() {
  // A page may report its video before a busy machine has drawn it: then there is another try.
  if (picture_ == Picture::Asked || picture_ == Picture::Taken) return;
  picture_ = Picture::Asked;
  saveScreenshot(window_->windowOfAd(), window_->boundsOfAd(), *commandLine_.screenshot,
                 [this](ScreenshotResult result, const std::string& problem) {
                   picture_ = result == ScreenshotResult::NothingThere ? Picture::Poor : Picture::Taken;
                   if (result == ScreenshotResult::NotTaken) complain("No screenshot: " + problem);
                 });
}

void DemoApplication::perform(Command command) {
  if (finished_ || !player_) return;
  switch (command) {
    case Command::Play:
      return player_->play();
    case Command::Pause:
      return player_->pause();
    case Command::Resume:
      return player_->resume();
    case Command::Skip:
      return player_->skip();
    case Command::Stop:
      return player_->stop();
    case Command::Close:
      return player_->close();
    case Command::Smaller:
      return resize(1 / kSizeStep);
    case Command::Larger:
      return resize(kSizeStep);
  }
}

void DemoApplication::resize(float factor) {
  size_ = std::clamp(size_ * factor, kSmallestSize, 1.0F);
  player_->setSize(size_);
}

void DemoApplication::endEarly(const std::string& why) {
  if (player_) player_->shutdown();
  if (window_) window_->hide();
  finish(why);
}

void DemoApplication::finish(std::optional<std::string> failure) {
  if (std::exchange(finished_, true)) return;
  if (failure) complain(*failure);
  if (!failure && commandLine_.screenshot && picture_ != Picture::Taken) {
    complain(picture_ == Picture::Poor ? "The screenshot shows no ad."
                                       : "No screenshot: no ad has played for long enough.");
  }
  if (window_) {
    window_->setControlsEnabled(false);
    window_->showStatus(failure ? *failure : "The ads have ended.");
  }
  awaitLastBeacons();
}

void DemoApplication::awaitLastBeacons() {
  if (!commandLine_.beacons || origin_.empty()) {
    addTimeout(kLastBeaconsInMilliseconds, [this] { release(); });
    return;
  }
  BeaconCollector::collect(origin_, certificate_,
                           [this](const std::optional<std::string>& list, const std::string& problem) {
                             writeBeacons(list, problem);
                             release();
                           });
}

void DemoApplication::writeBeacons(const std::optional<std::string>& list, const std::string& problem) {
  if (!list) return complain("No list of beacons: " + problem);
  GErrorHolder error;
  if (!g_file_set_contents(commandLine_.beacons->c_str(), list->data(), static_cast<gssize>(list->size()),
                           error.out())) {
    complain("No list of beacons: " + error.message());
  }
}

void DemoApplication::complain(const std::string& failure) {
  failures_.push_back(failure);
  log_->say(failure);
}

void DemoApplication::release() {
  for (const guint source : signalSources_) g_source_remove(source);
  signalSources_.clear();
  if (const guint source = std::exchange(timeoutSource_, 0)) g_source_remove(source);
  // A load that has failed leaves its page open.
  if (player_) player_->shutdown();
  player_.reset();
  delegate_.reset();
  window_.reset();
  if (!server_) return quit();
  server_->stop([this] { quit(); });
}

void DemoApplication::quit() {
  server_.reset();
  if (const auto problem = log_->problem()) complain(*problem);
  g_application_release(G_APPLICATION(application_.get()));
}

}  // namespace vemora
