#include <QARN/Geometry/ThreeDimensional/BoundingBoxAA.h>

namespace QARN::Geometry::ThreeDimensional {

void BoundingBoxAA::expand(BoundingBoxAA const& b) {
  Point q1 = getp1();
  q1.setMax(b.getp1());
  p.setMin(b.p);
  d = q1 - p;
}

bool BoundingBoxAA::getIsInside(Point const& q) const {
  Vector const w = q - p;
  for (std::uint32_t i = 0; i < 3; ++i) {
    // The projection on the unit axis, so that an infinity on another axis gives NaN.
    double const s = w.dot(Vector(i, 1.0));
    if (!(0.0 <= s && s <= d.get(i)))
      return false;
  }
  return true;
}

double BoundingBoxAA::getLongestAxisSize() const {
  double m = d.getdX();
  if (d.getdY() > m)
    m = d.getdY();
  if (d.getdZ() > m)
    m = d.getdZ();
  return m;
}

Point BoundingBoxAA::getCentrePoint() const {
  return p + 0.5 * d;
}

} // namespace QARN::Geometry::ThreeDimensional
