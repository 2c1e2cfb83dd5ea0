#include "TriMeshTestSupport.h"

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Map.h>

#include <cinttypes>
#include <cmath>
#include <limits>

namespace trimeshtest {
namespace {

using Access = MeshTestAccess;

/// Loads points and faces written as a mesh file.
void loadMesh(Mesh& mesh, std::vector<std::array<double, 3>> const& points,
              std::vector<Face> const& faces) {
  std::string const path = tempPath("topology.obj");
  writeText(path, objText(points, faces));
  mesh.load(path.c_str());
}

/// Checks the neighbour invariants, the anchors and every vertex's fan.
void expectConsistent(Mesh const& mesh, std::size_t triangleCount) {
  auto const triangles = trianglesOf(mesh);
  EXPECT_EQ(triangleCount, triangles.size());
  for (Triangle* t : triangles)
    for (int k = 0; k < 3; ++k) {
      Edge const e = t->getEdge(k);
      Triangle* const u = t->getAdjacentTriangle(k);
      std::uint32_t const m = t->getAdjacentTriangleEdgeIndex(k);
      if (u == nullptr) {
        EXPECT_EQ(Access::invalid, m);
        EXPECT_TRUE(e.isBoundary());
        EXPECT_EQ(Edge(), e.sym());
        continue;
      }
      EXPECT_EQ(t, u->getAdjacentTriangle(int(m)));
      EXPECT_EQ(std::uint32_t(k), u->getAdjacentTriangleEdgeIndex(int(m)));
      EXPECT_EQ(e.org(), e.sym().dest());
      EXPECT_EQ(e.dest(), e.sym().org());
      EXPECT_EQ(e, e.sym().sym());
      if (e.onext().getTriangle() != nullptr) {
        EXPECT_EQ(e.org(), e.onext().org());
        EXPECT_EQ(e, e.onext().oprev());
      }
    }
  for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
    Edge const e = Access::arbitraryEdge(mesh, v);
    ASSERT_NE(nullptr, e.getTriangle());
    EXPECT_EQ(v, e.org());
    EXPECT_EQ(1u, Access::list(mesh, v).size());
  }
}

/// Number of triangles met walking the fan of v by the fan rule, and whether the walk closed.
std::pair<int, bool> fanOf(Mesh const& mesh, std::uint32_t v) {
  Edge start = Access::arbitraryEdge(mesh, v);
  if (Access::isBoundaryVertex(mesh, v))
    while (start.sym().getTriangle() != nullptr)
      start = start.oprev();
  int count = 0;
  Edge e = start;
  do {
    EXPECT_EQ(v, e.org());
    ++count;
    e = e.onext();
  } while (e.getTriangle() != nullptr && e != start);
  return {count, e == start};
}

TEST(TriMeshTopology, OneTriangleIsAllBoundary) {
  Mesh mesh;
  loadMesh(mesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
  expectConsistent(mesh, 1);
  Triangle* const t = trianglesOf(mesh)[0];
  EXPECT_EQ((Face{0, 1, 2}), cornersOf(t));
  for (std::uint32_t v = 0; v < 3; ++v) {
    EXPECT_TRUE(Access::isBoundaryVertex(mesh, v));
    EXPECT_EQ(std::make_pair(1, false), fanOf(mesh, v));
    Vector const n = mesh.getVertex(v).getNormal3D();
    EXPECT_EQ(0.0, n.getdX());
    EXPECT_EQ(1.0, n.getdZ());
  }
  // Edge 0 runs from corner 1 to corner 2; its perpendicular points into the triangle.
  Edge const e = t->getEdge(0);
  EXPECT_EQ(1u, e.org());
  EXPECT_EQ(2u, e.dest());
  EXPECT_EQ(e.rot().org(), e.dest());
  EXPECT_EQ(1.0, e.N().getdZ());
  EXPECT_EQ(-1.0, e.perp3().getdX());
  EXPECT_EQ(-1.0, e.perp3().getdY());
  EXPECT_EQ(-1.0, e.vphi2().getdU() + e.vphi2().getdV() - 1.0);

  Edge out;
  EXPECT_TRUE(t->getEdgeFromVertexIndex(2, &out));
  EXPECT_EQ(t->getEdge(1), out);
  EXPECT_FALSE(t->getEdgeFromVertexIndex(7, &out));
  std::int32_t index = 5;
  t->getDoesContainEdgeCompliment(2, 1, &index);
  EXPECT_EQ(0, index); // the edge 1->2 is edge 0
  t->getDoesContainEdgeCompliment(1, 2, &index);
  EXPECT_EQ(-1, index);
}

TEST(TriMeshTopology, PrintWritesTheSixLineDump) {
  Mesh mesh;
  loadMesh(mesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
  Triangle* const t = trianglesOf(mesh)[0];
  char address[32];
  std::snprintf(address, sizeof address, "0x%016" PRIXPTR, reinterpret_cast<std::uintptr_t>(t));
  std::string const dashes(72, '-');
  ::testing::internal::CaptureStdout();
  t->print();
  EXPECT_EQ(dashes + "\nTriangle: " + address +
                ".\nVertex indices: 0, 1, 2.\n"
                "Edge triangle pointers: 0x0000000000000000, 0x0000000000000000, "
                "0x0000000000000000.\nEdge triangle edge indices: -1, -1, -1.\n" +
                dashes + "\n",
            ::testing::internal::GetCapturedStdout());
}

TEST(TriMeshTopology, GridFansAndEdges) {
  std::vector<std::array<double, 3>> points;
  std::vector<Face> faces;
  grid(3, 2, points, faces);
  Mesh mesh;
  loadMesh(mesh, points, faces);
  expectConsistent(mesh, faces.size());
  // Vertex (i, j) has index j*4 + i; the two inner vertices have six triangles around them.
  for (std::uint32_t v = 0; v < 12; ++v) {
    bool const inner = v == 5 || v == 6;
    EXPECT_EQ(!inner, Access::isBoundaryVertex(mesh, v)) << v;
    auto const [count, closed] = fanOf(mesh, v);
    EXPECT_EQ(inner, closed) << v;
    if (inner) {
      EXPECT_EQ(6, count);
    }
  }
  EXPECT_EQ(1, fanOf(mesh, 3).first); // corner (3, 0): one triangle
  EXPECT_EQ(2, fanOf(mesh, 0).first); // corner (0, 0): two triangles
  for (Face const& f : faces)
    for (int k = 0; k < 3; ++k) {
      Edge out;
      ASSERT_TRUE(Access::doesEdgeExist(mesh, f[k], f[(k + 1) % 3], &out));
      EXPECT_EQ(f[k], out.org());
      EXPECT_EQ(f[(k + 1) % 3], out.dest());
    }
  EXPECT_TRUE(Access::doesEdgeExist(mesh, 5, 4, nullptr));
  EXPECT_FALSE(Access::doesEdgeExist(mesh, 0, 6, nullptr));
  EXPECT_FALSE(Access::doesEdgeExist(mesh, 3, 4, nullptr));
}

TEST(TriMeshTopology, ClosedTorusHasNoBoundary) {
  std::vector<std::array<double, 3>> points;
  std::vector<Face> faces;
  torus(6, 5, points, faces);
  Mesh mesh;
  loadMesh(mesh, points, faces);
  expectConsistent(mesh, faces.size());
  for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
    EXPECT_FALSE(Access::isBoundaryVertex(mesh, v));
    EXPECT_EQ(std::make_pair(6, true), fanOf(mesh, v));
    Vector const n = mesh.getVertex(v).getNormal3D();
    EXPECT_NEAR(1.0, n.lSqr(), 1e-12);
    // Outward: away from the tube's centre circle.
    Point const p = mesh.getVertex(v).getPoint3D();
    double const r = std::hypot(p.getX(), p.getY());
    Vector const outward(p.getX() * (1 - 3 / r), p.getY() * (1 - 3 / r), p.getZ());
    EXPECT_GT(n.dot(outward), 0.9);
  }
}

TEST(TriMeshTopology, ConnectRefusesOccupiedSlotsAndAcceptsTheSamePair) {
  // Three triangles in a strip: 0-1 share edge 1->2, 1-2 share edge 3->2.
  Mesh mesh;
  loadMesh(mesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 1, 0}},
           {{0, 1, 2}, {1, 3, 2}, {1, 4, 3}});
  auto const t = trianglesOf(mesh);
  ASSERT_EQ(3u, t.size());
  std::uint32_t const k = 0; // edge 1->2 of the first triangle
  Triangle* const neighbour = t[0]->getAdjacentTriangle(k);
  std::uint32_t const m = t[0]->getAdjacentTriangleEdgeIndex(k);
  ASSERT_EQ(t[1], neighbour);
  EXPECT_FALSE(Access::connect(t[0], k, t[2], 1));
  EXPECT_EQ(t[1], t[0]->getAdjacentTriangle(k));
  EXPECT_EQ(nullptr, t[2]->getAdjacentTriangle(1));
  EXPECT_TRUE(Access::connect(t[0], k, t[1], m));
  EXPECT_TRUE(Access::connect(t[0], k + 3, t[1], m + 3)); // indices reduced modulo 3
  expectConsistent(mesh, 3);
}

