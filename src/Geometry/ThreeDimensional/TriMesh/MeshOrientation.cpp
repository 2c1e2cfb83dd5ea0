#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include "Fan.h"

#include <cmath>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

void Mesh::calculateVertexNormals() {
  std::uint32_t const n = getNumberOfVertices();
  // The vertices in the order their first triangles were made: the triangles of a fan were made
  // at nearby times, so that consecutive fans share what the cache holds. Vertices without a
  // triangle come last.
  std::vector<std::uint32_t> order;
  order.reserve(n);
  std::vector<bool> queued(n, false);
  for (std::size_t s = 0; s < triangleCount; ++s)
    for (std::uint32_t const v : getTriangleBySerial(s)->vertexIndices)
      if (v < n && !queued[v]) {
        queued[v] = true;
        order.push_back(v);
      }
  for (std::uint32_t v = 0; v < n; ++v)
    if (!queued[v])
      order.push_back(v);

  for (std::uint32_t const v : order) {
    Vector sum;
    // Each cross product is the triangle's normal scaled by twice its area: the edge out of v
    // crossed with the edge that follows it.
    auto const add = [&](Edge const& e) {
      std::uint32_t const* const corners = e.getTriangle()->vertexIndices;
      Point const& org = vertices[e.org()].getPoint3D();
      Point const& dest = vertices[e.dest()].getPoint3D();
      Point const& third = vertices[corners[e.getTriangleEdgeIndex()]].getPoint3D();
      sum += (dest - org).cross(third - dest);
      return false;
    };
    Edge const anchor = getVertexArbitraryEdge(v);
    // A fan that closes is summed from the anchor edge in one walk; one that meets the boundary
    // is summed again from its first edge.
    if (anchor.getTriangle() != nullptr && walkFan(anchor, add) == FanWalkEnd::Boundary) {
      sum = Vector();
      walkFan(getFanStart(anchor), add);
    }
    double const length = std::sqrt(sum.lSqr());
    vertices[v].setNormal3D(length > 0.0 ? sum / length : Vector());
  }
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
