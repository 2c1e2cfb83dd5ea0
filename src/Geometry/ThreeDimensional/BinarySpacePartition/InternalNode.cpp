#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/InternalNode.h>

#include <QARN/Exception.h>

namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition {

Plane InternalNode::getPlane() const {
  Point p;
  p.seti(axis, split);
  return Plane(p, Vector(axis, 1.0));
}

void InternalNode::setPlane(Plane const& plane) {
  Vector const& N = plane.getN();
  for (std::uint32_t a = 0; a < 3; ++a) {
    if (N.get(a) == 1.0 && N.get(a + 1) == 0.0 && N.get(a + 2) == 0.0) {
      axis = static_cast<std::uint8_t>(a);
      split = plane.getp().get(a);
      return;
    }
  }
  throw Exception("Invalid splitting plane");
}

void InternalNode::setNode(std::uint32_t k, Node* node) {
  if (k == 0)
    upNode = node;
  else if (k == 1)
    downNode = node;
}

} // namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition
