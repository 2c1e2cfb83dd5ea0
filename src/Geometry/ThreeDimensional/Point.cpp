#include <QARN/Geometry/ThreeDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/ThreeDimensional/Plane.h>
#include <QARN/Geometry/ThreeDimensional/Point.h>

#include <cmath>

namespace QARN::Geometry::ThreeDimensional {

bool Point::getIsAbove(Plane const& P) const {
  return (*this - P.getp()).dot(P.getN()) >= 0.0;
}

bool Point::getIsBelow(Plane const& P) const {
  return (*this - P.getp()).dot(P.getN()) < 0.0;
}

double Point::getMinMaxDistance(Point const& q) const {
  return std::sqrt(dSqr(q));
}

double Point::getMinMaxDistance(Plane const& P) const {
  return std::fabs((*this - P.getp()).dot(P.getN())) / std::sqrt(P.getN().dot(P.getN()));
}

Point Point::operator+(Vector const& w) const {
  return Point(x + w.getdX(), y + w.getdY(), z + w.getdZ());
}

Point Point::operator-(Vector const& w) const {
  return Point(x - w.getdX(), y - w.getdY(), z - w.getdZ());
}

BoundingBoxAA Point::getBoundingBox() const {
  return BoundingBoxAA(*this, Vector());
}

} // namespace QARN::Geometry::ThreeDimensional
