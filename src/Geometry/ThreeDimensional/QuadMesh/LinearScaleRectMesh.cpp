#include <QARN/Geometry/ThreeDimensional/QuadMesh/LinearScaleRectMesh.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

Point LinearScaleRectMesh::getPoint(TwoDimensional::Point<int> const& p) const {
  Point const origin;
  return origin + (RectMesh::getPoint(p) - origin) * scale;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
