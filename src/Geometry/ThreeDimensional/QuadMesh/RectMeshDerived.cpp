#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <Geometry/ThreeDimensional/QuadMesh/GridIndex.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

double RectMesh::round(double x) const {
  return GridIndex::roundHalfUp(x);
}

void RectMesh::getMaxMeanMinQuadSize(double* max, double* mean, double* min) const {
  double largest = 0.0;
  double smallest = 0.0;
  double sum = 0.0;
  std::uint64_t count = 0;
  std::int64_t const U = extents.getdU();
  std::int64_t const V = extents.getdV();
  std::int64_t const lastU = std::min<std::int64_t>(U - 1, std::numeric_limits<int>::max() - 1);
  std::int64_t const lastV = std::min<std::int64_t>(V - 1, std::numeric_limits<int>::max() - 1);
  for (std::int64_t v = 0; v <= lastV; ++v)
    for (std::int64_t u = 0; u <= lastU; ++u) {
      if (!getIsQuadValidAt(u, v))
        continue;
      TwoDimensional::Point<int> const p(static_cast<int>(u), static_cast<int>(v));
      Point const p0 = getPoint(p);
      Point const p1 = getPoint(TwoDimensional::Point<int>(p.getU() + 1, p.getV()));
      Point const p2 = getPoint(TwoDimensional::Point<int>(p.getU() + 1, p.getV() + 1));
      Point const p3 = getPoint(TwoDimensional::Point<int>(p.getU(), p.getV() + 1));
      double const area = 0.5 * std::sqrt((p1 - p0).cross(p2 - p0).lSqr()) +
                          0.5 * std::sqrt((p2 - p0).cross(p3 - p0).lSqr());
      if (count == 0 || area > largest)
        largest = area;
      if (count == 0 || area < smallest)
        smallest = area;
      sum += area;
      ++count;
    }
  *max = largest;
  *mean = count > 0 ? sum / static_cast<double>(count) : 0.0;
  *min = smallest;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
