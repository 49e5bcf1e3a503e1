#pragma once

namespace vemora {

/// A view of the host app's, as the players take it. Made from the platform's own views: see
/// <Vemora/Gtk/VemoraGtk.h>.
class View;

}  // namespace vemora
