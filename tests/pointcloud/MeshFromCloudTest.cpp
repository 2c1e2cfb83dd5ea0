#include <QARN/Geometry/ThreeDimensional/PointCloud/Cloud.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

#include <trimesh/TriMeshTestSupport.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <vector>

namespace {

using QARN::Geometry::ThreeDimensional::PointCloud::Cloud;
using namespace trimeshtest;
using QARN::Geometry::ThreeDimensional::Utility;
using QARN::Test::ProgressLog;
using Access = QARN::Geometry::ThreeDimensional::TriMesh::MeshTestAccess;

double const infinity = std::numeric_limits<double>::infinity();

/// A scan-like patch: a jittered grid of cells `step` apart over a wavy surface, lifted onto a
/// tilted plane; cells where `skip` is true are left out.
template <typename Skip>
Cloud patch(int nx, int ny, double step, Skip skip, std::uint32_t seed = 1) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> jitter(-0.2 * step, 0.2 * step);
  Cloud cloud;
  for (int j = 0; j < ny; ++j)
    for (int i = 0; i < nx; ++i) {
      if (skip(i, j))
        continue;
      double const x = i * step + jitter(random);
      double const y = j * step + jitter(random);
      double const z = 0.3 * std::sin(0.5 * x) * std::cos(0.3 * y) + 0.1 * x;
      cloud.addPoint(Point(x, y, z));
    }
  return cloud;
}

Cloud patch(int nx, int ny, double step) {
  return patch(nx, ny, step, [](int, int) { return false; });
}

/// The topology the flattening relies on, checked through the triangles and the fan walks:
/// neighbours agree and share sides the other way round; the surface is a disc (V − E + F = 1)
/// with one boundary loop through every boundary vertex once; each vertex's fan, walked with
/// onext from its first edge, meets every triangle at the vertex (no two fans touch).
void expectDisc(Mesh const& mesh) {
  std::vector<Triangle*> const triangles = trianglesOf(mesh);
  std::uint32_t const n = mesh.getNumberOfVertices();
  ASSERT_GT(triangles.size(), 0u);
  std::vector<std::uint32_t> around(n, 0);
  std::size_t boundarySides = 0;
  std::map<std::uint32_t, std::uint32_t> nextOnBoundary;
  for (Triangle* t : triangles) {
    Face const f = cornersOf(t);
    for (std::uint32_t const v : f)
      ++around[v];
    for (std::int32_t k = 0; k < 3; ++k) {
      Edge const e = t->getEdge(k);
      if (e.isBoundary()) {
        ++boundarySides;
        EXPECT_TRUE(nextOnBoundary.emplace(e.org(), e.dest()).second)
            << "two boundary sides leave " << e.org();
        continue;
      }
      Edge const s = e.sym();
      EXPECT_EQ(e, s.sym());
      EXPECT_EQ(e.org(), s.dest());
      EXPECT_EQ(e.dest(), s.org());
    }
  }
  std::size_t const sides = (3 * triangles.size() + boundarySides) / 2;
  EXPECT_EQ(1, std::int64_t(n) - std::int64_t(sides) + std::int64_t(triangles.size()));
  // One loop through every boundary vertex.
  ASSERT_FALSE(nextOnBoundary.empty());
  std::uint32_t v = nextOnBoundary.begin()->first;
  std::size_t steps = 0;
  do {
    v = nextOnBoundary.at(v);
    ++steps;
  } while (v != nextOnBoundary.begin()->first && steps <= boundarySides);
  EXPECT_EQ(boundarySides, steps);
  for (std::uint32_t w = 0; w < n; ++w) {
    EXPECT_EQ(nextOnBoundary.count(w) == 1, Access::isBoundaryVertex(mesh, w)) << "vertex " << w;
    Edge e = Access::arbitraryEdge(mesh, w);
    ASSERT_NE(nullptr, e.getTriangle());
    while (Access::isBoundaryVertex(mesh, w) && e.sym().getTriangle() != nullptr)
      e = e.oprev();
    std::uint32_t fan = 0;
    Edge f = e;
    do {
      ++fan;
      f = f.onext();
    } while (f.getTriangle() != nullptr && f != e && fan <= around[w]);
    EXPECT_EQ(around[w], fan) << "vertex " << w;
  }
}

TEST(MeshFromCloud, ScanPatchBecomesADiscOverEveryPoint) {
  Cloud const cloud = patch(40, 30, 0.5);
  Mesh mesh;
  ProgressLog log;
  mesh.setProgressListener(&log);
  mesh.construct(cloud, 1.5);
  EXPECT_EQ(cloud.getNumberOfPoints(), mesh.getNumberOfVertices());
  for (std::uint32_t i = 0; i < cloud.getNumberOfPoints(); i += 97)
    EXPECT_EQ(cloud.getPoint(i), mesh.getVertex(i).getPoint3D());
  expectDisc(mesh);
  EXPECT_EQ(0u, log.log.find("Triangulating point cloud... Constructing triangle mesh... "));
  // The patch rises gently along X: every triangle turns counter-clockwise seen from above.
  for (Triangle* t : trianglesOf(mesh)) {
    Face const f = cornersOf(t);
    EXPECT_GT(Utility::getTriangleNormal(mesh.getVertex(f[0]).getPoint3D(),
                                         mesh.getVertex(f[1]).getPoint3D(),
                                         mesh.getVertex(f[2]).getPoint3D())
                  .getdZ(),
              0.0);
  }
  EXPECT_GT(mesh.getVertex(0).getNormal3D().getdZ(), 0.9);
  // Without a limit the triangulation covers the convex hull: more triangles, still a disc.
  Mesh hull;
  hull.construct(cloud, infinity);
  EXPECT_GE(trianglesOf(hull).size(), trianglesOf(mesh).size());
  expectDisc(hull);
}

