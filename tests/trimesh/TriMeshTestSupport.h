#ifndef QARN_TESTS_TRIMESH_TRIMESHTESTSUPPORT_H
#define QARN_TESTS_TRIMESH_TRIMESHTESTSUPPORT_H

#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>
#include <QARN/Progress/ProgressListener.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
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
  static std::vector<Triangle*> const& list(Mesh const& m, std::uint32_t v) {
    return m.vertexTriangles[v];
  }
  static bool connect(Triangle* t, int k, Triangle* other, std::uint32_t m) {
    return t->connect(k, other, m);
  }
  static constexpr std::uint32_t invalid = Triangle::invalidEdgeIndex;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

namespace trimeshtest {

using namespace QARN::Geometry::ThreeDimensional::TriMesh;
using QARN::Geometry::ThreeDimensional::Point;
using QARN::Geometry::ThreeDimensional::Vector;
using Face = std::array<std::uint32_t, 3>; // 0-based corners

inline std::string tempPath(std::string const& name) {
  char const* dir = std::getenv("QARN_TEST_TMPDIR");
  std::string base = dir != nullptr ? dir : ::testing::TempDir();
  if (!base.empty() && base.back() != '/')
    base += '/';
  return base + name;
}

inline void writeText(std::string const& path, std::string const& text) {
  std::ofstream(path, std::ios::binary) << text;
}

inline std::string readText(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

/// Mesh text with one "v" line per point and one "f" line per face.
inline std::string objText(std::vector<std::array<double, 3>> const& points,
                           std::vector<Face> const& faces) {
  std::string text = "g Vertices\n";
  char line[128];
  for (auto const& p : points) {
    std::snprintf(line, sizeof line, "v %f %f %f\n", p[0], p[1], p[2]);
    text += line;
  }
  text += "g Faces\n";
  for (auto const& f : faces) {
    std::snprintf(line, sizeof line, "f %u %u %u\n", f[0] + 1, f[1] + 1, f[2] + 1);
    text += line;
  }
  return text;
}

/// An open (w x h)-cell grid in the plane z = 0, two counter-clockwise triangles per cell.
inline void grid(int w, int h, std::vector<std::array<double, 3>>& points,
                 std::vector<Face>& faces) {
  points.clear();
  faces.clear();
  for (int j = 0; j <= h; ++j)
    for (int i = 0; i <= w; ++i)
      points.push_back({double(i), double(j), 0.0});
  auto const at = [w](int i, int j) { return std::uint32_t(j * (w + 1) + i); };
  for (int j = 0; j < h; ++j)
    for (int i = 0; i < w; ++i) {
      faces.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
      faces.push_back({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
    }
}

/// A closed torus of (w x h) cells, outward-facing triangles.
inline void torus(int w, int h, std::vector<std::array<double, 3>>& points,
                  std::vector<Face>& faces) {
  points.clear();
  faces.clear();
  double const pi = 3.141592653589793;
  for (int j = 0; j < h; ++j)
    for (int i = 0; i < w; ++i) {
      double const a = 2 * pi * i / w;
      double const b = 2 * pi * j / h;
      double const r = 3 + std::cos(b);
      points.push_back({r * std::cos(a), r * std::sin(a), std::sin(b)});
    }
  auto const at = [w, h](int i, int j) { return std::uint32_t((j % h) * w + (i % w)); };
  for (int j = 0; j < h; ++j)
    for (int i = 0; i < w; ++i) {
      faces.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
      faces.push_back({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
    }
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

/// Records every listener call as one line.
struct RecordingListener : QARN::ProgressListener {
  std::vector<std::string> calls;
  void setStatusText(char const* text) override { calls.push_back(text); }
  void setProgress(std::uint32_t percent) override { calls.push_back(std::to_string(percent)); }
  void setValue(char const* name, double) override { calls.push_back(name); }
  void setIteration(std::uint32_t) override { calls.push_back("iteration"); }
};

} // namespace trimeshtest

#endif
