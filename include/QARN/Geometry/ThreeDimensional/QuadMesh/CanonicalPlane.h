#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_CANONICALPLANE_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_CANONICALPLANE_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

// The coordinate that a mirror negates: the mirror plane is perpendicular to that axis.
enum CanonicalPlane : std::uint32_t { X = 0, Y = 1, Z = 2 };

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
