#include "TriMeshTestSupport.h"

#include <common/GeneratedMeshes.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <random>

namespace trimeshtest {
namespace {

namespace Meshes = QARN::Test::Meshes;

/// Per triangle in creation order: its corners, then per edge the position of its neighbour in
/// that order (-1 on the boundary) and the neighbour's edge index.
std::vector<std::array<long, 9>> connectivity(Mesh const& mesh) {
  auto const triangles = trianglesOf(mesh);
  std::map<Triangle const*, long> position;
  for (std::size_t i = 0; i < triangles.size(); ++i)
    position[triangles[i]] = long(i);
  std::vector<std::array<long, 9>> rows;
  for (Triangle const* t : triangles) {
    std::array<long, 9> row{};
    for (int k = 0; k < 3; ++k) {
      row[k] = t->getAdjacentVertexIndex(k);
      Triangle const* u = t->getAdjacentTriangle(k);
      row[3 + k] = u == nullptr ? -1 : position.at(u);
      row[6 + k] = u == nullptr ? -1 : long(t->getAdjacentTriangleEdgeIndex(k));
    }
    rows.push_back(row);
  }
  return rows;
}

Points pointsOf(IndexedFaceSet const& set) {
  Points points;
  for (Point const& p : set.getPoints())
    points.push_back({p.getX(), p.getY(), p.getZ()});
  return points;
}

TEST(TriMeshBuild, ConstructionEqualsLoadingTheSameFaces) {
  for (IndexedFaceSet const& set :
       {Meshes::curvedPanel(5, 4), Meshes::tube(7, 3, 1.0, 1.0, 0.5), Meshes::hemisphere(6, 3)}) {
    QARN::Test::ProgressLog loadLog;
    QARN::Test::ProgressLog log;
    Mesh loaded;
    loaded.setProgressListener(&loadLog);
    loadText(loaded, objText(pointsOf(set), set.getFaces()));
    Mesh built;
    built.setProgressListener(&log);
    built.construct(set);
    EXPECT_EQ(connectivity(loaded), connectivity(built));
    expectConsistent(built, set.getNumberOfFaces());
    // The growth's stage, as loading reports it.
    EXPECT_EQ(0u, log.log.find("Constructing triangle mesh... "));
    EXPECT_NE(std::string::npos, loadLog.log.find(log.log));
    ASSERT_EQ(set.getNumberOfPoints(), built.getNumberOfVertices());
    for (std::uint32_t v = 0; v < built.getNumberOfVertices(); ++v) {
      EXPECT_EQ(set.getPoints()[v], built.getVertex(v).getPoint3D());
      // The file's points are rounded to six decimals.
      EXPECT_GT(loaded.getVertex(v).getNormal3D().dot(built.getVertex(v).getNormal3D()), 0.999);
    }
    // Back to a soup: the same points, and each face once, turned as the growth created it.
    IndexedFaceSet const back = built.getIndexedFaceSet();
    EXPECT_EQ(set.getPoints(), back.getPoints());
    auto const canonical = [](IndexedFaceSet::Face f) {
      std::rotate(f.begin(), std::min_element(f.begin(), f.end()), f.end());
      return f;
    };
    std::vector<IndexedFaceSet::Face> expected;
    std::vector<IndexedFaceSet::Face> actual;
    for (std::size_t f = 0; f < set.getFaces().size(); ++f) {
      expected.push_back(canonical(set.getFaces()[f]));
      actual.push_back(canonical(back.getFaces()[f]));
    }
    std::sort(expected.begin(), expected.end());
    std::sort(actual.begin(), actual.end());
    EXPECT_EQ(expected, actual);
  }
}

TEST(TriMeshBuild, ConstructionReplacesEverythingOrLeavesTheMeshEmpty) {
  Mesh mesh;
  writeFile(tempPath("in_cut_indices.txt"), "3, 9\n");
  loadText(mesh, objText({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{0, 1, 2}, {1, 3, 2}}));
  ASSERT_EQ("in", mesh.getFileName());
  ASSERT_EQ(2u, mesh.getCutEdgeIndices().first.size());
  // Unused points go, as loading drops them; the others keep their order.
  IndexedFaceSet set = Meshes::planarPatch(2, 1);
  set.addPoint(Point(5, 5, 5));
  std::uint32_t const shifted = set.addPoint(Point(2, 2, 0));
  set.addFace(2, shifted, 5);
  mesh.construct(set);
  EXPECT_TRUE(mesh.getFileName().empty() && mesh.getCutEdgeIndices().first.empty() &&
              mesh.getCutEdgeIndices().second.empty());
  ASSERT_EQ(7u, mesh.getNumberOfVertices());
  EXPECT_EQ(Point(2, 2, 0), mesh.getVertex(6).getPoint3D());
  expectConsistent(mesh, 5);
  for (auto const& [soup, message] :
       {std::make_pair(Meshes::twoComponents(), "Face 8 is not edge-connected to face 0."),
        std::make_pair(Meshes::mobiusStrip(6), "Faces 1 and 10 use edge (0, 1) in the same "
                                               "direction."),
        std::make_pair(IndexedFaceSet(), "Indexed face set has no faces.")}) {
    mesh.construct(Meshes::tube(4, 2));
    EXPECT_EQ(message, errorOf([&, &soup = soup] { mesh.construct(soup); }));
    EXPECT_EQ(0u, mesh.getNumberOfVertices());
    EXPECT_TRUE(trianglesOf(mesh).empty());
  }
}

TEST(TriMeshBuild, PermutingVerticesKeepsEveryTriangleOnItsPoints) {
  Mesh mesh;
  mesh.construct(Meshes::tube(6, 3, 1.0, 2.0, 0.3));
  std::uint32_t const n = mesh.getNumberOfVertices();
  MeshTestAccess::cuts(mesh) = {{{1}, {5}, {n + 4}}, {{n - 1}, {0}, {2}}};
  auto const pointsOfTriangles = [&] {
    std::vector<std::array<float, 9>> corners;
    for (Triangle const* t : trianglesOf(mesh)) {
      std::array<float, 9> c;
      for (int k = 0; k < 3; ++k)
        for (std::uint32_t axis = 0; axis < 3; ++axis)
          c[3 * k + axis] = mesh.getVertex(t->getAdjacentVertexIndex(k)).getPoint3D().get(axis);
      corners.push_back(c);
    }
    return corners;
  };
  auto const before = pointsOfTriangles();
  std::vector<Vector> normals;
  for (std::uint32_t v = 0; v < n; ++v)
    normals.push_back(mesh.getVertex(v).getNormal3D());
  std::vector<std::uint32_t> newIndexOfOld(n);
  std::iota(newIndexOfOld.begin(), newIndexOfOld.end(), 0u);
  std::shuffle(newIndexOfOld.begin(), newIndexOfOld.end(), std::mt19937(3));
  MeshTestAccess::permute(mesh, newIndexOfOld);
  EXPECT_EQ(before, pointsOfTriangles());
  expectConsistent(mesh, 36);
  for (std::uint32_t v = 0; v < n; ++v)
    EXPECT_EQ(normals[v].getdX(), mesh.getVertex(newIndexOfOld[v]).getNormal3D().getdX());
  // Entries beyond the vertices are left alone.
  auto const& cuts = mesh.getCutEdgeIndices();
  EXPECT_TRUE(cuts.first[0].index == newIndexOfOld[1] && cuts.first[1].index == newIndexOfOld[5] &&
              cuts.first[2].index == n + 4);
  EXPECT_TRUE(cuts.second[0].index == newIndexOfOld[n - 1] &&
              cuts.second[1].index == newIndexOfOld[0] && cuts.second[2].index == newIndexOfOld[2]);
  // Not a permutation: refused, nothing moves.
  newIndexOfOld[0] = newIndexOfOld[1];
  EXPECT_EQ("Invalid vertex permutation",
            errorOf([&] { MeshTestAccess::permute(mesh, newIndexOfOld); }));
  EXPECT_EQ("Invalid vertex permutation", errorOf([&] { MeshTestAccess::permute(mesh, {0}); }));
  EXPECT_EQ(before, pointsOfTriangles());
}

} // namespace
} // namespace trimeshtest
