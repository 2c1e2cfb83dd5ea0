#include <QARN/Geometry/ThreeDimensional/TriMesh/Edge.h>

#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <cmath>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

Point Edge::vphiorg3() const {
  return triangle->mesh->getVertex(org()).getPoint3D();
}

Point Edge::vphidest3() const {
  return triangle->mesh->getVertex(dest()).getPoint3D();
}

Vector Edge::vphi3() const {
  return vphidest3() - vphiorg3();
}

TwoDimensional::Point<double> Edge::vphiorg2() const {
  return triangle->mesh->getVertex(org()).getPoint2D();
}

TwoDimensional::Point<double> Edge::vphidest2() const {
  return triangle->mesh->getVertex(dest()).getPoint2D();
}

TwoDimensional::Vector<double> Edge::vphi2() const {
  return vphidest2() - vphiorg2();
}

Vector Edge::N() const {
  Vector const n = vphi3().cross(rot().vphi3());
  return n / std::sqrt(n.dot(n));
}

Vector Edge::perp3() const {
  return N().cross(vphi3());
}

void Edge::makeBoundary() const {
  Edge const neighbour = sym();
  triangle->makeBoundary(static_cast<std::int32_t>(triangleEdgeIndex));
  neighbour.triangle->makeBoundary(static_cast<std::int32_t>(neighbour.triangleEdgeIndex));
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
