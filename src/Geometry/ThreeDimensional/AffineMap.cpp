#include <QARN/Geometry/ThreeDimensional/AffineMap.h>

namespace QARN::Geometry::ThreeDimensional {

Vector AffineMap::operator()(Vector const& v) const {
  return L * v + t;
}

AffineMap AffineMap::inverse() const {
  LinearMap const I = L.inverse();
  return AffineMap(I, I * -t);
}

AffineMap AffineMap::operator*(AffineMap const& B) const {
  return AffineMap(L * B.L, L * B.t + t);
}

} // namespace QARN::Geometry::ThreeDimensional
