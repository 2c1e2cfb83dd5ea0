#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_POINTCLOUD_REGISTRATIONRESULT_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_POINTCLOUD_REGISTRATIONRESULT_H

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::PointCloud {

/// What Registration::align found.
struct RegistrationResult {
  /// Why the alignment ended.
  enum class Stop : std::uint32_t {
    /// A step no longer lowered the RMS distance by the settings' tolerance.
    Converged,
    /// maxIterations steps were taken.
    IterationLimit,
    /// Fewer than three pairs were left within maxDistance: no rigid map can be fitted.
    TooFewPairs
  };

  /// The rigid map (the initial map included) that takes the measured points onto the
  /// reference: Cloud::transform(map) moves them there.
  AffineMap map;
  /// The root mean square distance of the kept pairs under map (0 when none was kept).
  double rms = 0.0;
  /// Steps taken: rigid maps applied after the initial map.
  std::uint32_t iterations = 0;
  /// The pairs kept in the last evaluation.
  std::uint32_t pairs = 0;
  Stop stop = Stop::Converged;
};

} // namespace QARN::Geometry::ThreeDimensional::PointCloud

#endif
