#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_UTILITY_POINTSETS_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_UTILITY_POINTSETS_H

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/PointCloud/Cloud.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

#include <cstdint>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::PointSets {

/// Throws "Too few points" below minimum and "Point cloud holds a non-finite point".
void check(PointCloud::Cloud const& cloud, std::uint32_t minimum);

/// The centroid and the principal axes of points: the unit eigenvectors of their covariance as
/// the columns of axes, largest spread first, turned to a right-handed frame.
struct Principal {
  Vector centroid;
  LinearMap axes;
  /// The root mean square distance from the centroid (1 when every point lies on it).
  double scale = 1.0;
};
Principal getPrincipal(PointCloud::Cloud const& cloud);

/// The rotation and translation taking from[i] towards to[i] in the least-squares sense (the
/// unit-quaternion method), on positions in double precision; from and to hold count entries.
AffineMap getRigidBodyMap(Vector const* from, Vector const* to, std::size_t count);

} // namespace QARN::Geometry::ThreeDimensional::PointSets

#endif
