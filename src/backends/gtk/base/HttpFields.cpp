#include "backends/gtk/base/HttpFields.h"

#include <glib.h>

#include <algorithm>

namespace vemora::gtk {

bool isHttpToken(std::string_view text) {
  constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::all_of(text.begin(), text.end(), [&](char c) {
    return g_ascii_isalnum(c) || kMarks.find(c) != std::string_view::npos;
  });
}

bool isHttpFieldValue(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

}  // namespace vemora::gtk
