#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_BOUNDARYEXTENSIONALGORITHM_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_BOUNDARYEXTENSIONALGORITHM_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

// How RectMesh::extendBoundary extrapolates new layers; every other value is refused.
enum BoundaryExtensionAlgorithm : std::uint32_t {
  Basic = 0 ///< polynomial continuation along the grid lines (RectMesh::extendBoundary)
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
