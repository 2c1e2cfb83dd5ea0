#ifndef QARN_TESTS_QUADMESH_FLATMESHSUPPORT_H
#define QARN_TESTS_QUADMESH_FLATMESHSUPPORT_H

#include "QuadMeshTestSupport.h"

#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace QuadMeshTest {

using QARN::Geometry::ThreeDimensional::TriMesh::Mesh;

/// A flattened triangle mesh as plain lists: each vertex's 3-D point and flat point, faces of
/// 0-based corners counter-clockwise in the flat plane, and cut pairs (vertex, its copy).
struct FlatMeshData {
  std::vector<Point> points;
  std::vector<std::array<double, 2>> flat;
  std::vector<std::array<std::uint32_t, 3>> faces;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> cut;
};

/// Writes the mesh text and its cut file into the test's scratch folder as name.obj and loads
/// it; the flat points are then set again in full double precision.
inline void loadFlatMesh(Mesh& mesh, FlatMeshData const& data, std::string const& name) {
  std::string text;
  char line[160];
  for (Point const& p : data.points)
    text.append(
        line, std::snprintf(line, sizeof line, "v %.9g %.9g %.9g\n", p.getX(), p.getY(), p.getZ()));
  for (auto const& q : data.flat)
    text.append(line, std::snprintf(line, sizeof line, "vt %.9g %.9g\n", q[0], q[1]));
  for (auto const& f : data.faces)
    text.append(line,
                std::snprintf(line, sizeof line, "f %u %u %u\n", f[0] + 1, f[1] + 1, f[2] + 1));
  writeFile(tempPath(name + ".obj"), text);
  std::string cut;
  for (auto const& [a, b] : data.cut)
    cut += std::to_string(a) + ", " + std::to_string(b) + "\n";
  if (!cut.empty())
    writeFile(tempPath(name + "_cut_indices.txt"), cut);
  mesh.load(tempPath(name + ".obj").c_str());
  for (std::uint32_t i = 0; i < data.flat.size(); ++i)
    mesh.getVertex(i).setPoint2D({data.flat[i][0], data.flat[i][1]});
}

/// Vertex (i, j) of a lattice patch of nu × nv cells is number j·(nu + 1) + i.
inline std::uint32_t latticeIndex(int nu, int i, int j) {
  return static_cast<std::uint32_t>(j * (nu + 1) + i);
}

/// A patch of nu × nv cells: vertex (i, j) at the flat point (i·du, j·dv) and the 3-D point
/// surface(i·du, j·dv); each cell split into two counter-clockwise triangles along the diagonal
/// from (i, j) to (i + 1, j + 1).
inline FlatMeshData latticePatch(int nu, int nv, double du, double dv,
                                 std::function<Point(double, double)> const& surface) {
  FlatMeshData data;
  for (int j = 0; j <= nv; ++j)
    for (int i = 0; i <= nu; ++i) {
      data.flat.push_back({i * du, j * dv});
      data.points.push_back(surface(i * du, j * dv));
    }
  for (int j = 0; j < nv; ++j)
    for (int i = 0; i < nu; ++i) {
      std::uint32_t const a = latticeIndex(nu, i, j);
      std::uint32_t const b = latticeIndex(nu, i + 1, j);
      std::uint32_t const c = latticeIndex(nu, i + 1, j + 1);
      std::uint32_t const d = latticeIndex(nu, i, j + 1);
      data.faces.push_back({a, b, c});
      data.faces.push_back({a, c, d});
    }
  return data;
}

/// A strip of the cylinder of radius 5 about the z axis, 24 × 8 cells of 0.5, cut open along a
/// generator: the first and last lattice columns are the two sides of the seam, and each
/// vertex of the first is paired with the one of the last in the cut pairs.
inline FlatMeshData cutCylinderStrip() {
  int const nu = 24;
  int const nv = 8;
  FlatMeshData strip = latticePatch(nu, nv, 0.5, 0.5, [](double x, double y) {
    return Point(5 * std::cos(x / 5), 5 * std::sin(x / 5), y);
  });
  for (int j = 0; j <= nv; ++j)
    strip.cut.emplace_back(latticeIndex(nu, 0, j), latticeIndex(nu, nu, j));
  return strip;
}

/// The largest u and the largest v of the valid points.
inline GridPoint lastValidIndices(RectMesh const& m) {
  GridPoint last;
  for (int v = 0; v <= int(m.getExtents().getdV()); ++v)
    for (int u = 0; u <= int(m.getExtents().getdU()); ++u)
      if (m.getIsPointValid(GridPoint(u, v)))
        last.set(std::max(last.getU(), u), std::max(last.getV(), v));
  return last;
}

} // namespace QuadMeshTest

#endif
