#pragma once

/// The whole portable interface in one include. Host apps on GTK also include <Vemora/Gtk/VemoraGtk.h>. The
/// C interface for viewability libraries, <Vemora/VemoraViewability.h>, is not for host apps and not part
/// of it.

#include <Vemora/InternalInconsistencyException.h>
#include <Vemora/JsonValue.h>
#include <Vemora/NotificationCenter.h>
#include <Vemora/VMRError.h>
#include <Vemora/Vemora.h>
#include <Vemora/VemoraAd.h>
#include <Vemora/VemoraAdBreak.h>
#include <Vemora/VemoraAdGroup.h>
#include <Vemora/VemoraAdPlayer.h>
#include <Vemora/VemoraAdPlayerBase.h>
#include <Vemora/VemoraAdPlayerCallbacks.h>
#include <Vemora/VemoraAdPlayerDelegate.h>
#include <Vemora/VemoraAdRequest.h>
#include <Vemora/VemoraInlineAdPlayer.h>
#include <Vemora/VemoraInterstitialAdPlayer.h>
#include <Vemora/VemoraResizableAdPlayer.h>
#include <Vemora/VemoraTypes.h>
#include <Vemora/VemoraVersion.h>
#include <Vemora/VemoraView.h>

/// Everything that the SDK declares, except the C interface for viewability libraries.
namespace vemora {}
