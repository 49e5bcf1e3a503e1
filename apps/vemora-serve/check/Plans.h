#pragma once

#include "Conversation.h"

#include <vector>

namespace vemora::check {

/// The sessions of a check, each for its own page; they can run at the same time.
///
/// - "play": a group from its start to its end, undisturbed.
/// - "controls": pause, resume, both for the background, skip, close.
/// - "waiting": a long wait before the start, and a long pause with the view hidden.
/// - "robustness": commands and texts that the page does not expect, then stop.
std::vector<Plan> allPlans();

}  // namespace vemora::check
