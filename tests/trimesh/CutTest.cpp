#include "TriMeshTestSupport.h"

#include <common/GeneratedMeshes.h>

#include <algorithm>
#include <tuple>

namespace trimeshtest {
namespace {

namespace Meshes = QARN::Test::Meshes;

/// Boundary edges of the mesh, counted on its triangle soup.
std::uint32_t boundaryEdges(Mesh const& mesh) {
  return mesh.getIndexedFaceSet().getDiagnosis().boundaryEdges;
}

/// What every cut must leave: the neighbour and anchor invariants, a soup that is still one
/// consistently oriented manifold piece (a triangle on the wrong side of the cut would join the
/// two sides at a vertex or leave an edge used twice in one direction), the loop count agreeing
/// with the soup's, and each copy on its original's point.
void expectCleanCut(Mesh const& mesh, std::size_t triangles, std::uint32_t loops) {
  expectConsistent(mesh, triangles);
  IndexedFaceSet const soup = mesh.getIndexedFaceSet();
  EXPECT_EQ("no exception", errorOf([&] { soup.validateSurface(); }));
  EXPECT_EQ(loops, soup.getDiagnosis().boundaryLoops);
  EXPECT_EQ(loops, mesh.getNumberOfBoundaryLoops());
  auto const& cuts = mesh.getCutEdgeIndices();
  ASSERT_EQ(cuts.first.size(), cuts.second.size());
  for (std::size_t i = 0; i < cuts.first.size(); ++i)
    EXPECT_EQ(mesh.getVertex(cuts.first[i].index).getPoint3D(),
              mesh.getVertex(cuts.second[i].index).getPoint3D());
}

TEST(Cut, TubesOpenFromOneLoopToTheOther) {
  // A tube about z, its rings turned by half a cell each (no vertex straight above another), the
  // top ring a quarter turn from the bottom one; each start's plane crosses the tube there.
  IndexedFaceSet const set = Meshes::tube(12, 6, 1.0, 2.0, 0.5);
  std::pair<CutMetric, std::uint32_t> const cases[] = {
      {CutAtMinimum, 0}, {CutAtMinimum, 3}, {CutAtMaximum, 1}, {CutAtMaximum, 4}}; // 3, 4 wrap
  for (auto const& [metric, axisB] : cases) {
    Mesh mesh;
    mesh.construct(set);
    std::uint32_t const n = mesh.getNumberOfVertices();
    std::uint32_t const before = boundaryEdges(mesh);
    ASSERT_TRUE(mesh.makeCut(metric, 2, axisB)) << metric << " " << axisB;
    // Each path edge leaves two boundary edges; one pair per path edge plus the end vertex.
    std::uint32_t const pathEdges = (boundaryEdges(mesh) - before) / 2;
    auto const& cuts = mesh.getCutEdgeIndices();
    ASSERT_EQ(pathEdges + 1, cuts.first.size());
    EXPECT_EQ(n + pathEdges + 1, mesh.getNumberOfVertices());
    expectCleanCut(mesh, 144, 1);
    // The path runs from the start's ring to the other, copies numbered in path order.
    for (std::size_t i = 0; i < cuts.first.size(); ++i) {
      EXPECT_EQ(n + i, cuts.second[i].index);
      float const z = mesh.getVertex(cuts.first[i].index).getPoint3D().getZ();
      if (i == 0)
        EXPECT_EQ(metric == CutAtMinimum ? 0.0f : 2.0f, z);
      else
        EXPECT_TRUE(metric == CutAtMinimum
                        ? z >= mesh.getVertex(cuts.first[i - 1].index).getPoint3D().getZ()
                        : z <= mesh.getVertex(cuts.first[i - 1].index).getPoint3D().getZ());
    }
    EXPECT_EQ(metric == CutAtMinimum ? 2.0f : 0.0f,
              mesh.getVertex(cuts.first.back().index).getPoint3D().getZ());
    // The start's copy takes the triangles on the left of the path seen from outside: those
    // at smaller angles when the path climbs, at larger ones when it descends.
    std::uint32_t const start = cuts.first[0].index;
    Point const p = mesh.getVertex(start).getPoint3D();
    for (Triangle const* t : trianglesOf(mesh))
      for (int k = 0; k < 3; ++k) {
        std::uint32_t const v = t->getAdjacentVertexIndex(k);
        if (v != start && v != cuts.second[0].index)
          continue;
        Point const q = mesh.getVertex(t->getAdjacentVertexIndex(k + 1)).getPoint3D();
        Point const r = mesh.getVertex(t->getAdjacentVertexIndex(k + 2)).getPoint3D();
        double const turn = Vector(p.getX(), p.getY(), 0.0)
                                .cross(Vector(q.getX() + r.getX(), q.getY() + r.getY(), 0.0))
                                .getdZ();
        EXPECT_EQ((v == start) == (metric == CutAtMinimum), turn > 0.0);
      }
  }
}

TEST(Cut, TheLastVertexMustLieOnABoundary) {
  Mesh mesh;
  mesh.construct(Meshes::tube(8, 3, 1.0, 1.0, 0.5, true));
  MeshTestAccess::cuts(mesh) = {{{1}}, {{2}}};
  auto const before = mesh.getIndexedFaceSet();
  EXPECT_FALSE(mesh.makeCut(CutAtMinimum, 2, 0));
  EXPECT_TRUE(mesh.getCutEdgeIndices().first.empty() && mesh.getCutEdgeIndices().second.empty());
  EXPECT_EQ(before.getFaces(), mesh.getIndexedFaceSet().getFaces());
  EXPECT_EQ(before.getPoints(), mesh.getIndexedFaceSet().getPoints());
}

TEST(Cut, RefusalsLeaveTheMeshAsItWas) {
  // A 3 x 3 patch turned a little clockwise: its bottom row falls away from the plane y = 0
  // through the corner (0, 0), which is the leftmost vertex.
  IndexedFaceSet const patch = Meshes::planarPatch(3, 3);
  std::vector<Point> turned;
  for (Point const& p : patch.getPoints())
    turned.push_back(Point(p.getX() * std::cos(0.01) + p.getY() * std::sin(0.01),
                           -p.getX() * std::sin(0.01) + p.getY() * std::cos(0.01), 0.0));
  struct Case {
    char const* name;
    IndexedFaceSet set;
    CutMetric metric;
    std::uint32_t axisA;
    std::uint32_t axisB;
  };
  Case const cases[] = {
      // The ring's first vertex has the rows above it exactly on the plane y = 0.
      {"exact hit", Meshes::tube(12, 6, 1.0, 2.0), CutAtMinimum, 2, 0},
      // Starting as CutAtMaximum does, from the top ring, but walking up and away.
      {"other metric", Meshes::tube(12, 6, 1.0, 2.0, 0.5), CutMetric(7), 2, 1},
      // Along the border from the corner to its neighbour: a border edge is not cut again.
      {"border", IndexedFaceSet(turned, patch.getFaces()), CutAtMinimum, 0, 2},
      // A plane through two equal axes has no normal: nothing points forward.
      {"no plane", Meshes::tube(8, 3, 1.0, 1.0, 0.5), CutAtMinimum, 2, 5},
  };
  for (Case const& c : cases) {
    Mesh mesh;
    mesh.construct(c.set);
    MeshTestAccess::cuts(mesh) = {{{1}}, {{2}}};
    std::uint32_t const loops = mesh.getNumberOfBoundaryLoops();
    IndexedFaceSet const before = mesh.getIndexedFaceSet();
    EXPECT_FALSE(mesh.makeCut(c.metric, c.axisA, c.axisB)) << c.name;
    EXPECT_TRUE(mesh.getCutEdgeIndices().first.empty()) << c.name;
    EXPECT_EQ(before.getFaces(), mesh.getIndexedFaceSet().getFaces()) << c.name;
    EXPECT_EQ(before.getPoints(), mesh.getIndexedFaceSet().getPoints()) << c.name;
    EXPECT_EQ(loops, mesh.getNumberOfBoundaryLoops()) << c.name;
  }
  // What the refusals are measured against: with half-cell turns the same planes cut, and
  // CutAtMaximum's own sign walks down from the top ring.
  for (CutMetric const metric : {CutAtMinimum, CutAtMaximum}) {
    Mesh mesh;
    mesh.construct(Meshes::tube(12, 6, 1.0, 2.0, 0.5));
    EXPECT_TRUE(mesh.makeCut(metric, 2, metric == CutAtMinimum ? 0 : 1));
  }
}

TEST(Cut, AChordJoinsTwoLoopsInOneEdge) {
  // One ring of cells: the first path edge already reaches the other loop.
  Mesh mesh;
  mesh.construct(Meshes::tube(10, 1, 1.0, 0.2, 0.5));
  ASSERT_TRUE(mesh.makeCut(CutAtMinimum, 2, 0));
  EXPECT_EQ(2u, mesh.getCutEdgeIndices().first.size());
  expectCleanCut(mesh, 20, 1);
  // A second call starts by forgetting the first call's pairs, even when it cuts nothing.
  EXPECT_FALSE(mesh.makeCut(CutAtMinimum, 2, 2));
  EXPECT_TRUE(mesh.getCutEdgeIndices().first.empty() && mesh.getCutEdgeIndices().second.empty());
}

TEST(Cut, AutomaticCutsLeaveOneLoop) {
  struct Case {
    char const* name;
    IndexedFaceSet set;
    std::uint32_t cuts;
  };
  IndexedFaceSet tiltedTube = Meshes::tube(9, 4, 0.5, 3.0);
  std::vector<Point> points = tiltedTube.getPoints();
  for (Point& p : points)
    p = Point(p.getX(), 0.6 * p.getY() - 0.8 * p.getZ(), 0.8 * p.getY() + 0.6 * p.getZ());
  Case const cases[] = {
      // Straight rows above each ring vertex: every plane of the mesh as it lies hits them.
      {"straight tube", Meshes::tube(16, 6, 1.0, 3.0), 1},
      {"tilted tube", IndexedFaceSet(points, tiltedTube.getFaces()), 1},
      {"tube ending inside", Meshes::tube(8, 4, 1.0, 1.0, 0.5, true), 1},
      {"truncated cone", Meshes::cone(12, 5, false), 1},
      {"patch with two holes", Meshes::planarPatch(15, 9, 3.0, 2.0, 2), 2},
      {"strip", Meshes::cylinderStrip(6, 3, 2.0), 0},
  };
  for (Case const& c : cases) {
    Mesh mesh;
    mesh.construct(c.set);
    MeshTestAccess::cuts(mesh) = {{{0}}, {{0}}};
    std::uint32_t const triangles = c.set.getNumberOfFaces();
    ASSERT_EQ(c.cuts, mesh.makeCuts()) << c.name;
    expectCleanCut(mesh, triangles, 1);
    // The pairs of every cut, each cut's run ending with its end vertex's copy.
    auto const& cuts = mesh.getCutEdgeIndices();
    EXPECT_EQ(mesh.getNumberOfVertices() - c.set.getNumberOfPoints(), cuts.first.size()) << c.name;
    // No point moved, though the search turned copies of them (the last vertex may have
    // swapped places with a boundary vertex).
    auto const sorted = [](std::vector<Point> points) {
      std::sort(points.begin(), points.end(), [](Point const& a, Point const& b) {
        return std::make_tuple(a.getX(), a.getY(), a.getZ()) <
               std::make_tuple(b.getX(), b.getY(), b.getZ());
      });
      return points;
    };
    std::vector<Point> kept;
    for (std::uint32_t v = 0; v < c.set.getNumberOfPoints(); ++v)
      kept.push_back(mesh.getVertex(v).getPoint3D());
    EXPECT_EQ(sorted(c.set.getPoints()), sorted(kept)) << c.name;
  }
  // A closed surface has no loop to join.
  Mesh mesh;
  mesh.construct(Meshes::cappedTube());
  EXPECT_EQ(0u, mesh.makeCuts());
  EXPECT_EQ(0u, mesh.getNumberOfBoundaryLoops());
}

} // namespace
} // namespace trimeshtest
