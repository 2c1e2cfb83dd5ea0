#include "QuadMeshTestSupport.h"

#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace QuadMeshTest {
namespace {

using QARN::Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus;
using QARN::Geometry::ThreeDimensional::QuadMesh::QuadIntersectionData;
using Status = QuadIndicesIntersectionStatus;
using Offset = QARN::Geometry::TwoDimensional::Vector<int>;

double const pi = std::acos(-1.0);
Vector const down(0, 0, -1);

class RectMeshSearch : public ::testing::Test {
protected:
  void TearDown() override {
    Status::setIntersectionQualityMode(Status::FacingThenNearest);
    RectMesh::searchDivideByNTimes = 4;
    RectMesh::maxDoNMoreTimes = 0;
  }

  /// Makes the next search start its walk at quad q.
  static void startAt(RectMesh& mesh, GridPoint const& q) {
    mesh.*get(LastSearchIndices{}) = q;
    mesh.*get(IsSearchReset{}) = false;
  }
};

/// Every quad that the ray hits, by testing them all.
std::vector<GridPoint> bruteForceHits(RectMesh const& mesh, Point const& P, Vector const& d) {
  std::vector<GridPoint> hits;
  Point hitPoint;
  for (int v = 0; v < static_cast<int>(mesh.getExtents().getdV()); ++v)
    for (int u = 0; u < static_cast<int>(mesh.getExtents().getdU()); ++u)
      if (mesh.getDoesIntersectQuad(GridPoint(u, v), P, d, hitPoint, nullptr))
        hits.emplace_back(u, v);
  return hits;
}

TEST_F(RectMeshSearch, QuadTestMeasuresHitsFromEitherSide) {
  // Tilted plane z = x / 2; quad normals point up and towards −x.
  GridMesh mesh(5, 4, [](int u, int v) { return Point(u, v, 0.5 * u); });
  GridPoint const quad(2, 1);
  Point hit;
  QuadIntersectionData data;
  ASSERT_TRUE(mesh.getDoesIntersectQuad(quad, Point(2.3, 1.6, 10), down, hit, &data));
  EXPECT_NEAR(1.15, hit.getZ(), 1e-6);
  EXPECT_NEAR(8.85, data.getDistanceToObject(), 1e-6);
  EXPECT_NEAR(pi - std::atan(0.5), data.getAngleToObjectNormal(), 1e-12);
  EXPECT_NEAR(0.06, data.getDistanceSqrToQuadCentre(), 1e-6);

  ASSERT_TRUE(mesh.getDoesIntersectQuad(quad, Point(2.3, 1.6, -10), Vector(0, 0, 2), hit, &data));
  EXPECT_NEAR(11.15, data.getDistanceToObject(), 1e-6);
  EXPECT_NEAR(std::atan(0.5), data.getAngleToObjectNormal(), 1e-12);
  mesh.setDoFlipNormals(true);
  ASSERT_TRUE(mesh.getDoesIntersectQuad(quad, Point(2.3, 1.6, -10), Vector(0, 0, 2), hit, &data));
  EXPECT_NEAR(pi - std::atan(0.5), data.getAngleToObjectNormal(), 1e-12);
  // Behind the origin: still a hit, at a negative distance.
  ASSERT_TRUE(mesh.getDoesIntersectQuad(quad, Point(2.3, 1.6, -10), down, hit, &data));
  EXPECT_NEAR(-11.15, data.getDistanceToObject(), 1e-6);

  // On the shared edge x = 3 neither quad is hit; parallel rays hit nothing.
  EXPECT_FALSE(mesh.getDoesIntersectQuad(quad, Point(3, 1.6, 10), down, hit, &data));
  EXPECT_FALSE(mesh.getIntersection(Point(3, 1.6, 10), down).getIsValid());
  EXPECT_FALSE(mesh.getIntersection(Point(0, 1.6, 1), Vector(2, 0, 1)).getIsValid());

  mesh.setPointValidity(GridPoint(3, 2), false);
  Point const untouched(7, 7, 7);
  hit = untouched;
  EXPECT_FALSE(mesh.getDoesIntersectQuad(quad, Point(2.3, 1.6, 10), down, hit, &data));
  EXPECT_EQ(untouched, hit);
}

TEST_F(RectMeshSearch, KeepOrResetFollowsTheQualityMode) {
  GridMesh mesh = flatGrid(20, 20);
  auto const isReset = [&mesh] { return mesh.*get(IsSearchReset{}); };
  auto const last = [&mesh] { return mesh.*get(LastSearchIndices{}); };
  Point const above(3.3, 4.6, 5), below(3.3, 4.6, -5), far(12.2, 9.9, 2000);

  EXPECT_TRUE(isReset());
  Status const first = mesh.getIntersectionStatus(above, down, false);
  ASSERT_TRUE(first.getIsValid());
  EXPECT_EQ(GridPoint(3, 4), first.getIndices());
  EXPECT_EQ(&mesh, &first.getQuadMesh());
  EXPECT_FALSE(isReset());
  EXPECT_EQ(GridPoint(3, 4), last());

  // Not facing (hit from behind the surface): found, but not kept in mode 0.
  EXPECT_TRUE(mesh.getIntersectionStatus(below, Vector(0, 0, 1), false).getIsValid());
  EXPECT_TRUE(isReset());
  // A miss leaves the last hit alone.
  startAt(mesh, GridPoint(3, 4));
  EXPECT_FALSE(mesh.getIntersectionStatus(Point(25, 4.6, 5), down, false).getIsValid());
  EXPECT_TRUE(isReset());
  EXPECT_EQ(GridPoint(3, 4), last());
  // Too far to keep in modes 0 and 1, kept in mode 2.
  EXPECT_TRUE(mesh.getIntersectionStatus(far, down, true).getIsValid());
  EXPECT_TRUE(isReset());
  Status::setIntersectionQualityMode(Status::BestAngle);
  EXPECT_TRUE(mesh.getIntersectionStatus(far, down, true).getIsValid());
  EXPECT_FALSE(isReset());
  EXPECT_EQ(GridPoint(12, 9), last());
  // Mode 1 keeps a hit behind the probe; any other mode keeps nothing.
  Status::setIntersectionQualityMode(Status::Nearest);
  Status const behind = mesh.getIntersectionStatus(below, down, true);
  EXPECT_LT(behind.getIntersectionData().getDistanceToObject(), 0.0);
  EXPECT_EQ(GridPoint(3, 4), last());
  EXPECT_FALSE(isReset());
  Status::setIntersectionQualityMode(static_cast<Status::IntersectionQualityMode>(7));
  EXPECT_TRUE(mesh.getIntersectionStatus(above, down, false).getIsValid());
  EXPECT_TRUE(isReset());

  // Beyond the measuring distance: valid, with default measures, and not kept.
  Status::setIntersectionQualityMode(Status::FacingThenNearest);
  Status const veryFar = mesh.getIntersectionStatus(Point(3.3, 4.6, 20000), down, true);
  EXPECT_TRUE(veryFar.getIsValid());
  EXPECT_EQ(0.0, veryFar.getIntersectionData().getDistanceToObject());
  EXPECT_TRUE(isReset());

  // Rebuilding or freeing the grid starts the next search afresh.
  ASSERT_TRUE(mesh.getIntersectionStatus(above, down, false).getIsValid());
  ASSERT_FALSE(isReset());
  mesh.init(Extents(20, 20));
  EXPECT_TRUE(isReset());
  mesh.*get(IsSearchReset{}) = false;
  mesh.clear();
  EXPECT_TRUE(isReset());
}

TEST_F(RectMeshSearch, InactivePositionsFlipsAndOffset) {
  GridMesh mesh = flatGrid(10, 6);
  mesh.setActivePositionFlags(0xFFFFFFFDu);
  mesh.setPosition(33);
  Status const inactive = mesh.getIntersection(Point(2.2, 3.7, 1), down);
  EXPECT_FALSE(inactive.getIsValid());
  EXPECT_EQ(GridPoint(-1, -1), inactive.getIndices());
  EXPECT_EQ(-1.0, inactive.getIntersectionData().getDistanceSqrToQuadCentre());
  EXPECT_EQ(mesh.getFileName(), inactive.getFileName());
  EXPECT_THROW(inactive.getQuadMesh(), std::exception);
  EXPECT_TRUE(mesh.*get(IsSearchReset{}));

  mesh.setPosition(34);
  mesh.setAxisFlipFlags(true, false);
  mesh.setOffset(Offset(100, 200));
  EXPECT_EQ(GridPoint(107, 203), mesh.getIntersection(Point(2.2, 3.7, 1), down).getIndices());
  mesh.setAxisFlipFlags(true, true);
  EXPECT_EQ(GridPoint(107, 202), mesh.getIntersection(Point(2.2, 3.7, 1), down).getIndices());
  Status const miss = mesh.getIntersection(Point(20, 3.7, 1), down);
  EXPECT_FALSE(miss.getIsValid());
  EXPECT_EQ(GridPoint(109, 205), miss.getIndices());
}

/// One row of quads: spacing 1/4 up to u = 20, then 1; the quads from u = 30 on are a hole.
GridMesh rowWithHoleBeyond() {
  GridMesh mesh(40, 1, [](int u, int v) { return Point(u <= 20 ? 0.25 * u : u - 15.0, v, 0); });
  for (int u = 31; u <= 40; ++u)
    for (int v = 0; v <= 1; ++v)
      mesh.setPointFlags(GridPoint(u, v), 0);
  return mesh;
}

TEST_F(RectMeshSearch, WalkBacksOffFromInvalidLandings) {
  GridMesh mesh = rowWithHoleBeyond();
  // From quad 2 the step to x = 14.3 is estimated in quarter units and overshoots into the hole
  // (clamped to 41 quads); bisection towards quad 2 lands right on the target, quad 29.
  startAt(mesh, GridPoint(2, 0));
  Status const direct = mesh.getIntersectionStatus(Point(14.3, 0.2, 3), down, false);
  ASSERT_TRUE(direct.getIsValid());
  EXPECT_EQ(GridPoint(29, 0), direct.getIndices());
  EXPECT_NEAR(14.3, direct.getQuadPoint().getX(), 1e-6);
  // Here bisection stops at quad 29 and a second step reaches quad 23.
  startAt(mesh, GridPoint(2, 0));
  EXPECT_EQ(GridPoint(23, 0),
            mesh.getIntersectionStatus(Point(8.6, 0.3, 3), down, false).getIndices());
}

TEST_F(RectMeshSearch, WalkGivesUpAfterFourInvalidLandingsInARow) {
  // Unit quads up to x = 10, a hole over quads 10 to 14, then quarter quads from x = 11.
  CountingMesh mesh(40, 1,
                    [](int u, int v) { return Point(u <= 10 ? u : 11 + 0.25 * (u - 15), v, 0); });
  for (int u = 11; u <= 14; ++u)
    for (int v = 0; v <= 1; ++v)
      mesh.setPointFlags(GridPoint(u, v), 0);
  Point const probe(12.1, 0.2, 3);
  ASSERT_EQ(std::vector<GridPoint>{GridPoint(19, 0)}, bruteForceHits(mesh, probe, down));

  // From quad 9 the unit-quad estimate lands in the hole at quad 12; bisection returns to
  // quad 9 each time, so the walk stops at its fourth invalid landing, long before 32 steps.
  startAt(mesh, GridPoint(9, 0));
  mesh.reads = 0;
  EXPECT_FALSE(mesh.getIntersectionStatus(probe, down, false).getIsValid());
  long const abortedReads = mesh.reads;
  // Against a walk of one step to a hit on the same side (32 steps would cost 15 of them).
  startAt(mesh, GridPoint(9, 0));
  mesh.reads = 0;
  EXPECT_EQ(GridPoint(5, 0),
            mesh.getIntersectionStatus(Point(5.3, 0.2, 3), down, false).getIndices());
  EXPECT_LT(abortedReads, 4 * mesh.reads);
  // From the far side of the hole the same probe is found.
  startAt(mesh, GridPoint(30, 0));
  EXPECT_EQ(GridPoint(19, 0), mesh.getIntersectionStatus(probe, down, false).getIndices());
}

TEST_F(RectMeshSearch, WalkStopsAfterThirtyTwoStepsOnAnOscillation) {
  // A ridge z = −|x − 10|·4 and a ray above it: each side's plane sends the walk to the
  // other side, and nothing is hit.
  CountingMesh mesh(20, 2, [](int u, int v) { return Point(u, v, -4.0 * std::abs(u - 10)); });
  Point const probe(0, 0.3, 1);
  Vector const across(1, 0, 0.01);
  ASSERT_TRUE(bruteForceHits(mesh, probe, across).empty());
  startAt(mesh, GridPoint(4, 0));
  mesh.reads = 0;
  EXPECT_FALSE(mesh.getIntersectionStatus(probe, across, false).getIsValid());
  long const oscillationReads = mesh.reads;
  startAt(mesh, GridPoint(4, 0));
  mesh.reads = 0;
  EXPECT_TRUE(mesh.getIntersectionStatus(Point(14.3, 0.3, 1), down, false).getIsValid());
  EXPECT_GT(oscillationReads, 10 * mesh.reads);
}

TEST_F(RectMeshSearch, NearestPointAndSearchLattice) {
  GridMesh mesh = flatGrid(10, 10);
  double distance = 0;
  EXPECT_EQ(GridPoint(9, 9), mesh.getNearestPoint2D(Point(10.2, 10.2, 0), distance));
  EXPECT_NEAR(std::sqrt(2 * 1.2 * 1.2), distance, 1e-6);
  EXPECT_EQ(GridPoint(4, 3), mesh.getNearestPoint2D(Point(4.5, 3, 0), distance));

  mesh.setNumberOfSearchPoints(5, 7);
  std::vector<GridPoint> const lattice = {GridPoint(3, 3), GridPoint(6, 3), GridPoint(3, 6),
                                          GridPoint(6, 6)};
  EXPECT_EQ(lattice, mesh.getSearchPoints());
  mesh.setPointValidity(GridPoint(3, 4), false);
  mesh.setNumberOfSearchPoints(1, 1);
  std::vector<GridPoint> const snapped = {GridPoint(3, 2), GridPoint(6, 3), GridPoint(3, 6),
                                          GridPoint(6, 6)};
  EXPECT_EQ(snapped, mesh.getSearchPoints());
  mesh.clear();
  mesh.setNumberOfSearchPoints(1, 1);
  EXPECT_TRUE(mesh.getSearchPoints().empty());
}

TEST_F(RectMeshSearch, FullSearchFindsQuadsAcrossHoles) {
  GridMesh mesh = flatGrid(64, 48);
  for (int v = 10; v < 30; ++v)
    for (int u = 20; u < 50; ++u)
      mesh.setPointValidity(GridPoint(u, v), false);
  // Samples per pass: 1 (from 0 and from 2), 4, 9 and 100; with and without extra passes.
  for (std::uint32_t samples : {0u, 2u, 4u, 9u, 100u})
    for (std::uint32_t morePasses : {0u, 3u}) {
      RectMesh::searchDivideByNTimes = samples;
      mesh.setMaxDoNMoreTimes(morePasses);
      for (Point const& probe :
           {Point(5.3, 40.8, 3), Point(60.2, 2.7, 3), Point(33.6, 42.1, 3), Point(55.1, 20.4, 3)}) {
        Status const s = mesh.getIntersectionStatus(probe, down, true);
        ASSERT_TRUE(s.getIsValid()) << samples << " " << morePasses;
        EXPECT_EQ(GridPoint(static_cast<int>(probe.getX()), static_cast<int>(probe.getY())),
                  s.getIndices());
      }
      EXPECT_FALSE(mesh.getIntersectionStatus(Point(30.5, 20.2, 3), down, true).getIsValid());
    }
}

/// A smooth height field with unit spacing in x and y.
GridMesh heightField(std::uint32_t U, std::uint32_t V) {
  return GridMesh(U, V, [](int u, int v) {
    return Point(u, v, 6.0 * std::sin(u / 11.0) * std::cos(v / 13.0) + 0.01 * u * v);
  });
}

/// Distance of a coordinate from the nearest grid line of a unit-spaced grid.
double offGridLine(double x) {
  return std::abs(x - std::round(x));
}

TEST_F(RectMeshSearch, IncrementalWalkAgreesWithBruteForceAlongARaster) {
  // A unit-spaced height field whose slopes stay well below the beams' own: each beam meets
  // at most one quad. A vertical beam gets there in one step (the quad-plane estimate keeps
  // the probe's x and y), a slanted one in a few.
  GridMesh mesh = heightField(40, 30);
  for (Vector const& beam : {down, Vector(0.3, -0.2, -1)}) {
    int agreed = 0;
    int onEdges = 0;
    for (double y = 0.13; y < 30; y += 0.83)
      for (double x = 0.07; x < 40; x += 0.37) {
        Point const probe(x, y, 40);
        std::vector<GridPoint> const hits = bruteForceHits(mesh, probe, beam);
        ASSERT_LE(hits.size(), 1u);
        Status const s = mesh.getIntersectionStatus(probe, beam, false);
        if (s.getIsValid() ? hits.size() == 1 && hits[0] == s.getIndices() : hits.empty()) {
          ++agreed;
          continue;
        }
        // The one way they part: the hit lies on or just beside a shared quad edge, and the
        // walk, standing on the neighbouring quad, finds the ray meeting that quad's plane
        // inside it, rounds its step to zero and stops (exactly on the edge, as for x = 33 in
        // single precision, the rounding of the hit point decides which quad claims it).
        ASSERT_EQ(1u, hits.size());
        Point hit;
        mesh.getDoesIntersectQuad(hits[0], probe, beam, hit, nullptr);
        EXPECT_LT(std::min(offGridLine(hit.getX()), offGridLine(hit.getY())), 0.01);
        EXPECT_FALSE(s.getIsValid());
        ++onEdges;
      }
    EXPECT_GT(agreed, 3800);
    EXPECT_LE(onEdges, 36);
  }
}

TEST_F(RectMeshSearch, FullSearchAgreesWithBruteForceAtRandomPositions) {
  GridMesh mesh = heightField(80, 70);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> x(0.0, 80.0), y(0.0, 70.0), z(-30.0, 60.0);
  for (int i = 0; i < 400; ++i) {
    Point const probe(x(random), y(random), z(random));
    std::vector<GridPoint> const hits = bruteForceHits(mesh, probe, down);
    Status const s = mesh.getIntersectionStatus(probe, down, true);
    ASSERT_EQ(hits.size(), s.getIsValid() ? 1u : 0u);
    if (!hits.empty()) {
      EXPECT_EQ(hits[0], s.getIndices());
    }
  }
}

} // namespace
} // namespace QuadMeshTest
