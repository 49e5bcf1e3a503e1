#pragma once

namespace vemora {

/// What this process uses now.
struct ProcessFigures {
  double residentKilobytes = 0;
  double heapKilobytes = 0;  ///< Allocated by malloc and not freed.
  double threads = 0;
  double descriptors = 0;
  double webProcesses = 0;  ///< WebKit's processes of any kind below this one.

  static ProcessFigures now();
};

}  // namespace vemora
