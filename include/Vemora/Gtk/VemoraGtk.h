#pragma once

#include <Vemora/VemoraExport.h>
#include <Vemora/VemoraView.h>

#include <gtk/gtk.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// What a host app on GTK 4 needs in addition to the players.
///
/// **Threads.** All functions are for the main thread, after `gtk_init`.
///
/// **Files.** The SDK keeps its state in the folder "vemora" of the user's configuration folder
/// (`$XDG_CONFIG_HOME`, usually `~/.config`). NAME is the application's "CFBundleIdentifier" (see
/// `setInfoDictionaryEntry`) or, without one, the name of the executable. Give each application an id, so
/// that no two of them share a name.
///
/// `NAME.ini` holds the settings: the identifier of the installation and the consent. It is a key file with
/// a group "Defaults" of keys and text values, and a group "Types" that names the types of values that are
/// not text. Other programs, such as a consent dialog in its own process, may write to it at any time:
///
///     [Defaults]
///     IABConsent_SubjectToGDPR=1
///     IABConsent_ConsentString=BOEFEAyOEFEAyAHABDENAI4AAAB9vABAASA
///
/// `NAME.advertising-identifier` holds the advertising identifier of a user who has opted in, on one line.
namespace vemora::gtk {

/// A new widget for ads: an empty area that the host places like any other widget and hands to a player
/// with `viewForWidget`. It requests no size, whatever it contains, so that an ad never changes the layout
/// around it: give it room by expanding, alignment or a size request. Ads are clipped to it. Where it shows
/// no ad, the widget below gets the pointer events. The reference is floating, as of all new widgets.
VEMORA_EXPORT GtkWidget* newAdView();

/// The view of a widget made by `newAdView`, or a view that covers a GtkOverlay: the same one at each call.
/// Null, with an error in the log, for every other widget. The view does not keep the widget alive; a view
/// whose widget has been destroyed shows nothing.
VEMORA_EXPORT std::shared_ptr<View> viewForWidget(GtkWidget* widget);

/// An entry of the application's information dictionary; an absent value removes it. "CFBundleIdentifier"
/// and "CFBundleName" default to the GApplication's id and the GLib application name.
/// "VemoraControllerHost" (a host name, optionally with ":" and a port) names the host that the controller
/// page comes from. Set entries before loading a player.
VEMORA_EXPORT void setInfoDictionaryEntry(std::string_view key, std::optional<std::string> value);

/// Trusts this certificate for this host (without port), for pages, beacons and the in-app browser. For
/// test servers. Call it before loading a player: a web process that is already running applies it with a
/// delay.
VEMORA_EXPORT void allowTLSCertificateForHost(GTlsCertificate* certificate, std::string_view host);

/// Stores the viewer's consent under the keys of the IAB Transparency and Consent Framework for mobile apps:
/// whether the GDPR applies ("IABConsent_SubjectToGDPR", "1" or "0") and the consent string
/// ("IABConsent_ConsentString"). An absent value removes the key. Ad requests of later loads carry what is
/// stored. A string that is not UTF-8 is refused with an error in the log, and nothing changes.
VEMORA_EXPORT void setConsent(std::optional<bool> subjectToGDPR, std::optional<std::string> consentString);

/// The user's choice about ad tracking in this application. False, and the advertising identifier all zeros,
/// until the user opts in.
VEMORA_EXPORT bool isAdvertisingTrackingEnabled();
/// Stores the user's choice. Opting in creates a new identifier; repeating a choice is a no-op. A choice
/// that cannot be written is logged and holds for this process only.
VEMORA_EXPORT void setAdvertisingTrackingEnabled(bool enabled);

}  // namespace vemora::gtk
