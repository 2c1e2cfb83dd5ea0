#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_CUTMETRIC_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_CUTMETRIC_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// Where `Mesh::makeCut` starts and on which side of its plane it walks: from the boundary vertex
/// with the smallest coordinate along the first axis, the second axis taken negatively, or from
/// the one with the largest, the second axis taken positively. Any other value starts as
/// `CutAtMaximum` does and takes the second axis negatively.
enum CutMetric : std::uint32_t { CutAtMinimum = 0, CutAtMaximum = 1 };

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
