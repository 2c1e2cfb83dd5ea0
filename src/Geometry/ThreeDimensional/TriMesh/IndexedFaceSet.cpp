#include <QARN/Geometry/ThreeDimensional/TriMesh/IndexedFaceSet.h>

#include <QARN/Exception.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <string>
#include <unordered_map>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

namespace {

using Face = IndexedFaceSet::Face;
constexpr std::uint32_t none = 0xFFFFFFFFu;

bool isDegenerate(Face const& f) {
  return f[0] == f[1] || f[1] == f[2] || f[2] == f[0];
}

std::string str(std::uint64_t n) {
  return std::to_string(n);
}

/// Disjoint sets over 0 .. size-1; the root of a set is its lowest member.
class DisjointSets {
public:
  explicit DisjointSets(std::size_t size) : parent(size) {
    std::iota(parent.begin(), parent.end(), 0u);
  }
  std::uint32_t find(std::uint32_t i) {
    while (parent[i] != i) {
      parent[i] = parent[parent[i]];
      i = parent[i];
    }
    return i;
  }
  void join(std::uint32_t a, std::uint32_t b) {
    a = find(a);
    b = find(b);
    if (a < b)
      parent[b] = a;
    else
      parent[a] = b;
  }

private:
  std::vector<std::uint32_t> parent;
};

/// Side k of a face runs from corner k to corner k + 1; its edge is keyed by its lower point in
/// the high 32 bits and its higher point in the low ones.
struct Side {
  std::uint64_t key;
  std::uint32_t face;
  std::uint8_t k;
  /// Runs from the higher point to the lower one.
  bool descending;

  std::uint32_t low() const { return static_cast<std::uint32_t>(key >> 32); }
  std::uint32_t high() const { return static_cast<std::uint32_t>(key); }
  /// Corner slot (3 face + corner) holding the lower or the higher point.
  std::uint32_t lowCorner() const { return 3 * face + (descending ? (k + 1) % 3 : k); }
  std::uint32_t highCorner() const { return 3 * face + (descending ? k : (k + 1) % 3); }
};

/// The sides of the non-degenerate faces sorted by edge, then by face: the sides of one edge are
/// adjacent, in face order. A bucket per lower point, filled in face order, then each bucket
/// sorted stably by the higher point.
class EdgeTable {
public:
  EdgeTable(std::vector<Face> const& faces, std::uint32_t pointCount) {
    std::vector<std::uint32_t> start(std::size_t(pointCount) + 1, 0);
    for (Face const& f : faces)
      if (!isDegenerate(f))
        for (std::uint32_t k = 0; k < 3; ++k)
          ++start[std::min(f[k], f[(k + 1) % 3]) + 1];
    for (std::size_t p = 1; p < start.size(); ++p)
      start[p] += start[p - 1];
    sides.resize(start.back());
    std::vector<std::uint32_t> next(start.begin(), start.end() - 1);
    for (std::uint32_t f = 0; f < faces.size(); ++f) {
      if (isDegenerate(faces[f]))
        continue;
      for (std::uint8_t k = 0; k < 3; ++k) {
        std::uint32_t const a = faces[f][k];
        std::uint32_t const b = faces[f][(k + 1) % 3];
        sides[next[std::min(a, b)]++] = {std::uint64_t(std::min(a, b)) << 32 | std::max(a, b), f, k,
                                         a > b};
      }
    }
    for (std::size_t p = 0; p + 1 < start.size(); ++p)
      std::stable_sort(sides.begin() + start[p], sides.begin() + start[p + 1],
                       [](Side const& s, Side const& t) { return s.key < t.key; });
  }

  /// Calls visit(sides, count) once per edge, in key order.
  template <typename Visit>
  void forEachEdge(Visit visit) const {
    for (std::size_t i = 0; i < sides.size();) {
      std::size_t j = i + 1;
      while (j < sides.size() && sides[j].key == sides[i].key)
        ++j;
      visit(&sides[i], j - i);
      i = j;
    }
  }

private:
  std::vector<Side> sides;
};

/// Per face whether to flip it so that every edge of two faces is used both ways, or nothing when
/// no choice does. Per component the side needing fewer flips wins; a tie keeps the first face.
bool getFlips(std::vector<Face> const& faces, EdgeTable const& table, std::vector<char>& flip) {
  struct Across {
    std::uint32_t face = none;
    bool same = false;
  };
  std::vector<Across> across(3 * faces.size());
  table.forEachEdge([&](Side const* s, std::size_t count) {
    if (count != 2)
      return;
    bool const same = s[0].descending == s[1].descending;
    across[3 * s[0].face + s[0].k] = {s[1].face, same};
    across[3 * s[1].face + s[1].k] = {s[0].face, same};
  });
  constexpr char unset = 2;
  flip.assign(faces.size(), unset);
  std::vector<std::uint32_t> members;
  std::vector<std::uint32_t> stack;
  for (std::uint32_t seed = 0; seed < faces.size(); ++seed) {
    if (flip[seed] != unset)
      continue;
    flip[seed] = 0;
    members.assign(1, seed);
    stack.assign(1, seed);
    std::size_t flips = 0;
    while (!stack.empty()) {
      std::uint32_t const f = stack.back();
      stack.pop_back();
      for (std::uint32_t k = 0; k < 3; ++k) {
        Across const a = across[3 * f + k];
        if (a.face == none)
          continue;
        char const wanted = static_cast<char>(flip[f] ^ a.same);
        if (flip[a.face] == unset) {
          flip[a.face] = wanted;
          flips += static_cast<std::size_t>(wanted);
          members.push_back(a.face);
          stack.push_back(a.face);
        } else if (flip[a.face] != wanted) {
          return false;
        }
      }
    }
    if (2 * flips > members.size())
      for (std::uint32_t const f : members)
        flip[f] = static_cast<char>(!flip[f]);
  }
  return true;
}

/// Each face's component root (its lowest face) through shared edges; none for degenerate faces.
std::vector<std::uint32_t> getComponentRoots(std::vector<Face> const& faces,
                                             EdgeTable const& table) {
  DisjointSets sets(faces.size());
  table.forEachEdge([&](Side const* s, std::size_t count) {
    for (std::size_t i = 1; i < count; ++i)
      sets.join(s[0].face, s[i].face);
  });
  std::vector<std::uint32_t> roots(faces.size());
  for (std::uint32_t f = 0; f < faces.size(); ++f)
    roots[f] = isDegenerate(faces[f]) ? none : sets.find(f);
  return roots;
}

/// Per point whether its faces fall into more than one fan.
std::vector<bool> getNonManifoldVertices(std::vector<Face> const& faces, std::uint32_t pointCount,
                                         EdgeTable const& table) {
  // Corners at one point are joined through every edge at it; a fan is one set of corners.
  DisjointSets corners(3 * faces.size());
  table.forEachEdge([&](Side const* s, std::size_t count) {
    for (std::size_t i = 1; i < count; ++i) {
      corners.join(s[0].lowCorner(), s[i].lowCorner());
      corners.join(s[0].highCorner(), s[i].highCorner());
    }
  });
  std::vector<std::uint32_t> fan(pointCount, none);
  std::vector<bool> nonManifold(pointCount, false);
  for (std::uint32_t f = 0; f < faces.size(); ++f) {
    if (isDegenerate(faces[f]))
      continue;
    for (std::uint32_t k = 0; k < 3; ++k) {
      std::uint32_t const root = corners.find(3 * f + k);
      std::uint32_t& first = fan[faces[f][k]];
      if (first == none)
        first = root;
      else if (first != root)
        nonManifold[faces[f][k]] = true;
    }
  }
  return nonManifold;
}

} // namespace

std::uint32_t IndexedFaceSet::addPoint(Point const& point) {
  points.push_back(point);
  return static_cast<std::uint32_t>(points.size() - 1);
}

void IndexedFaceSet::validate() const {
  if (points.size() >= none)
    throw Exception("Too many points.");
  if (faces.size() >= none / 3)
    throw Exception("Too many faces.");
  for (std::size_t i = 0; i < points.size(); ++i) {
    Point const& p = points[i];
    if (!std::isfinite(p.getX()) || !std::isfinite(p.getY()) || !std::isfinite(p.getZ()))
      throw Exception("Point " + str(i) + " has a non-finite coordinate.");
  }
  for (std::size_t f = 0; f < faces.size(); ++f)
    for (std::uint32_t const index : faces[f])
      if (index >= points.size())
        throw Exception("Face " + str(f) + " refers to point " + str(index) + ", but there are " +
                        str(points.size()) + " points.");
}

std::uint32_t IndexedFaceSet::mergeCoincidentPoints(double tolerance) {
  validate();
  if (!(tolerance >= 0.0) || !std::isfinite(tolerance))
    throw Exception("Invalid merge tolerance.");
  auto const n = static_cast<std::uint32_t>(points.size());
  std::vector<std::uint32_t> keptAs(n);
  if (tolerance == 0.0) {
    // Keyed by the coordinates' bits, with -0 taken as 0.
    using Key = std::array<std::uint32_t, 3>;
    struct Hash {
      std::size_t operator()(Key const& k) const {
        std::uint64_t h = k[0];
        h = h * 0x9E3779B97F4A7C15ull ^ k[1];
        h = h * 0x9E3779B97F4A7C15ull ^ k[2];
        return static_cast<std::size_t>(h ^ h >> 29);
      }
    };
    std::unordered_map<Key, std::uint32_t, Hash> first;
    first.reserve(n);
    for (std::uint32_t i = 0; i < n; ++i) {
      Key key;
      for (std::uint32_t c = 0; c < 3; ++c) {
        float const x = points[i].get(c) == 0.0f ? 0.0f : points[i].get(c);
        std::memcpy(&key[c], &x, sizeof x);
      }
      keptAs[i] = first.emplace(key, i).first->second;
    }
  } else {
    // Cells of at least twice the tolerance: two points within reach lie in the same or in
    // neighbouring cells. The floor keeps cell numbers below 2^41, well inside 64 bits.
    double largest = 0.0;
    for (Point const& p : points)
      for (std::uint32_t c = 0; c < 3; ++c)
        largest = std::max(largest, std::fabs(double(p.get(c))));
    double const size = std::max(2.0 * tolerance, largest * 0x1p-40);
    using Cell = std::array<std::int64_t, 3>;
    struct Hash {
      std::size_t operator()(Cell const& c) const {
        std::uint64_t h = static_cast<std::uint64_t>(c[0]);
        h = h * 0x9E3779B97F4A7C15ull ^ static_cast<std::uint64_t>(c[1]);
        h = h * 0x9E3779B97F4A7C15ull ^ static_cast<std::uint64_t>(c[2]);
        return static_cast<std::size_t>(h ^ h >> 29);
      }
    };
    // Per cell the last kept point in it; each kept point links to the one kept before it there.
    // Kept points lie more than the tolerance apart, so a cell holds only a few.
    std::unordered_map<Cell, std::uint32_t, Hash> lastKept;
    std::vector<std::uint32_t> previousKept(n, none);
    double const reach = tolerance * tolerance;
    for (std::uint32_t i = 0; i < n; ++i) {
      Point const& p = points[i];
      Cell const cell{static_cast<std::int64_t>(std::floor(p.getX() / size)),
                      static_cast<std::int64_t>(std::floor(p.getY() / size)),
                      static_cast<std::int64_t>(std::floor(p.getZ() / size))};
      std::uint32_t best = none;
      for (std::int64_t dx = -1; dx <= 1; ++dx)
        for (std::int64_t dy = -1; dy <= 1; ++dy)
          for (std::int64_t dz = -1; dz <= 1; ++dz) {
            auto const found = lastKept.find({cell[0] + dx, cell[1] + dy, cell[2] + dz});
            for (std::uint32_t r = found == lastKept.end() ? none : found->second; r != none;
                 r = previousKept[r])
              if (r < best && (points[r] - p).lSqr() <= reach)
                best = r;
          }
      keptAs[i] = best == none ? i : best;
      if (best == none) {
        auto const slot = lastKept.emplace(cell, i);
        if (!slot.second) {
          previousKept[i] = slot.first->second;
          slot.first->second = i;
        }
      }
    }
  }
  std::vector<std::uint32_t> newIndex(n, none);
  std::vector<Point> kept;
  for (std::uint32_t i = 0; i < n; ++i)
    if (keptAs[i] == i) {
      newIndex[i] = static_cast<std::uint32_t>(kept.size());
      kept.push_back(points[i]);
    }
  for (Face& f : faces)
    for (std::uint32_t& index : f)
      index = newIndex[keptAs[index]];
  auto const removed = static_cast<std::uint32_t>(n - kept.size());
  points = std::move(kept);
  return removed;
}

