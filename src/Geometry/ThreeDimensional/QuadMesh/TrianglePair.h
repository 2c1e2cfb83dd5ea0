#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_TRIANGLEPAIR_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_TRIANGLEPAIR_H

#include <Geometry/ThreeDimensional/QuadMesh/Triple.h>

// The two triangles of a quad side by side, triangle k in lane k of two-lane double vectors, so
// that both are measured in the time of one. Each operation is the value types' own formula,
// lane by lane (IEEE arithmetic per lane, no contraction), so each lane is bit for bit what the
// scalar formula gives.
namespace QARN::Geometry::ThreeDimensional::QuadMesh {

using Lanes = double __attribute__((vector_size(16)));
using FloatLanes = float __attribute__((vector_size(8)));

/// A Triple per lane.
struct LaneTriple {
  Lanes x;
  Lanes y;
  Lanes z;

  /// v in both lanes.
  static LaneTriple broadcast(Triple const& v) {
    return {Lanes{v.x, v.x}, Lanes{v.y, v.y}, Lanes{v.z, v.z}};
  }
  /// a in lane 0, b in lane 1.
  static LaneTriple pair(Triple const& a, Triple const& b) {
    return {Lanes{a.x, b.x}, Lanes{a.y, b.y}, Lanes{a.z, b.z}};
  }
  Triple lane(int k) const { return {x[k], y[k], z[k]}; }

  LaneTriple operator+(LaneTriple const& w) const { return {x + w.x, y + w.y, z + w.z}; }
  LaneTriple operator-(LaneTriple const& w) const { return {x - w.x, y - w.y, z - w.z}; }
  LaneTriple operator*(Lanes s) const { return {x * s, y * s, z * s}; }
  /// As Triple::dot.
  Lanes dot(LaneTriple const& w) const { return x * w.x + y * w.y + z * w.z; }
  /// As Triple::cross.
  LaneTriple cross(LaneTriple const& w) const {
    return {y * w.z - z * w.y, z * w.x - x * w.z, x * w.y - y * w.x};
  }
  /// As Triple::stored.
  LaneTriple stored() const { return {toStored(x), toStored(y), toStored(z)}; }

private:
  static Lanes toStored(Lanes v) {
    return __builtin_convertvector(__builtin_convertvector(v, FloatLanes), Lanes);
  }
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
