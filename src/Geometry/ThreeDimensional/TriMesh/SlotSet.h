#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_SLOTSET_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_SLOTSET_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// An ordered set of the numbers 0 .. size-1 that finds the first member at or after a number in
/// a few word operations: one bit per number, and above it levels of one bit per non-empty word.
class SlotSet {
public:
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  explicit SlotSet(std::size_t size);

  void insert(std::size_t i);
  void erase(std::size_t i);
  bool contains(std::size_t i) const { return (levels[0][i >> 6] >> (i & 63)) & 1; }
  /// The first member at or after i, or none.
  std::size_t next(std::size_t i) const { return next(0, i); }

private:
  std::size_t next(std::size_t level, std::size_t i) const;

  std::vector<std::vector<std::uint64_t>> levels;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
