#include "QuadMeshTestSupport.h"

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesEllipseIntersectionInfo.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIntersectionData.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadSearchFailure.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace QuadMeshTest {
namespace {

using namespace QARN::Geometry::ThreeDimensional::QuadMesh;
using Status = QuadIndicesIntersectionStatus;

double const pi = std::acos(-1.0);
Vector const down(0, 0, -1);

/// Restores the process-wide search settings after each test.
class RectMeshSearch : public ::testing::Test {
protected:
  void TearDown() override {
    Status::setIntersectionQualityMode(Status::FacingThenNearest);
    QuadIntersectionData::isEnableFlipAngle = false;
    RectMesh::searchDivideByNTimes = 4;
    RectMesh::maxDoNMoreTimes = 0;
  }

  /// Makes the next search start its walk at quad q; a counting mesh restarts its count.
  static void startAt(RectMesh& mesh, GridPoint const& q) {
    mesh.*get(LastSearchIndices{}) = q;
    mesh.*get(IsSearchReset{}) = false;
    if (auto* counting = dynamic_cast<CountingMesh*>(&mesh))
      counting->reads = 0;
  }
};

using IntersectionRecord = RectMeshSearch;

/// A record whose angle error is the given one (angle = π − error).
Status record(bool valid, double distance, double angleError) {
  return Status(nullptr, Point(), GridPoint(1, 2), valid,
                QuadIntersectionData(distance, pi - angleError, 0.0), "a.quads");
}

TEST_F(IntersectionRecord, MeasuresAndTheFlipAngleSwitch) {
  EXPECT_EQ(0.0, QuadIntersectionData(1, pi, 2).getAngleError());
  QuadIntersectionData::isEnableFlipAngle = true;
  QuadIntersectionData const flipped(1, pi, 2);
  EXPECT_EQ(0.0, flipped.getAngleToObjectNormal());
  EXPECT_EQ(pi, flipped.getAngleError());
}

TEST_F(IntersectionRecord, RankingInEachMode) {
  // Invalid; facing at 5; not facing at 3; facing at 3; facing behind the origin; angle error π/2
  // at 4, which counts as neither facing nor not facing.
  Status const records[] = {record(false, 0, 0),  record(true, 5, 0.5),  record(true, 3, 2.0),
                            record(true, 3, 1.0), record(true, -2, 1.0), record(true, 4, pi / 2)};
  // Group i, character j: is record j better than record i? Then: which records are good.
  auto const ranking = [&records](int mode) {
    Status::setIntersectionQualityMode(static_cast<Status::IntersectionQualityMode>(mode));
    std::string table;
    for (Status const& a : records) {
      for (Status const& b : records)
        table += a.getIsBetterIntersection(b) ? '1' : '0';
      table += ' ';
    }
    for (Status const& a : records)
      table += a.getIsGoodIntersection() ? 'G' : '-';
    return table;
  };
  EXPECT_EQ("011111 001111 010110 000010 000000 001110 -G-GG-", ranking(Status::FacingThenNearest));
  EXPECT_EQ("011111 001111 000010 000010 000000 001110 -GGGGG", ranking(Status::Nearest));
  EXPECT_EQ("011111 000000 010111 010000 010000 010110 -GGGGG", ranking(Status::BestAngle));
  EXPECT_EQ("000000 000000 000000 000000 000000 000000 -GGGGG", ranking(3));
  EXPECT_EQ(3u, Status::getIntersectionQualityMode());
}

TEST_F(IntersectionRecord, SmallRecordTypes) {
  EXPECT_THROW(Status().getQuadMesh(), QARN::Exception);
  EXPECT_EQ("QuadSearchFailure", messageOf([] { throw QuadSearchFailure(); }));
  EXPECT_FALSE(QuadValidityGenerator().getValidity(GridPoint(0, 0)));
  EXPECT_EQ(0, QuadIndicesEllipseIntersectionInfo().getUnity());
}

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
  Point const above(3.3, 4.6, 5), below(3.3, 4.6, -5), far(12.2, 9.9, 2000);
  EXPECT_TRUE(mesh.*get(IsSearchReset{}));
  EXPECT_EQ(&mesh, &mesh.getIntersectionStatus(above, down, false).getQuadMesh());
  // Each query (mode, probe, beam, full search), whether it hits, whether the hit is kept for the
  // next search, and the last kept hit afterwards.
  struct Query {
    int mode;
    Point probe;
    Vector beam;
    bool full, valid, kept;
    GridPoint last;
  } const queries[] = {
      {0, above, down, false, true, true, {3, 4}},
      {0, below, Vector(0, 0, 1), false, true, false, {3, 4}}, // not facing
      {0, above, down, false, true, true, {3, 4}},
      {0, Point(25, 4.6, 5), down, false, false, false, {3, 4}}, // a miss
      {0, far, down, true, true, false, {3, 4}},                 // too far in modes 0 and 1
      {2, far, down, true, true, true, {12, 9}},
      {1, below, down, true, true, true, {3, 4}}, // behind the probe
      {7, above, down, false, true, false, {3, 4}},
      {0, Point(3.3, 4.6, 20000), down, true, true, false, {3, 4}}, // beyond measuring
  };
  for (Query const& q : queries) {
    Status::setIntersectionQualityMode(static_cast<Status::IntersectionQualityMode>(q.mode));
    Status const s = mesh.getIntersectionStatus(q.probe, q.beam, q.full);
    EXPECT_EQ(q.valid, s.getIsValid()) << &q - queries;
    EXPECT_EQ(q.kept, !(mesh.*get(IsSearchReset{}))) << &q - queries;
    EXPECT_EQ(q.last, mesh.*get(LastSearchIndices{})) << &q - queries;
  }
  // Beyond the measuring distance the measures are the defaults.
  EXPECT_EQ(0.0, mesh.getIntersectionStatus(Point(3.3, 4.6, 20000), down, true)
                     .getIntersectionData()
                     .getDistanceToObject());

  // Rebuilding or freeing the grid starts the next search afresh.
  mesh.*get(IsSearchReset{}) = false;
  mesh.init(Extents(20, 20));
  EXPECT_TRUE(mesh.*get(IsSearchReset{}));
  mesh.*get(IsSearchReset{}) = false;
  mesh.clear();
  EXPECT_TRUE(mesh.*get(IsSearchReset{}));
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
  EXPECT_FALSE(mesh.getIntersectionStatus(probe, down, false).getIsValid());
  long const abortedReads = mesh.reads;
  // Against a walk of one step to a hit on the same side (32 steps would cost 15 of them).
  startAt(mesh, GridPoint(9, 0));
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
  EXPECT_FALSE(mesh.getIntersectionStatus(probe, across, false).getIsValid());
  long const oscillationReads = mesh.reads;
  startAt(mesh, GridPoint(4, 0));
  EXPECT_TRUE(mesh.getIntersectionStatus(Point(14.3, 0.3, 1), down, false).getIsValid());
  EXPECT_GT(oscillationReads, 10 * mesh.reads);
}

TEST_F(RectMeshSearch, WalkLimitsAreFourInvalidLandingsAndThirtyTwoSteps) {
  // Quads 1.25 wide with every fifth point column invalid, except that quads 2, 7, 12 and 17
  // are 4, 3, 2 and 1 wide: the estimate from each of them lands in the next hole, and the
  // back-off ends on the next of them, the last time on the target quad 22.
  GridMesh row(25, 1, [](int u, int v) {
    double x = 1.25 * u;
    for (int k = 0; k < 4 && 5 * k + 2 < u; ++k)
      x += 2.75 - k;
    return Point(x, v, 0);
  });
  for (int u = 4; u <= 25; u += 5)
    for (int v = 0; v <= 1; ++v)
      row.setPointValidity(GridPoint(u, v), false);
  Point const probe(33.125, 0.3, 3);
  // Three invalid landings from quad 7, four from quad 2.
  startAt(row, GridPoint(7, 0));
  EXPECT_EQ(GridPoint(22, 0), row.getIntersectionStatus(probe, down, false).getIndices());
  startAt(row, GridPoint(2, 0));
  EXPECT_FALSE(row.getIntersectionStatus(probe, down, false).getIsValid());

  // The surface z = −4^−u rises towards a beam at z = −2^−67: each quad's plane meets the beam
  // one quad further on, up to quad 33, which the beam meets: 32 steps from quad 1, 33 from 0.
  GridMesh rising(40, 1, [](int u, int v) { return Point(u, v, -std::ldexp(1.0, -2 * u)); });
  Point const skimming(-1, 0.3, -std::ldexp(1.0, -67));
  Vector const along(1, 0, 0);
  startAt(rising, GridPoint(1, 0));
  EXPECT_EQ(GridPoint(33, 0), rising.getIntersectionStatus(skimming, along, false).getIndices());
  startAt(rising, GridPoint(0, 0));
  EXPECT_FALSE(rising.getIntersectionStatus(skimming, along, false).getIsValid());
}

TEST_F(RectMeshSearch, NearestPointAndSearchLattice) {
  GridMesh mesh = flatGrid(10, 10);
  double distance = 0;
  EXPECT_EQ(GridPoint(9, 9), mesh.getNearestPoint2D(Point(10.2, 10.2, 0), distance));
  EXPECT_NEAR(std::sqrt(2.88), distance, 1e-6);
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
  // Slopes well below the beams' own: each beam meets at most one quad.
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
        // The one way they part: the hit lies on or beside a shared edge, and the walk, on the
        // neighbouring quad, rounds its step to zero and stops.
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
