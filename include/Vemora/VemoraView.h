#pragma once

namespace vemora {

/// A view of the host app, as players take it. Opaque: the platform's header makes one from the platform's
/// own view; for GTK see <Vemora/Gtk/VemoraGtk.h>.
class View;

}  // namespace vemora
