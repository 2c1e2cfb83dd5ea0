#include "QuadMeshTestSupport.h"

#include <QARN/Exception.h>
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

namespace QuadMeshTest {

QARN_PRIVATE_MEMBER(IsBoundaryPoint, bool (RectMesh::*)(GridPoint const&) const,
                    RectMesh::getIsBoundaryPoint);
QARN_PRIVATE_MEMBER(QuadSizes, void (RectMesh::*)(double*, double*, double*) const,
                    RectMesh::getMaxMeanMinQuadSize);
QARN_PRIVATE_MEMBER(NumberOfMBs, std::uint64_t (*)(std::uint32_t, std::uint32_t),
                    RectMesh::getNumberOfMBs);

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

TEST(RectMeshGrid, EmptyMeshHasNoPointsAndMeshesAreNumbered) {
  RectMesh first;
  RectMesh second;
  EXPECT_EQ(nameNumber(first) + 1, nameNumber(second));
  EXPECT_EQ(Extents(0, 0), first.getExtents());
  EXPECT_FALSE(first.getIsPointInBounds(GridPoint(0, 0)));
  first.setPoint(GridPoint(0, 0), Point(1, 2, 3));
  first.setPointFlags(GridPoint(0, 0), 1);
  EXPECT_FALSE(first.getIsPointValid(GridPoint(0, 0)));
  EXPECT_EQ(Point(), first.getPoint(GridPoint(0, 0)));
  EXPECT_FALSE(first.getIntersection(Point(0, 0, 1), Vector(0, 0, -1)).getIsValid());

  GridMesh mesh(0, 0, [](int, int) { return Point(); });
  mesh.init(Extents(0, 0));
  EXPECT_TRUE(mesh.getIsPointInBounds(GridPoint(0, 0)));
  EXPECT_FALSE(mesh.getIsPointValid(GridPoint(0, 0)));
  EXPECT_FALSE(mesh.getIsQuadValid(GridPoint(0, 0)));
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
  EXPECT_FALSE(grid.getIsQuadValid(GridPoint(3, 0)));
  EXPECT_FALSE(grid.getIsQuadValid(GridPoint(0, 2)));
  EXPECT_FALSE(grid.getIsQuadValid(GridPoint(-1, 0)));
}

TEST(RectMeshGrid, QuadValidityNeedsEveryCornerAndQuadPointsStopAtTheFirstInvalidOne) {
  GridMesh grid = flatGrid(2, 2);
  EXPECT_EQ(Point(1.5, 1.5, 0), grid.getMeanQuadPoint(GridPoint(1, 1)));
  GridPoint const corners[4] = {GridPoint(0, 0), GridPoint(1, 0), GridPoint(1, 1), GridPoint(0, 1)};
  for (GridPoint const& corner : corners) {
    grid.setPointValidity(corner, false);
    EXPECT_FALSE(grid.getIsQuadValid(GridPoint(0, 0)));
    grid.setPointValidity(corner, true);
  }
  grid.setPointValidity(GridPoint(1, 1), false);
  Point const sentinel(-7, -7, -7);
  Point out[4] = {sentinel, sentinel, sentinel, sentinel};
  grid.getQuadPoints(GridPoint(0, 0), out);
  EXPECT_EQ(Point(0, 0, 0), out[0]);
  EXPECT_EQ(Point(1, 0, 0), out[1]);
  EXPECT_EQ(sentinel, out[2]);
  EXPECT_EQ(sentinel, out[3]);
  EXPECT_EQ(Point(), grid.getMeanQuadPoint(GridPoint(0, 0)));
}

TEST(RectMeshGrid, BoundaryPointsNeedAnInvalidNeighbourInsideTheGrid) {
  GridMesh grid = flatGrid(2, 2);
  auto const isBoundary = [&grid](int u, int v) {
    return (grid.*get(IsBoundaryPoint{}))(GridPoint(u, v));
  };
  EXPECT_FALSE(isBoundary(1, 1));
  EXPECT_FALSE(isBoundary(0, 0));
  grid.setPointValidity(GridPoint(1, 0), false);
  EXPECT_TRUE(isBoundary(0, 0));
  EXPECT_TRUE(isBoundary(2, 0));
  EXPECT_TRUE(isBoundary(1, 1));
  EXPECT_FALSE(isBoundary(0, 1));
  EXPECT_FALSE(isBoundary(1, 0));
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

TEST(RectMeshGrid, QuadAreaStatisticsSkipInvalidQuads) {
  GridMesh grid(3, 1, [](int u, int v) { return Point(u * u, v, 0); });
  grid.setPointValidity(GridPoint(3, 1), false);
  double max = -1, mean = -1, min = -1;
  (grid.*get(QuadSizes{}))(&max, &mean, &min);
  EXPECT_EQ(3.0, max);
  EXPECT_EQ(2.0, mean);
  EXPECT_EQ(1.0, min);
  RectMesh empty;
  (empty.*get(QuadSizes{}))(&max, &mean, &min);
  EXPECT_EQ(0.0, max + mean + min);
}

TEST(RectMeshGrid, AssignmentCopiesTheListedFieldsDeeply) {
  GridMesh source = flatGrid(4, 3);
  source.setPointFlags(GridPoint(2, 2), char(0x15));
  source.setOffset(QARN::Geometry::TwoDimensional::Vector<int>(5, 6));
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
  EXPECT_EQ(QARN::Geometry::TwoDimensional::Vector<int>(0, 0), target.getOffset());
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

TEST(RectMeshGrid, ImpossibleSizesFailWithTheMessageAndLeaveTheMeshEmpty) {
  GridMesh grid = flatGrid(2, 2);
  for (std::uint32_t size : {0xFFFFFFFFu, 0x7FFFFFFFu}) {
    try {
      grid.init(Extents(size, size));
      FAIL() << "no exception";
    } catch (QARN::Exception const& e) {
      EXPECT_STREQ("Insufficient memory to initialise quad-mesh.", e.what());
    }
    EXPECT_EQ(Extents(0, 0), grid.getExtents());
    EXPECT_FALSE(grid.getIsPointInBounds(GridPoint(0, 0)));
  }
  auto const mbs = get(NumberOfMBs{});
  EXPECT_EQ(0u, mbs(41941, 0));
  EXPECT_EQ(1u, mbs(41942, 0));
  EXPECT_EQ(std::numeric_limits<std::uint64_t>::max() / 41943, mbs(0xFFFFFFFFu, 0xFFFFFFFFu));
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
