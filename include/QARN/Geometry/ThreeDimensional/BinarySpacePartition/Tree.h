#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_BINARYSPACEPARTITION_TREE_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_BINARYSPACEPARTITION_TREE_H

#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/InternalNode.h>
#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/LeafNode.h>
#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/Object.h>
#include <QARN/Geometry/ThreeDimensional/Point.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

namespace QARN::Geometry::ThreeDimensional {

namespace PointCloud {
class Cloud;
}

namespace BinarySpacePartition {

/// A space-partition tree over objects (in this library, points) for k-nearest-neighbour
/// queries. The objects are the caller's: they must stay alive and unchanged while the tree is
/// used. The tree owns its nodes, made in a few large blocks; it can be moved, not copied.
/// Queries are const and touch no shared state, so several threads may query one tree.
///
/// Building halves boxes: each internal node's box is split by a plane through its centre,
/// normal to the axis (X, then Y, then Z) that sends the share of objects nearest one half above
/// it (ties keep the earlier axis); a side with one object becomes a leaf, a side with more a new
/// internal node over the half box. Where no such plane separates the objects (every axis leaves
/// all of them on one side, which float rounding of a tiny box can cause), the plane is instead
/// put through the middle of the objects' own extent along the axis on which they spread the most
/// (moved onto the largest coordinate when rounding puts the middle on the smallest), which always
/// separates distinct points. Coincident objects share one leaf (see LeafNode), in input order.
/// The root is always an internal node, even over zero or one object. Objects whose bounding box
/// is not finite (a NaN or infinite coordinate) are left out: they are never returned. Objects
/// other than points are placed by their getIsAbove and getIsBelow; one that is neither wholly
/// above nor wholly below a plane is left out of the tree there.
///
/// Memory: about 110 bytes a point (an internal and a leaf node per point, and a packed copy of
/// the points in leaf order that the search reads).
class Tree {
public:
  /// Distance reported for an output slot that holds no object.
  static constexpr double sentinelDistance = 1e39;
  /// Index reported for an output slot that holds no object.
  static constexpr std::uint32_t noIndex = 0xFFFFFFFFu;
  /// Queries with k up to this many keep their results in a fixed array on the stack and
  /// allocate nothing; a larger k allocates one buffer of k entries for the query.
  static constexpr std::uint32_t fixedCapacity = 16;
  /// Queries on trees up to this deep keep their pending subtrees on the stack; a deeper tree
  /// (only degenerate inputs build one) allocates a list of depth + 2 entries per query.
  static constexpr std::uint32_t fixedDepth = 128;

  /// An empty tree: queries answer sentinels only.
  Tree();
  Tree(Tree const&) = delete;
  Tree& operator=(Tree const&) = delete;
  Tree(Tree&&) noexcept;
  Tree& operator=(Tree&&) noexcept;
  virtual ~Tree();

  /// Builds the tree over objects[0..n−1], replacing any earlier tree; returns true. Throws
  /// QARN::Exception "Invalid number of objects" when n exceeds objects.size() and "Invalid
  /// object" when one of them is null (the tree is then empty).
  bool construct(std::vector<Object*> const& objects, std::uint32_t n);
  /// Builds the tree over the points of a cloud (indices are the cloud's point indices). The
  /// cloud must not be changed while the tree is used.
  bool construct(PointCloud::Cloud const& cloud);

  /// Writes the k objects nearest to p into out[0..k−1], nearest first, and their distances
  /// (Object::getMinMaxDistance) into outDistances[0..k−1] when that pointer is not null; slots
  /// beyond the number of objects hold (null, sentinelDistance). Returns true. Objects at equal
  /// distance keep the order in which the search met them, and one met later does not displace
  /// one met earlier at the k-th place; coincident points come in input order. The distances are
  /// those of a search through every object: the search skips a subtree only when rounding
  /// cannot bring any of its points closer than the k-th distance found. An object whose
  /// distance is not below sentinelDistance (a point about 1e19 away or more, whose squared
  /// distance overflows single precision) is never returned. k = 0 writes nothing; a point with
  /// a NaN or infinite coordinate gets sentinels only. Throws QARN::Exception "Invalid
  /// argument" when p is null, or out is null while k > 0.
  bool getkNearestNeighbours(std::uint32_t k, Point const* p, Object const** out,
                             double* outDistances) const;
  /// The same search, writing each object's index in the input (the position in the objects
  /// vector or the cloud) into outIndices, and noIndex into empty slots.
  bool getkNearestNeighbourIndices(std::uint32_t k, Point const& p, std::uint32_t* outIndices,
                                   double* outDistances) const;

  /// The deepest level of an internal node below the root (the root is level 0).
  std::uint32_t getDepth() const { return depth; }
  /// The root node; null before the first construct.
  InternalNode const* getRoot() const { return root; }
  /// How many objects the tree holds (those with a finite box).
  std::uint32_t getNumberOfObjects() const { return objectCount; }

private:
  using Kind = Node::Kind;
  class Builder;
  struct Found;
  class Results;
  struct PointMetric;
  struct ObjectMetric;
  template <typename Write>
  bool query(std::uint32_t k, Point const& p, Write write) const;
  template <typename Metric>
  void search(Point const& p, Metric const& metric, Results& results) const;
  void clear();

  /// A subtree of at most this many leaves is searched by measuring its leaves one after another
  /// rather than by descending through its planes.
  static constexpr std::uint32_t bucketSize = 128;

  /// A leaf's point (or an object's low box corner), in leaf order.
  struct Position {
    float x[3];
  };
  /// Positions are measured in groups of this many (in leaf order), each skipped as a whole
  /// when its bounding box is too far.
  static constexpr std::uint32_t groupSize = 32;
  struct GroupBox {
    float low[3];
    float high[3];
  };
  /// Raw storage for nodes of one kind, made in place.
  template <typename NodeType>
  struct alignas(NodeType) Slot {
    unsigned char bytes[sizeof(NodeType)];
  };
  /// A block of nodes of one kind, made in place one after another.
  template <typename NodeType>
  struct Pool {
    std::unique_ptr<Slot<NodeType>[]> slots;
    std::uint32_t count = 0;
    NodeType* at(std::uint32_t s) const {
      return std::launder(reinterpret_cast<NodeType*>(&slots[s]));
    }
  };

  InternalNode* root = nullptr;
  std::uint32_t depth = 0;
  std::uint32_t objectCount = 0;
  /// Every leaf holds points only: the search then measures the packed positions.
  bool allPoints = true;
  /// Internal nodes the search visits (those over more than bucketSize objects, and their
  /// children) in depth-first order, apart from the rest, so that they lie close together.
  Pool<InternalNode> searched;
  Pool<InternalNode> others;
  /// The leaves in depth-first order: a subtree's leaves lie one after another.
  Pool<LeafNode> leaves;
  std::vector<Position> positions;
  /// The box of positions[groupSize·g .. groupSize·g + groupSize − 1] at g.
  std::vector<GroupBox> groupBoxes;
  /// Bit s is set when leaf s holds several objects.
  std::vector<std::uint64_t> shared;
  /// Objects and input indices of the leaves that hold several objects, leaf by leaf.
  std::vector<Object const*> sharedObjects;
  std::vector<std::uint32_t> sharedIndices;
};

} // namespace BinarySpacePartition
} // namespace QARN::Geometry::ThreeDimensional

#endif
