#include "SlotSet.h"

namespace QARN::Geometry::ThreeDimensional::TriMesh {

SlotSet::SlotSet(std::size_t size) {
  std::size_t words = (size + 63) / 64;
  do {
    levels.emplace_back(words == 0 ? 1 : words, 0);
    words = (words + 63) / 64;
  } while (levels.back().size() > 1);
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
