#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_CANONICALAXIS_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_CANONICALAXIS_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

// A grid axis of a quad mesh: U runs along a row, V across the rows.
enum CanonicalAxis : std::uint32_t { U = 0, V = 1 };

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
