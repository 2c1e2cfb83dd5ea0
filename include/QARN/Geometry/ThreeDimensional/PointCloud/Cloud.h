#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_POINTCLOUD_CLOUD_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_POINTCLOUD_CLOUD_H

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/ThreeDimensional/Point.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::PointCloud {

/// Measured surface points in insertion order: a value type (copies copy the points). Points
/// keep single-precision coordinates like every Point. Nothing is checked on the way in: a NaN or
/// infinite coordinate is stored as given, and each consumer says what it does with one (the
/// space-partition tree leaves such points out; fits, maps, registration and meshing refuse them).
class Cloud {
public:
  Cloud() = default;
  explicit Cloud(std::vector<Point> points) : points(std::move(points)) {}
  Cloud(Cloud const&) = default;
  Cloud(Cloud&&) noexcept = default;
  Cloud& operator=(Cloud const&) = default;
  Cloud& operator=(Cloud&&) noexcept = default;
  virtual ~Cloud() = default;

  void addPoint(Point const& p) { points.push_back(p); }
  /// Room for n points without reallocation, so that pointers into the cloud stay valid while
  /// it is filled up to n.
  void reserve(std::uint32_t n) { points.reserve(n); }
  void clear() { points.clear(); }

  std::uint32_t getNumberOfPoints() const { return static_cast<std::uint32_t>(points.size()); }
  /// Point i; i must be below getNumberOfPoints() (not checked).
  Point const& getPoint(std::uint32_t i) const { return points[i]; }
  std::vector<Point> const& getPoints() const { return points; }

  /// No coordinate of any point is NaN or infinite (true for an empty cloud).
  bool getIsFinite() const;
  /// The smallest box holding every point; throws QARN::Exception "Empty point cloud" when there
  /// are none and "Point cloud holds a non-finite point" when a coordinate is NaN or infinite.
  BoundingBoxAA getBoundingBox() const;
  /// Maps every point through A (p ↦ A(p − origin) as a position vector), rounding to float as
  /// every Point does.
  void transform(AffineMap const& A);

private:
  std::vector<Point> points;
};

} // namespace QARN::Geometry::ThreeDimensional::PointCloud

#endif
