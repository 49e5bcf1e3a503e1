#pragma once

#include "ports/LocationServices.h"

#include <memory>
#include <string>

namespace vemora::gtk {

struct GeoClueOptions {
  /// Under which the application is known to the location service and to the desktop; empty when it has no
  /// id.
  std::string desktopId;
  /// The location of the administrator's configuration.
  std::string configurationFile = "/etc/geoclue/geoclue.conf";
  std::string configurationFolder = "/etc/geoclue/conf.d";
};

/// Location from GeoClue 2 on the system bus.
///
/// GeoClue has a client's first start approved by the desktop, which may ask the user. So a client is started
/// only for an application whose approval is on record already: in GeoClue's configuration or, from an
/// earlier answer of the user's, in the desktop's permission store on the session bus. For every other
/// application the authorisation is "not determined", and nothing is started.
///
/// All managers share one client of GeoClue's, on connections of this object's own, so that a client of the
/// host's stays as it is. The object must outlive its managers.
std::unique_ptr<LocationServices> makeGeoClueLocationServices(GeoClueOptions options);

}  // namespace vemora::gtk