std::uint32_t IndexedFaceSet::removeDegenerateFaces(bool zeroArea) {
  validate();
  auto const collinear = [&](Face const& f) {
    Vector const u = points[f[1]] - points[f[0]];
    Vector const v = points[f[2]] - points[f[0]];
    Vector const c = u.cross(v);
    return c.getdX() == 0.0 && c.getdY() == 0.0 && c.getdZ() == 0.0;
  };
  std::size_t const before = faces.size();
  faces.erase(
      std::remove_if(faces.begin(), faces.end(),
                     [&](Face const& f) { return isDegenerate(f) || (zeroArea && collinear(f)); }),
      faces.end());
  return static_cast<std::uint32_t>(before - faces.size());
}

std::uint32_t IndexedFaceSet::removeDuplicateFaces() {
  validate();
  // Each face's points in ascending order, then its index: equal faces are adjacent, earliest
  // first.
  std::vector<std::pair<Face, std::uint32_t>> sorted(faces.size());
  for (std::uint32_t f = 0; f < faces.size(); ++f) {
    sorted[f] = {faces[f], f};
    std::sort(sorted[f].first.begin(), sorted[f].first.end());
  }
  std::sort(sorted.begin(), sorted.end());
  std::vector<bool> duplicate(faces.size(), false);
  for (std::size_t i = 1; i < sorted.size(); ++i)
    duplicate[sorted[i].second] = sorted[i].first == sorted[i - 1].first;
  std::size_t kept = 0;
  for (std::size_t f = 0; f < faces.size(); ++f)
    if (!duplicate[f])
      faces[kept++] = faces[f];
  auto const removed = static_cast<std::uint32_t>(faces.size() - kept);
  faces.resize(kept);
  return removed;
}

std::uint32_t IndexedFaceSet::removeUnusedPoints() {
  validate();
  std::vector<std::uint32_t> newIndex(points.size(), none);
  for (Face const& f : faces)
    for (std::uint32_t const index : f)
      newIndex[index] = 0;
  std::uint32_t kept = 0;
  for (std::size_t i = 0; i < points.size(); ++i)
    if (newIndex[i] == 0) {
      newIndex[i] = kept;
      points[kept++] = points[i];
    }
  for (Face& f : faces)
    for (std::uint32_t& index : f)
      index = newIndex[index];
  auto const removed = static_cast<std::uint32_t>(points.size() - kept);
  points.resize(kept);
  return removed;
}

std::uint32_t IndexedFaceSet::orientConsistently() {
  validate();
  std::vector<char> flip;
  if (!getFlips(faces, EdgeTable(faces, getNumberOfPoints()), flip))
    throw Exception("Surface is not orientable.");
  std::uint32_t flipped = 0;
  for (std::size_t f = 0; f < faces.size(); ++f)
    if (flip[f] != 0) {
      std::swap(faces[f][1], faces[f][2]);
      ++flipped;
    }
  return flipped;
}

std::uint32_t IndexedFaceSet::keepLargestComponent() {
  validate();
  std::vector<std::uint32_t> const roots =
      getComponentRoots(faces, EdgeTable(faces, getNumberOfPoints()));
  std::vector<std::uint32_t> size(faces.size(), 0);
  std::uint32_t largest = none;
  for (std::uint32_t const root : roots)
    if (root != none)
      ++size[root];
  for (std::uint32_t f = 0; f < faces.size(); ++f)
    if (largest == none || size[f] > size[largest])
      largest = f;
  std::size_t kept = 0;
  for (std::size_t f = 0; f < faces.size(); ++f)
    if (roots[f] == largest)
      faces[kept++] = faces[f];
  auto const removed = static_cast<std::uint32_t>(faces.size() - kept);
  faces.resize(kept);
  return removed;
}

