#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/Tree.h>

#include <QARN/Exception.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition {

/// A result so far: a leaf (its slot in the leaf pool) and which of its objects.
struct Tree::Found {
  double distance;
  /// Point::dSqr of a point, whose square root is the distance; infinite for sentinels and for
  /// objects other than points.
  double squared;
  std::uint32_t leaf;
  std::uint32_t object;
};

/// The k nearest so far, sorted by distance, in an array of k entries. An entry goes behind those
/// at an equal distance, and one that only ties the k-th is not taken: ties keep the entry found
/// first.
class Tree::Results {
public:
  Results(Found* entries, std::uint32_t k) : entries(entries), k(k) {
    for (std::uint32_t i = 0; i < k; ++i)
      entries[i] = Found{sentinelDistance, infinity, noIndex, 0};
  }

  double getKthDistance() const { return kthDistance; }
  double getKthSquared() const { return kthSquared; }
  /// A float estimate of a point's dSqr beyond this rules the point out.
  double getEstimateThreshold() const { return estimateThreshold; }
  Found const& operator[](std::uint32_t i) const { return entries[i]; }

  /// A point at squared distance dSqr; the square root is taken only for a likely entry.
  void addPoint(double dSqr, std::uint32_t leaf, std::uint32_t object) {
    // sqrt is monotonic: a larger square cannot give a smaller distance.
    if (dSqr > kthSquared)
      return;
    double const distance = std::sqrt(dSqr);
    if (distance < kthDistance)
      insert(Found{distance, dSqr, leaf, object});
  }
  void addObject(double distance, std::uint32_t leaf, std::uint32_t object) {
    if (distance < kthDistance)
      insert(Found{distance, infinity, leaf, object});
  }

private:
  static constexpr double infinity = std::numeric_limits<double>::infinity();

  void insert(Found const& found) {
    std::uint32_t j = k - 1;
    for (; j > 0 && entries[j - 1].distance > found.distance; --j)
      entries[j] = entries[j - 1];
    entries[j] = found;
    kthDistance = entries[k - 1].distance;
    kthSquared = entries[k - 1].squared;
    estimateThreshold = std::max(kthSquared * (1.0 + 0x1p-20), 1e-30);
  }

  Found* entries;
  std::uint32_t k;
  double kthDistance = sentinelDistance;
  double kthSquared = infinity;
  double estimateThreshold = infinity;
};

namespace {

/// A subtree still to search and p's per-axis offsets from its box, squared (for a tree of points,
/// rounded to float as Point::dSqr rounds).
struct Pending {
  Node const* node;
  float offsets[3];
};

/// Point::dSqr of (x, y, z) and the query (qx, qy, qz), from the coordinates.
inline double dSqr(float const (&q)[3], float const (&x)[3]) {
  auto const sqr = [](double v) { return static_cast<float>(v * v); };
  float const xy = sqr(double(x[0]) - double(q[0])) + sqr(double(x[1]) - double(q[1]));
  return double(xy) + double(sqr(double(x[2]) - double(q[2])));
}

/// p's offset from [low, high] along one axis (0 inside).
inline double offsetFrom(double p, float low, float high) {
  double const below = double(low) - p;
  double const beyond = p - double(high);
  return below > 0.0 ? below : beyond > 0.0 ? beyond : 0.0;
}

} // namespace

/// How a tree of points is searched: the leaves' positions are measured as Point::dSqr does, and
/// a box is compared with the k-th entry through the same roundings.
struct Tree::PointMetric {
  Tree const& tree;
  float q[3];

