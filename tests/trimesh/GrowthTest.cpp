#include "TriMeshTestSupport.h"

#include <QARN/Exception.h>

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
    Face const& c = triangles[t];
    front.emplace(c[(k + 1) % 3] + n * c[(k + 2) % 3], t);
  };
  for (int k = 0; k < 3; ++k)
    insert(0, k);
  faces[0] = faces.back();
  std::size_t r = faces.size() - 1;
  std::size_t i = 0;
  std::size_t sinceLastMatch = 0;
  while (r > 0) {
    if (sinceLastMatch++ > r)
      return {};
    Face const face = faces[i];
    for (int k = 0; k < 3; ++k) {
      std::uint32_t const x = face[k];
      std::uint32_t const y = face[(k + 1) % 3];
      std::uint32_t const z = face[(k + 2) % 3];
      auto const it = front.find(y + n * x);
      if (it == front.end())
        continue;
      // The triangle's edge out of y, and the new triangle (its dest, y, z) across it.
      std::uint64_t const matched = it->first;
      Face const& owner = triangles[it->second];
      int const c = owner[0] == y ? 0 : owner[1] == y ? 1 : 2;
      triangles.push_back({owner[(c + 1) % 3], y, z});
      insert(triangles.size() - 1, 0);
      insert(triangles.size() - 1, 1);
      front.erase(matched);
      faces[i] = faces[r - 1];
      --r;
      sinceLastMatch = 0;
      break;
    }
    if (++i >= r)
      i = 0;
  }
  return triangles;
}

/// Loads the faces in the given order and returns the mesh's triangles in creation order, and
/// the number of boundary edges.
std::vector<Face> loadedGrowth(std::vector<std::array<double, 3>> const& points,
                               std::vector<Face> const& faces, int* boundaryEdges = nullptr) {
  std::string const path = tempPath("growth.obj");
  writeText(path, objText(points, faces));
  Mesh mesh;
  mesh.load(path.c_str());
  std::vector<Face> corners;
  for (Triangle* t : trianglesOf(mesh)) {
    corners.push_back(cornersOf(t));
    for (int k = 0; boundaryEdges != nullptr && k < 3; ++k)
      *boundaryEdges += t->getEdge(k).isBoundary() ? 1 : 0;
  }
  return corners;
}

/// Random face order and random rotation of each face's corners (the winding is kept).
std::vector<Face> shuffled(std::vector<Face> faces, std::mt19937& random) {
  std::shuffle(faces.begin(), faces.end(), random);
  for (Face& f : faces)
    std::rotate(f.begin(), f.begin() + random() % 3, f.end());
  return faces;
}

TEST(TriMeshGrowth, AddsTheTrianglesOfTheLiteralCursorInItsOrder) {
  std::mt19937 random(20240611);
  std::vector<std::array<double, 3>> points;
  std::vector<Face> faces;
  for (int shape = 0; shape < 4; ++shape) {
    int const w = 7 + shape;
    int const h = 5 + shape;
    bool const open = shape % 2 == 0;
    if (open)
      grid(w, h, points, faces);
    else
      torus(w, h, points, faces);
    for (int trial = 0; trial < 10; ++trial) {
      std::vector<Face> const order = shuffled(faces, random);
      std::vector<Face> const expected = literalGrowth(order, points.size());
      ASSERT_EQ(faces.size(), expected.size());
      int boundaryEdges = 0;
      EXPECT_EQ(expected, loadedGrowth(points, order, &boundaryEdges)) << shape << " " << trial;
      // Every shared edge is glued, whatever the order of growth.
      EXPECT_EQ(open ? 2 * (w + h) : 0, boundaryEdges) << shape << " " << trial;
    }
  }
}

TEST(TriMeshGrowth, FacesOutOfReachOfTheSeedFail) {
  std::vector<std::array<double, 3>> const points{{0, 0, 0}, {1, 0, 0}, {0, 1, 0},
                                                  {5, 0, 0}, {6, 0, 0}, {5, 1, 0}};
  std::vector<std::vector<Face>> const cases{
      {{0, 1, 2}, {3, 4, 5}}, // two pieces
      {{0, 1, 2}, {0, 1, 2}}, // the same face twice
      {{0, 1, 2}, {1, 2, 3}}, // wound against its neighbour
  };
  for (auto const& faces : cases) {
    EXPECT_TRUE(literalGrowth(faces, points.size()).empty());
    try {
      loadedGrowth(points, faces);
      FAIL();
    } catch (QARN::Exception const& e) {
      EXPECT_STREQ("Mesh construction failure", e.what());
    }
  }
}

} // namespace
} // namespace trimeshtest
