#include "Screenshot.h"

#include "../common/GLibHandles.h"
#include "../common/GObjectPtr.h"

namespace vemora {
namespace {

using GskRenderNodePtr = std::unique_ptr<GskRenderNode, FreeWith<gsk_render_node_unref>>;

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

}  // namespace

std::optional<std::string> saveScreenshot(GtkWindow* window, const std::filesystem::path& file) {
  const auto texture = textureOf(window);
  if (!texture) return "the window is not on the screen";
  if (!gdk_texture_save_to_png(texture.get(), file.c_str())) return "cannot write '" + file.string() + "'";
  return std::nullopt;
}

}  // namespace vemora