  static float square(double offset) { return static_cast<float>(offset * offset); }
  static bool isCloser(float const (&offsets)[3], Results const& results) {
    return double(offsets[0] + offsets[1]) + double(offsets[2]) < results.getKthSquared();
  }
  // Leaves [begin, end) in groups; a group's box may reach beyond the range, which only widens
  // it.
  void measure(std::uint32_t begin, std::uint32_t end, Results& results) const {
    Position const* const positions = tree.positions.data();
    for (std::uint32_t g = begin / groupSize; g * groupSize < end; ++g) {
      GroupBox const& box = tree.groupBoxes[g];
      float const offsets[3] = {square(offsetFrom(q[0], box.low[0], box.high[0])),
                                square(offsetFrom(q[1], box.low[1], box.high[1])),
                                square(offsetFrom(q[2], box.low[2], box.high[2]))};
      if (!isCloser(offsets, results))
        continue;
      std::uint32_t const last = std::min(end, (g + 1) * groupSize);
      for (std::uint32_t s = std::max(begin, g * groupSize); s < last; ++s) {
        // A single-precision estimate first: within a relative 2^-21 of dSqr, so one beyond the
        // threshold is beyond the k-th for certain (below 1e-30 the estimate is not trusted).
        float const* const x = positions[s].x;
        float const dx = x[0] - q[0];
        float const dy = x[1] - q[1];
        float const dz = x[2] - q[2];
        if (double(dx * dx + dy * dy + dz * dz) > results.getEstimateThreshold())
          continue;
        double const squared = dSqr(q, positions[s].x);
        if (squared > results.getKthSquared())
          continue;
        if ((tree.shared[s / 64] >> (s % 64) & 1u) == 0) {
          results.addPoint(squared, s, 0);
          continue;
        }
        for (std::uint32_t i = 0; i < tree.leaves.at(s)->count; ++i)
          results.addPoint(squared, s, i);
      }
    }
  }
};

/// How a tree of other objects is searched: through their own distances, a box compared in plain
/// Euclidean terms.
struct Tree::ObjectMetric {
  Tree const& tree;
  Point const& p;

  static float square(double offset) { return float(offset * offset); }
  static bool isCloser(float const (&offsets)[3], Results const& results) {
    return std::sqrt(double(offsets[0]) + double(offsets[1]) + double(offsets[2])) <
           results.getKthDistance();
  }
  void measure(std::uint32_t begin, std::uint32_t end, Results& results) const {
    for (std::uint32_t s = begin; s < end; ++s) {
      LeafNode const* const leaf = tree.leaves.at(s);
      for (std::uint32_t i = 0; i < leaf->count; ++i)
        results.addObject(leaf->getObject(i)->getMinMaxDistance(p), s, i);
    }
  }
};

