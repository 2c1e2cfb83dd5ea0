#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_BINARYSPACEPARTITION_INTERNALNODE_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_BINARYSPACEPARTITION_INTERNALNODE_H

#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/Node.h>
#include <QARN/Geometry/ThreeDimensional/Plane.h>

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition {

/// A splitting plane with the subtree above it (the up node, on the normal's side, points on the
/// plane included) and the subtree below it (the down node); either may be null. The tree splits
/// along coordinate axes only, so the plane's normal is always a unit coordinate axis and the
/// node keeps the axis and the plane's coordinate along it, not a general plane.
class InternalNode : public Node {
public:
  /// The plane through the origin normal to X, no children.
  InternalNode() : Node(Kind::Internal) {}
  InternalNode(InternalNode const&) = default;
  InternalNode& operator=(InternalNode const&) = default;
  ~InternalNode() override = default;

  /// The splitting plane: the unit normal along getAxis() and, as its point, the point on that
  /// axis where the plane crosses it (the same plane as the one set).
  Plane getPlane() const;
  /// Throws QARN::Exception "Invalid splitting plane" unless the normal is exactly (1, 0, 0),
  /// (0, 1, 0) or (0, 0, 1); the node is then unchanged.
  void setPlane(Plane const& plane);
  /// The axis of the plane's normal: 0, 1 or 2 for X, Y or Z.
  std::uint32_t getAxis() const { return axis; }

  Node const* getUpNode() const { return upNode; }
  Node const* getDownNode() const { return downNode; }
  void setUpNode(Node* node) { upNode = node; }
  void setDownNode(Node* node) { downNode = node; }
  /// k = 0 sets the up node, k = 1 the down node; any other k changes nothing.
  void setNode(std::uint32_t k, Node* node);

private:
  friend class Tree;

  std::uint8_t axis = 0;
  /// The plane's coordinate along its axis.
  float split = 0.0f;
  /// In a tree of points: the smallest coordinate along the axis in the up subtree and the
  /// largest in the down subtree, which bound the gap between them more tightly than the plane.
  float upLow = 0.0f;
  float downHigh = 0.0f;
  /// In a tree: the first of the subtree's leaves, which lie one after another in the tree's
  /// leaf pool, and their number.
  std::uint32_t firstLeaf = 0;
  std::uint32_t leafCount = 0;
  Node* upNode = nullptr;
  Node* downNode = nullptr;
};

} // namespace QARN::Geometry::ThreeDimensional::BinarySpacePartition

#endif
