#include "Screenshot.h"

#include "../common/GLibHandles.h"
#include "../common/GObjectPtr.h"

#include <utility>

namespace vemora {
namespace {

using GskRenderNodePtr = std::unique_ptr<GskRenderNode, FreeWith<gsk_render_node_unref>>;

struct PendingScreenshot {
  GtkWindow* window;
  std::filesystem::path file;
  std::function<void(const std::optional<std::string>&)> done;
};

/// Draws the window as it was drawn last, films included: those are textures in its tree of render nodes.
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

std::optional<std::string> save(GtkWindow* window, const std::filesystem::path& file) {
  const auto texture = textureOf(window);
  if (!texture) return "the window shows nothing";
  if (!gdk_texture_save_to_png(texture.get(), file.c_str())) return "cannot write '" + file.string() + "'";
  return std::nullopt;
}

void onPainted(GdkFrameClock* clock, gpointer data) {
  // The window's render nodes are complete only now: while a frame is due, they are gone.
  auto& pending = *static_cast<PendingScreenshot*>(data);
  const auto problem = save(pending.window, pending.file);
  const auto done = std::exchange(pending.done, nullptr);
  g_signal_handlers_disconnect_by_func(clock, reinterpret_cast<gpointer>(onPainted), data);
  done(problem);
}

}  // namespace

void saveScreenshot(GtkWindow* window, const std::filesystem::path& file,
                    std::function<void(const std::optional<std::string>& problem)> done) {
  GdkFrameClock* const clock = gtk_widget_get_frame_clock(GTK_WIDGET(window));
  if (!clock) return done("the window is not on the screen");
  g_signal_connect_data(
      clock, "after-paint", G_CALLBACK(onPainted), new PendingScreenshot{window, file, std::move(done)},
      [](gpointer data, GClosure*) { delete static_cast<PendingScreenshot*>(data); }, GConnectFlags());
  gtk_widget_queue_draw(GTK_WIDGET(window));
}

}  // namespace vemora
