#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <array>
#include <cmath>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

void Mesh::calculateVertexNormals() {
  std::uint32_t const n = getNumberOfVertices();
  // The triangles reach the vertices in no useful order: their points are read from a packed
  // copy, where vertices near one another share cache lines.
  std::vector<std::array<double, 3>> points(n);
  for (std::uint32_t v = 0; v < n; ++v) {
    Point const& p = vertices[v].getPoint3D();
    points[v] = {double(p.getX()), double(p.getY()), double(p.getZ())};
  }
  std::vector<Vector> sums(n);
  // One pass over the triangles in creation order: each adds its normal, scaled by twice its
  // area, to its three corners, so a vertex sums the triangles around it.
  for (std::size_t s = 0; s < triangleCount; ++s) {
    std::uint32_t const* const corners = getTriangleBySerial(s)->vertexIndices;
    if (corners[0] >= n || corners[1] >= n || corners[2] >= n)
      continue;
    auto const difference = [&](std::uint32_t a, std::uint32_t b) {
      return Vector(points[a][0] - points[b][0], points[a][1] - points[b][1],
                    points[a][2] - points[b][2]);
    };
    Vector const normal =
        difference(corners[1], corners[0]).cross(difference(corners[2], corners[1]));
    for (int k = 0; k < 3; ++k)
      sums[corners[k]] += normal;
  }
  for (std::uint32_t v = 0; v < n; ++v) {
    double const length = std::sqrt(sums[v].lSqr());
    vertices[v].setNormal3D(length > 0.0 ? sums[v] / length : Vector());
  }
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
