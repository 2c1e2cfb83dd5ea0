#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <array>
#include <cmath>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

void Mesh::calculateVertexNormals() {
  std::uint32_t const n = getNumberOfVertices();
  // The triangles reach the vertices in no useful order: their points are read from a packed
  // copy, where vertices near one another share cache lines, and the sums go to a packed list.
  // Both hold the values the vectors would (floats widen exactly).
  std::vector<std::array<float, 3>> points(n);
  for (std::uint32_t v = 0; v < n; ++v) {
    Point const& p = vertices[v].getPoint3D();
    points[v] = {p.getX(), p.getY(), p.getZ()};
  }
  std::vector<std::array<double, 3>> sums(n, {0.0, 0.0, 0.0});
  // One pass over the triangles in creation order: each adds its normal, scaled by twice its
  // area, to its three corners, so a vertex sums the triangles around it.
  for (std::size_t s = 0; s < triangleCount; ++s) {
    std::uint32_t const* const corners = getTriangleBySerial(s)->vertexIndices;
    if (corners[0] >= n || corners[1] >= n || corners[2] >= n)
      continue;
    auto const difference = [&](std::uint32_t a, std::uint32_t b) {
      return Vector(double(points[a][0]) - double(points[b][0]),
                    double(points[a][1]) - double(points[b][1]),
                    double(points[a][2]) - double(points[b][2]));
    };
    Vector const normal =
        difference(corners[1], corners[0]).cross(difference(corners[2], corners[1]));
    for (int k = 0; k < 3; ++k) {
      std::array<double, 3>& sum = sums[corners[k]];
      sum = {sum[0] + normal.getdX(), sum[1] + normal.getdY(), sum[2] + normal.getdZ()};
    }
  }
  for (std::uint32_t v = 0; v < n; ++v) {
    Vector const sum(sums[v][0], sums[v][1], sums[v][2]);
    double const length = std::sqrt(sum.lSqr());
    vertices[v].setNormal3D(length > 0.0 ? sum / length : Vector());
  }
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
