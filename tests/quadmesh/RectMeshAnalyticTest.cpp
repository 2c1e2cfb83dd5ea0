#include "QuadMeshTestSupport.h"

#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace QuadMeshTest;
using QARN::Geometry::ThreeDimensional::QuadMesh::QuadIndicesEllipseIntersectionInfo;
using QARN::Geometry::ThreeDimensional::QuadMesh::QuadValidityGenerator;
using Size = QARN::Geometry::TwoDimensional::Vector<double>;
using Cells = QARN::Geometry::TwoDimensional::Vector<int>;

namespace {

double const pi = std::acos(-1.0);
double const notANumber = std::numeric_limits<double>::quiet_NaN();

void expectPoint(RectMesh const& mesh, int u, int v, double x, double y, double z) {
  Point const p = mesh.getPoint(GridPoint(u, v));
  EXPECT_TRUE(mesh.getIsPointValid(GridPoint(u, v))) << u << "," << v;
  EXPECT_NEAR(p.getX(), x, 1e-4) << u << "," << v;
  EXPECT_NEAR(p.getY(), y, 1e-4) << u << "," << v;
  EXPECT_NEAR(p.getZ(), z, 1e-4) << u << "," << v;
}

/// A built mesh that refusals must leave alone.
RectMesh builtMesh() {
  RectMesh mesh;
  mesh.setAsPlane(Size(3, 2), 1.0, false, 100);
  return mesh;
}

/// The plane z = 0 with quads of the given spacing; quad (5, 5) has its corner at the origin.
RectMesh flatPlane(double spacing) {
  RectMesh mesh;
  mesh.setAsPlane(Size(10 * spacing, 10 * spacing), spacing, true, 100);
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

struct AcceptQuad10 : QuadValidityGenerator {
  bool getValidity(GridPoint const& p) override { return p == GridPoint(1, 0); }
};

} // namespace

TEST(RectMeshAnalytic, PlanesCountsRangesAndRefusals) {
  RectMesh mesh;
  ASSERT_TRUE(mesh.setAsPlane(Size(10, 5), 1.0, false, 100));
  EXPECT_EQ(mesh.getExtents(), Extents(10, 5));
  expectPoint(mesh, 10, 5, 10, 5, 0);
  EXPECT_EQ(mesh.getMinQuadArea(), 1.0);
  EXPECT_FALSE(mesh.getSearchPoints().empty());
  // 10.5 / 2 truncates to 5 quads, centred on 0; an axis shorter than the spacing has one point.
  ASSERT_TRUE(mesh.setAsPlane(Size(10.5, 0.5), 2.0, true, 100));
  EXPECT_EQ(mesh.getExtents(), Extents(5, 0));
  expectPoint(mesh, 0, 0, -5, 0, 0);
  EXPECT_EQ(mesh.getMaxQuadArea(), 4.0);
  // The estimate counts points: 20971 × 2 points fit in 0 MiB, 20972 × 2 do not.
  EXPECT_TRUE(mesh.setAsPlane(Size(20969, 0), 1.0, false, 0));
  mesh = builtMesh();
  EXPECT_FALSE(mesh.setAsPlane(Size(20970, 0), 1.0, false, 0));
  for (Size size : {Size(-1, 5), Size(notANumber, 5), Size(1e300, 1)})
    EXPECT_FALSE(mesh.setAsPlane(size, 1.0, false, 0xFFFFFFFFu));
  EXPECT_FALSE(mesh.setAsPlane(Size(10, 5), 0.0, false, 100)); // would divide by zero

  // The parallelogram plane: valid points are the corners of the quads the generator accepts.
  AcceptQuad10 acceptor;
  EXPECT_FALSE(mesh.setAsPlane(Extents(3, 2), 0.0, Point(), Vector(), Vector(), acceptor));
  EXPECT_EQ(mesh.getExtents(), Extents(3, 2));
  ASSERT_TRUE(mesh.setAsPlane(Extents(3, 2), 2.0, Point(1, 2, 3), Vector(0, 2, 0), Vector(1, 0, 1),
                              acceptor));
  for (int v = 0; v <= 2; ++v)
    for (int u = 0; u <= 3; ++u)
      EXPECT_EQ(mesh.getIsPointValid(GridPoint(u, v)), (u == 1 || u == 2) && v <= 1) << u << v;
  expectPoint(mesh, 2, 1, 1 + 2, 2 + 8, 3 + 2);
  EXPECT_EQ(mesh.getMaxQuadArea(), 0.0);
  EXPECT_TRUE(
      mesh.setAsPlane(Extents(1, 1), 1.0, Point(notANumber, 0, 0), Vector(), Vector(), acceptor));
}

TEST(RectMeshAnalytic, CylinderArc) {
  RectMesh mesh;
  double const r = 10.0, A = 0.5 * pi, step = 2.0 * std::asin(0.05);
  ASSERT_TRUE(mesh.setAsCylinderArc(r, A, 3.0, 1.0, 100));
  ASSERT_EQ(mesh.getExtents(), Extents(3, 15)); // trunc(A / step) = 15 rows of quads
  // Row 15 is the first arc step, at −A/2; columns sit at (j − ⌊3/2⌋)/3·3 along z.
  expectPoint(mesh, 0, 15, r * std::cos(-A / 2), r * std::sin(-A / 2), -1.0);
  expectPoint(mesh, 3, 0, r * std::cos(15 * step - A / 2), r * std::sin(15 * step - A / 2), 2.0);
  for (int v = 1; v <= 15; ++v) {
    Point const p = mesh.getPoint(GridPoint(1, v));
    EXPECT_NEAR(std::hypot(p.getX(), p.getY()), r, 1e-5);
    EXPECT_NEAR(std::sqrt((p - mesh.getPoint(GridPoint(1, v - 1))).lSqr()), 1.0, 1e-5);
  }
  EXPECT_GT(mesh.getQuadNormalVector(GridPoint(1, 7), true).getdX(), 0.0); // outwards
  EXPECT_EQ(mesh.getMeanQuadArea(), 1.0);
  // The estimate counts quads: 41942 × 1 points fit in 0 MiB, 41943 × 1 do not.
  EXPECT_TRUE(mesh.setAsCylinderArc(1000.0, 0.0005, 41941.0, 1.0, 0));
  mesh = builtMesh();
  EXPECT_FALSE(mesh.setAsCylinderArc(1000.0, 0.0005, 41942.0, 1.0, 0));
  EXPECT_FALSE(mesh.setAsCylinderArc(1.0, 1.0, 10.0, 2.5, 100)); // chord longer than 2r
  EXPECT_FALSE(mesh.setAsCylinderArc(10.0, 1.0, 0.5, 1.0, 100)); // no column of quads
  EXPECT_EQ(mesh.getExtents(), Extents(3, 2));
}

TEST(RectMeshAnalytic, StereographicSphereCap) {
  RectMesh mesh;
  double const R = 50.0;
  ASSERT_TRUE(mesh.setAsSphereArcStereographic(R, 1.0, 0.5, 100));
  // Half-spans 2R·tan(a/4) = 25.53 and 12.57, split into 26 and 13 steps of at most 1.
  ASSERT_EQ(mesh.getExtents(), Extents(52, 26));
  double const stepU = 2 * R * std::tan(0.25) / 26, stepV = 2 * R * std::tan(0.125) / 13;
  expectPoint(mesh, 26, 13, 0, 0, R);
  for (int v = 0; v <= 26; ++v)
    for (int u = 0; u <= 52; ++u) {
      Point const p = mesh.getPoint(GridPoint(u, v));
      EXPECT_NEAR(std::sqrt((p - Point()).lSqr()), R, 1e-4);
      // Projected from the antipode onto z = R, the points form the square lattice.
      EXPECT_NEAR(2 * R * p.getX() / (p.getZ() + R), (u - 26) * stepU, 1e-4);
      EXPECT_NEAR(2 * R * p.getY() / (p.getZ() + R), (v - 13) * stepV, 1e-4);
    }
  EXPECT_GT(mesh.getQuadNormalVector(GridPoint(0, 0), true).dot(Vector(-1, -1, 1)), 0.0);
  // The largest quads touch the pole; the corner ones shrink by μ² = cos⁴(φ/2) ≈ 0.86.
  EXPECT_NEAR(mesh.getMaxQuadArea(), stepU * stepV, 1e-3);
  EXPECT_NEAR(mesh.getMinQuadArea() / mesh.getMaxQuadArea(), 0.86, 0.01);

  mesh = builtMesh();
  EXPECT_FALSE(mesh.setAsSphereArcStereographic(R, 2 * pi, 1.0, 0xFFFFFFFFu));
  EXPECT_FALSE(mesh.setAsSphereArcStereographic(1e4, 3.0, 3.0, 10));
  EXPECT_TRUE(mesh.setAsSphereArcAreaPreserving(R, 1.0, 1.0, 100));
  EXPECT_EQ(mesh.getExtents(), Extents(3, 2));
}

TEST(RectMeshAnalytic, ParaboloidInsideRimOnly) {
  RectMesh mesh;
  // Height along axisU × axisV = +y; half-widths sqrt(2·4·32) = 16 and sqrt(2·4·8) = 8,
  // enlarged to 17 and 9 spacings.
  ASSERT_TRUE(mesh.setAsParaboloid(Point(1, 2, 3), Vector(0, 0, 1), Vector(1, 0, 0), 1.0 / 32,
                                   1.0 / 8, 4.0, 1.0, 100));
  ASSERT_EQ(mesh.getExtents(), Extents(34, 18));
  expectPoint(mesh, 17, 9, 1, 2, 3);
  expectPoint(mesh, 33, 9, 1, 2 + 4, 3 + 16);            // on the rim, q = depth
  EXPECT_FALSE(mesh.getIsPointValid(GridPoint(33, 10))); // q = 4.0625
  for (int v = 0; v <= 18; ++v)
    for (int u = 0; u <= 34; ++u) {
      Point const p = mesh.getPoint(GridPoint(u, v));
      double const x = p.getZ() - 3.0, y = p.getX() - 1.0;
      if (u == 0 || v == 0 || u == 34 || v == 18) {
        EXPECT_FALSE(mesh.getIsPointValid(GridPoint(u, v)));
      } else if (mesh.getIsPointValid(GridPoint(u, v))) {
        EXPECT_NEAR(p.getY() - 2.0, 0.5 * (x * x / 32 + y * y / 8), 1e-5);
      }
    }
  // Surface quads are at least as large as their 1 × 1 projections.
  EXPECT_GE(mesh.getMinQuadArea(), 1.0 - 1e-6);
  EXPECT_GT(mesh.getMaxQuadArea(), mesh.getMeanQuadArea());

  mesh = builtMesh();
  Vector const x(1, 0, 0), y(0, 1, 0);
  EXPECT_FALSE(mesh.setAsParaboloid(Point(), x, y, 0.0, 1.0, 1.0, 1.0, 100));
  EXPECT_FALSE(mesh.setAsParaboloid(Point(), x, y, 1.0, 1.0, -1.0, 1.0, 100));
  EXPECT_FALSE(mesh.setAsParaboloid(Point(), x, y, 1e-6, 1e-6, 1e3, 0.1, 100));
  EXPECT_EQ(mesh.getExtents(), Extents(3, 2));
  // Depth 0 and a NaN axis are not refused: the apex alone is valid, at NaN.
  ASSERT_TRUE(mesh.setAsParaboloid(Point(), Vector(notANumber, 0, 0), y, 1, 1, 0, 1, 100));
  EXPECT_EQ(mesh.getExtents(), Extents(2, 2));
  EXPECT_TRUE(mesh.getIsPointValid(GridPoint(1, 1)));
  EXPECT_FALSE(mesh.getIsPointValid(GridPoint(1, 0)));
}

TEST(RectMeshAnalytic, HeightField) {
  RectMesh mesh;
  ASSERT_TRUE(mesh.setAsHeightField());
  int valid = 0;
  for (int v = 0; v <= 128; ++v)
    for (int u = 0; u <= 128; ++u)
      valid += mesh.getIsPointValid(GridPoint(u, v));
  EXPECT_EQ(valid, 16641);
  expectPoint(mesh, 80, 3, 0.25 * 500, (3.0 / 64 - 1) * 500, -500.0 / 12);
  EXPECT_GE(mesh.getMinQuadArea(), (1000.0 / 128) * (1000.0 / 128));
  EXPECT_GT(mesh.getMaxQuadArea(), mesh.getMeanQuadArea());
}

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
