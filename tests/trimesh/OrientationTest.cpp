#include "TriMeshTestSupport.h"

#include <common/GeneratedMeshes.h>

#include <Geometry/ThreeDimensional/TriMesh/MinBBAreaSearch.h>
#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>

#include <cstring>
#include <limits>
#include <random>

namespace trimeshtest {
namespace {

using QARN::Geometry::TwoDimensional::BoundingBoxAA;
using Flat = QARN::Geometry::TwoDimensional::Point<double>;
using FlatVector = QARN::Geometry::TwoDimensional::Vector<double>;
using Cloud = std::vector<Flat>;
namespace Meshes = QARN::Test::Meshes;

constexpr std::uint32_t K = 4096;
constexpr double pi = 3.14159265358979323846;

/// The exhaustive search as plainly as it reads: for each of the K angles, turn every point by
/// dot products with the two turned axes, grow a box from the first point with the library's own
/// box type, and keep the first smallest area, a quarter turn further when the box is taller than
/// wide.
std::uint32_t exhaustiveIndex(Cloud const& points) {
  double best = 1e21;
  std::uint32_t bestIndex = 0;
  for (std::uint32_t j = 0; j < K; ++j) {
    double const angle = j * (pi / 2) / K;
    FlatVector const a(std::cos(angle), std::sin(angle));
    FlatVector const b(-std::sin(angle), std::cos(angle));
    BoundingBoxAA<double> box;
    for (std::size_t i = 0; i < points.size(); ++i) {
      FlatVector const p = points[i] - Flat();
      Flat const q(p.dot(a), p.dot(b));
      if (i == 0)
        box = q.getBoundingBox();
      else
        box.expand(q.getBoundingBox());
    }
    double const area = std::fabs(box.getd().getdU() * box.getd().getdV());
    if (area < best || j == 0) {
      best = area;
      bestIndex = std::fabs(box.getd().getdV()) >= std::fabs(box.getd().getdU()) ? j + K : j;
    }
  }
  return bestIndex;
}

/// The final placement, plainly: turn by the chosen angle, grow the box, subtract its low corner.
Cloud placed(Cloud const& points, std::uint32_t index) {
  double const angle = index * (pi / 2) / K;
  FlatVector const a(std::cos(angle), std::sin(angle));
  FlatVector const b(-std::sin(angle), std::cos(angle));
  Cloud turned;
  BoundingBoxAA<double> box;
  for (Flat const& point : points) {
    FlatVector const p = point - Flat();
    turned.push_back(Flat(p.dot(a), p.dot(b)));
    if (turned.size() == 1)
      box = turned.back().getBoundingBox();
    else
      box.expand(turned.back().getBoundingBox());
  }
  for (Flat& q : turned)
    q = q - (box.getp() - Flat());
  return turned;
}

std::uint32_t fastIndex(Cloud const& points) {
  std::vector<FlatPoint> packed;
  for (Flat const& p : points)
    packed.push_back({p.getU(), p.getV()});
  QARN::ProgressStage stage(nullptr, "", 0);
  return searchMinBBAreaIndex(packed, stage);
}

bool sameBits(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Orients a mesh holding the points (no triangles needed) and compares every bit of the result
/// with the plain placement at the exhaustive index.
void expectPlacedAsExhaustively(Cloud const& points, std::string const& name) {
  std::uint32_t const expected = exhaustiveIndex(points);
  ASSERT_EQ(expected, fastIndex(points)) << name;
  Mesh mesh;
  MeshTestAccess::addFlatPoints(mesh, points);
  EXPECT_TRUE(MeshTestAccess::orient(mesh));
  Cloud const reference = placed(points, expected);
  for (std::uint32_t i = 0; i < points.size(); ++i) {
    Flat const p = mesh.getVertex(i).getPoint2D();
    ASSERT_TRUE(sameBits(reference[i].getU(), p.getU()) && sameBits(reference[i].getV(), p.getV()))
        << name << " point " << i;
  }
}

Cloud polygon(int sides, double radius, Flat centre, double phase) {
  Cloud points;
  for (int k = 0; k < sides; ++k) {
    double const a = phase + 2.0 * pi * k / sides;
    points.push_back(
        Flat(centre.getU() + radius * std::cos(a), centre.getV() + radius * std::sin(a)));
  }
  return points;
}

TEST(Orientation, FastSearchChoosesTheExhaustiveAngleOnRandomClouds) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::normal_distribution<double> normal(0.0, 1.0);
  for (int trial = 0; trial < 12; ++trial) {
    Cloud points;
    int const n = 20 + 40 * trial;
    double const stretch = 0.2 + 0.3 * trial;
    Flat const offset(trial % 3 == 0 ? 1e3 : 0.5, trial % 4 == 0 ? -7.0 : 1.0);
    for (int i = 0; i < n; ++i) {
      double const u = trial % 2 == 0 ? unit(random) : normal(random);
      points.push_back(Flat(offset.getU() + stretch * u, offset.getV() + unit(random)));
    }
    expectPlacedAsExhaustively(points, "cloud " + std::to_string(trial));
  }
}

TEST(Orientation, FastSearchChoosesTheExhaustiveAngleOnTiesAndDegenerateSets) {
  std::vector<std::pair<std::string, Cloud>> cases;
  for (int sides = 3; sides <= 64; ++sides)
    cases.push_back({"polygon " + std::to_string(sides),
                     polygon(sides, 1.0 + sides / 64.0, Flat(sides % 2 == 0 ? 0.0 : 3.5, 1.25),
                             sides % 3 == 0 ? 0.0 : 0.1 * sides)});
  // Lines: along u, along v, diagonal and steep, with repeated points.
  for (auto const& [du, dv] : std::vector<std::pair<double, double>>{
           {1.0, 0.0}, {0.0, 1.0}, {1.0, 1.0}, {0.3, -1.7}, {-2.0, 0.001}}) {
    Cloud line;
    for (int i = 0; i < 9; ++i)
      line.push_back(Flat(0.25 + du * (i % 5), -1.0 + dv * (i % 5)));
    cases.push_back({"line " + std::to_string(du) + "," + std::to_string(dv), line});
  }
  // Squares, grids and lattice diamonds: many exact ties.
  cases.push_back({"square", {Flat(0, 0), Flat(1, 0), Flat(1, 1), Flat(0, 1)}});
  cases.push_back({"turned square", polygon(4, 1.0, Flat(2, 2), 0.3)});
  for (int w = 1; w <= 5; w += 2) {
    Cloud grid;
    Cloud diamond;
    for (int j = -4; j <= 4; ++j)
      for (int i = -4; i <= 4; ++i) {
        if (std::abs(i) <= w && std::abs(j) <= 4 - w / 2)
          grid.push_back(Flat(0.5 * i, 0.5 * j));
        if (std::abs(i) + std::abs(j) <= w)
          diamond.push_back(Flat(i + 10.0, j));
      }
    cases.push_back({"grid " + std::to_string(w), grid});
    cases.push_back({"diamond " + std::to_string(w), diamond});
  }
  // Points a hair inside and exactly on the hull's sides, and repeated hull points.
  Cloud hair = {Flat(0, 0), Flat(2, 0), Flat(2, 1), Flat(0, 1)};
  for (double const eps : {1e-17, 1e-16, 2.2e-16, 1e-15, 1e-12}) {
    hair.push_back(Flat(1.0, eps));
    hair.push_back(Flat(2.0 - eps, 0.5));
    hair.push_back(Flat(1.3, 1.0 - eps));
  }
  hair.push_back(Flat(1.0, 0.0));
  hair.push_back(Flat(2, 1));
  cases.push_back({"a hair inside", hair});
  // Interior points first, the boundary last, as the flattening numbers them.
  Cloud inside;
  std::mt19937 random(5);
  std::uniform_real_distribution<double> unit(-0.6, 0.6);
  for (int i = 0; i < 120; ++i)
    inside.push_back(Flat(unit(random), unit(random)));
  for (Flat const& p : polygon(37, 1.0, Flat(0, 0), 0.2))
    inside.push_back(Flat(1.3 * p.getU(), p.getV()));
  cases.push_back({"interior first", inside});
  for (auto const& [name, points] : cases)
    expectPlacedAsExhaustively(points, name);
}

TEST(Orientation, DegenerateInputsFollowTheExhaustiveRules) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  double const inf = std::numeric_limits<double>::infinity();
  // One point: every box is empty, the first angle is kept and turned a quarter.
  EXPECT_EQ(K, fastIndex({Flat(3, 4)}));
  EXPECT_EQ(K, fastIndex({Flat(nan, 4)}));
  // A NaN first point makes every area NaN; later NaN points never widen a box.
  EXPECT_EQ(0u, fastIndex({Flat(nan, 0), Flat(1, 0), Flat(0, 2)}));
  Cloud const same = {Flat(0.5, -2), Flat(0.5, -2), Flat(nan, 1), Flat(0.5, -2)};
  EXPECT_EQ(K, exhaustiveIndex(same));
  EXPECT_EQ(K, fastIndex(same));
  Cloud laterNaN = polygon(7, 1.0, Flat(0.5, 0), 0.2);
  laterNaN.insert(laterNaN.begin() + 3, Flat(nan, 1.0));
  laterNaN.push_back(Flat(0.0, nan));
  EXPECT_EQ(exhaustiveIndex(laterNaN), fastIndex(laterNaN));
  Cloud infinite = polygon(5, 1.0, Flat(0, 0), 0.0);
  infinite.push_back(Flat(inf, 0.5));
  EXPECT_EQ(exhaustiveIndex(infinite), fastIndex(infinite));
  // No points: nothing to do, the stage still runs.
  Mesh empty;
  QARN::Test::ProgressLog log;
  empty.setProgressListener(&log);
  EXPECT_TRUE(MeshTestAccess::orient(empty));
  std::string expected = "Starting C-scan orientation calculation... ";
  for (int percent = 1; percent <= 100; ++percent)
    expected += std::to_string(percent) + " ";
  EXPECT_EQ(expected, log.log);
}

TEST(Orientation, TallShapesTurnAQuarterAndRunsRepeatUpToTheTieRule) {
  // A tall rectangle turns by a quarter and ends wider than tall, at the origin.
  Cloud const tall = {Flat(1, 1), Flat(2, 1), Flat(2, 4), Flat(1, 4)};
  EXPECT_EQ(K, fastIndex(tall));
  Mesh mesh;
  MeshTestAccess::addFlatPoints(mesh, tall);
  QARN::Test::ProgressLog log;
  mesh.setProgressListener(&log);
  MeshTestAccess::orient(mesh);
  Flat low = mesh.getVertex(0).getPoint2D();
  Flat high = low;
  for (std::uint32_t i = 0; i < 4; ++i) {
    low.setMin(mesh.getVertex(i).getPoint2D());
    high.setMax(mesh.getVertex(i).getPoint2D());
  }
  EXPECT_TRUE(low == Flat(0, 0));
  EXPECT_NEAR(3.0, high.getU(), 1e-15);
  EXPECT_NEAR(1.0, high.getV(), 1e-15);
  EXPECT_EQ(0u, log.log.find("Starting C-scan orientation calculation... 1 2 3 "));
  // A wide one stays; a diagonal line lies down at half the quarter turn.
  EXPECT_EQ(0u, fastIndex({Flat(0, 0), Flat(3, 0), Flat(3, 1), Flat(0, 1)}));
  EXPECT_EQ(2048u, fastIndex({Flat(0, 0), Flat(1, 1), Flat(2, 2)}));
  // A square ties everywhere and keeps turning a quarter; a placed rectangle stays placed.
  Cloud square = {Flat(0, 0), Flat(1, 0), Flat(1, 1), Flat(0, 1)};
  EXPECT_EQ(K, fastIndex(square));
  Cloud const turned = placed(square, K);
  EXPECT_EQ(exhaustiveIndex(turned), fastIndex(turned));
  Cloud again = placed(placed(tall, K), fastIndex(placed(tall, K)));
  for (std::size_t i = 0; i < 4; ++i)
    EXPECT_TRUE(again[i] == placed(tall, K)[i]) << i;
}

TEST(Orientation, PrincipalAxesLieAlongU) {
  // A 4 x 1 patch turned by 30 degrees about a far point: its long side comes back along u.
  IndexedFaceSet const set = Meshes::planarPatch(8, 2, 4.0, 1.0);
  Mesh mesh;
  mesh.construct(set);
  double const a = pi / 6;
  for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
    Point const p = mesh.getVertex(v).getPoint3D();
    mesh.getVertex(v).setPoint2D(Flat(5.0 + p.getX() * std::cos(a) - p.getY() * std::sin(a),
                                      -2.0 + p.getX() * std::sin(a) + p.getY() * std::cos(a)));
  }
  EXPECT_TRUE(mesh.transformPCA2D());
  for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
    Point const p = mesh.getVertex(v).getPoint3D();
    EXPECT_NEAR(p.getX(), mesh.getVertex(v).getPoint2D().getU(), 1e-12) << v;
    EXPECT_NEAR(p.getY(), mesh.getVertex(v).getPoint2D().getV(), 1e-12) << v;
  }
  // No flat area: refused, nothing moves.
  Mesh flatless;
  flatless.construct(set);
  flatless.getVertex(3).setPoint2D(Flat(1, 2));
  EXPECT_FALSE(flatless.transformPCA2D());
  EXPECT_TRUE(flatless.getVertex(3).getPoint2D() == Flat(1, 2));
}

