#include "QuadMeshTestSupport.h"

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/Edge.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/LinearScaleRectMesh.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <Geometry/ThreeDimensional/QuadMesh/GridIndex.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace QuadMeshTest {

QARN_PRIVATE_MEMBER(IsBoundaryPoint, bool (RectMesh::*)(GridPoint const&) const,
                    RectMesh::getIsBoundaryPoint);
QARN_PRIVATE_MEMBER(NumberOfMBs, std::uint64_t (*)(std::uint32_t, std::uint32_t),
                    RectMesh::getNumberOfMBs);
using QARN::Geometry::ThreeDimensional::QuadMesh::Edge;
QARN_PRIVATE_MEMBER(EdgeMesh, RectMesh* Edge::*, Edge::mesh);
QARN_PRIVATE_MEMBER(EdgeOrigin, GridPoint Edge::*, Edge::origin);
QARN_PRIVATE_MEMBER(EdgeOrientation, Edge::Orientation Edge::*, Edge::orientation);

namespace {

using QARN::Geometry::ThreeDimensional::QuadMesh::LinearScaleRectMesh;
using QARN::Geometry::ThreeDimensional::QuadMesh::QuadValidityGenerator;
namespace GridIndex = QARN::Geometry::ThreeDimensional::QuadMesh::GridIndex;

void expectVectorNear(Vector const& expected, Vector const& actual) {
  EXPECT_NEAR(expected.getdX(), actual.getdX(), 1e-12);
  EXPECT_NEAR(expected.getdY(), actual.getdY(), 1e-12);
  EXPECT_NEAR(expected.getdZ(), actual.getdZ(), 1e-12);
}

int nameNumber(RectMesh const& mesh) {
  std::string const& name = mesh.getFileName();
  EXPECT_EQ(0u, name.find("Unnamed"));
  EXPECT_EQ(name.size() - 6, name.find(".quads"));
  return std::stoi(name.substr(7));
}

TEST(RectMeshGrid, EmptyAndOnePointGridsAndImpossibleSizes) {
  RectMesh first;
  RectMesh second;
  EXPECT_EQ(nameNumber(first) + 1, nameNumber(second));
  EXPECT_FALSE(first.getIsPointInBounds(GridPoint(0, 0)));
  first.setPoint(GridPoint(0, 0), Point(1, 2, 3));
  first.setPointFlags(GridPoint(0, 0), 1);
  EXPECT_FALSE(first.getIsPointValid(GridPoint(0, 0)));
  EXPECT_EQ(Point(), first.getPoint(GridPoint(0, 0)));
  EXPECT_FALSE(first.getIntersection(Point(0, 0, 1), Vector(0, 0, -1)).getIsValid());

  GridMesh grid = flatGrid(2, 2);
  for (std::uint32_t size : {0xFFFFFFFFu, 0x7FFFFFFFu}) {
    EXPECT_EQ("Insufficient memory to initialise quad-mesh.",
              messageOf<QARN::Exception>([&] { grid.init(Extents(size, size)); }));
    EXPECT_EQ(Extents(0, 0), grid.getExtents());
    EXPECT_FALSE(grid.getIsPointInBounds(GridPoint(0, 0)));
  }
  auto const mbs = get(NumberOfMBs{});
  EXPECT_EQ(0u, mbs(41941, 0));
  EXPECT_EQ(1u, mbs(41942, 0));
  EXPECT_EQ(std::numeric_limits<std::uint64_t>::max() / 41943, mbs(0xFFFFFFFFu, 0xFFFFFFFFu));
  grid.init(Extents(0, 0));
  EXPECT_TRUE(grid.getIsPointInBounds(GridPoint(0, 0)));
  EXPECT_FALSE(grid.getIsPointValid(GridPoint(0, 0)));
  EXPECT_FALSE(grid.getIsQuadValid(GridPoint(0, 0)));
}

TEST(RectMeshGrid, FlagBitsAndBounds) {
  RectMesh mesh;
  EXPECT_EQ(char(0x10), mesh.setFlag(0, RectMesh::Marked, true));
  EXPECT_EQ(char(0xFD), mesh.setFlag(char(0xFF), RectMesh::Interior, false));
  EXPECT_TRUE(mesh.getFlag(char(0x84), RectMesh::Boundary));
  EXPECT_FALSE(mesh.getFlag(char(0xFF), static_cast<RectMesh::PointFlagID>(9)));

  GridMesh grid = flatGrid(3, 2);
  GridPoint const p(1, 1);
  grid.setPointFlags(p, char(0x80));
  EXPECT_FALSE(grid.getIsPointValid(p));
  EXPECT_FALSE(grid.getIsInteriorNonExtendedPoint(p));
  grid.setPoint(p, Point(5, 5, 5));
  EXPECT_EQ(char(0x81), grid.getPointFlags(p));
  EXPECT_FALSE(grid.getIsInteriorNonExtendedPoint(p));
  grid.setPointFlag(p, RectMesh::Boundary, true);
  EXPECT_TRUE(grid.getIsInteriorNonExtendedPoint(p));

  for (GridPoint const& outside : {GridPoint(-1, 0), GridPoint(4, 0), GridPoint(0, 3)}) {
    grid.setPointFlags(outside, 1);
    EXPECT_EQ(0, grid.getPointFlags(outside));
    EXPECT_FALSE(grid.getIsPointValid(outside));
  }
  EXPECT_TRUE(grid.getIsPointInBounds(GridPoint(3, 2)));
  EXPECT_TRUE(grid.getIsQuadValid(GridPoint(2, 1)));
  for (GridPoint const& rim : {GridPoint(3, 0), GridPoint(0, 2), GridPoint(-1, 0)})
    EXPECT_FALSE(grid.getIsQuadValid(rim)) << rim.getU() << "," << rim.getV();
}

TEST(RectMeshGrid, QuadValidityQuadPointsAndBoundaryPoints) {
  GridMesh grid = flatGrid(2, 2);
  EXPECT_EQ(Point(1.5, 1.5, 0), grid.getMeanQuadPoint(GridPoint(1, 1)));
  for (GridPoint const& corner :
       {GridPoint(0, 0), GridPoint(1, 0), GridPoint(1, 1), GridPoint(0, 1)}) {
    grid.setPointValidity(corner, false);
    EXPECT_FALSE(grid.getIsQuadValid(GridPoint(0, 0)));
    grid.setPointValidity(corner, true);
  }

  // A boundary point has an invalid neighbour inside the grid; the rim alone does not count.
  auto const boundary = [&grid](int u, int v) {
    return (grid.*get(IsBoundaryPoint{}))(GridPoint(u, v)) ? 'B' : '-';
  };
  EXPECT_EQ("--", std::string({boundary(1, 1), boundary(0, 0)}));
  grid.setPointValidity(GridPoint(1, 0), false);
  // (0, 0), (2, 0) and (1, 1) border on it; (0, 1) does not, and (1, 0) itself is invalid.
  EXPECT_EQ("BBB--", std::string({boundary(0, 0), boundary(2, 0), boundary(1, 1), boundary(0, 1),
                                  boundary(1, 0)}));

  // Quad points stop at the first invalid corner.
  grid.setPointValidity(GridPoint(1, 0), true);
  grid.setPointValidity(GridPoint(1, 1), false);
  Point const sentinel(-7, -7, -7);
  std::vector<Point> out(4, sentinel);
  grid.getQuadPoints(GridPoint(0, 0), out.data());
  EXPECT_EQ((std::vector<Point>{Point(0, 0, 0), Point(1, 0, 0), sentinel, sentinel}), out);
  EXPECT_EQ(Point(), grid.getMeanQuadPoint(GridPoint(0, 0)));
}

TEST(RectMeshGrid, TrianglesFansAndNormals) {
  // z = u·v: every quad is twisted, so each triangle and quad has its own normal.
  GridMesh grid(4, 4, [](int u, int v) { return Point(u, v, 0.25 * u * v); });
  GridPoint const p(1, 1);
  Point first[3], fan[3];
  grid.getQuadTrianglePoints(p, first, true);
  grid.getQuadTrianglePoints(p, fan, std::uint32_t{0}, 1);
  EXPECT_EQ(Point(2, 2, 1), first[2]);
  EXPECT_EQ(first[2], fan[2]);
  grid.getQuadTrianglePoints(GridPoint(2, 2), fan, std::uint32_t{7}, 2);
  EXPECT_EQ(Point(4, 0, 0), fan[1]);
  EXPECT_EQ(Point(4, 2, 2), fan[2]);
  fan[0] = Point(9, 9, 9);
  grid.getQuadTrianglePoints(p, fan, std::uint32_t{8}, 1);
  EXPECT_EQ(Point(9, 9, 9), fan[0]);

  // Twice the triangle (0,0,0), (1,0,0), (1,1,0.25).
  expectVectorNear(Vector(0, -0.25, 1), grid.getQuadNormalVector(GridPoint(0, 0), true));
  expectVectorNear(grid.getQuadNormalVector(p, false),
                   grid.getQuadNormalVector(p, std::uint32_t{1}));

  // Interior point: the quads at p, p+(1,0), p+(0,1), p+(1,1), weighted by area.
  Vector sum;
  for (GridPoint const& q : {p, GridPoint(2, 1), GridPoint(1, 2), GridPoint(2, 2)})
    sum += grid.getQuadNormalVector(q, true);
  expectVectorNear(sum / std::sqrt(sum.lSqr()), grid.getPointUnitNormalVector(p));
  // Right rim: none of the first four is valid; the quad to the left is.
  Vector const left = grid.getQuadUnitNormalVector(GridPoint(3, 0), true);
  expectVectorNear(left, grid.getPointUnitNormalVector(GridPoint(4, 0)));
  // Top-right corner: no candidate quad at all.
  expectVectorNear(Vector(0, 0, 1), grid.getPointUnitNormalVector(GridPoint(4, 4)));
}

TEST(RectMeshGrid, BoundingBoxHoldsOnlyValidPoints) {
  GridMesh grid(2, 1, [](int u, int v) { return Point(10 + u, 20 + v, 5); });
  grid.setPoint(GridPoint(2, 1), Point(-100, -100, -100));
  grid.setPointValidity(GridPoint(2, 1), false);
  auto const box = grid.getBoundingBoxAA();
  EXPECT_EQ(Point(10, 20, 5), box.getp());
  EXPECT_EQ(Point(12, 21, 5), box.getp1());
}

TEST(RectMeshGrid, AssignmentCopiesTheListedFieldsDeeply) {
  GridMesh source = flatGrid(4, 3);
  source.setPointFlags(GridPoint(2, 2), char(0x15));
  source.setOffset(Offset(5, 6));
  source.setAxisFlipFlags(true, false);
  source.setActivePositionFlags(0);
  source.*get(LastSearchIndices{}) = GridPoint(3, 1);
  source.*get(IsSearchReset{}) = false;

  GridMesh target = flatGrid(1, 1);
  target = source;
  EXPECT_EQ(Extents(4, 3), target.getExtents());
  EXPECT_EQ(char(0x15), target.getPointFlags(GridPoint(2, 2)));
  EXPECT_EQ(source.getFileName(), target.getFileName());
  EXPECT_EQ(GridPoint(3, 1), target.*get(LastSearchIndices{}));
  EXPECT_FALSE(target.*get(IsSearchReset{}));
  EXPECT_EQ(Offset(0, 0), target.getOffset());
  // Copied u flip, own (all-active) position flags: the hit at u = 1 comes back as 4 − 1 − 1.
  auto const hit = target.getIntersection(Point(1.3, 0.6, 1), Vector(0, 0, -1));
  ASSERT_TRUE(hit.getIsValid());
  EXPECT_EQ(GridPoint(2, 0), hit.getIndices());

  source.setPoint(GridPoint(0, 0), Point(9, 9, 9));
  EXPECT_EQ(Point(0, 0, 0), target.getPoint(GridPoint(0, 0)));
  RectMesh copy(source);
  EXPECT_EQ(Point(9, 9, 9), copy.getPoint(GridPoint(0, 0)));
  EXPECT_EQ(source.getFileName(), copy.getFileName());
  auto& self = copy;
  copy = self;
  EXPECT_EQ(Point(9, 9, 9), copy.getPoint(GridPoint(0, 0)));
  copy = RectMesh();
  EXPECT_FALSE(copy.getIsPointInBounds(GridPoint(0, 0)));
}

TEST(RectMeshGrid, ScaledMeshReportsScaledPointsAndCopiesItsScale) {
  LinearScaleRectMesh scaled;
  static_cast<RectMesh&>(scaled) = flatGrid(2, 2);
  scaled.setScale(3.0);
  EXPECT_EQ(Point(3, 6, 0), scaled.getPoint(GridPoint(1, 2)));
  LinearScaleRectMesh copy(scaled);
  EXPECT_EQ(Point(6, 6, 0), copy.getPoint(GridPoint(2, 2)));
  RectMesh plain;
  plain = scaled;
  EXPECT_EQ(Point(2, 2, 0), plain.getPoint(GridPoint(2, 2)));
  auto const hit = scaled.getIntersection(Point(4.2, 1.5, 1), Vector(0, 0, -1));
  ASSERT_TRUE(hit.getIsValid());
  EXPECT_EQ(GridPoint(1, 0), hit.getIndices());
}

/// The virtual-table slot of a virtual member function (Itanium C++ ABI: the member pointer
/// holds 1 + the slot's byte offset, then a this-adjustment).
template <typename Member>
std::uintptr_t virtualSlot(Member member) {
  struct {
    std::uintptr_t pointer;
    std::ptrdiff_t adjustment;
  } representation;
  static_assert(sizeof representation == sizeof member);
  std::memcpy(&representation, &member, sizeof member);
  return (representation.pointer - 1) / sizeof(void*);
}

TEST(RectMeshGrid, VirtualSlotOrder) {
  // getPoint first, then the destructor (two entries); a generator's destructor comes first.
  EXPECT_EQ(0u, virtualSlot(&RectMesh::getPoint));
  EXPECT_EQ(2u, virtualSlot(&QuadValidityGenerator::getValidity));
}

Edge edge(RectMesh* mesh, GridPoint const& origin, Edge::Orientation orientation) {
  Edge e;
  e.*get(EdgeMesh{}) = mesh;
  e.*get(EdgeOrigin{}) = origin;
  e.*get(EdgeOrientation{}) = orientation;
  return e;
}

TEST(Edge, AlgebraOfTurnsAndReversals) {
  Edge const e;
  EXPECT_EQ(GridPoint(1, 0), e.dest());
  EXPECT_EQ(edge(nullptr, GridPoint(1, 0), Edge::PositiveV), e.rot());
  EXPECT_EQ(edge(nullptr, GridPoint(1, 0), Edge::NegativeU), e.sym());
  EXPECT_EQ(edge(nullptr, GridPoint(0, 0), Edge::NegativeV), e.oprev());
  EXPECT_EQ(e, e.rot().rot().rot().rot());
  EXPECT_EQ(e, e.sym().sym());
  EXPECT_EQ(e, e.onext().oprev());
  EXPECT_EQ(GridPoint(3, 2), edge(nullptr, GridPoint(3, 3), Edge::NegativeV).dest());
  // An unknown orientation points like PositiveU and turns modulo 4.
  Edge const odd = edge(nullptr, GridPoint(0, 0), static_cast<Edge::Orientation>(7));
  EXPECT_EQ(GridPoint(1, 0), odd.dest());
  EXPECT_EQ(edge(nullptr, GridPoint(1, 0), Edge::PositiveU), odd.rot());

  GridMesh other = flatGrid(1, 1);
  EXPECT_NE(e, edge(&other, GridPoint(0, 0), Edge::PositiveU));
  EXPECT_FALSE(e.isValid() || e.isQuadValid()); // no mesh
  EXPECT_EQ(Point(), e.vphidest3());
}

TEST(Edge, QuadOnTheLeftAndBoundary) {
  GridMesh grid(3, 3, [](int u, int v) { return Point(2 * u, v, u + v); });
  // The four edges of quad (1, 1), counter-clockwise, all have it on their left.
  Edge const around[4] = {
      edge(&grid, GridPoint(1, 1), Edge::PositiveU), edge(&grid, GridPoint(2, 1), Edge::PositiveV),
      edge(&grid, GridPoint(2, 2), Edge::NegativeU), edge(&grid, GridPoint(1, 2), Edge::NegativeV)};
  grid.setPointValidity(GridPoint(0, 0), false);
  for (Edge const& e : around)
    EXPECT_TRUE(e.isQuadValid());
  grid.setPointValidity(GridPoint(2, 2), false);
  for (Edge const& e : around)
    EXPECT_FALSE(e.isQuadValid());
  EXPECT_FALSE(around[2].isValid());
  EXPECT_TRUE(around[0].isValid());

  EXPECT_TRUE(edge(&grid, GridPoint(0, 2), Edge::NegativeV).isBoundary());
  EXPECT_FALSE(edge(&grid, GridPoint(1, 0), Edge::PositiveV).isBoundary());
  EXPECT_TRUE(edge(&grid, GridPoint(1, 1), Edge::NegativeV).isBoundary());
  Vector const step = around[0].vphi3();
  EXPECT_EQ(2.0, step.getdX());
  EXPECT_EQ(1.0, step.getdZ());
}

TEST(RectMeshGrid, RoundingIsHalfUpAndConversionsSaturate) {
  EXPECT_EQ(3.0, GridIndex::roundHalfUp(2.5));
  EXPECT_EQ(-2.0, GridIndex::roundHalfUp(-2.5));
  EXPECT_EQ(-0.0, GridIndex::roundHalfUp(-0.5));
  EXPECT_EQ(0.0, GridIndex::roundHalfUp(0.49999999999999994));
  EXPECT_TRUE(std::isnan(GridIndex::roundHalfUp(std::nan(""))));
  double const inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(0, GridIndex::saturatingCast<int>(std::nan("")));
  EXPECT_EQ(std::numeric_limits<int>::max(), GridIndex::saturatingCast<int>(2147483648.0));
  EXPECT_EQ(std::numeric_limits<int>::min(), GridIndex::saturatingCast<int>(-inf));
  EXPECT_EQ(0u, GridIndex::saturatingCast<std::uint32_t>(-0.9));
  EXPECT_EQ(std::numeric_limits<std::int64_t>::max(),
            GridIndex::saturatingCast<std::int64_t>(9223372036854775808.0));
}

} // namespace
} // namespace QuadMeshTest
