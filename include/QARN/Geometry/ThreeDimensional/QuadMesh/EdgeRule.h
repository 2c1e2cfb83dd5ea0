#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_EDGERULE_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_EDGERULE_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// Which triangle owns a beam that meets a quad mesh exactly on an edge or a corner. Read by
/// every beam query of the process through `RectMesh::edgeRule`: the quad test, the walk and the
/// start search, mesh groups and cone footprints.
///
/// - `Strict`, the default: a triangle holds the points strictly inside its three edges, tested
///   in space against the beam's hit on the triangle's plane. A beam exactly on an edge, a
///   diagonal or a grid point meets no triangle at all, so rasters aligned with the grid can
///   come back blank. Kept bit for bit for hosts that rely on it.
/// - `Watertight`: the triangle test of Woop, Benthin and Wald ("Watertight Ray/Triangle
///   Intersection", JCGT 2013). Corners are taken into a space that follows the beam (the beam's
///   dominant axis as depth, the other two sheared so that the beam runs along the depth axis),
///   where each edge is a 2-D cross product that two triangles sharing the edge compute with
///   exactly opposite values; a product difference that rounds to zero is decided exactly from
///   the products' rounding errors. A beam exactly on an edge or a corner belongs to the one
///   triangle that a fixed tie-break picks: the beam is taken as shifted by an infinitesimal
///   step along the first beam-space axis (and an even smaller one along the second), as the
///   top-left rule of rasterisers does. So a beam that crosses the surface where triangles
///   meet side by side is owned by exactly one triangle of one quad, also across the seams of
///   meshes that share their rim points. The measures (distance, angle, hit point) are those of
///   the strict test for the owning triangle.
enum class EdgeRule : std::uint32_t { Strict = 0, Watertight = 1 };

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
