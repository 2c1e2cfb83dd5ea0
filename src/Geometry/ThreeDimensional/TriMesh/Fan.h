#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_FAN_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_FAN_H

#include <QARN/Geometry/ThreeDimensional/TriMesh/Edge.h>

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// The first edge of the fan around e.org(): rewinds with oprev while the neighbour across the
/// current edge exists. On a closed fan the rewind comes back to e and stops there.
inline Edge getFanStart(Edge const& e) {
  Edge first = e;
  while (first.sym().getTriangle() != nullptr) {
    Edge const previous = first.oprev();
    if (previous == e)
      break;
    first = previous;
  }
  return first;
}

/// How a walk round a fan ended: stopped by its visitor, back at its start, or at the boundary.
enum class FanWalkEnd : std::uint32_t { Stopped, Closed, Boundary };

/// Visits the edges of a fan from start, turning with onext, until the walk comes back to start
/// or crosses the boundary. visit returns true to stop.
template <typename Visit>
FanWalkEnd walkFan(Edge const& start, Visit visit) {
  Edge e = start;
  do {
    if (visit(e))
      return FanWalkEnd::Stopped;
    e = e.onext();
  } while (e.getTriangle() != nullptr && e != start);
  return e.getTriangle() != nullptr ? FanWalkEnd::Closed : FanWalkEnd::Boundary;
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
