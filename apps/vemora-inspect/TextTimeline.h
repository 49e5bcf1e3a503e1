#pragma once

#include "recording/Recording.h"

#include <string>

namespace vemora {

struct TextTimelineOptions {
  bool isColoured = false;
  bool showsHazardsOnly = false;
};

/// A recording for a terminal: a line for each record, and below it the hazards that it shows. Control
/// characters of the page's texts are shown as "?", so that no page can write to the terminal.
std::string textTimeline(const std::string& name, const Recording& recording, TextTimelineOptions options);

/// The same as one JSON object for other views: the header, the records with lane and text, and the hazards.
std::string jsonTimeline(const std::string& name, const Recording& recording);

}  // namespace vemora
