#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_BINARYSPACEPARTITION_NODE_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_BINARYSPACEPARTITION_NODE_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition {

class InternalNode;
class Tree;

/// A node of the space-partition tree: an InternalNode (a splitting plane and up to two children)
/// or a LeafNode (the objects at one place); tell them apart with dynamic_cast. Nodes are plain
/// values that point at one another without owning anything; a Tree makes its nodes in a pool
/// and hands them out as const only, so the setters serve nodes a caller builds itself.
class Node {
public:
  virtual ~Node() = default;

  /// The internal node holding this one as a child; null at the root.
  InternalNode const* getParentNode() const { return parentNode; }
  void setParentNode(InternalNode* node) { parentNode = node; }

protected:
  /// Told apart without a virtual call where the search runs.
  enum class Kind : std::uint8_t { Internal, Leaf };

  explicit Node(Kind kind) : kind(kind) {}
  Node(Node const&) = default;
  Node& operator=(Node const&) = default;

private:
  friend class Tree;

  InternalNode* parentNode = nullptr;
  Kind kind;
};

} // namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition

#endif
