#include <QARN/Geometry/ThreeDimensional/QuadMesh/Edge.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

namespace {

Edge::Orientation turned(Edge::Orientation d, std::uint32_t quarterTurns) {
  return static_cast<Edge::Orientation>((static_cast<std::uint32_t>(d) + quarterTurns) % 4);
}

} // namespace

TwoDimensional::Point<int> Edge::dest() const {
  switch (orientation) {
  case PositiveV:
    return origin + TwoDimensional::Vector<int>(0, 1);
  case NegativeU:
    return origin + TwoDimensional::Vector<int>(-1, 0);
  case NegativeV:
    return origin + TwoDimensional::Vector<int>(0, -1);
  default:
    return origin + TwoDimensional::Vector<int>(1, 0);
  }
}

Edge Edge::rot() const {
  return Edge(mesh, dest(), turned(orientation, 1));
}

Edge Edge::sym() const {
  return Edge(mesh, dest(), turned(orientation, 2));
}

Edge Edge::onext() const {
  return Edge(mesh, origin, turned(orientation, 1));
}

Edge Edge::oprev() const {
  return Edge(mesh, origin, turned(orientation, 3));
}

Point Edge::vphiorg3() const {
  return mesh != nullptr ? mesh->getPoint(org()) : Point();
}

Point Edge::vphidest3() const {
  return mesh != nullptr ? mesh->getPoint(dest()) : Point();
}

Vector Edge::vphi3() const {
  return vphidest3() - vphiorg3();
}

bool Edge::isValid() const {
  return mesh != nullptr && mesh->getIsPointValid(org()) && mesh->getIsPointValid(dest());
}

bool Edge::isQuadValid() const {
  if (mesh == nullptr)
    return false;
  // Turn to the PositiveU edge of the same quad, whose origin is the quad's lowest corner.
  Edge e = *this;
  for (int i = 0; i < 3 && e.orientation != PositiveU; ++i)
    e = e.rot();
  return mesh->getIsQuadValid(e.org());
}

bool Edge::isBoundary() const {
  return isQuadValid() && !oprev().isQuadValid();
}

bool Edge::operator==(Edge const& e) const {
  return mesh == e.mesh && orientation == e.orientation && origin == e.origin;
}

bool Edge::operator!=(Edge const& e) const {
  return !(*this == e);
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
