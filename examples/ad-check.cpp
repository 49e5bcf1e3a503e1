// Loads one ad group without showing it, and prints it as JSON. Exits with 0 when there are ads, otherwise
// with 1, and with 2 for invalid arguments. It opens no window; on a machine without a display, run it with
// xvfb-run.
#include "arguments.h"

#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/VemoraSDK.h>

using namespace vemora;

namespace {

JsonValue describe(const VemoraAd& ad) {
  return JsonValue::object({{"id", ad.id()},
                            {"index", ad.indexNumber()},
                            {"title", ad.title()},
                            {"duration", ad.duration()},
                            {"url", ad.url()},
                            {"clickthru", ad.clickthru()}});
}

JsonValue describe(const std::shared_ptr<VemoraAdGroup>& group, const std::optional<VMRError>& error) {
  std::vector<JsonValue> ads;
  if (group)
    for (const auto& ad : *group) ads.push_back(describe(*ad));
  return JsonValue::object({{"ads", ads},
                            {"totalDuration", group ? group->totalDuration() : 0},
                            {"error", error ? JsonValue(toString(*error)) : JsonValue()}});
}

}  // namespace

int main(int argc, char** argv) {
  if (!useController(argc, argv)) return 2;
  if (!gtk_init_check()) {
    g_printerr("%s: there is no display; try xvfb-run %s ...\n", argv[0], argv[0]);
    return 1;
  }
  int status = 1;
  g_autoptr(GMainLoop) loop = g_main_loop_new(nullptr, FALSE);
  const auto callbacks = std::make_shared<VemoraAdPlayerCallbacks>();
  callbacks->onRequest = [](const auto&) {
    auto request = VemoraAdRequest::init();
    request->setChannel("42");
    return request;
  };
  callbacks->onDidLoadAds = [&](const auto&, const auto& group, const auto& error) {
    g_print("%s\n", describe(group, error).serialized()->c_str());
    if (group && !group->ads().empty()) status = 0;
    g_main_loop_quit(loop);
  };
  auto player = VemoraInlineAdPlayer::initWithAdPlayerDelegate(callbacks);
  player->load();
  g_main_loop_run(loop);
  return status;
}
