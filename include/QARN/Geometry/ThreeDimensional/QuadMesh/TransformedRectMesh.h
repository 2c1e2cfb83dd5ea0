#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_TRANSFORMEDRECTMESH_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_TRANSFORMEDRECTMESH_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/TwoDimensional/Point.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// A mesh whose reported points are a transformation of its stored ones: derived classes
/// supply getPoint; setPoint and the loaders still write the stored points.
class TransformedRectMesh : public RectMesh {
public:
  TransformedRectMesh() = default;
  TransformedRectMesh(TransformedRectMesh const&) = default;
  TransformedRectMesh& operator=(TransformedRectMesh const&) = default;
  ~TransformedRectMesh() override = default;

  Point getPoint(TwoDimensional::Point<int> const& p) const override = 0;
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
