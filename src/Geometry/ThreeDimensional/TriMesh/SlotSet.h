#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_SLOTSET_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_SLOTSET_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// An ordered set of the numbers 0 .. size-1 that finds the first member at or after a number in
/// a few word operations: one bit per number, and above it levels of one bit per non-empty word.
/// The operations are inline: the mesh growth calls them a few times per face.
class SlotSet {
public:
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  explicit SlotSet(std::size_t size);

  void insert(std::size_t i) {
    for (auto& level : levels) {
      std::uint64_t& word = level[i >> 6];
      bool const wasEmpty = word == 0;
      word |= std::uint64_t(1) << (i & 63);
      if (!wasEmpty)
        return;
      i >>= 6;
    }
  }
  void erase(std::size_t i) {
    for (auto& level : levels) {
      std::uint64_t& word = level[i >> 6];
      word &= ~(std::uint64_t(1) << (i & 63));
      if (word != 0)
        return;
      i >>= 6;
    }
  }
  bool contains(std::size_t i) const { return (levels[0][i >> 6] >> (i & 63)) & 1; }
  /// The first member at or after i, or none: up the levels to the first word with a member at
  /// or after the position, then down to that member.
  std::size_t next(std::size_t i) const {
    std::size_t level = 0;
    for (;; ++level) {
      std::vector<std::uint64_t> const& words = levels[level];
      std::size_t const w = i >> 6;
      if (w >= words.size())
        return none;
      std::uint64_t const rest = words[w] & (~std::uint64_t(0) << (i & 63));
      if (rest != 0) {
        i = (w << 6) + lowestBit(rest);
        break;
      }
      if (level + 1 == levels.size())
        return none;
      i = w + 1;
    }
    for (; level > 0; --level)
      i = (i << 6) + lowestBit(levels[level - 1][i]);
    return i;
  }

private:
  static std::size_t lowestBit(std::uint64_t word) {
    return static_cast<std::size_t>(__builtin_ctzll(word));
  }

  std::vector<std::vector<std::uint64_t>> levels;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
