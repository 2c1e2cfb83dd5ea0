#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_SPHEREFIT_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_SPHEREFIT_H

#include <QARN/Geometry/ThreeDimensional/Vector.h>

namespace QARN::Geometry::ThreeDimensional {

/// A sphere fitted to points (Utility::getSphereFit).
struct SphereFit {
  /// The centre, as a position.
  Vector centre;
  double radius = 0.0;
  /// The root mean square of the points' distances from the centre less the radius.
  double residual = 0.0;
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