TEST(Orientation, CornersAndExtremesOfTheFlatBoundary) {
  // A 4 x 2 patch, flat as it lies, except that the interior vertex 7 sits at the box's corner
  // and boundary vertex 1 shares the smallest v with vertex 0.
  Mesh mesh;
  mesh.construct(Meshes::planarPatch(4, 2, 4.0, 2.0));
  for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
    Point const p = mesh.getVertex(v).getPoint3D();
    mesh.getVertex(v).setPoint2D(Flat(p.getX(), p.getY()));
  }
  mesh.getVertex(7).setPoint2D(Flat(4.0, 0.0));
  EXPECT_EQ((std::array<std::uint32_t, 4>{0, 4, 0, 10}), mesh.getExtremeBoundaryVertexIndices());
  Point corners[4];
  mesh.getCorners(corners);
  EXPECT_EQ(Point(0, 0, 0), corners[0]);
  EXPECT_EQ(Point(4, 0, 0), corners[1]);
  EXPECT_EQ(Point(4, 2, 0), corners[2]);
  EXPECT_EQ(Point(0, 2, 0), corners[3]);
  // A closed surface has no boundary.
  Mesh capped;
  capped.construct(Meshes::cappedTube());
  EXPECT_EQ("No boundary found", errorOf([&] { capped.getExtremeBoundaryVertexIndices(); }));
  EXPECT_EQ("No boundary found", errorOf([&] { capped.getCorners(corners); }));
}

