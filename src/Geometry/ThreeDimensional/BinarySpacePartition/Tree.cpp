#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/Tree.h>

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/ThreeDimensional/PointCloud/Cloud.h>

#include <algorithm>
#include <cmath>
#include <typeinfo>
#include <utility>

namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition {

namespace {

/// An object as the build sees it: its position (a point's coordinates, another object's low box
/// corner) and its index in the input.
struct Entry {
  float x[3];
  std::uint32_t index;
};

enum class Side : std::uint8_t { Up, Down, Neither };

/// The centre of the box [lo, hi] along one axis, as BoundingBoxAA::getCentrePoint rounds it:
/// p + 0.5·d in double with d = hi − lo, stored as float.
float centre(float lo, float hi) {
  return static_cast<float>(double(lo) + 0.5 * (double(hi) - double(lo)));
}

bool isFinite(float const (&x)[3]) {
  return std::isfinite(x[0]) && std::isfinite(x[1]) && std::isfinite(x[2]);
}

} // namespace

/// Builds the nodes of one tree, item by item, depth first (the up side first): each node lies in
/// its pool before the nodes of its subtree, and a subtree's leaves lie together.
class Tree::Builder {
public:
  Builder(Tree& tree, Object const* const* objects, Point const* points, std::uint32_t n);
  void build();

private:
  /// The objects entries[begin..end) over the box [lo, hi], to become a child of parent.
  struct Item {
    std::uint32_t begin;
    std::uint32_t end;
    float lo[3];
    float hi[3];
    std::uint32_t depth;
    InternalNode* parent;
    std::uint32_t side;
    /// The parent's number of objects.
    std::uint32_t parentCount;
  };
  struct Stats {
    std::uint32_t up[3];
    std::uint32_t down[3];
    float min[3];
    float max[3];
  };

  Object const* objectAt(std::uint32_t i) const {
    return points != nullptr ? &points[i] : objects[i];
  }
  bool isPoint(std::uint32_t i) const {
    return points != nullptr || typeid(*objects[i]) == typeid(Point);
  }
  Side side(Entry const& e, std::uint32_t axis, float const (&p)[3]) const;
  Stats measure(Item const& item, float const (&c)[3]) const;
  std::uint32_t chooseAxis(Stats const& stats, std::uint32_t count) const;
  /// Objects on both sides of the plane through p normal to the axis.
  bool separates(Item const& item, std::uint32_t axis, float const (&p)[3]) const;
  void process(Item const& item);
  InternalNode* newInternal(Item const& item);
  /// Narrows the parent's gap to the extent [low, high] of the item's objects along its axis.
  void tighten(Item const& item, float const (&low)[3], float const (&high)[3]);
  void newLeaf(Item const& item);
  void countLeaves();

  Tree& tree;
  Object const* const* objects;
  Point const* points;
  std::vector<Entry> entries;
  std::vector<Item> stack;
};

Tree::Builder::Builder(Tree& tree, Object const* const* objects, Point const* points,
                       std::uint32_t n)
    : tree(tree), objects(objects), points(points) {
  entries.reserve(n);
  for (std::uint32_t i = 0; i < n; ++i) {
    Entry e{};
    e.index = i;
    if (points != nullptr) {
      e.x[0] = points[i].getX();
      e.x[1] = points[i].getY();
      e.x[2] = points[i].getZ();
    } else {
      BoundingBoxAA const box = objects[i]->getBoundingBox();
      if (!box.getd().getIsReal())
        continue;
      for (std::uint32_t a = 0; a < 3; ++a)
        e.x[a] = box.getp().get(a);
    }
    if (isFinite(e.x))
      entries.push_back(e);
  }
}

Side Tree::Builder::side(Entry const& e, std::uint32_t axis, float const (&p)[3]) const {
  // A finite point is above exactly when its coordinate reaches the plane's.
  if (points != nullptr)
    return e.x[axis] >= p[axis] ? Side::Up : Side::Down;
  Plane const plane(Point(p[0], p[1], p[2]), Vector(axis, 1.0));
  Object const* const o = objects[e.index];
  bool const above = o->getIsAbove(plane);
  if (above != o->getIsBelow(plane))
    return above ? Side::Up : Side::Down;
  return Side::Neither;
}

Tree::Builder::Stats Tree::Builder::measure(Item const& item, float const (&c)[3]) const {
  Stats s{};
  Entry const& first = entries[item.begin];
  for (std::uint32_t a = 0; a < 3; ++a)
    s.min[a] = s.max[a] = first.x[a];
  if (points != nullptr) {
    for (std::uint32_t i = item.begin; i < item.end; ++i) {
      Entry const& e = entries[i];
      for (std::uint32_t a = 0; a < 3; ++a) {
        s.up[a] += e.x[a] >= c[a];
        s.min[a] = std::min(s.min[a], e.x[a]);
        s.max[a] = std::max(s.max[a], e.x[a]);
      }
    }
    for (std::uint32_t a = 0; a < 3; ++a)
      s.down[a] = (item.end - item.begin) - s.up[a];
    return s;
  }
  for (std::uint32_t i = item.begin; i < item.end; ++i) {
    Entry const& e = entries[i];
    for (std::uint32_t a = 0; a < 3; ++a) {
      Side const where = side(e, a, c);
      s.up[a] += where == Side::Up;
      s.down[a] += where == Side::Down;
      s.min[a] = std::min(s.min[a], e.x[a]);
      s.max[a] = std::max(s.max[a], e.x[a]);
    }
  }
  return s;
}

// The most balanced axis: a later axis wins only with a strictly better balance. Among axes that
// separate (objects on both sides) when one does, else among all.
std::uint32_t Tree::Builder::chooseAxis(Stats const& s, std::uint32_t count) const {
  auto const balance = [&](std::uint32_t a) {
    return std::fabs(double(s.up[a]) / double(count) - 0.5);
  };
  auto const separating = [&](std::uint32_t a) { return s.up[a] > 0 && s.down[a] > 0; };
  bool const anySeparates = separating(0) || separating(1) || separating(2);
  std::uint32_t chosen = 3;
  for (std::uint32_t a = 0; a < 3; ++a) {
    if (anySeparates && !separating(a))
      continue;
    if (chosen == 3 || balance(a) < balance(chosen))
      chosen = a;
  }
  return chosen;
}

bool Tree::Builder::separates(Item const& item, std::uint32_t axis, float const (&p)[3]) const {
  std::uint32_t up = 0;
  std::uint32_t down = 0;
  for (std::uint32_t i = item.begin; i < item.end; ++i) {
    Side const where = side(entries[i], axis, p);
    up += where == Side::Up;
    down += where == Side::Down;
  }
  return up > 0 && down > 0;
}

// The search visits the root, the nodes over more than bucketSize objects and their children.
InternalNode* Tree::Builder::newInternal(Item const& item) {
  bool const searched = item.parent == nullptr || item.parentCount > bucketSize;
  Pool<InternalNode>& pool = searched ? tree.searched : tree.others;
  InternalNode* const node = new (&pool.slots[pool.count++]) InternalNode();
  node->firstLeaf = tree.leaves.count;
  if (item.parent != nullptr) {
    node->parentNode = item.parent;
    item.parent->setNode(item.side, node);
  }
  return node;
}

void Tree::Builder::tighten(Item const& item, float const (&low)[3], float const (&high)[3]) {
  InternalNode* const parent = item.parent;
  if (parent == nullptr || points == nullptr)
    return;
  if (item.side == 0)
    parent->upLow = low[parent->axis];
  else
    parent->downHigh = high[parent->axis];
}

// A leaf of the item's objects: one, or several coincident ones in input order.
void Tree::Builder::newLeaf(Item const& item) {
  LeafNode* const leaf = new (&tree.leaves.slots[tree.leaves.count++]) LeafNode();
  leaf->parentNode = item.parent;
  item.parent->setNode(item.side, leaf);
  std::uint32_t const count = item.end - item.begin;
  Entry const& first = entries[item.begin];
  if (count == 1) {
    leaf->object = objectAt(first.index);
    leaf->index = first.index;
    tree.allPoints = tree.allPoints && isPoint(first.index);
  } else {
    std::sort(entries.begin() + item.begin, entries.begin() + item.end,
              [](Entry const& a, Entry const& b) { return a.index < b.index; });
    std::uint32_t const s = tree.leaves.count - 1;
    if (tree.shared.size() <= s / 64)
      tree.shared.resize(s / 64 + 1);
    tree.shared[s / 64] |= std::uint64_t(1) << (s % 64);
    // The offset into the shared lists; the pointer is set once they stop growing.
    leaf->index = static_cast<std::uint32_t>(tree.sharedObjects.size());
    for (std::uint32_t i = item.begin; i < item.end; ++i) {
      tree.sharedObjects.push_back(objectAt(entries[i].index));
      tree.sharedIndices.push_back(entries[i].index);
      tree.allPoints = tree.allPoints && isPoint(entries[i].index);
    }
  }
  leaf->count = count;
  Entry const& at = entries[item.begin];
  tree.positions.push_back(Position{{at.x[0], at.x[1], at.x[2]}});
}

void Tree::Builder::process(Item const& item) {
  std::uint32_t const count = item.end - item.begin;
  bool const isRoot = item.parent == nullptr;
  if (!isRoot && count == 1) {
    tighten(item, entries[item.begin].x, entries[item.begin].x);
    newLeaf(item);
    return;
  }
  float p[3];
  for (std::uint32_t a = 0; a < 3; ++a)
    p[a] = centre(item.lo[a], item.hi[a]);
  Stats const stats = count > 0 ? measure(item, p) : Stats{};
  if (count > 0)
    tighten(item, stats.min, stats.max);
  bool const coincident = count > 0 && stats.min[0] == stats.max[0] &&
                          stats.min[1] == stats.max[1] && stats.min[2] == stats.max[2];
  if (!isRoot && coincident) {
    newLeaf(item);
    return;
  }
  std::uint32_t axis = chooseAxis(stats, count);
  if (count > 1 && !coincident && (stats.up[axis] == 0 || stats.down[axis] == 0)) {
    // No plane through the box centre separates the objects: split their own extent in the
    // middle along the axis of the largest spread.
    std::uint32_t widest = 0;
    for (std::uint32_t a = 1; a < 3; ++a)
      if (double(stats.max[a]) - double(stats.min[a]) >
          double(stats.max[widest]) - double(stats.min[widest]))
        widest = a;
    float middle = centre(stats.min[widest], stats.max[widest]);
    if (middle == stats.min[widest])
      middle = stats.max[widest];
    float q[3] = {p[0], p[1], p[2]};
    q[widest] = middle;
    if (separates(item, widest, q)) {
      axis = widest;
      p[widest] = middle;
    } else if (!isRoot) {
      // Objects other than points that no plane tells apart share a leaf.
      newLeaf(item);
      return;
    }
  }

  InternalNode* const node = isRoot ? tree.root : newInternal(item);
  node->axis = static_cast<std::uint8_t>(axis);
  node->split = p[axis];
  node->upLow = p[axis];
  node->downHigh = p[axis];
  tree.depth = std::max(tree.depth, item.depth);

  // Up objects first, then down ones; the rest (on neither side) is left out.
  auto const first = entries.begin() + item.begin;
  auto const last = entries.begin() + item.end;
  auto const middle =
      std::partition(first, last, [&](Entry const& e) { return side(e, axis, p) == Side::Up; });
  auto const end = points != nullptr ? last : std::partition(middle, last, [&](Entry const& e) {
    return side(e, axis, p) == Side::Down;
  });
  auto const position = [&](auto i) { return static_cast<std::uint32_t>(i - entries.begin()); };
  Item upper{item.begin, position(middle), {}, {}, item.depth + 1, node, 0, count};
  Item lower{position(middle), position(end), {}, {}, item.depth + 1, node, 1, count};
  std::copy(item.lo, item.lo + 3, upper.lo);
  std::copy(item.hi, item.hi + 3, upper.hi);
  std::copy(item.lo, item.lo + 3, lower.lo);
  std::copy(item.hi, item.hi + 3, lower.hi);
  upper.lo[axis] = p[axis];
  lower.hi[axis] = p[axis];
  if (lower.end > lower.begin)
    stack.push_back(lower);
  if (upper.end > upper.begin)
    stack.push_back(upper);
}

// The leaves of each subtree, counted children before their parents (later in their pools).
void Tree::Builder::countLeaves() {
  for (std::uint32_t s = 0; s < tree.leaves.count; ++s) {
    LeafNode* const leaf = tree.leaves.at(s);
    ++leaf->parentNode->leafCount;
    if (leaf->count > 1)
      leaf->objects = tree.sharedObjects.data() + leaf->index;
  }
  // A node in the searched pool has its parent there; one in the other pool may have it in
  // either, so that pool goes first.
  for (std::uint32_t s = tree.others.count; s-- > 0;) {
    InternalNode const* const node = tree.others.at(s);
    node->parentNode->leafCount += node->leafCount;
  }
  for (std::uint32_t s = tree.searched.count; s-- > 1;) {
    InternalNode const* const node = tree.searched.at(s);
    node->parentNode->leafCount += node->leafCount;
  }
  std::vector<Position> const& positions = tree.positions;
  tree.shared.resize((positions.size() + 63) / 64);
  tree.groupBoxes.resize((positions.size() + groupSize - 1) / groupSize);
  for (std::size_t s = 0; s < positions.size(); ++s) {
    GroupBox& box = tree.groupBoxes[s / groupSize];
    for (std::uint32_t a = 0; a < 3; ++a) {
      float const x = positions[s].x[a];
      box.low[a] = s % groupSize == 0 ? x : std::min(box.low[a], x);
      box.high[a] = s % groupSize == 0 ? x : std::max(box.high[a], x);
    }
  }
}

void Tree::Builder::build() {
  auto const n = static_cast<std::uint32_t>(entries.size());
  tree.objectCount = n;
  // Every internal node but the root separates its objects: at most n leaves and n internal
  // nodes besides the root.
  tree.searched.slots.reset(new Slot<InternalNode>[std::size_t(n) + 1]);
  tree.others.slots.reset(new Slot<InternalNode>[std::max<std::size_t>(n, 1)]);
  tree.leaves.slots.reset(new Slot<LeafNode>[std::max<std::size_t>(n, 1)]);
  tree.positions.reserve(n);
  Item root{0, n, {}, {}, 0, nullptr, 0, 0};
  tree.root = newInternal(root);
  // The root box: the union of the objects' boxes.
  for (std::uint32_t i = 0; i < n; ++i) {
    Entry const& e = entries[i];
    float hi[3] = {e.x[0], e.x[1], e.x[2]};
    if (points == nullptr) {
      Point const p1 = objects[e.index]->getBoundingBox().getp1();
      hi[0] = p1.getX();
      hi[1] = p1.getY();
      hi[2] = p1.getZ();
    }
    for (std::uint32_t a = 0; a < 3; ++a) {
      root.lo[a] = i == 0 ? e.x[a] : std::min(root.lo[a], e.x[a]);
      root.hi[a] = i == 0 ? hi[a] : std::max(root.hi[a], hi[a]);
    }
  }
  stack.push_back(root);
  while (!stack.empty()) {
    Item const item = stack.back();
    stack.pop_back();
    process(item);
  }
  countLeaves();
}

Tree::Tree() = default;

Tree::Tree(Tree&& other) noexcept {
  *this = std::move(other);
}

Tree& Tree::operator=(Tree&& other) noexcept {
  if (this != &other) {
    clear();
    root = std::exchange(other.root, nullptr);
    depth = std::exchange(other.depth, 0);
    objectCount = std::exchange(other.objectCount, 0);
    allPoints = std::exchange(other.allPoints, true);
    searched = std::exchange(other.searched, {});
    others = std::exchange(other.others, {});
    leaves = std::exchange(other.leaves, {});
    positions = std::move(other.positions);
    groupBoxes = std::move(other.groupBoxes);
    shared = std::move(other.shared);
    sharedObjects = std::move(other.sharedObjects);
    sharedIndices = std::move(other.sharedIndices);
  }
  return *this;
}

Tree::~Tree() {
  clear();
}

void Tree::clear() {
  for (Pool<InternalNode>* pool : {&searched, &others}) {
    for (std::uint32_t s = 0; s < pool->count; ++s)
      pool->at(s)->~InternalNode();
    *pool = {};
  }
  for (std::uint32_t s = 0; s < leaves.count; ++s)
    leaves.at(s)->~LeafNode();
  leaves = {};
  root = nullptr;
  depth = 0;
  objectCount = 0;
  allPoints = true;
  positions.clear();
  groupBoxes.clear();
  shared.clear();
  sharedObjects.clear();
  sharedIndices.clear();
}

bool Tree::construct(std::vector<Object*> const& objects, std::uint32_t n) {
  clear();
  if (n > objects.size())
    throw Exception("Invalid number of objects");
  for (std::uint32_t i = 0; i < n; ++i)
    if (objects[i] == nullptr)
      throw Exception("Invalid object");
  Builder builder(*this, objects.data(), nullptr, n);
  builder.build();
  return true;
}

bool Tree::construct(PointCloud::Cloud const& cloud) {
  clear();
  Builder builder(*this, nullptr, cloud.getPoints().data(), cloud.getNumberOfPoints());
  builder.build();
  return true;
}

} // namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition
