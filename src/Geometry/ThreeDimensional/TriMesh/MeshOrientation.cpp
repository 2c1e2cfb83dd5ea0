#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include "Fan.h"

#include <cmath>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

void Mesh::calculateVertexNormals() {
  for (std::uint32_t v = 0; v < getNumberOfVertices(); ++v) {
    Vector sum;
    Edge start = getVertexArbitraryEdge(v);
    if (start.getTriangle() != nullptr) {
      if (getIsBoundaryVertex(v))
        start = getFanStart(start);
      // Each cross product is the triangle's normal scaled by twice its area: the edge out of v
      // crossed with the edge that follows it.
      walkFan(start, [&](Edge const& e) {
        std::uint32_t const* const corners = e.getTriangle()->vertexIndices;
        Point const& org = vertices[e.org()].getPoint3D();
        Point const& dest = vertices[e.dest()].getPoint3D();
        Point const& third = vertices[corners[(e.getTriangleEdgeIndex() + 3) % 3]].getPoint3D();
        sum += (dest - org).cross(third - dest);
        return false;
      });
    }
    double const length = std::sqrt(sum.lSqr());
    vertices[v].setNormal3D(length > 0.0 ? sum / length : Vector());
  }
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
