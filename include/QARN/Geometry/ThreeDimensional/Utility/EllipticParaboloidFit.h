#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_ELLIPTICPARABOLOIDFIT_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_ELLIPTICPARABOLOIDFIT_H

#include <QARN/Geometry/ThreeDimensional/Vector.h>

namespace QARN::Geometry::ThreeDimensional {

/// An elliptic paraboloid fitted to points (Utility::getEllipticParaboloidFit): in the frame of
/// its apex, with h along axis, u along firstDirection and v along axis × firstDirection, the
/// surface is h = firstCurvature·u² + secondCurvature·v².
///
/// The axis is oriented so that firstCurvature ≥ secondCurvature and firstCurvature ≥ 0 (the
/// surface opens towards the axis). A negative secondCurvature means that a saddle fits the
/// points better than any elliptic paraboloid; it is reported as found rather than forced.
struct EllipticParaboloidFit {
  /// The apex, as a position.
  Vector apex;
  /// Unit vectors: the axis and the direction of the larger curvature, perpendicular to it.
  Vector axis;
  Vector firstDirection;
  double firstCurvature = 0.0;
  double secondCurvature = 0.0;
  /// The root mean square of h − (firstCurvature·u² + secondCurvature·v²) over the points.
  double residual = 0.0;
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
