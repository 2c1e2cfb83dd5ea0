#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_BINARYSPACEPARTITION_LEAFNODE_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_BINARYSPACEPARTITION_LEAFNODE_H

#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/Node.h>
#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/Object.h>

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition {

/// The objects at one place of the tree, not owned. A leaf holds one object, except where a tree
/// meets objects that no plane separates (coincident points): they then share one leaf, in the
/// order of the tree's input. getObject() is the first (or only) object, getObject(i) object i;
/// the list of a shared leaf lives in the tree that built it.
class LeafNode : public Node {
public:
  /// A leaf without an object.
  LeafNode() : Node(Kind::Leaf) {}
  LeafNode(LeafNode const&) = default;
  LeafNode& operator=(LeafNode const&) = default;
  ~LeafNode() override = default;

  /// The first object; null for an empty leaf.
  Object const* getObject() const { return count > 1 ? objects[0] : object; }
  /// Object i; i must be below getNumberOfObjects() (not checked).
  Object const* getObject(std::uint32_t i) const { return count > 1 ? objects[i] : object; }
  std::uint32_t getNumberOfObjects() const { return count; }
  /// Makes this a leaf of the one object (none when null).
  void setObject(Object const* o) {
    count = o != nullptr ? 1 : 0;
    index = noIndex;
    object = o;
  }

private:
  friend class Tree;

  static constexpr std::uint32_t noIndex = 0xFFFFFFFFu;

  std::uint32_t count = 0;
  /// One object: its index in the tree's input. Several: where their indices start in the
  /// tree's shared list.
  std::uint32_t index = noIndex;
  union {
    Object const* object = nullptr;
    Object const* const* objects;
  };
};

} // namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition

#endif
