#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_GRIDINDEX_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_GRIDINDEX_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

// Conversions between real values and grid indices. Every conversion from double to an integer
// type goes through saturatingCast, so NaN and infinities never reach a plain integer cast.
namespace QARN::Geometry::ThreeDimensional::QuadMesh::GridIndex {

/// Round half up: ceil(x) if x − floor(x) ≥ 0.5, else floor(x) (so −2.5 gives −2). NaN and
/// infinities come back unchanged.
inline double roundHalfUp(double x) {
  double const f = std::floor(x);
  return x - f >= 0.5 ? std::ceil(x) : f;
}

/// x truncated towards zero and clamped to T's range; NaN gives 0.
template <typename T>
T saturatingCast(double x) {
  if (std::isnan(x))
    return 0;
  if (x >= static_cast<double>(std::numeric_limits<T>::max()) + 1.0)
    return std::numeric_limits<T>::max();
  if (x <= static_cast<double>(std::numeric_limits<T>::min()) - 1.0)
    return std::numeric_limits<T>::min();
  return static_cast<T>(x);
}

/// A 64-bit index clamped to int; anything clamped lies outside every grid that int indices
/// can address.
inline int clampToInt(std::int64_t x) {
  return static_cast<int>(std::clamp<std::int64_t>(x, std::numeric_limits<int>::min(),
                                                   std::numeric_limits<int>::max()));
}

/// The offsets (du, dv) of a grid point's 8 neighbours: the four axes, then the four diagonals.
constexpr int neighbourOffsets[8][2] = {{1, 0}, {0, 1},  {-1, 0},  {0, -1},
                                        {1, 1}, {-1, 1}, {-1, -1}, {1, -1}};
/// The number of axis offsets at the start of neighbourOffsets.
constexpr int axisNeighbours = 4;

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh::GridIndex

#endif
