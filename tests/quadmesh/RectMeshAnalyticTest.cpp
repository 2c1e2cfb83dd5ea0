#include "QuadMeshTestSupport.h"

#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace QuadMeshTest;
using QARN::Geometry::ThreeDimensional::QuadMesh::QuadValidityGenerator;
using Size = QARN::Geometry::TwoDimensional::Vector<double>;

namespace {

double const pi = std::acos(-1.0);
double const notANumber = std::numeric_limits<double>::quiet_NaN();

void expectPoint(RectMesh const& mesh, int u, int v, double x, double y, double z,
                 double tol = 1e-5) {
  Point const p = mesh.getPoint(GridPoint(u, v));
  EXPECT_TRUE(mesh.getIsPointValid(GridPoint(u, v))) << u << "," << v;
  EXPECT_NEAR(p.getX(), x, tol) << u << "," << v;
  EXPECT_NEAR(p.getY(), y, tol) << u << "," << v;
  EXPECT_NEAR(p.getZ(), z, tol) << u << "," << v;
}

double length(Vector const& w) {
  return std::sqrt(w.lSqr());
}

/// A mesh whose grid is the fixed height field, to see that refusals leave it alone.
RectMesh heightField() {
  RectMesh mesh;
  mesh.setAsHeightField();
  return mesh;
}

void expectHeightFieldKept(RectMesh const& mesh) {
  EXPECT_EQ(mesh.getExtents(), Extents(128, 128));
  expectPoint(mesh, 0, 0, -500.0, -500.0, 500.0 / 12.0, 1e-3);
}

class QuadAcceptor : public QuadValidityGenerator {
public:
  bool getValidity(GridPoint const& p) override { return p == GridPoint(1, 0); }
};

} // namespace

TEST(RectMeshAnalytic, PlaneCountsRangesAndRefusals) {
  RectMesh mesh;
  ASSERT_TRUE(mesh.setAsPlane(Size(10, 5), 1.0, false, 100));
  EXPECT_EQ(mesh.getExtents(), Extents(10, 5));
  expectPoint(mesh, 0, 0, 0, 0, 0);
  expectPoint(mesh, 10, 5, 10, 5, 0);
  EXPECT_EQ(mesh.getMinQuadArea(), 1.0);
  EXPECT_EQ(mesh.getMaxQuadArea(), 1.0);
  EXPECT_FALSE(mesh.getSearchPoints().empty());

  // 10.5 / 2 truncates to 5 quads; centred ranges are symmetric about 0.
  ASSERT_TRUE(mesh.setAsPlane(Size(10.5, 5), 2.0, true, 100));
  EXPECT_EQ(mesh.getExtents(), Extents(5, 2));
  expectPoint(mesh, 0, 0, -5, -2, 0);
  expectPoint(mesh, 5, 2, 5, 2, 0);
  EXPECT_EQ(mesh.getMeanQuadArea(), 4.0);
  // An axis shorter than the spacing gets a single point, at 0 and not NaN.
  ASSERT_TRUE(mesh.setAsPlane(Size(0.5, 3), 1.0, true, 100));
  EXPECT_EQ(mesh.getExtents(), Extents(0, 3));
  expectPoint(mesh, 0, 3, 0, 1.5, 0);

  // The estimate counts points: 20971 × 2 points is within 0 MiB, 20972 × 2 is not.
  EXPECT_TRUE(mesh.setAsPlane(Size(20969, 0), 1.0, false, 0));
  EXPECT_EQ(mesh.getExtents(), Extents(20969, 0));
  mesh = heightField();
  EXPECT_FALSE(mesh.setAsPlane(Size(20970, 0), 1.0, false, 0));
  for (Size size : {Size(-1, 5), Size(5, -0.1), Size(notANumber, 5), Size(1e300, 1)})
    EXPECT_FALSE(mesh.setAsPlane(size, 1.0, false, 0xFFFFFFFFu));
  for (double spacing : {0.0, -1.0, notANumber, std::numeric_limits<double>::infinity()})
    EXPECT_FALSE(mesh.setAsPlane(Size(10, 5), spacing, false, 100));
  expectHeightFieldKept(mesh);
}

TEST(RectMeshAnalytic, ParallelogramPlaneTakesValidityFromGenerator) {
  RectMesh mesh = heightField();
  QuadAcceptor acceptor;
  ASSERT_TRUE(mesh.setAsPlane(Extents(3, 2), 2.0, Point(1, 2, 3), Vector(0, 2, 0), Vector(1, 0, 1),
                              acceptor));
  EXPECT_EQ(mesh.getExtents(), Extents(3, 2));
  for (int v = 0; v <= 2; ++v)
    for (int u = 0; u <= 3; ++u)
      EXPECT_EQ(mesh.getIsPointValid(GridPoint(u, v)), (u == 1 || u == 2) && v <= 1) << u << v;
  expectPoint(mesh, 2, 1, 1 + 2, 2 + 8, 3 + 2);
  EXPECT_EQ(mesh.getMaxQuadArea(), 0.0);

  QuadValidityGenerator rejectAll;
  EXPECT_TRUE(
      mesh.setAsPlane(Extents(2, 2), 1.0, Point(), Vector(1, 0, 0), Vector(0, 1, 0), rejectAll));
  EXPECT_FALSE(mesh.getIsPointValid(GridPoint(1, 1)));
  EXPECT_FALSE(
      mesh.setAsPlane(Extents(1, 1), 0.0, Point(), Vector(1, 0, 0), Vector(0, 1, 0), rejectAll));
  EXPECT_EQ(mesh.getExtents(), Extents(2, 2));
}