IndexedFaceSet::Diagnosis IndexedFaceSet::getDiagnosis() const {
  validate();
  Diagnosis d;
  auto const n = static_cast<std::uint32_t>(points.size());
  std::vector<bool> used(n, false);
  for (Face const& f : faces) {
    for (std::uint32_t const index : f)
      used[index] = true;
    d.degenerateFaces += isDegenerate(f) ? 1 : 0;
  }
  d.unusedPoints = static_cast<std::uint32_t>(std::count(used.begin(), used.end(), false));

  EdgeTable const table(faces, getNumberOfPoints());
  DisjointSets boundaryPieces(n);
  std::vector<bool> onBoundary(n, false);
  table.forEachEdge([&](Side const* s, std::size_t count) {
    if (count == 1) {
      ++d.boundaryEdges;
      boundaryPieces.join(s->low(), s->high());
      onBoundary[s->low()] = true;
      onBoundary[s->high()] = true;
    }
    d.nonManifoldEdges += count > 2 ? 1 : 0;
    d.inconsistentEdges += count == 2 && s[0].descending == s[1].descending ? 1 : 0;
  });
  std::uint32_t boundaryPoints = 0;
  std::uint32_t pieces = 0;
  for (std::uint32_t i = 0; i < n; ++i)
    if (onBoundary[i]) {
      ++boundaryPoints;
      pieces += boundaryPieces.find(i) == i ? 1 : 0;
    }
  d.boundaryLoops = d.boundaryEdges - boundaryPoints + pieces;

  std::vector<bool> const nonManifold = getNonManifoldVertices(faces, n, table);
  d.nonManifoldVertices =
      static_cast<std::uint32_t>(std::count(nonManifold.begin(), nonManifold.end(), true));
  std::vector<char> flip;
  d.orientable = getFlips(faces, table, flip);
  std::vector<std::uint32_t> const roots = getComponentRoots(faces, table);
  std::vector<std::uint32_t> component(faces.size(), none);
  for (std::uint32_t f = 0; f < faces.size(); ++f) {
    if (roots[f] == f) {
      component[f] = static_cast<std::uint32_t>(d.componentSizes.size());
      d.componentSizes.push_back(0);
    }
    if (roots[f] != none)
      ++d.componentSizes[component[roots[f]]];
  }
  return d;
}

void IndexedFaceSet::validateSurface() const {
  validate();
  if (faces.empty())
    throw Exception("Indexed face set has no faces.");
  for (std::size_t f = 0; f < faces.size(); ++f)
    if (isDegenerate(faces[f]))
      throw Exception("Face " + str(f) + " repeats point " +
                      str(faces[f][1] == faces[f][2] ? faces[f][1] : faces[f][0]) + ".");
  EdgeTable const table(faces, getNumberOfPoints());
  std::string fault;
  auto const edgeName = [](Side const& s) {
    return "(" + str(s.low()) + ", " + str(s.high()) + ")";
  };
  table.forEachEdge([&](Side const* s, std::size_t count) {
    if (count > 2 && fault.empty())
      fault = "Edge " + edgeName(*s) + " is used by " + str(count) + " faces.";
  });
  if (!fault.empty())
    throw Exception(fault);
  std::vector<bool> const nonManifold = getNonManifoldVertices(faces, getNumberOfPoints(), table);
  auto const vertex = std::find(nonManifold.begin(), nonManifold.end(), true);
  if (vertex != nonManifold.end())
    throw Exception("Point " + str(static_cast<std::uint64_t>(vertex - nonManifold.begin())) +
                    " is a non-manifold vertex.");
  table.forEachEdge([&](Side const* s, std::size_t count) {
    if (count == 2 && s[0].descending == s[1].descending && fault.empty())
      fault = "Faces " + str(s[0].face) + " and " + str(s[1].face) + " use edge " + edgeName(*s) +
              " in the same direction.";
  });
  if (!fault.empty())
    throw Exception(fault);
  std::vector<std::uint32_t> const roots = getComponentRoots(faces, table);
  for (std::size_t f = 0; f < faces.size(); ++f)
    if (roots[f] != 0)
      throw Exception("Face " + str(f) + " is not edge-connected to face 0.");
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
