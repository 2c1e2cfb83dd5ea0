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
      // Each cross product is the triangle's normal scaled by twice its area.
      walkFan(start, [&](Edge const& e) {
        sum += e.vphi3().cross(e.rot().vphi3());
        return false;
      });
    }
    double const length = std::sqrt(sum.lSqr());
    vertices[v].setNormal3D(length > 0.0 ? sum / length : Vector());
  }
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