TEST(RectMeshAnalytic, CylinderArc) {
  RectMesh mesh;
  double const r = 10.0;
  double const A = 0.5 * pi;
  ASSERT_TRUE(mesh.setAsCylinderArc(r, A, 3.0, 1.0, 100));
  std::uint32_t const V = static_cast<std::uint32_t>(A / (2.0 * std::asin(0.05)));
  ASSERT_EQ(V, 15u);
  EXPECT_EQ(mesh.getExtents(), Extents(3, V));
  // Row V holds the first arc step at −A/2; columns sit at (j − 1)/3·3 along z.
  expectPoint(mesh, 0, V, r * std::cos(-A / 2), r * std::sin(-A / 2), -1.0);
  expectPoint(mesh, 3, 0, r * std::cos(V * 2 * std::asin(0.05) - A / 2),
              r * std::sin(V * 2 * std::asin(0.05) - A / 2), 2.0);
  for (int v = 0; v <= static_cast<int>(V); ++v) {
    Point const p = mesh.getPoint(GridPoint(1, v));
    EXPECT_NEAR(std::hypot(p.getX(), p.getY()), r, 1e-5);
    if (v > 0) {
      EXPECT_NEAR(length(p - mesh.getPoint(GridPoint(1, v - 1))), 1.0, 1e-5);
    }
  }
  Vector const n = mesh.getQuadNormalVector(GridPoint(1, 7), true);
  EXPECT_GT(n.dot(mesh.getPoint(GridPoint(1, 7)) - Point()), 0.0);
  EXPECT_EQ(mesh.getMeanQuadArea(), 1.0);

  // The estimate counts quads: 41942 × 1 points is within 0 MiB, 41943 × 1 is not.
  EXPECT_TRUE(mesh.setAsCylinderArc(1000.0, 0.0005, 41941.0, 1.0, 0));
  EXPECT_EQ(mesh.getExtents(), Extents(41941, 0));
  mesh = heightField();
  EXPECT_FALSE(mesh.setAsCylinderArc(1000.0, 0.0005, 41942.0, 1.0, 0));
  EXPECT_FALSE(mesh.setAsCylinderArc(1.0, 1.0, 10.0, 2.5, 100)); // chord longer than 2r
  EXPECT_FALSE(mesh.setAsCylinderArc(10.0, 1.0, 0.5, 1.0, 100)); // no column of quads
  EXPECT_FALSE(mesh.setAsCylinderArc(0.0, 1.0, 10.0, 1.0, 100));
  EXPECT_FALSE(mesh.setAsCylinderArc(10.0, notANumber, 10.0, 1.0, 100));
  expectHeightFieldKept(mesh);
}

TEST(RectMeshAnalytic, StereographicSphereCap) {
  RectMesh mesh;
  double const R = 50.0;
  ASSERT_TRUE(mesh.setAsSphereArcStereographic(R, 1.0, 0.5, 100));
  // Half-spans 2R·tan(a/4) = 25.53 and 12.57, split into 26 and 13 steps of at most 1.
  ASSERT_EQ(mesh.getExtents(), Extents(52, 26));
  expectPoint(mesh, 26, 13, 0, 0, R);
  expectPoint(mesh, 0, 13, -R * std::sin(0.5), 0, R * std::cos(0.5), 1e-4);
  expectPoint(mesh, 26, 26, 0, R * std::sin(0.25), R * std::cos(0.25), 1e-4);
  double const stepU = 2 * R * std::tan(0.25) / 26;
  double const stepV = 2 * R * std::tan(0.125) / 13;
  for (int v = 0; v <= 26; ++v)
    for (int u = 0; u <= 52; ++u) {
      Point const p = mesh.getPoint(GridPoint(u, v));
      EXPECT_NEAR(length(p - Point()), R, 1e-4);
      // Projected from the antipode onto z = R, the points form the square lattice.
      double const scale = 2 * R / (p.getZ() + R);
      EXPECT_NEAR(scale * p.getX(), (u - 26) * stepU, 1e-4);
      EXPECT_NEAR(scale * p.getY(), (v - 13) * stepV, 1e-4);
    }
  EXPECT_GT(mesh.getQuadNormalVector(GridPoint(0, 0), true).dot(Vector(-1, -1, 1)), 0.0);
  EXPECT_NEAR(mesh.getMaxQuadArea(), stepU * stepV, 1e-3);
  // The smallest quad is a corner one: its lattice cell shrinks by μ² between its corners.
  auto const mu = [&](double s, double t) { return 4 * R * R / (4 * R * R + s * s + t * t); };
  double const outer = mu(26 * stepU, 13 * stepV);
  double const inner = mu(25 * stepU, 12 * stepV);
  EXPECT_GT(mesh.getMinQuadArea(), stepU * stepV * outer * outer);
  EXPECT_LT(mesh.getMinQuadArea(), stepU * stepV * inner * inner);

  mesh = heightField();
  EXPECT_FALSE(mesh.setAsSphereArcStereographic(R, 2 * pi, 1.0, 0xFFFFFFFFu));
  EXPECT_FALSE(mesh.setAsSphereArcStereographic(R, 1.0, 0.0, 100));
  EXPECT_FALSE(mesh.setAsSphereArcStereographic(-R, 1.0, 1.0, 100));
  EXPECT_FALSE(mesh.setAsSphereArcStereographic(1e4, 3.0, 3.0, 10));
  EXPECT_TRUE(mesh.setAsSphereArcAreaPreserving(R, 1.0, 1.0, 100));
  expectHeightFieldKept(mesh);
  RectMesh empty;
  EXPECT_TRUE(empty.setAsSphereArcAreaPreserving(R, 1.0, 1.0, 100));
  EXPECT_EQ(empty.getExtents(), Extents(0, 0));
}

