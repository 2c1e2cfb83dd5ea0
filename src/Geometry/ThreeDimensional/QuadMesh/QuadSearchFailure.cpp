#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadSearchFailure.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

char const* QuadSearchFailure::what() const noexcept {
  return "QuadSearchFailure";
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
