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

/// A surface with every kind of fan the growth meets: a grid with a square hole whose corner
/// cells are cut diagonally, so that the hole's corner vertices each join two separate fans.
void pinchedSurface(int w, Points& points, std::vector<Face>& faces) {
  surface(w, w, false, points, faces);
  auto const at = [&](int i, int j) { return std::uint32_t(j * (w + 1) + i); };
  std::vector<Face> kept;
  for (Face const& f : faces) {
    // Drop the cells 2 <= i, j < w - 2, and one triangle each of the four cells at its corners.
    int const i = int(f[0] % (w + 1));
    int const j = int(f[0] / (w + 1));
    bool const lower = f[1] == at(i + 1, j);
    bool const inside = i >= 2 && j >= 2 && i < w - 2 && j < w - 2;
    bool const corner = (i == 1 || i == w - 2) && (j == 1 || j == w - 2);
    if (!inside && !(corner && lower == (i == j)))
      kept.push_back(f);
  }
  faces = kept;
}

/// A disk of k triangles round vertex 0, whose edges all start at vertex 0's end.
void wheel(std::uint32_t k, Points& points, std::vector<Face>& faces) {
  points = {{0, 0, 0}};
  faces.clear();
  for (std::uint32_t i = 1; i <= k; ++i) {
    points.push_back({std::cos(6.283185307179586 * i / k), std::sin(6.283185307179586 * i / k), 0});
    faces.push_back({0, i, i % k + 1});
  }
}

TEST(TriMeshGrowth, GrowthAlongOppositeEdgesAgreesWithTheGeneralGrowth) {
  // Triangles, neighbours, anchors and fan entries, after success and after a failure.
  std::mt19937 random(99);
  for (int shape = 0; shape < 7; ++shape) {
    Points points;
    std::vector<Face> faces;
    if (shape < 4)
      surface(6 + shape, 4 + shape, shape % 2 == 1, points, faces);
    else if (shape < 6)
      pinchedSurface(8 + shape, points, faces);
    else
      wheel(40, points, faces);
    for (int trial = 0; trial < 30; ++trial) {
      std::shuffle(faces.begin(), faces.end(), random);
      for (Face& f : faces)
        std::rotate(f.begin(), f.begin() + random() % 3, f.end());
      std::vector<Face> tried = faces;
      // Some trials add a face out of reach, on three vertices of its own: both growths then
      // stop at the same point.
      auto const n = std::uint32_t(points.size());
      if (trial % 5 == 4)
        tried.insert(tried.begin() + 1 + random() % tried.size(), Face{n, n + 1, n + 2});
      QARN::Test::ProgressLog fastLog;
      QARN::Test::ProgressLog generalLog;
      Mesh fast;
      Mesh general;
      fast.setProgressListener(&fastLog);
      general.setProgressListener(&generalLog);
      for (auto const& p : points) {
        MeshTestAccess::addVertex(fast, Point(p.data()));
        MeshTestAccess::addVertex(general, Point(p.data()));
      }
      for (int i = 0; i < 3; ++i) {
        MeshTestAccess::addVertex(fast, Point());
        MeshTestAccess::addVertex(general, Point());
      }
      std::string const fastError =
          errorOf([&] { EXPECT_TRUE(MeshTestAccess::growAcrossOppositeEdges(fast, tried)); });
      std::string const generalError =
          errorOf([&] { MeshTestAccess::growGenerally(general, tried); });
      EXPECT_EQ(generalError, fastError);
      EXPECT_EQ(generalLog.log, fastLog.log);
      EXPECT_EQ(MeshTestAccess::state(general), MeshTestAccess::state(fast))
          << shape << " " << trial;
    }
  }
}

TEST(TriMeshGrowth, GrowthAlongOppositeEdgesTakesOnlyFacesOfDistinctEdges) {
  Points const points{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
  // A repeated corner, a directed edge twice (also after its reverse), a corner out of range.
  for (std::vector<Face> const& faces :
       std::vector<std::vector<Face>>{{{0, 1, 2}, {1, 1, 3}},
                                      {{0, 1, 2}, {0, 1, 3}},
                                      {{0, 1, 2}, {1, 0, 3}, {3, 0, 1}},
                                      {{0, 1, 2}, {2, 1, 4}}}) {
    Mesh mesh;
    for (auto const& p : points)
      MeshTestAccess::addVertex(mesh, Point(p.data()));
    EXPECT_FALSE(MeshTestAccess::growAcrossOppositeEdges(mesh, faces));
    EXPECT_EQ(std::vector<std::int64_t>(4, -1), MeshTestAccess::state(mesh));
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