TEST(RectMeshAnalytic, ParaboloidInsideRimOnly) {
  RectMesh mesh;
  // Half-widths sqrt(2·4·32) = 16 and sqrt(2·4·8) = 8, enlarged to 17 and 9 spacings.
  ASSERT_TRUE(mesh.setAsParaboloid(Point(1, 2, 3), Vector(0, 0, 1), Vector(1, 0, 0), 1.0 / 32,
                                   1.0 / 8, 4.0, 1.0, 100));
  ASSERT_EQ(mesh.getExtents(), Extents(34, 18));
  expectPoint(mesh, 17, 9, 1, 2, 3);
  expectPoint(mesh, 33, 9, 1, 2 + 4, 3 + 16); // on the rim, q = depth
  expectPoint(mesh, 17, 17, 1 + 8, 2 + 4, 3);
  EXPECT_FALSE(mesh.getIsPointValid(GridPoint(33, 10))); // q = 4.0625
  for (int i = 0; i <= 34; ++i)
    for (GridPoint p :
         {GridPoint(i, 0), GridPoint(i, 18), GridPoint(0, i / 2), GridPoint(34, i / 2)})
      EXPECT_FALSE(mesh.getIsPointValid(p));
  for (int v = 0; v <= 18; ++v)
    for (int u = 0; u <= 34; ++u) {
      Point const p = mesh.getPoint(GridPoint(u, v));
      double const x = p.getZ() - 3.0;
      double const y = p.getX() - 1.0;
      if (mesh.getIsPointValid(GridPoint(u, v))) {
        EXPECT_NEAR(p.getY() - 2.0, 0.5 * (x * x / 32 + y * y / 8), 1e-5);
      }
    }
  // Surface quads are at least as large as their 1 × 1 projections.
  EXPECT_GE(mesh.getMinQuadArea(), 1.0 - 1e-6);
  EXPECT_GT(mesh.getMaxQuadArea(), mesh.getMeanQuadArea());
  EXPECT_GT(mesh.getMeanQuadArea(), mesh.getMinQuadArea());

  mesh = heightField();
  Point const apex(0, 0, 0);
  Vector const x(1, 0, 0), y(0, 1, 0);
  EXPECT_FALSE(mesh.setAsParaboloid(apex, x, y, 0.0, 1.0, 1.0, 1.0, 100));
  EXPECT_FALSE(mesh.setAsParaboloid(apex, x, y, 1.0, 1.0, -1.0, 1.0, 100));
  EXPECT_FALSE(mesh.setAsParaboloid(apex, Vector(notANumber, 0, 0), y, 1.0, 1.0, 1.0, 1.0, 100));
  EXPECT_FALSE(mesh.setAsParaboloid(apex, x, y, 1e-6, 1e-6, 1e3, 0.1, 100));
  expectHeightFieldKept(mesh);
}

TEST(RectMeshAnalytic, HeightField) {
  RectMesh mesh = heightField();
  int valid = 0;
  for (int v = 0; v <= 128; ++v)
    for (int u = 0; u <= 128; ++u)
      valid += mesh.getIsPointValid(GridPoint(u, v));
  EXPECT_EQ(valid, 16641);
  expectPoint(mesh, 80, 3, 0.25 * 500, (3.0 / 64 - 1) * 500, -500.0 / 12, 1e-3);
  EXPECT_GE(mesh.getMinQuadArea(), (1000.0 / 128) * (1000.0 / 128));
  EXPECT_GT(mesh.getMaxQuadArea(), mesh.getMeanQuadArea());
  EXPECT_FALSE(mesh.getSearchPoints().empty());
}
