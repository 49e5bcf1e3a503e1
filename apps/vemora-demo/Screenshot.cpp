#include "Screenshot.h"

#include "../common/GLibHandles.h"
#include "../common/GObjectPtr.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace vemora {
namespace {

using GskRenderNodePtr = std::unique_ptr<GskRenderNode, gtk::GFree<gsk_render_node_unref>>;

using Done = std::function<void(ScreenshotResult, const std::string&)>;

/// Pixels at the edge of an area that may blend with its surroundings.
constexpr float kEdge = 2;

struct PendingScreenshot {
  GtkWindow* window;
  graphene_rect_t subject;
  std::filesystem::path file;
  Done done;
};

/// Draws the window as it was drawn last, videos included: those are textures in its tree of render nodes.
GObjectPtr<GdkTexture> textureOf(GtkWindow* window) {
  GtkWidget* const widget = GTK_WIDGET(window);
  const auto paintable = GObjectPtr<GdkPaintable>::adopt(gtk_widget_paintable_new(widget));
  const auto size = graphene_size_t{static_cast<float>(gtk_widget_get_width(widget)),
                                    static_cast<float>(gtk_widget_get_height(widget))};
  GtkSnapshot* const snapshot = gtk_snapshot_new();
  gdk_paintable_snapshot(paintable.get(), snapshot, size.width, size.height);
  const GskRenderNodePtr node(gtk_snapshot_free_to_node(snapshot));
  GskRenderer* const renderer = gtk_native_get_renderer(GTK_NATIVE(window));
  if (!node || !renderer) return nullptr;
  // Without the shadow that the window casts around itself.
  const graphene_rect_t viewport{{0, 0}, size};
  return GObjectPtr<GdkTexture>::adopt(gsk_renderer_render_texture(renderer, node.get(), &viewport));
}

/// Black, for instance, with nothing but controls on it: a busy machine draws a video later than its page.
bool isNearlyOneColour(GdkTexture* texture, const graphene_rect_t& area) {
  constexpr double kNearly = 0.9;
  const auto width = static_cast<std::size_t>(gdk_texture_get_width(texture));
  const auto height = static_cast<std::size_t>(gdk_texture_get_height(texture));
  std::vector<std::uint32_t> pixels(width * height);
  gdk_texture_download(texture, reinterpret_cast<guchar*>(pixels.data()), width * sizeof(std::uint32_t));

  const auto clamped = [](float value, std::size_t limit) {
    return static_cast<std::size_t>(std::clamp(value, 0.0F, static_cast<float>(limit)));
  };
  const std::size_t left = clamped(area.origin.x + kEdge, width);
  const std::size_t right = clamped(area.origin.x + area.size.width - kEdge, width);
  const std::size_t top = clamped(area.origin.y + kEdge, height);
  const std::size_t bottom = clamped(area.origin.y + area.size.height - kEdge, height);
  if (left >= right || top >= bottom) return true;
  const std::uint32_t first = pixels[top * width + left];
  std::ptrdiff_t same = 0;
  for (std::size_t y = top; y < bottom; ++y) {
    const std::uint32_t* const row = pixels.data() + y * width;
    same += std::count(row + left, row + right, first);
  }
  return static_cast<double>(same) > kNearly * static_cast<double>((right - left) * (bottom - top));
}

void save(const PendingScreenshot& pending, const Done& done) {
  const auto texture = textureOf(pending.window);
  if (!texture) return done(ScreenshotResult::NotTaken, "the window shows nothing");
  if (!gdk_texture_save_to_png(texture.get(), pending.file.c_str())) {
    return done(ScreenshotResult::NotTaken, "cannot write '" + pending.file.string() + "'");
  }
  const bool isEmpty = isNearlyOneColour(texture.get(), pending.subject);
  done(isEmpty ? ScreenshotResult::NothingThere : ScreenshotResult::Taken, "");
}

void onPainted(GdkFrameClock* clock, gpointer data) {
  // The window's render nodes are complete only now: while a frame is due, they are gone.
  const PendingScreenshot pending = *static_cast<PendingScreenshot*>(data);
  g_signal_handlers_disconnect_by_func(clock, reinterpret_cast<gpointer>(onPainted), data);
  save(pending, pending.done);
}

}  // namespace

void saveScreenshot(GtkWindow* window, const graphene_rect_t& subject, const std::filesystem::path& file,
                    std::function<void(ScreenshotResult result, const std::string& problem)> done) {
  GdkFrameClock* const clock = gtk_widget_get_frame_clock(GTK_WIDGET(window));
  if (!clock) return done(ScreenshotResult::NotTaken, "the window is not on the screen");
  g_signal_connect_data(
      clock, "after-paint", G_CALLBACK(onPainted),
      new PendingScreenshot{window, subject, file, std::move(done)},
      [](gpointer data, GClosure*) { delete static_cast<PendingScreenshot*>(data); }, GConnectFlags());
  gtk_widget_queue_draw(GTK_WIDGET(window));
}

}  // namespace vemora
