#ifndef QARN_TOOLS_QARN_MESHSURVEY_H
#define QARN_TOOLS_QARN_MESHSURVEY_H

#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <cstdint>

namespace qarn {

/// Counts and measured quad areas of one mesh, read point by point (the stored area statistics
/// may be stale after a transform or come from another program).
struct MeshSurvey {
  explicit MeshSurvey(QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh const& mesh);

  std::uint64_t pointCount = 0;
  std::uint64_t validPointCount = 0;
  std::uint64_t quadCount = 0;
  std::uint64_t validQuadCount = 0;
  /// Over the valid quads, each the sum of its two triangles; 0 when no quad is valid.
  double minQuadArea = 0.0;
  double meanQuadArea = 0.0;
  double maxQuadArea = 0.0;
};

} // namespace qarn

#endif