// A C-shaped patch around a notch, with a hole in one arm: the limit carves the notch, whose
// long triangles reach the outline, and fills the hole, whose long triangles do not.
TEST(MeshFromCloud, EdgeLengthLimitCarvesTheOutlineAndKeepsHolesFilled) {
  auto const notch = [](int i, int j) { return i >= 10 && j >= 8 && j < 22; };
  auto const hole = [](int i, int j) { return i >= 3 && i < 6 && j >= 12 && j < 16; };
  Cloud const cloud = patch(30, 30, 1.0, [&](int i, int j) { return notch(i, j) || hole(i, j); });
  Mesh mesh;
  mesh.construct(cloud, 2.0);
  expectDisc(mesh);
  std::size_t longSides = 0;
  bool crossesNotch = false;
  for (Triangle* t : trianglesOf(mesh)) {
    Face const f = cornersOf(t);
    for (std::uint32_t k = 0; k < 3; ++k) {
      Point const a = mesh.getVertex(f[k]).getPoint3D();
      Point const b = mesh.getVertex(f[(k + 1) % 3]).getPoint3D();
      longSides += a.getMinMaxDistance(b) > 2.0;
      // A side between the two arms of the C, right of the notch's mouth.
      crossesNotch = crossesNotch ||
                     (std::min(a.getX(), b.getX()) > 11.0 && (std::min(a.getY(), b.getY()) < 7.5) &&
                      (std::max(a.getY(), b.getY()) > 22.5));
    }
  }
  EXPECT_FALSE(crossesNotch);
  EXPECT_GT(longSides, 0u) << "the hole is filled with long triangles";
}

// Pieces apart (a patch beyond another's corner, and one far away) leave the largest.
TEST(MeshFromCloud, KeepsTheLargestPieceAndTheFirstOfCoincidentPoints) {
  Cloud cloud = patch(12, 12, 1.0);
  std::uint32_t const first = cloud.getNumberOfPoints();
  // A smaller patch beyond the first one's corner, farther than the limit.
  Point const corner = cloud.getPoint(first - 1);
  for (int j = 0; j < 5; ++j)
    for (int i = 0; i < 5; ++i)
      cloud.addPoint(corner + Vector(2.0 + i, 2.0 + j, 0.0));
  for (int j = 0; j < 3; ++j)
    for (int i = 0; i < 3; ++i)
      cloud.addPoint(Point(100.0 + i, j, 0.0));
  // A copy of the first point.
  cloud.addPoint(cloud.getPoint(0));
  Mesh mesh;
  mesh.construct(cloud, 1.9);
  EXPECT_EQ(first, mesh.getNumberOfVertices());
  expectDisc(mesh);

  Cloud copied = patch(6, 6, 1.0);
  copied.addPoint(copied.getPoint(7));
  mesh.construct(copied, infinity);
  EXPECT_EQ(36u, mesh.getNumberOfVertices());
}

TEST(MeshFromCloud, RefusesBadInputAndLeavesTheMeshEmpty) {
  Mesh mesh;
  Cloud const cloud = patch(5, 5, 1.0);
  EXPECT_EQ("Invalid edge length limit", errorOf([&] { mesh.construct(cloud, std::nan("")); }));
  EXPECT_EQ("Invalid edge length limit", errorOf([&] { mesh.construct(cloud, 0.0); }));
  Cloud two;
  two.addPoint(Point(0, 0, 0));
  two.addPoint(Point(1, 0, 0));
  EXPECT_EQ("Too few points", errorOf([&] { mesh.construct(two, 1.0); }));
  Cloud line(two);
  line.addPoint(Point(2, 0, 0));
  line.addPoint(Point(5, 0, 0));
  EXPECT_EQ("Point cloud does not span a surface", errorOf([&] { mesh.construct(line, 9.0); }));
  Cloud same;
  for (int i = 0; i < 4; ++i)
    same.addPoint(Point(1, 2, 3));
  EXPECT_EQ("Point cloud does not span a surface", errorOf([&] { mesh.construct(same, 9.0); }));
  Cloud withNaN(cloud);
  withNaN.addPoint(Point(0, std::nan(""), 0));
  EXPECT_EQ("Point cloud holds a non-finite point", errorOf([&] { mesh.construct(withNaN, 1.0); }));
  mesh.construct(cloud, 2.0);
  EXPECT_EQ("Edge length limit leaves no triangle", errorOf([&] { mesh.construct(cloud, 0.5); }));
  EXPECT_EQ(0u, mesh.getNumberOfVertices());
}

} // namespace
