#include "QuadMeshTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace QuadMeshTest;
using QARN::Geometry::ThreeDimensional::QuadMesh::QuadIndicesEllipseIntersectionInfo;
using Cells = QARN::Geometry::TwoDimensional::Vector<int>;

namespace {

/// The plane z = 0 with quads of the given spacing; quad (5, 5) has its corner at the origin.
RectMesh flatPlane(double spacing) {
  RectMesh mesh;
  mesh.setAsPlane(QARN::Geometry::TwoDimensional::Vector<double>(10 * spacing, 10 * spacing),
                  spacing, true, 100);
  return mesh;
}

void expectFootprint(QuadIndicesEllipseIntersectionInfo const& info, GridPoint centre, Cells a1,
                     Cells b1, Cells a2, Cells b2) {
  EXPECT_EQ(info.getCentre(), centre);
  EXPECT_EQ(info.getAxisA1(), a1);
  EXPECT_EQ(info.getAxisB1(), b1);
  EXPECT_EQ(info.getAxisA2(), a2);
  EXPECT_EQ(info.getAxisB2(), b2);
}

int cells(double x) {
  return static_cast<int>(std::trunc(x));
}

} // namespace

TEST(RectMeshCone, UnitQuadsSubdivisionsAndRefusals) {
  RectMesh const mesh = flatPlane(1.0);
  QuadIndicesEllipseIntersectionInfo info;
  Vector const U(1, 0, 0), V(0, -1, 0); // central beam along −z
  ASSERT_TRUE(mesh.getConeIntersection(Point(0, 0, 1), U, V, 2.0, 0.5, GridPoint(5, 5), 1, info));
  expectFootprint(info, GridPoint(5, 5), Cells(1, 0), Cells(0, -1), Cells(-1, 0), Cells(0, 1));
  ASSERT_TRUE(mesh.getConeIntersection(Point(0, 0, 1), U, V, 2.0, 0.5, GridPoint(5, 5), 4, info));
  expectFootprint(info, GridPoint(20, 20), Cells(4, 0), Cells(0, -4), Cells(-4, 0), Cells(0, 4));
  EXPECT_EQ(info.getUnity(), 4);
  // An invalid quad and a beam parallel to the plane leave info untouched.
  EXPECT_FALSE(mesh.getConeIntersection(Point(0, 0, 1), U, V, 2, 0.5, GridPoint(10, 3), 1, info));
  EXPECT_FALSE(mesh.getConeIntersection(Point(0, 0, 1), U, Vector(0, 0, 1), 2, 0.5, GridPoint(5, 5),
                                        1, info));
  EXPECT_EQ(info.getCentre(), GridPoint(20, 20));
  // Side-ray origins and hits are points, stored in single precision: 2^24 + 1 becomes 2^24,
  // and so does the hit half a unit beyond it.
  int const far = 16777216;
  ASSERT_TRUE(
      mesh.getConeIntersection(Point(0, 0, 1), U, V, 2.0, far + 1.0, GridPoint(5, 5), 1, info));
  expectFootprint(info, GridPoint(5, 5), Cells(far, 0), Cells(0, -far), Cells(-far, 0),
                  Cells(0, far));
}

TEST(RectMeshCone, CircleAndEllipseOnPlane) {
  // Quads of 2 units in 64 × 64 cells: 32 cells per unit length.
  RectMesh const mesh = flatPlane(2.0);
  QuadIndicesEllipseIntersectionInfo info;
  // Normal incidence from height 10 with tan(half-angle) 0.37: a circle of radius 3.7. Quad
  // (3, 6) has its corner at (−4, 2), so the foot lies (3.15, −1.55) quads away; −99.2 cells
  // truncate towards zero.
  ASSERT_TRUE(mesh.getConeIntersection(Point(2.3, -1.1, 10), Vector(1, 0, 0), Vector(0, -1, 0),
                                       1.0 / 0.37, 0.0, GridPoint(3, 6), 64, info));
  expectFootprint(info, GridPoint(3 * 64 + 201, 6 * 64 - 99), Cells(118, 0), Cells(0, -118),
                  Cells(-118, 0), Cells(0, 118));

  // A beam tilted by θ in the xz plane from height d: the side rays in that plane meet it at
  // d·tan(θ ± α), the others d·tan(α)/cos(θ) to either side of the foot.
  double const theta = 0.4363323129985824, alpha = std::atan(0.2), d = 8.0;
  ASSERT_TRUE(mesh.getConeIntersection(Point(0, 0, d), Vector(std::cos(theta), 0, std::sin(theta)),
                                       Vector(0, -1, 0), 5.0, 0.0, GridPoint(5, 5), 64, info));
  double const foot = d * std::tan(theta);
  int const minor = cells(32 * d * 0.2 / std::cos(theta));
  expectFootprint(info, GridPoint(5 * 64 + cells(32 * foot), 5 * 64),
                  Cells(cells(32 * (d * std::tan(theta + alpha) - foot)), 0), Cells(0, -minor),
                  Cells(cells(32 * (d * std::tan(theta - alpha) - foot)), 0), Cells(0, minor));
}
