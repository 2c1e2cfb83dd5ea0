#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIntersectionData.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

bool QuadIntersectionData::isEnableFlipAngle = false;

double QuadIntersectionData::getFlippedAngle(double angle) {
  return Utility::twopi() / 2.0 - angle;
}

double QuadIntersectionData::getAngleError() const {
  return Utility::twopi() / 2.0 - angleToObjectNormal;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
