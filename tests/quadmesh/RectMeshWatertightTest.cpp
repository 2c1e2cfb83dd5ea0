#include "QuadMeshTestSupport.h"

#include <Geometry/ThreeDimensional/QuadMesh/BeamSpace.h>

#include <QARN/Geometry/ThreeDimensional/QuadMesh/EdgeRule.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesEllipseIntersectionInfo.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroup.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace QuadMeshTest {
namespace {

using namespace QARN::Geometry::ThreeDimensional::QuadMesh;
using Status = QuadIndicesIntersectionStatus;
using Size = QARN::Geometry::TwoDimensional::Vector<double>;

Vector const down(0, 0, -1);

/// Every test starts and ends with the default rule and mode.
struct Watertight : ::testing::Test {
  void SetUp() override { RectMesh::setEdgeRule(EdgeRule::Watertight); }
  void TearDown() override {
    RectMesh::setEdgeRule(EdgeRule::Strict);
    Status::setIntersectionQualityMode(Status::FacingThenNearest);
  }
};

/// A flat plate of 100 × 100 unit quads, point (u, v) at (u, v, 0).
RectMesh plate() {
  RectMesh mesh;
  mesh.setAsPlane(Size(100, 100), 1.0, false, 100);
  return mesh;
}

/// Hits of getIntersection along an 80 × 80 boustrophedon raster straight down over the
/// plate's middle, at (10 + i + fu, 10 + j + fv).
int rasterHits(RectMesh& mesh, double fu, double fv) {
  int hits = 0;
  for (int j = 0; j < 80; ++j)
    for (int k = 0; k < 80; ++k) {
      int const i = j % 2 == 0 ? k : 79 - k;
      Status const s = mesh.getIntersection(Point(10 + i + fu, 10 + j + fv, 5), down);
      hits += s.getIsValid() ? 1 : 0;
    }
  return hits;
}

TEST_F(Watertight, GridAlignedRastersOverAPlateAreBlankWithStrictEdgesAndFullWithWatertightOnes) {
  // Quad centres (on the diagonals), u edges, v edges, grid points, off every edge.
  double const rasters[5][2] = {{0.5, 0.5}, {0.0, 0.3}, {0.3, 0.0}, {0.0, 0.0}, {0.3, 0.6}};
  int const strictHits[5] = {0, 0, 0, 0, 6400};
  for (int r = 0; r < 5; ++r) {
    RectMesh::setEdgeRule(EdgeRule::Strict);
    RectMesh strict = plate();
    EXPECT_EQ(strictHits[r], rasterHits(strict, rasters[r][0], rasters[r][1])) << r;
    RectMesh::setEdgeRule(EdgeRule::Watertight);
    RectMesh watertight = plate();
    EXPECT_EQ(6400, rasterHits(watertight, rasters[r][0], rasters[r][1])) << r;
  }
  // Any value but Watertight acts as the strict rule.
  RectMesh::setEdgeRule(static_cast<EdgeRule>(7));
  RectMesh other = plate();
  EXPECT_EQ(0, rasterHits(other, 0.5, 0.5));
  // Beams without a direction or a position meet nothing.
  RectMesh::setEdgeRule(EdgeRule::Watertight);
  double const nan = std::nan("");
  for (Vector const& d : {Vector(0, 0, 0), Vector(nan, 0, -1), Vector(0, 0, nan)})
    EXPECT_FALSE(other.getIntersection(Point(20.5, 30.5, 5), d).getIsValid());
  EXPECT_FALSE(other.getIntersection(Point(nan, 30.5, 5), down).getIsValid());
}

TEST_F(Watertight, EdgeSignsAreExactWhereTheRoundedProductsTie) {
  // (1 + 2^−52)·(1 − 2^−53) rounds to 1 = 1·1, yet exceeds it by about 2^−53.
  double const e = std::ldexp(1.0, -52);
  BeamPoint const a{1.0 + e, 1.0}, b{1.0, 1.0 - e / 2};
  ASSERT_EQ(a.x * b.y, a.y * b.x);
  EXPECT_EQ(1, getCrossSign(a, b));
  EXPECT_EQ(-1, getCrossSign(b, a));
  EXPECT_EQ(0, getCrossSign(BeamPoint{2.0, 3.0}, BeamPoint{4.0, 6.0}));
  EXPECT_EQ(2, getCrossSign(BeamPoint{std::nan(""), 1.0}, b));
  EXPECT_EQ(2, getCrossSign(BeamPoint{HUGE_VAL, HUGE_VAL}, BeamPoint{HUGE_VAL, HUGE_VAL}));
}

/// A surface with beams that cross it exactly once wherever they aim at it.
struct Surface {
  std::string name;
  std::unique_ptr<RectMesh> mesh;
  std::vector<Vector> tilts; ///< added to the beam: −normal + tilt
  bool isStraightDown;       ///< beams straight down, tilted, instead of along the normal
};

std::vector<Surface> surfaces() {
  std::vector<Surface> all;
  auto flat = std::make_unique<RectMesh>();
  flat->setAsPlane(Size(30, 20), 0.5, true, 100);
  all.push_back({"plate", std::move(flat), {Vector(), Vector(0.4, -0.7, 0)}, true});
  // The plate mirrored in x: its quads run the other way round.
  auto mirrored = std::make_unique<GridMesh>(
      40, 30, [](int u, int v) { return Point(-0.75 * u, 0.75 * v, 2.0); });
  all.push_back({"mirrored plate", std::move(mirrored), {Vector(), Vector(-0.3, 0.2, 0)}, true});
  auto cylinder = std::make_unique<RectMesh>();
  cylinder->setAsCylinderArc(25.0, 1.5, 30.0, 1.0, 100);
  all.push_back({"cylinder", std::move(cylinder), {Vector(), Vector(0, 0, 0.3)}, false});
  auto paraboloid = std::make_unique<RectMesh>();
  paraboloid->setAsParaboloid(Point(1, 2, 3), Vector(1, 0, 0), Vector(0, 1, 0), 0.04, 0.06, 12.0,
                              1.0, 100);
  all.push_back({"paraboloid", std::move(paraboloid), {Vector(), Vector(0.2, 0.1, 0)}, true});
  std::mt19937 random(5);
  std::uniform_real_distribution<double> height(-0.4, 0.4);
  std::vector<double> heights(41 * 41);
  for (double& h : heights)
    h = height(random);
  auto field = std::make_unique<GridMesh>(
      40, 40, [&heights](int u, int v) { return Point(u, v, heights[v * 41 + u]); });
  all.push_back({"random height field", std::move(field), {Vector(), Vector(0.1, 0.15, 0)}, true});
  return all;
}

/// The point of the surface at real grid coordinates (gu, gv) of quad q, interpolated along
/// the quad's edges from its corner (exact on its edges and corners).
Point surfacePoint(RectMesh const& mesh, GridPoint const& q, double fu, double fv) {
  Point const p = mesh.getPoint(q);
  return p + (mesh.getPoint(q + Offset(1, 0)) - p) * fu +
         (mesh.getPoint(q + Offset(0, 1)) - p) * fv;
}

/// Whether the 3 × 3 quads around q are all valid, so that a beam at q crosses the interior.
bool isInterior(RectMesh const& mesh, GridPoint const& q) {
  for (int dv = -1; dv <= 1; ++dv)
    for (int du = -1; du <= 1; ++du)
      if (!mesh.getIsQuadValid(q + Offset(du, dv)))
        return false;
  return true;
}

/// The quads within three of q that the beam meets.
std::vector<GridPoint> owners(RectMesh const& mesh, GridPoint const& q, Point const& P,
                              Vector const& d) {
  std::vector<GridPoint> found;
  Point hit;
  for (int dv = -3; dv <= 3; ++dv)
    for (int du = -3; du <= 3; ++du)
      if (mesh.getDoesIntersectQuad(q + Offset(du, dv), P, d, hit, nullptr))
        found.push_back(q + Offset(du, dv));
  return found;
}

TEST_F(Watertight, EveryBeamAcrossASurfaceIsOwnedByExactlyOneQuadAndTheSearchFindsIt) {
  std::mt19937 random(17);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  // Where in its quad a beam aims (a negative fraction is drawn at random): the centre, on the
  // diagonal; on a u edge; on a v edge; at the grid point; anywhere.
  double const aims[5][2] = {{0.5, 0.5}, {0.0, -1.0}, {-1.0, 0.0}, {0.0, 0.0}, {-1.0, -1.0}};
  auto fraction = [&](double f) { return f < 0.0 ? unit(random) : f; };
  for (Surface& surface : surfaces()) {
    RectMesh& mesh = *surface.mesh;
    int const U = static_cast<int>(mesh.getExtents().getdU());
    int const V = static_cast<int>(mesh.getExtents().getdV());
    int probes = 0;
    for (Vector const& tilt : surface.tilts)
      for (auto const& aim : aims) {
        mesh.resetQuadIndicesSearch();
        for (int v = 1; v < V - 1; ++v)
          for (int k = 1; k < U - 1; ++k) {
            GridPoint const q(v % 2 == 0 ? k : U - 1 - k, v);
            if (!isInterior(mesh, q))
              continue;
            double const fu = fraction(aim[0]);
            double const fv = fraction(aim[1]);
            Point const target = surfacePoint(mesh, q, fu, fv);
            Vector const normal = mesh.getPointUnitNormalVector(q);
            Vector const d = (surface.isStraightDown ? down : normal * -1.0) + tilt;
            Point const P = target - d * 7.0;
            std::vector<GridPoint> const claims = owners(mesh, q, P, d);
            ASSERT_EQ(1u, claims.size()) << surface.name << " at " << q.getU() << ", " << q.getV();
            Status const s = mesh.getIntersection(P, d);
            ASSERT_TRUE(s.getIsValid()) << surface.name << " at " << q.getU() << ", " << q.getV();
            EXPECT_EQ(claims[0], s.getIndices()) << surface.name;
            ++probes;
          }
      }
    EXPECT_GT(probes, 4000) << surface.name;
  }
}

TEST_F(Watertight, ABeamOnTheSeamOfTwoMeshesIsOwnedByOneOfThem) {
  // Two wavy patches sharing the column of points at x = 12; the second one stored mirrored
  // in u, so that its quads wind the other way round.
  auto height = [](double x, double y) { return 0.8 * std::sin(x / 3.0) * std::cos(y / 4.0); };
  GridMesh left(12, 10, [&](int u, int v) { return Point(u, v, height(u, v)); });
  GridMesh right(12, 10, [&](int u, int v) { return Point(24 - u, v, height(24 - u, v)); });
  right.setAxisFlipFlags(true, false);
  right.setOffset(Offset(12, 0));
  RectMeshGroup group;
  group.addQuadMesh(&left);
  group.addQuadMesh(&right);
  Status::setIntersectionQualityMode(Status::Nearest);
  for (Vector const& d : {down, Vector(0.2, -0.1, -1), Vector(-0.3, 0.2, -1)})
    for (double y : {0.5, 1.0, 3.25, 5.0, 7.5, 9.0}) {
      int const v = static_cast<int>(y);
      Point const a = left.getPoint(GridPoint(12, v));
      Point const P = a + (left.getPoint(GridPoint(12, v + 1)) - a) * (y - v) - d * 5.0;
      int const leftHits = left.getIntersectionStatus(P, d, true).getIsValid() ? 1 : 0;
      int const rightHits = right.getIntersectionStatus(P, d, true).getIsValid() ? 1 : 0;
      EXPECT_EQ(1, leftHits + rightHits) << y << " " << d.getdX();
      Status const s = group.getIntersectionStatus(P, d, true);
      ASSERT_TRUE(s.getIsValid());
      EXPECT_EQ(leftHits == 1 ? &left : &right, static_cast<GridMesh const*>(&s.getQuadMesh()));
      EXPECT_TRUE(s.getIndices().getU() == 11 || s.getIndices().getU() == 12);
    }
}

TEST_F(Watertight, ConeCellsAreHalfOpenSoThatEveryHitLiesInExactlyOneCell) {
  // Unit quads, quad (5, 5) with its corner at the origin; four cells per quad. Beams straight
  // down from height 10; side rays start 0.35 out and lean out by 1 in 4, meeting the plane
  // 2.85 from the central hit.
  RectMesh mesh;
  mesh.setAsPlane(Size(10, 10), 1.0, true, 100);
  Vector const U(1, 0, 0), V(0, -1, 0);
  auto cell = [](double x) { return static_cast<int>(std::floor(4.0 * x)); };
  auto cut = [](double x) { return static_cast<int>(std::trunc(4.0 * x)); };
  for (double x : {-0.075, 0.0, 0.1, 0.26, -0.8})
    for (double y : {0.3, 0.0, -0.2}) {
      QuadIndicesEllipseIntersectionInfo info;
      ASSERT_TRUE(
          mesh.getConeIntersection(Point(x, y, 10), U, V, 4.0, 0.35, GridPoint(5, 5), 4, info));
      EXPECT_EQ(GridPoint(20 + cell(x), 20 + cell(y)), info.getCentre());
      EXPECT_EQ(Offset(cell(x + 2.85) - cell(x), 0), info.getAxisA1());
      EXPECT_EQ(Offset(0, cell(y - 2.85) - cell(y)), info.getAxisB1());
      EXPECT_EQ(Offset(cell(x - 2.85) - cell(x), 0), info.getAxisA2());
      EXPECT_EQ(Offset(0, cell(y + 2.85) - cell(y)), info.getAxisB2());

      RectMesh::setEdgeRule(EdgeRule::Strict);
      ASSERT_TRUE(
          mesh.getConeIntersection(Point(x, y, 10), U, V, 4.0, 0.35, GridPoint(5, 5), 4, info));
      RectMesh::setEdgeRule(EdgeRule::Watertight);
      EXPECT_EQ(GridPoint(20 + cut(x), 20 + cut(y)), info.getCentre());
      EXPECT_EQ(Offset(cut(2.85), 0), info.getAxisA1());
      EXPECT_EQ(Offset(0, cut(-2.85)), info.getAxisB1());
    }
}

} // namespace
} // namespace QuadMeshTest
