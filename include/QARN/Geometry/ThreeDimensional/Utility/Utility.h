#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_UTILITY_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_UTILITY_H

#include <QARN/Geometry/ThreeDimensional/Point.h>

namespace QARN::Geometry::ThreeDimensional {

/// Free-standing geometric helpers.
class Utility {
public:
  /// 2π as the library uses it: 6.283185307179586.
  static double twopi();
  /// l0·P0 + l1·P1 + l2·P2, computed in double from the stored floats.
  static Point bary(Point const& P0, Point const& P1, Point const& P2, double l0, double l1,
                    double l2);
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