// Depth first: down to the leaf on p's side of each plane (the other side where that child is
// missing), setting the far child aside with p's offsets from its box; then the far children
// set aside, deepest first, each unless no object in it can be closer than the k-th distance
// found. The pending list holds at most one subtree per level; each subtree is entered once, so
// no leaf is met twice and no visited set is kept. A subtree of few leaves is searched by
// measuring its leaves, which lie together, in order.
//
// The bound. p's offset from a box along an axis is its distance from the box's slab (0 inside);
// a child's box differs from its parent's in one axis, where its objects lie beyond the gap
// between the two sides (at least as far out as the plane). Every point of a box differs from p
// along each axis by at least the offset, and squaring, rounding to float and summing are
// monotonic, so summing the offsets the way Point::dSqr sums squared differences gives a lower
// bound of the dSqr of every point inside: a box whose bound reaches the k-th entry's dSqr holds
// nothing closer, and the results equal those of a search through every point. For other objects
// the bound is the Euclidean distance to the box, compared with the k-th distance.
template <typename Metric>
void Tree::search(Point const& p, Metric const& metric, Results& results) const {
  float const q[3] = {p.getX(), p.getY(), p.getZ()};
  Pending fixed[fixedDepth];
  std::unique_ptr<Pending[]> large(depth + 2 > fixedDepth ? new Pending[depth + 2] : nullptr);
  Pending* const pending = large ? large.get() : fixed;
  std::uint32_t count = 0;
  pending[count++] = Pending{root, {0.0f, 0.0f, 0.0f}};
  while (count > 0) {
    Pending item = pending[--count];
    if (!Metric::isCloser(item.offsets, results))
      continue;
    Node const* node = item.node;
    while (node != nullptr) {
      if (node->kind != Kind::Internal) {
        auto const s =
            static_cast<std::uint32_t>(static_cast<LeafNode const*>(node) - leaves.at(0));
        metric.measure(s, s + 1, results);
        break;
      }
      auto const* internal = static_cast<InternalNode const*>(node);
      if (internal->leafCount <= bucketSize) {
        metric.measure(internal->firstLeaf, internal->firstLeaf + internal->leafCount, results);
        break;
      }
      std::uint32_t const axis = internal->axis;
      double const coordinate = q[axis];
      bool const above = coordinate >= double(internal->split);
      // p's distances to the far side's objects and, when p lies in the gap, to the near side's.
      double const farGap =
          above ? coordinate - double(internal->downHigh) : double(internal->upLow) - coordinate;
      double const nearGap =
          above ? double(internal->upLow) - coordinate : coordinate - double(internal->downHigh);
      Node const* near = above ? internal->upNode : internal->downNode;
      Node const* far = above ? internal->downNode : internal->upNode;
      if (near == nullptr)
        std::swap(near, far);
      if (far != nullptr) {
        Pending aside{far, {item.offsets[0], item.offsets[1], item.offsets[2]}};
        aside.offsets[axis] = std::max(aside.offsets[axis], Metric::square(farGap));
        if (Metric::isCloser(aside.offsets, results))
          pending[count++] = aside;
      }
      if (nearGap > 0.0 && near == (above ? internal->upNode : internal->downNode)) {
        item.offsets[axis] = std::max(item.offsets[axis], Metric::square(nearGap));
        if (!Metric::isCloser(item.offsets, results))
          break;
      }
      node = near;
    }
  }
}

template <typename Write>
bool Tree::query(std::uint32_t k, Point const& p, Write write) const {
  if (k == 0)
    return true;
  Found fixed[fixedCapacity];
  std::unique_ptr<Found[]> large(k > fixedCapacity ? new Found[k] : nullptr);
  Results results(large ? large.get() : fixed, k);
  bool const finite = std::isfinite(p.getX()) && std::isfinite(p.getY()) && std::isfinite(p.getZ());
  if (root != nullptr && finite) {
    if (allPoints)
      search(p, PointMetric{*this, {p.getX(), p.getY(), p.getZ()}}, results);
    else
      search(p, ObjectMetric{*this, p}, results);
  }
  for (std::uint32_t i = 0; i < k; ++i) {
    Found const& f = results[i];
    if (f.leaf == noIndex) {
      write(i, nullptr, noIndex, f.distance);
      continue;
    }
    LeafNode const* const leaf = leaves.at(f.leaf);
    std::uint32_t const index =
        leaf->count > 1 ? sharedIndices[leaf->index + f.object] : leaf->index;
    write(i, leaf->getObject(f.object), index, f.distance);
  }
  return true;
}

bool Tree::getkNearestNeighbours(std::uint32_t k, Point const* p, Object const** out,
                                 double* outDistances) const {
  if (p == nullptr || (out == nullptr && k > 0))
    throw Exception("Invalid argument");
  return query(k, *p, [&](std::uint32_t i, Object const* object, std::uint32_t, double distance) {
    out[i] = object;
    if (outDistances != nullptr)
      outDistances[i] = distance;
  });
}

bool Tree::getkNearestNeighbourIndices(std::uint32_t k, Point const& p, std::uint32_t* outIndices,
                                       double* outDistances) const {
  if (outIndices == nullptr && k > 0)
    throw Exception("Invalid argument");
  return query(k, p, [&](std::uint32_t i, Object const*, std::uint32_t index, double distance) {
    outIndices[i] = index;
    if (outDistances != nullptr)
      outDistances[i] = distance;
  });
}

} // namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition
