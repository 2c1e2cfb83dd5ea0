#include "TriMeshTestSupport.h"

#include <algorithm>
#include <map>
#include <random>

namespace trimeshtest {
namespace {

/// The connectivity growth done literally: a cursor cycling over the remaining faces, trying each
/// face's edges against the front. Returns the corners of the triangles in the order they are
/// added; empty when a full pass adds nothing.
std::vector<Face> literalGrowth(std::vector<Face> faces, std::uint64_t n) {
  std::vector<Face> triangles{faces[0]};
  std::map<std::uint64_t, std::size_t> front; // org + n*dest -> triangle
  auto const insert = [&](std::size_t t, int k) {
    front.emplace(triangles[t][(k + 1) % 3] + n * triangles[t][(k + 2) % 3], t);
  };
  for (int k = 0; k < 3; ++k)
    insert(0, k);
  faces[0] = faces.back();
  std::size_t r = faces.size() - 1;
  std::size_t tried = 0;
  for (std::size_t i = 0; r > 0; i = i + 1 < r ? i + 1 : 0) {
    if (tried++ > r)
      return {};
    for (int k = 0; k < 3; ++k) {
      std::uint32_t const x = faces[i][k];
      std::uint32_t const y = faces[i][(k + 1) % 3];
      auto const it = front.find(y + n * x);
      if (it == front.end())
        continue;
      // Across the edge out of y of the front triangle: (its dest, y, the third corner).
      Face const& owner = triangles[it->second];
      int const c = owner[0] == y ? 0 : owner[1] == y ? 1 : 2;
      triangles.push_back({owner[(c + 1) % 3], y, faces[i][(k + 2) % 3]});
      insert(triangles.size() - 1, 0);
      insert(triangles.size() - 1, 1);
      front.erase(y + n * x);
      faces[i] = faces[--r];
      tried = 0;
      break;
    }
  }
  return triangles;
}

TEST(TriMeshGrowth, AddsTheTrianglesOfTheLiteralCursorInItsOrder) {
  std::mt19937 random(20240611);
  Points points;
  std::vector<Face> faces;
  for (int shape = 0; shape < 4; ++shape) {
    int const w = 7 + shape;
    int const h = 5 + shape;
    bool const closed = shape % 2 == 1;
    surface(w, h, closed, points, faces);
    for (int trial = 0; trial < 10; ++trial) {
      // Random face order and corner rotation; the winding is kept.
      std::shuffle(faces.begin(), faces.end(), random);
      for (Face& f : faces)
        std::rotate(f.begin(), f.begin() + random() % 3, f.end());
      std::vector<Face> const expected = literalGrowth(faces, points.size());
      ASSERT_EQ(faces.size(), expected.size());
      Mesh mesh;
      loadText(mesh, objText(points, faces));
      std::vector<Face> corners;
      int boundaryEdges = 0;
      for (Triangle* t : trianglesOf(mesh)) {
        corners.push_back(cornersOf(t));
        for (int k = 0; k < 3; ++k)
          boundaryEdges += t->getEdge(k).isBoundary() ? 1 : 0;
      }
      EXPECT_EQ(expected, corners) << shape << " " << trial;
      // Every shared edge is glued, whatever the order of growth.
      EXPECT_EQ(closed ? 0 : 2 * (w + h), boundaryEdges) << shape << " " << trial;
    }
  }
}

TEST(TriMeshGrowth, FacesOutOfReachOfTheSeedFail) {
  Points const points{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {5, 0, 0}, {6, 0, 0}, {5, 1, 0}};
  // Two pieces; the same face twice; a face wound against its neighbour.
  for (std::vector<Face> const& faces : std::vector<std::vector<Face>>{
           {{0, 1, 2}, {3, 4, 5}}, {{0, 1, 2}, {0, 1, 2}}, {{0, 1, 2}, {1, 2, 3}}}) {
    EXPECT_TRUE(literalGrowth(faces, points.size()).empty());
    Mesh mesh;
    EXPECT_EQ("Mesh construction failure",
              errorOf([&] { loadText(mesh, objText(points, faces)); }));
  }
}

} // namespace
} // namespace trimeshtest
