#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIntersectionData.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

bool QuadIntersectionData::isEnableFlipAngle = false;

QuadIntersectionData::QuadIntersectionData(double distanceToObject, double angleToObjectNormal,
                                           double distanceSqrToQuadCentre)
    : distanceToObject(distanceToObject),
      angleToObjectNormal(isEnableFlipAngle ? Utility::twopi() / 2.0 - angleToObjectNormal
                                            : angleToObjectNormal),
      distanceSqrToQuadCentre(distanceSqrToQuadCentre) {}

double QuadIntersectionData::getAngleError() const {
  return Utility::twopi() / 2.0 - angleToObjectNormal;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
