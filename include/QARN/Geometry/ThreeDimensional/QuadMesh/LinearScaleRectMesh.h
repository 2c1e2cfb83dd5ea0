#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_LINEARSCALERECTMESH_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_LINEARSCALERECTMESH_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/TransformedRectMesh.h>
#include <QARN/Geometry/TwoDimensional/Point.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// A mesh that reports its stored points scaled about the coordinate origin. Copies and
/// assignments take the scale along.
class LinearScaleRectMesh : public TransformedRectMesh {
public:
  LinearScaleRectMesh() = default;
  LinearScaleRectMesh(LinearScaleRectMesh const&) = default;
  LinearScaleRectMesh& operator=(LinearScaleRectMesh const&) = default;
  ~LinearScaleRectMesh() override = default;

  void setScale(double const& s) { scale = s; }

  /// origin + scale·(stored − origin), origin = (0, 0, 0).
  Point getPoint(TwoDimensional::Point<int> const& p) const override;

private:
  double scale = 1.0;
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
