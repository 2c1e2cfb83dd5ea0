#include "TriMeshTestSupport.h"

#include <QARN/Geometry/ThreeDimensional/TriMesh/Map.h>

#include <algorithm>
#include <cinttypes>
#include <limits>
#include <random>

namespace trimeshtest {
namespace {

using Access = MeshTestAccess;

/// Triangles met walking round v by the fan rule, and whether the walk closed.
std::pair<int, bool> fanOf(Mesh const& mesh, std::uint32_t v) {
  Edge start = Access::arbitraryEdge(mesh, v);
  while (Access::isBoundaryVertex(mesh, v) && start.sym().getTriangle() != nullptr)
    start = start.oprev();
  int count = 0;
  Edge e = start;
  do {
    ++count;
    e = e.onext();
  } while (e.getTriangle() != nullptr && e != start);
  return {count, e == start};
}

TEST(TriMeshTopology, OneTriangle) {
  Mesh mesh;
  loadText(mesh, "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  expectConsistent(mesh, 1);
  Triangle* const t = trianglesOf(mesh)[0];
  for (std::uint32_t v = 0; v < 3; ++v) {
    EXPECT_TRUE(Access::isBoundaryVertex(mesh, v));
    EXPECT_EQ(std::make_pair(1, false), fanOf(mesh, v));
    EXPECT_EQ(1.0, mesh.getVertex(v).getNormal3D().getdZ());
  }
  // Edge 0 runs from corner 1 to corner 2; its perpendicular points into the triangle.
  Edge const e = t->getEdge(3);
  EXPECT_TRUE(e.org() == 1 && e.dest() == 2 && e.rot().org() == 2);
  EXPECT_EQ(1.0, e.N().getdZ());
  EXPECT_TRUE(e.perp3().getdX() == -1.0 && e.perp3().getdY() == -1.0);
  Edge out;
  EXPECT_TRUE(t->getEdgeFromVertexIndex(2, &out) && out == t->getEdge(1));
  std::int32_t index = 5;
  t->getDoesContainEdgeCompliment(2, 1, &index);
  EXPECT_EQ(0, index); // 1->2 is edge 0
  t->getDoesContainEdgeCompliment(1, 2, &index);
  EXPECT_EQ(-1, index);

  char address[32];
  std::snprintf(address, sizeof address, "0x%016" PRIXPTR, reinterpret_cast<std::uintptr_t>(t));
  std::string const dashes(72, '-');
  ::testing::internal::CaptureStdout();
  t->print();
  EXPECT_EQ(
      dashes + "\nTriangle: " + address +
          ".\nVertex indices: 0, 1, 2.\nEdge triangle pointers: 0x0000000000000000, "
          "0x0000000000000000, 0x0000000000000000.\nEdge triangle edge indices: -1, -1, -1.\n" +
          dashes + "\n",
      ::testing::internal::GetCapturedStdout());
}

TEST(TriMeshTopology, FansOfOpenAndClosedSurfaces) {
  Points points;
  std::vector<Face> faces;
  for (bool const closed : {false, true}) {
    surface(closed ? 6 : 3, closed ? 5 : 3, closed, points, faces);
    Mesh mesh;
    loadText(mesh, objText(points, faces));
    expectConsistent(mesh, faces.size());
    for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
      // Grid vertices 5, 6, 9 and 10 are inner; the grid's corners 3 and 12 have one triangle.
      bool const inner = closed || v == 5 || v == 6 || v == 9 || v == 10;
      auto const [count, walkClosed] = fanOf(mesh, v);
      EXPECT_TRUE(inner != Access::isBoundaryVertex(mesh, v) && inner == walkClosed) << v;
      EXPECT_EQ(inner ? 6 : v == 3 || v == 12 ? 1 : v == 0 || v == 15 ? 2 : 3, count) << v;
      Vector const n = mesh.getVertex(v).getNormal3D();
      EXPECT_NEAR(1.0, n.lSqr(), 1e-12);
      Point const p = mesh.getVertex(v).getPoint3D();
      double const r = closed ? 1 - 3 / std::hypot(p.getX(), p.getY()) : 0.0;
      EXPECT_GT(n.dot(Vector(p.getX() * r, p.getY() * r, closed ? p.getZ() : 1.0)), 0.8) << v;
    }
    for (Face const& f : faces)
      for (int k = 0; k < 3; ++k) {
        Edge out;
        EXPECT_TRUE(Access::doesEdgeExist(mesh, f[k], f[(k + 1) % 3], &out));
        EXPECT_TRUE(out.org() == f[k] && out.dest() == f[(k + 1) % 3]);
      }
    EXPECT_FALSE(Access::doesEdgeExist(mesh, 0, 10, nullptr));
  }
}

TEST(TriMeshTopology, VertexNormalsSumTheTriangleNormalsInCreationOrder) {
  // A bumpy torus in shuffled face order: each vertex normal is the unit sum of (p1 - p0) x
  // (p2 - p1) over its triangles, added in creation order, bit for bit.
  Points points;
  std::vector<Face> faces;
  surface(9, 7, true, points, faces);
  std::mt19937 random(3);
  for (auto& p : points)
    for (double& x : p)
      x += (random() % 1000) * 1e-4;
  std::shuffle(faces.begin(), faces.end(), random);
  Mesh mesh;
  loadText(mesh, objText(points, faces));
  std::vector<std::array<double, 3>> sums(mesh.getNumberOfVertices(), {0, 0, 0});
  for (Triangle const* t : trianglesOf(mesh)) {
    Face const c = cornersOf(t);
    double p[3][3];
    for (int k = 0; k < 3; ++k)
      for (int i = 0; i < 3; ++i)
        p[k][i] = mesh.getVertex(c[k]).getPoint3D().get(i);
    double const a[3] = {p[1][0] - p[0][0], p[1][1] - p[0][1], p[1][2] - p[0][2]};
    double const b[3] = {p[2][0] - p[1][0], p[2][1] - p[1][1], p[2][2] - p[1][2]};
    double const n[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                         a[0] * b[1] - a[1] * b[0]};
    for (std::uint32_t const v : c)
      for (int i = 0; i < 3; ++i)
        sums[v][i] += n[i];
  }
  for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
    double const length =
        std::sqrt(sums[v][0] * sums[v][0] + sums[v][1] * sums[v][1] + sums[v][2] * sums[v][2]);
    Vector const n = mesh.getVertex(v).getNormal3D();
    EXPECT_TRUE(n.getdX() == sums[v][0] / length && n.getdY() == sums[v][1] / length &&
                n.getdZ() == sums[v][2] / length)
        << v;
  }
}

TEST(TriMeshTopology, ConnectAndCut) {
  // A strip: triangle 0 and 1 share 1-2, triangles 1 and 2 share 1-3.
  Mesh mesh;
  loadText(mesh, "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nv 2 1 0\nf 1 2 3\nf 2 4 3\nf 2 5 4\n");
  auto const t = trianglesOf(mesh);
  ASSERT_EQ(t[1], t[0]->getAdjacentTriangle(0));
  std::uint32_t const m = t[0]->getAdjacentTriangleEdgeIndex(0);
  EXPECT_FALSE(Access::connect(t[0], 0, t[2], 1));
  EXPECT_TRUE(t[0]->getAdjacentTriangle(0) == t[1] && t[2]->getAdjacentTriangle(1) == nullptr);
  EXPECT_TRUE(Access::connect(t[0], 3, t[1], m + 3)); // the same pair, indices modulo 3
  // The same neighbour glued at another of its edges is not refused either.
  int b = 0;
  while (t[1]->getAdjacentTriangle(b) != nullptr)
    ++b;
  EXPECT_TRUE(Access::connect(t[0], 0, t[1], std::uint32_t(b)));
  EXPECT_TRUE(int(t[0]->getAdjacentTriangleEdgeIndex(0)) == b &&
              t[1]->getAdjacentTriangle(b) == t[0]);
  Access::makeBoundary(t[1]->getEdge(b));
  EXPECT_TRUE(Access::connect(t[0], 0, t[1], m));
  expectConsistent(mesh, 3);
  Access::makeBoundary(t[0]->getEdge(0));
  EXPECT_TRUE(t[0]->getEdge(0).isBoundary() && t[1]->getEdge(int(m)).isBoundary());
  expectConsistent(mesh, 3);
  mesh.getVertex(4).setPoint2D({-1.0, 3.0});
  auto const box = Access::box2D(t[2]); // flattened points (0, 0), (-1, 3), (0, 0)
  EXPECT_TRUE(box.getp().getU() == -1.0 && box.getp().getV() == 0.0);
  EXPECT_TRUE(box.getd().getdU() == 1.0 && box.getd().getdV() == 3.0);
  EXPECT_EQ(mesh.getVertex(0).getPoint3D(), mesh.getVertex(5).getPoint3D()); // index wraps
  EXPECT_EQ("Invalid vertex index", errorOf([] { Mesh().getVertex(0); }));
}

TEST(TriMeshMap, GreaterComparesValuesStrictly) {
  using Entry = Map<std::uint32_t, double>;
  Entry const a(1, 2.0), b(2, 2.0), c(3, 1.0), nan(4, std::numeric_limits<double>::quiet_NaN());
  EXPECT_TRUE(!(a > b) && !(b > a) && a > c && !(nan > c) && !(c > nan));
  EXPECT_TRUE(c.gets() == 3 && c.gett() == 1.0);
  EXPECT_EQ(Edge(), (Map<Map<Map<Edge, bool>, int>, double>().gets().gets().gets()));
}

} // namespace
} // namespace trimeshtest
