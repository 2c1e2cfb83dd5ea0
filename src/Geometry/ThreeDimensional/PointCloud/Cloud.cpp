#include <QARN/Geometry/ThreeDimensional/PointCloud/Cloud.h>

#include <QARN/Exception.h>

#include <cmath>

namespace QARN::Geometry::ThreeDimensional::PointCloud {

bool Cloud::getIsFinite() const {
  for (Point const& p : points)
    if (!std::isfinite(p.getX()) || !std::isfinite(p.getY()) || !std::isfinite(p.getZ()))
      return false;
  return true;
}

BoundingBoxAA Cloud::getBoundingBox() const {
  if (points.empty())
    throw Exception("Empty point cloud");
  if (!getIsFinite())
    throw Exception("Point cloud holds a non-finite point");
  Point low = points.front();
  Point high = points.front();
  for (Point const& p : points) {
    low.setMin(p);
    high.setMax(p);
  }
  return BoundingBoxAA(low, high - low);
}

void Cloud::transform(AffineMap const& A) {
  Point const origin;
  for (Point& p : points)
    p = origin + A(p - origin);
}

} // namespace QARN::Geometry::ThreeDimensional::PointCloud