TEST(Orientation, VertexNormalsFromOneFanMatchTheWholeMeshPass) {
  for (IndexedFaceSet const& set : {Meshes::hemisphere(9, 4), Meshes::tube(7, 3, 1.0, 1.0, 0.4)}) {
    Mesh mesh;
    mesh.construct(set);
    for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
      Vector const stored = mesh.getVertex(v).getNormal3D();
      Vector const fan = mesh.getVertexNormal(v + mesh.getNumberOfVertices());
      EXPECT_TRUE(sameBits(stored.getdX(), fan.getdX()) && sameBits(stored.getdY(), fan.getdY()) &&
                  sameBits(stored.getdZ(), fan.getdZ()))
          << v;
    }
  }
  EXPECT_EQ("Invalid vertex index", errorOf([] { Mesh().getVertexNormal(0); }));
}

TEST(Orientation, RoundingSnapsHalvesUp) {
  Mesh mesh;
  MeshTestAccess::addFlatPoints(mesh, {Flat(-0.25, 0.26), Flat(0.375, -0.374), Flat(1.0, -0.125)});
  mesh.round(0.25);
  EXPECT_TRUE(mesh.getVertex(0).getPoint2D() == Flat(-0.25, 0.25));
  EXPECT_TRUE(mesh.getVertex(1).getPoint2D() == Flat(0.5, -0.25));
  EXPECT_TRUE(mesh.getVertex(2).getPoint2D() == Flat(1.0, 0.0)); // -0.5 steps go up to 0
  for (double const step : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
    EXPECT_EQ("Invalid rounding step", errorOf([&] { mesh.round(step); }));
}

} // namespace
} // namespace trimeshtest
