#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_CYLINDERFIT_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_CYLINDERFIT_H

#include <QARN/Geometry/ThreeDimensional/Vector.h>

namespace QARN::Geometry::ThreeDimensional {

/// A circular cylinder fitted to points (Utility::getCylinderFit).
struct CylinderFit {
  /// The point of the axis nearest the points' centroid, as a position.
  Vector axisPoint;
  /// The unit direction of the axis; its sign is that of its largest component.
  Vector axisDirection;
  double radius = 0.0;
  /// The root mean square of the points' distances from the axis less the radius.
  double residual = 0.0;
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
