#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <cmath>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

void Mesh::calculateVertexNormals() {
  std::uint32_t const n = getNumberOfVertices();
  std::vector<Vector> sums(n);
  // One pass over the triangles in creation order: each adds its normal, scaled by twice its
  // area, to its three corners, so a vertex sums the triangles around it.
  for (std::size_t s = 0; s < triangleCount; ++s) {
    std::uint32_t const* const corners = getTriangleBySerial(s)->vertexIndices;
    if (corners[0] >= n || corners[1] >= n || corners[2] >= n)
      continue;
    Point const& p0 = vertices[corners[0]].getPoint3D();
    Point const& p1 = vertices[corners[1]].getPoint3D();
    Point const& p2 = vertices[corners[2]].getPoint3D();
    Vector const normal = (p1 - p0).cross(p2 - p1);
    for (int k = 0; k < 3; ++k)
      sums[corners[k]] += normal;
  }
  for (std::uint32_t v = 0; v < n; ++v) {
    double const length = std::sqrt(sums[v].lSqr());
    vertices[v].setNormal3D(length > 0.0 ? sums[v] / length : Vector());
  }
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
