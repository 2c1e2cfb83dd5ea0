#include "SlotSet.h"

namespace QARN::Geometry::ThreeDimensional::TriMesh {

namespace {
int lowestBit(std::uint64_t word) {
  return __builtin_ctzll(word);
}
} // namespace

SlotSet::SlotSet(std::size_t size) {
  std::size_t words = (size + 63) / 64;
  do {
    levels.emplace_back(words == 0 ? 1 : words, 0);
    words = (words + 63) / 64;
  } while (levels.back().size() > 1);
}

void SlotSet::insert(std::size_t i) {
  for (auto& level : levels) {
    std::uint64_t& word = level[i >> 6];
    bool const wasEmpty = word == 0;
    word |= std::uint64_t(1) << (i & 63);
    if (!wasEmpty)
      return;
    i >>= 6;
  }
}

void SlotSet::erase(std::size_t i) {
  for (auto& level : levels) {
    std::uint64_t& word = level[i >> 6];
    word &= ~(std::uint64_t(1) << (i & 63));
    if (word != 0)
      return;
    i >>= 6;
  }
}

std::size_t SlotSet::next(std::size_t level, std::size_t i) const {
  std::vector<std::uint64_t> const& words = levels[level];
  std::size_t w = i >> 6;
  if (w >= words.size())
    return none;
  std::uint64_t const rest = words[w] & (~std::uint64_t(0) << (i & 63));
  if (rest != 0)
    return (w << 6) + static_cast<std::size_t>(lowestBit(rest));
  if (level + 1 == levels.size())
    return none;
  w = next(level + 1, w + 1);
  return w == none ? none : (w << 6) + static_cast<std::size_t>(lowestBit(words[w]));
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
