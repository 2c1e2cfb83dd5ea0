#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

bool QuadValidityGenerator::getValidity(TwoDimensional::Point<int> const&) {
  return false;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
