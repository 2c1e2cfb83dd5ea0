#ifndef QARN_TESTS_TRIMESH_TRIMESHTESTSUPPORT_H
#define QARN_TESTS_TRIMESH_TRIMESHTESTSUPPORT_H

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <common/Support.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// White-box access to the private topology operations.
struct MeshTestAccess {
  static bool isBoundaryVertex(Mesh const& m, std::uint32_t v) { return m.getIsBoundaryVertex(v); }
  static bool doesEdgeExist(Mesh const& m, std::uint32_t a, std::uint32_t b, Edge* out) {
    return m.getDoesEdgeExist(a, b, out);
  }
  static Edge arbitraryEdge(Mesh const& m, std::uint32_t v) { return m.getVertexArbitraryEdge(v); }
  static bool connect(Triangle* t, int k, Triangle* other, std::uint32_t m) {
    return t->connect(k, other, m);
  }
  static void makeBoundary(Edge const& e) { e.makeBoundary(); }
  static TwoDimensional::BoundingBoxAA<double> box2D(Triangle const* t) { return t->getAABB2D(); }
  static void permute(Mesh& m, std::vector<std::uint32_t> const& newIndexOfOld) {
    m.permuteVertices(newIndexOfOld);
  }
  static Mesh::CutEdgeIndices& cuts(Mesh& m) { return m.cutEdgeIndices; }
  static bool orient(Mesh& m) { return m.transformMinBBArea2D(); }
  /// Appends floating vertices holding only the flat points.
  static void addFlatPoints(Mesh& m, std::vector<TwoDimensional::Point<double>> const& points) {
    for (auto const& p : points) {
      Vertex v;
      v.setPoint2D(p);
      m.addVertex(v);
    }
  }

