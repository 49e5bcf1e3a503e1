#pragma once

#include "ports/View.h"

#include <memory>

namespace vemora {

inline std::shared_ptr<LayoutConstraint> makeConstraint(const std::shared_ptr<View>& view,
                                                        LayoutAttribute attribute,
                                                        const std::shared_ptr<View>& container,
                                                        double multiplier = 1) {
  auto made = std::make_shared<LayoutConstraint>();
  made->firstItem = view;
  made->firstAttribute = attribute;
  made->secondItem = container;
  made->secondAttribute = attribute;
  made->multiplier = multiplier;
  return made;
}

/// Pins the four edges of a view to those of its container, or to the container's safe area.
inline void pinEdges(const std::shared_ptr<View>& view, const std::shared_ptr<View>& container,
                     bool toSafeArea) {
  for (const auto edge :
       {LayoutAttribute::Leading, LayoutAttribute::Trailing, LayoutAttribute::Bottom, LayoutAttribute::Top}) {
    const auto pin = makeConstraint(view, edge, container);
    pin->toSafeArea = toSafeArea;
    container->addConstraint(pin);
  }
}

}  // namespace vemora
