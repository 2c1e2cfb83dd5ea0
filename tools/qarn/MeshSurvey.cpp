#include "MeshSurvey.h"

#include <algorithm>

namespace qarn {

namespace G2 = QARN::Geometry::TwoDimensional;
namespace G3 = QARN::Geometry::ThreeDimensional;

MeshSurvey::MeshSurvey(G3::QuadMesh::RectMesh const& mesh) {
  auto const extents = mesh.getExtents();
  std::uint32_t const U = extents.getdU();
  std::uint32_t const V = extents.getdV();
  pointCount = (std::uint64_t{U} + 1) * (std::uint64_t{V} + 1);
  quadCount = std::uint64_t{U} * V;
  double sum = 0.0;
  for (std::uint32_t v = 0; v <= V; ++v) {
    for (std::uint32_t u = 0; u <= U; ++u) {
      G2::Point<int> const p(static_cast<int>(u), static_cast<int>(v));
      if (mesh.getIsPointValid(p))
        ++validPointCount;
      if (!mesh.getIsQuadValid(p))
        continue;
      double const area = mesh.getQuadArea(p);
      minQuadArea = validQuadCount == 0 ? area : std::min(minQuadArea, area);
      maxQuadArea = validQuadCount == 0 ? area : std::max(maxQuadArea, area);
      sum += area;
      ++validQuadCount;
    }
  }
  if (validQuadCount > 0)
    meanQuadArea = sum / static_cast<double>(validQuadCount);
}

} // namespace qarn
