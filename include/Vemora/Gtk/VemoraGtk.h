#pragma once

#include <Vemora/VemoraExport.h>
#include <Vemora/VemoraView.h>

#include <gtk/gtk.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// What a host app on GTK 4 needs beside the players. Everything here belongs to the main thread, after
/// `gtk_init`.
namespace vemora::gtk {

/// A new widget for ads: an empty area that the host places like any other widget and hands to a player with
/// `viewForWidget`. It asks for no room, whatever is in it, so that an ad never changes the layout around it:
/// give it some by expanding, alignment or a size request. Ads are clipped to it, and where none is, what
/// lies underneath gets the pointer. Floating, as new widgets are.
VEMORA_EXPORT GtkWidget* newAdView();

/// The view of a widget made by `newAdView`, or a view laid over a GtkOverlay, the same one at each call.
/// Null, with an error in the log, for every other widget. The view does not keep the widget alive; a view
/// whose widget has gone shows nothing.
VEMORA_EXPORT std::shared_ptr<View> viewForWidget(GtkWidget* widget);

/// An entry of the application's information dictionary; an absent value removes it. "CFBundleIdentifier" and
/// "CFBundleName" default to the GApplication's id and the GLib application name. "VemoraControllerHost" (a
/// host name, optionally with ":" and a port) names the host that the controller page comes from. Set entries
/// before loading a player.
VEMORA_EXPORT void setInfoDictionaryEntry(std::string_view key, std::optional<std::string> value);

/// Trusts this certificate for this host (without port), for pages, beacons and the in-app browser. For test
/// servers. Call it before loading a player: a page's process that is already running hears of it only after
/// a moment.
VEMORA_EXPORT void allowTLSCertificateForHost(GTlsCertificate* certificate, std::string_view host);

/// The user's choice about ad tracking, kept in a file of the user's. Limited, and the identifier all zeros,
/// until somebody opts in; opting in makes a new identifier.
VEMORA_EXPORT bool isAdvertisingTrackingEnabled();
VEMORA_EXPORT void setAdvertisingTrackingEnabled(bool enabled);

}  // namespace vemora::gtk
