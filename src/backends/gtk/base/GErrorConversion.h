#pragma once

#include <Vemora/VMRError.h>

#include <glib.h>

namespace vemora::gtk {

inline VMRError errorFromGError(const GError& error) {
  return {g_quark_to_string(error.domain), error.code, error.message ? error.message : "", {}, {}, nullptr};
}

}  // namespace vemora::gtk
