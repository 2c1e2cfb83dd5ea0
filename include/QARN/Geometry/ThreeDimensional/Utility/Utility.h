#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_UTILITY_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_UTILITY_H

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/Utility/CylinderFit.h>
#include <QARN/Geometry/ThreeDimensional/Utility/EllipticParaboloidFit.h>
#include <QARN/Geometry/ThreeDimensional/Utility/RealValuedVectorFunction.h>
#include <QARN/Geometry/ThreeDimensional/Utility/SphereFit.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional {

namespace PointCloud {
class Cloud;
}

/// Free-standing geometric helpers: triangles, maps between point sets and surface fits.
///
/// The point-set functions work in double precision on the stored single-precision points and
/// refuse bad input with a QARN::Exception: "Too few points" (fewer than the function needs),
/// "Point sets differ in size", "Point cloud holds a non-finite point" (a NaN or infinite
/// coordinate) and "Degenerate point configuration" (points that do not determine the answer,
/// such as coplanar points for an affine map or a sphere). Positions in results are Vectors
/// from the origin, in double precision.
class Utility {
public:
  Utility() = delete;

  /// 2π as the library uses it: 6.283185307179586.
  static double twopi();
  /// l0·P0 + l1·P1 + l2·P2, computed in double from the stored floats.
  static Point bary(Point const& P0, Point const& P1, Point const& P2, double l0, double l1,
                    double l2);

  // Triangles.
  /// (P1 − P0) × (P2 − P0): normal to the triangle, counter-clockwise corners seen against it,
  /// of length twice the triangle's area.
  static Vector getTriangleNormal(Point const& P0, Point const& P1, Point const& P2);
  static double getTriangleArea(Point const& P0, Point const& P1, Point const& P2);
  /// The barycentric coordinates of q's orthogonal projection onto the triangle's plane, so that
  /// bary(P0, P1, P2, l0, l1, l2) is that projection; all three are in [0, 1] exactly when it lies
  /// in the triangle. False (l0, l1, l2 unchanged) for a triangle of zero area.
  static bool getBarycentricCoordinates(Point const& P0, Point const& P1, Point const& P2,
                                        Point const& q, double& l0, double& l1, double& l2);
  /// The point of the closed triangle nearest q, as a position; weights (when not null) receives
  /// its barycentric coordinates, each in [0, 1], summing to 1. A degenerate triangle gives the
  /// nearest point of its longest side.
  static Vector getClosestPointOnTriangle(Point const& P0, Point const& P1, Point const& P2,
                                          Point const& q, double* weights = nullptr);

  // Maps between corresponding point sets (point i of one corresponds to point i of the other).
  /// The rotation R and translation t (AffineMap(R, t)) that minimise Σ|R·from_i + t − to_i|²,
  /// by the unit-quaternion method (the eigenvector of the largest eigenvalue of the 4 x 4 matrix
  /// built from the cross-covariance). Needs one pair; where the rotation is not determined
  /// (fewer than three non-collinear points) the result is one of the best rotations, the
  /// identity for a single pair.
  static AffineMap getRigidBodyMap(PointCloud::Cloud const& from, PointCloud::Cloud const& to);
  /// The general affine map (12 parameters) minimising Σ|A(from_i) − to_i|². Needs four points
  /// that are not coplanar.
  static AffineMap getAffineMap(PointCloud::Cloud const& from, PointCloud::Cloud const& to);

  // Fits, each minimising the sum of squared residuals of the points.
  /// The sphere nearest the points in the geometric sense (residual: a point's distance from the
  /// centre less the radius), from an algebraic start refined by Levenberg-Marquardt. Needs four
  /// points that are not coplanar.
  static SphereFit getSphereFit(PointCloud::Cloud const& cloud);
  /// The cylinder nearest the points (residual: a point's distance from the axis less the
  /// radius), refined by Levenberg-Marquardt on a CylinderFitFunction from three starts (the
  /// axis along each principal direction of the points, radius and offset from a circle fit
  /// across it); the best is kept. Needs five points that are not collinear.
  static CylinderFit getCylinderFit(PointCloud::Cloud const& cloud);
  /// The elliptic paraboloid h = k1·u² + k2·v² in its own frame (apex, axis, principal
  /// directions) nearest the points along its axis (residual: h less the model), from a
  /// quadratic height-field start over the points' best-fit plane refined by
  /// Levenberg-Marquardt. Needs eight points that are not collinear.
  static EllipticParaboloidFit getEllipticParaboloidFit(PointCloud::Cloud const& cloud);

  /// Minimises the sum of the squared values of f by Levenberg-Marquardt from the n variables
  /// in x, which receive the best point found; returns its sum of squares. Stops when a step no
  /// longer lowers the sum by a relative 1e-14, a step is below a relative 1e-12 of x, or after
  /// maxIterations accepted steps. Throws QARN::Exception "Invalid number of variables" unless
  /// 1 ≤ n ≤ 10.
  static double minimiseSumOfSquares(RealValuedVectorFunction const& f, double* x,
                                     std::uint32_t maxIterations = 200);
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
