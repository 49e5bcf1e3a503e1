#pragma once

#include "ports/LocationServices.h"

#include <glib.h>

#include <string>
#include <string_view>

namespace vemora::gtk {

/// The administrator's decision about an application in GeoClue's configuration: `file` first, then
/// the files of `folder` that end in ".conf", in the order of their names, later ones going before earlier
/// ones. NotDetermined when they do not name the application.
LocationAuthorizationStatus configuredLocationPermission(const std::string& file, const std::string& folder,
                                                         std::string_view desktopId);

/// What the user has decided about an application before, in the desktop's permission store. `permissions` is
/// the store's table of application ids (a{sas}); null means an empty one. NotDetermined when there is
/// no decision.
LocationAuthorizationStatus storedLocationPermission(GVariant* permissions, std::string_view desktopId);

}  // namespace vemora::gtk
