#include "QuadMeshTestSupport.h"

#include <QARN/Geometry/ThreeDimensional/QuadMesh/Edge.h>

#include <gtest/gtest.h>

namespace QuadMeshTest {

using QARN::Geometry::ThreeDimensional::QuadMesh::Edge;

QARN_PRIVATE_MEMBER(EdgeMesh, RectMesh* Edge::*, Edge::mesh);
QARN_PRIVATE_MEMBER(EdgeOrigin, GridPoint Edge::*, Edge::origin);
QARN_PRIVATE_MEMBER(EdgeOrientation, Edge::Orientation Edge::*, Edge::orientation);

namespace {

Edge edge(RectMesh* mesh, GridPoint const& origin, Edge::Orientation orientation) {
  Edge e;
  e.*get(EdgeMesh{}) = mesh;
  e.*get(EdgeOrigin{}) = origin;
  e.*get(EdgeOrientation{}) = orientation;
  return e;
}

TEST(Edge, AlgebraOfTurnsAndReversals) {
  Edge const e;
  EXPECT_EQ(GridPoint(0, 0), e.org());
  EXPECT_EQ(GridPoint(1, 0), e.dest());
  EXPECT_EQ(edge(nullptr, GridPoint(1, 0), Edge::PositiveV), e.rot());
  EXPECT_EQ(edge(nullptr, GridPoint(1, 0), Edge::NegativeU), e.sym());
  EXPECT_EQ(edge(nullptr, GridPoint(0, 0), Edge::NegativeV), e.oprev());
  EXPECT_EQ(e, e.rot().rot().rot().rot());
  EXPECT_EQ(e, e.sym().sym());
  EXPECT_EQ(e, e.onext().oprev());
  EXPECT_EQ(e.oprev(), e.onext().onext().onext());
  EXPECT_EQ(GridPoint(3, 2), edge(nullptr, GridPoint(3, 3), Edge::NegativeV).dest());

  // An unknown orientation points like PositiveU and turns modulo 4.
  Edge const odd = edge(nullptr, GridPoint(0, 0), static_cast<Edge::Orientation>(7));
  EXPECT_EQ(GridPoint(1, 0), odd.dest());
  EXPECT_EQ(edge(nullptr, GridPoint(1, 0), Edge::PositiveU), odd.rot());

  GridMesh other = flatGrid(1, 1);
  EXPECT_NE(e, edge(&other, GridPoint(0, 0), Edge::PositiveU));
  EXPECT_FALSE(e.isValid());
  EXPECT_FALSE(e.isQuadValid());
  EXPECT_EQ(Point(), e.vphidest3());
}

TEST(Edge, QuadOnTheLeftAndBoundary) {
  GridMesh grid(3, 3, [](int u, int v) { return Point(2 * u, v, u + v); });
  // The four edges of quad (1, 1), counter-clockwise, all have it on their left.
  Edge const around[4] = {
      edge(&grid, GridPoint(1, 1), Edge::PositiveU), edge(&grid, GridPoint(2, 1), Edge::PositiveV),
      edge(&grid, GridPoint(2, 2), Edge::NegativeU), edge(&grid, GridPoint(1, 2), Edge::NegativeV)};
  grid.setPointValidity(GridPoint(0, 0), false);
  EXPECT_EQ(around[1], around[0].rot());
  for (Edge const& e : around)
    EXPECT_TRUE(e.isQuadValid());
  grid.setPointValidity(GridPoint(2, 2), false);
  for (Edge const& e : around)
    EXPECT_FALSE(e.isQuadValid());
  EXPECT_FALSE(around[2].isValid());
  EXPECT_TRUE(around[0].isValid());

  Edge const rim = edge(&grid, GridPoint(0, 2), Edge::NegativeV);
  EXPECT_TRUE(rim.isQuadValid());
  EXPECT_TRUE(rim.isBoundary());
  EXPECT_FALSE(edge(&grid, GridPoint(1, 0), Edge::PositiveV).isBoundary());
  EXPECT_TRUE(edge(&grid, GridPoint(1, 1), Edge::NegativeV).isBoundary());
  Vector const step = around[0].vphi3();
  EXPECT_EQ(2.0, step.getdX());
  EXPECT_EQ(1.0, step.getdZ());
}

} // namespace
} // namespace QuadMeshTest
