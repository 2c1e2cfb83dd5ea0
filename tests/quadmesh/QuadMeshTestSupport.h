#ifndef QARN_TESTS_QUADMESH_QUADMESHTESTSUPPORT_H
#define QARN_TESTS_QUADMESH_QUADMESHTESTSUPPORT_H

#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <common/Support.h>

#include <cstdint>
#include <functional>

namespace QuadMeshTest {

using QARN::Geometry::ThreeDimensional::Point;
using QARN::Geometry::ThreeDimensional::Vector;
using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;
using GridPoint = QARN::Geometry::TwoDimensional::Point<int>;
using Extents = QARN::Geometry::TwoDimensional::Vector<std::uint32_t>;
using Offset = QARN::Geometry::TwoDimensional::Vector<int>;
using QARN::Test::messageOf;
using QARN::Test::readFile;
using QARN::Test::tempPath;
using QARN::Test::writeFile;

/// A mesh whose grid the tests build point by point.
class GridMesh : public RectMesh {
public:
  using RectMesh::init;

  /// U × V quads, every point (u, v) valid at position(u, v).
  GridMesh(std::uint32_t U, std::uint32_t V, std::function<Point(int, int)> const& position) {
    init(Extents(U, V));
    for (int v = 0; v <= static_cast<int>(V); ++v)
      for (int u = 0; u <= static_cast<int>(U); ++u)
        setPoint(GridPoint(u, v), position(u, v));
  }
};

/// A grid that counts the reads of its points, to tell how far a search went.
class CountingMesh : public GridMesh {
public:
  using GridMesh::GridMesh;

  Point getPoint(GridPoint const& p) const override {
    ++reads;
    return GridMesh::getPoint(p);
  }

  mutable long reads = 0;
};

/// A flat grid in the plane z = 0 with unit spacing: point (u, v) at (u, v, 0).
inline GridMesh flatGrid(std::uint32_t U, std::uint32_t V) {
  return GridMesh(U, V, [](int u, int v) { return Point(u, v, 0.0); });
}

// Private members for white-box tests. An explicit instantiation may name a private member;
// the friend function defined by it hands the member pointer out.
template <typename Tag, typename Tag::Type member>
struct PrivateMember {
  friend typename Tag::Type get(Tag) { return member; }
};

#define QARN_PRIVATE_MEMBER(TagName, MemberType, Member)                                           \
  struct TagName {                                                                                 \
    using Type = MemberType;                                                                       \
    friend Type get(TagName);                                                                      \
  };                                                                                               \
  template struct PrivateMember<TagName, &Member>

QARN_PRIVATE_MEMBER(IsSearchReset, bool RectMesh::*, RectMesh::isSearchReset);
QARN_PRIVATE_MEMBER(LastSearchIndices, GridPoint RectMesh::*, RectMesh::lastSearchIndices);
QARN_PRIVATE_MEMBER(DoFlipNormals, bool RectMesh::*, RectMesh::doFlipNormals);
QARN_PRIVATE_MEMBER(DoFlipAxisU, bool RectMesh::*, RectMesh::doFlipAxisU);
QARN_PRIVATE_MEMBER(DoFlipAxisV, bool RectMesh::*, RectMesh::doFlipAxisV);
QARN_PRIVATE_MEMBER(ActivePositionFlags, std::uint32_t RectMesh::*, RectMesh::activePositionFlags);
QARN_PRIVATE_MEMBER(Position, std::uint32_t RectMesh::*, RectMesh::position);

} // namespace QuadMeshTest

#endif