  // The connectivity growth: both forms, on vertices added one by one.
  using Faces = std::vector<std::array<std::uint32_t, 3>>;
  static void addVertex(Mesh& m, Point const& p) { m.addVertex(Vertex(p)); }
  static void growGenerally(Mesh& m, Faces const& faces) { m.growFromFaces(faces); }
  static bool growAcrossOppositeEdges(Mesh& m, Faces const& faces) {
    return m.growAcrossOppositeEdges(faces);
  }
  /// Every triangle in creation order: corners, then per edge the serial of the neighbour (-1 on
  /// the boundary) and the edge index inside it; then each vertex's anchor serial (-1 when
  /// floating), and the extra fan entries still kept per vertex.
  static std::vector<std::int64_t> state(Mesh const& m) {
    std::vector<std::int64_t> out;
    auto const serial = [](Triangle const* t) {
      return t == nullptr ? std::int64_t(-1) : std::int64_t(t->serial);
    };
    for (std::size_t s = 0; s < m.triangleCount; ++s) {
      Triangle const* t = m.getTriangleBySerial(s);
      for (int k = 0; k < 3; ++k)
        out.insert(out.end(), {t->vertexIndices[k], serial(t->adjacentTriangles[k]),
                               t->adjacentEdgeIndices[k]});
    }
    for (Triangle const* anchor : m.vertexTriangles)
      out.push_back(serial(anchor));
    for (std::uint32_t v = 0; v < m.vertexTriangles.size(); ++v)
      if (auto const* entries = m.getMoreFanEntries(v))
        for (Triangle const* t : *entries)
          out.insert(out.end(), {v, serial(t)});
    return out;
  }
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

namespace trimeshtest {

using namespace QARN::Geometry::ThreeDimensional::TriMesh;
using QARN::Geometry::ThreeDimensional::Point;
using QARN::Geometry::ThreeDimensional::Vector;
using Points = std::vector<std::array<double, 3>>;
using Face = std::array<std::uint32_t, 3>; // 0-based corners

using QARN::Test::readFile;
using QARN::Test::tempPath;
using QARN::Test::writeFile;

/// Mesh text with one "v" line per point and one "f" line per face.
inline std::string objText(Points const& points, std::vector<Face> const& faces) {
  std::string text;
  char line[128];
  for (auto const& p : points)
    text.append(line, std::snprintf(line, sizeof line, "v %f %f %f\n", p[0], p[1], p[2]));
  for (auto const& f : faces)
    text.append(line,
                std::snprintf(line, sizeof line, "f %u %u %u\n", f[0] + 1, f[1] + 1, f[2] + 1));
  return text;
}

/// A surface of (w x h) cells, two counter-clockwise triangles per cell: a flat open grid with
/// vertex (i, j) at index j*(w+1) + i, or closed into a torus with outward normals.
inline void surface(int w, int h, bool closed, Points& points, std::vector<Face>& faces) {
  int const nu = closed ? w : w + 1;
  int const nv = closed ? h : h + 1;
  points.clear();
  faces.clear();
  for (int j = 0; j < nv; ++j)
    for (int i = 0; i < nu; ++i) {
      double const a = 6.283185307179586 * i / w;
      double const b = 6.283185307179586 * j / h;
      double const r = 3 + std::cos(b);
      points.push_back(closed ? std::array<double, 3>{r * std::cos(a), r * std::sin(a), std::sin(b)}
                              : std::array<double, 3>{double(i), double(j), 0.0});
    }
  auto const at = [&](int i, int j) { return std::uint32_t((j % nv) * nu + (i % nu)); };
  for (int j = 0; j < h; ++j)
    for (int i = 0; i < w; ++i) {
      faces.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
      faces.push_back({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
    }
}

inline FileContents loadText(Mesh& mesh, std::string const& text,
                             std::string const& name = "in.obj") {
  writeFile(tempPath(name), text);
  return mesh.load(tempPath(name).c_str());
}

/// The message of the library exception thrown by f, or "no exception".
template <typename F>
std::string errorOf(F f) {
  return QARN::Test::messageOf<QARN::Exception>(f);
}

/// The distinct triangles of a mesh, in creation order.
inline std::vector<Triangle*> trianglesOf(Mesh const& mesh) {
  std::vector<Triangle*> list;
  std::vector<Triangle*>::const_iterator begin;
  std::vector<Triangle*>::const_iterator end;
  mesh.getTriangles(list, begin, end);
  return std::vector<Triangle*>(begin, end);
}

inline Face cornersOf(Triangle const* t) {
  Face f;
  t->getVertexIndices(f[0], f[1], f[2]);
  return f;
}

/// Checks the neighbour invariants (each link returned, shared sides run opposite ways), that
/// every corner names a vertex and that every vertex is anchored in a triangle holding it.
inline void expectConsistent(Mesh const& mesh, std::size_t triangleCount) {
  constexpr std::uint32_t invalid = 0xFFFFFFFFu;
  auto const triangles = trianglesOf(mesh);
  EXPECT_EQ(triangleCount, triangles.size());
  for (Triangle* t : triangles)
    for (int k = 0; k < 3; ++k) {
      EXPECT_LT(t->getAdjacentVertexIndex(k), mesh.getNumberOfVertices());
      Edge const e = t->getEdge(k);
      Triangle* const u = t->getAdjacentTriangle(k);
      int const m = int(t->getAdjacentTriangleEdgeIndex(k));
      if (u == nullptr) {
        EXPECT_TRUE(e.isBoundary() && m == int(invalid) && e.sym() == Edge());
        continue;
      }
      EXPECT_TRUE(u->getAdjacentTriangle(m) == t && int(u->getAdjacentTriangleEdgeIndex(m)) == k);
      EXPECT_TRUE(e.org() == e.sym().dest() && e.dest() == e.sym().org() && e == e.sym().sym());
      if (e.onext().getTriangle() != nullptr) {
        EXPECT_EQ(e.org(), e.onext().org());
        EXPECT_EQ(e, e.onext().oprev());
      }
    }
  for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
    Edge const e = MeshTestAccess::arbitraryEdge(mesh, v);
    ASSERT_NE(nullptr, e.getTriangle()) << "vertex " << v << " is floating";
    EXPECT_EQ(v, e.org());
  }
}

} // namespace trimeshtest

#endif
