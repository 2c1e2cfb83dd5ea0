#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_POINTCLOUD_REGISTRATIONSETTINGS_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_POINTCLOUD_REGISTRATIONSETTINGS_H

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Progress/ProgressListener.h>

#include <cstdint>
#include <limits>

namespace QARN::Geometry::ThreeDimensional::PointCloud {

/// How Registration::align runs; the defaults suit a measured cloud that lies roughly on the
/// reference already and holds a few stray points.
struct RegistrationSettings {
  /// The identity map as the start, and the defaults below.
  RegistrationSettings() { initialMap.setLinearMap(identity()); }

  /// Applied to the measured points before the first step (a rough placement, for example
  /// from three picked point pairs through Utility::getRigidBodyMap).
  AffineMap initialMap;
  /// At most this many steps (rigid maps applied).
  std::uint32_t maxIterations = 100;
  /// The share of point pairs kept at each step: the closest, rounded up (trimmed iterative
  /// closest points); in (0, 1]. 1 keeps every pair within maxDistance.
  double overlap = 0.9;
  /// Pairs farther apart than this (in the points' units) are dropped before the trimming.
  double maxDistance = std::numeric_limits<double>::infinity();
  /// Converged once a step lowers the RMS distance of the kept pairs by less than this share of
  /// it (or raises it).
  double tolerance = 1e-6;
  /// Optional; held, never owned. Receives "Registering point cloud...", then per evaluation
  /// the step number (setIteration) and "RMS distance" (setValue).
  ProgressListener* listener = nullptr;

private:
  static LinearMap identity() {
    LinearMap I;
    I.setAsIdentity();
    return I;
  }
};

} // namespace QARN::Geometry::ThreeDimensional::PointCloud

#endif