TEST(TriMeshTopology, LoadDropsUnusedVerticesKeepingOrder) {
  Mesh mesh;
  loadMesh(mesh, {{9, 9, 9}, {0, 0, 0}, {8, 8, 8}, {1, 0, 0}, {0, 1, 0}}, {{1, 3, 4}});
  ASSERT_EQ(3u, mesh.getNumberOfVertices());
  EXPECT_EQ((Face{0, 1, 2}), cornersOf(trianglesOf(mesh)[0]));
  EXPECT_EQ(1.0f, mesh.getVertex(1).getPoint3D().getX());
  EXPECT_EQ(1.0f, mesh.getVertex(2).getPoint3D().getY());
  EXPECT_EQ(mesh.getVertex(0).getPoint3D(), mesh.getVertex(3).getPoint3D()); // index wraps
  expectConsistent(mesh, 1);
}

TEST(TriMeshTopology, EmptyMeshVertexAccessThrows) {
  Mesh mesh;
  EXPECT_EQ(0u, mesh.getNumberOfVertices());
  EXPECT_TRUE(trianglesOf(mesh).empty());
  try {
    mesh.getVertex(0);
    FAIL();
  } catch (QARN::Exception const& e) {
    EXPECT_STREQ("Invalid vertex index", e.what());
  }
}

TEST(TriMeshMap, GreaterComparesValuesStrictly) {
  using Entry = Map<std::uint32_t, double>;
  Entry const a(1, 2.0);
  Entry const b(2, 2.0);
  Entry const c(3, 1.0);
  Entry const nan(4, std::numeric_limits<double>::quiet_NaN());
  EXPECT_FALSE(a > b);
  EXPECT_FALSE(b > a);
  EXPECT_TRUE(a > c);
  EXPECT_FALSE(nan > c);
  EXPECT_FALSE(c > nan);
  EXPECT_EQ(3u, c.gets());
  EXPECT_EQ(1.0, c.gett());
  Map<Map<Map<Edge, bool>, int>, double> const empty;
  EXPECT_EQ(Edge(), empty.gets().gets().gets());
  EXPECT_EQ(0.0, empty.gett());
}

} // namespace
} // namespace trimeshtest
