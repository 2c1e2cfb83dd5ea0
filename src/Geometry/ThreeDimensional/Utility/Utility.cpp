#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

namespace QARN::Geometry::ThreeDimensional {

double Utility::twopi() {
  return 6.283185307179586;
}

Point Utility::bary(Point const& P0, Point const& P1, Point const& P2, double l0, double l1,
                    double l2) {
  Point B;
  for (std::uint32_t i = 0; i < 3; ++i)
    B.seti(i, l0 * P0.get(i) + l1 * P1.get(i) + l2 * P2.get(i));
  return B;
}

} // namespace QARN::Geometry::ThreeDimensional
