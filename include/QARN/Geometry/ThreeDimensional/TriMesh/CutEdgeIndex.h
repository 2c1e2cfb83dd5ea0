#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_CUTEDGEINDEX_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_CUTEDGEINDEX_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// One vertex index of a cut pair: the vertex on the cut, or the copy of it that cutting creates.
struct CutEdgeIndex {
  std::uint32_t index;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
