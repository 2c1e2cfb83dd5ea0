#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

QuadIndicesIntersectionStatus::IntersectionQualityMode
    QuadIndicesIntersectionStatus::intersectionQualityMode = FacingThenNearest;

RectMesh const& QuadIndicesIntersectionStatus::getQuadMesh() const {
  if (quadMesh == nullptr)
    throw Exception("Intersection status has no quad-mesh.");
  return *quadMesh;
}

bool QuadIndicesIntersectionStatus::getIsGoodIntersection() const {
  if (!isValid)
    return false;
  if (intersectionQualityMode == FacingThenNearest)
    return intersectionData.getAngleError() < Utility::twopi() / 4.0;
  return true;
}

bool QuadIndicesIntersectionStatus::getIsBetterIntersection(
    QuadIndicesIntersectionStatus const& other) const {
  if (intersectionQualityMode != FacingThenNearest && intersectionQualityMode != Nearest &&
      intersectionQualityMode != BestAngle)
    return false;
  if (!other.isValid)
    return false;
  if (!isValid)
    return true;
  QuadIntersectionData const& mine = intersectionData;
  QuadIntersectionData const& theirs = other.intersectionData;
  switch (intersectionQualityMode) {
  case FacingThenNearest: {
    double const halfPi = Utility::twopi() / 4.0;
    if (theirs.getAngleError() < halfPi && mine.getAngleError() > halfPi)
      return true;
    return theirs.getDistanceToObject() < mine.getDistanceToObject();
  }
  case Nearest:
    return theirs.getDistanceToObject() < mine.getDistanceToObject();
  default:
    return mine.getAngleError() > theirs.getAngleError();
  }
}

void QuadIndicesIntersectionStatus::setIntersectionQualityMode(IntersectionQualityMode mode) {
  intersectionQualityMode = mode;
}

QuadIndicesIntersectionStatus::IntersectionQualityMode
QuadIndicesIntersectionStatus::getIntersectionQualityMode() {
  return intersectionQualityMode;
}

void QuadIndicesIntersectionStatus::setQuadIntersectionData(QuadIntersectionData const& data) {
  intersectionData = data;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
