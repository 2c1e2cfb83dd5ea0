#include <QARN/Geometry/ThreeDimensional/Quaternion.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

#include <cmath>

namespace QARN::Geometry::ThreeDimensional {

double Vector::linf() const {
  double m = std::fabs(dX);
  if (std::fabs(dY) > m)
    m = std::fabs(dY);
  if (std::fabs(dZ) > m)
    m = std::fabs(dZ);
  return m;
}

bool Vector::getIsReal() const {
  return std::isfinite(dX) && std::isfinite(dY) && std::isfinite(dZ);
}

Vector Vector::rot(Quaternion const& q) const {
  return (q * Quaternion(*this) * q.inverse()).getbcd();
}

} // namespace QARN::Geometry::ThreeDimensional
