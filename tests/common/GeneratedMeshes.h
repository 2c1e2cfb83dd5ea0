#ifndef QARN_TESTS_COMMON_GENERATEDMESHES_H
#define QARN_TESTS_COMMON_GENERATEDMESHES_H

#include <QARN/Geometry/ThreeDimensional/TriMesh/IndexedFaceSet.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

/// Small generated surfaces for the tests, as triangle soups. Faces are wound so that the normal
/// (b - a) x (c - a) points to +z on planes and outwards on closed-around shapes; points are
/// numbered row by row (u inner, v outer) unless stated.
namespace QARN::Test::Meshes {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::TriMesh::IndexedFaceSet;

constexpr double pi = 3.14159265358979323846;

/// Grid of nu x nv cells with points at(i, j) for i in 0..nu, j in 0..nv (i = nu omitted when
/// wrapU: the last column joins the first). Cell (i, j) is left out when keep(i, j) is false;
/// points no cell uses are dropped, the rest keep their order. Each cell gives the faces
/// (a, b, c) and (a, c, d) with a = (i, j), b = (i+1, j), c = (i+1, j+1), d = (i, j+1), so the
/// normal is d/di x d/dj.
inline IndexedFaceSet grid(int nu, int nv, bool wrapU, std::function<Point(int, int)> const& at,
                           std::function<bool(int, int)> const& keep = nullptr) {
  int const columns = wrapU ? nu : nu + 1;
  IndexedFaceSet set;
  for (int j = 0; j <= nv; ++j)
    for (int i = 0; i < columns; ++i)
      set.addPoint(at(i, j));
  auto const index = [&](int i, int j) { return std::uint32_t(j * columns + i % columns); };
  for (int j = 0; j < nv; ++j)
    for (int i = 0; i < nu; ++i) {
      if (keep && !keep(i, j))
        continue;
      set.addFace(index(i, j), index(i + 1, j), index(i + 1, j + 1));
      set.addFace(index(i, j), index(i + 1, j + 1), index(i, j + 1));
    }
  set.removeUnusedPoints();
  return set;
}

/// The rectangle [0, width] x [0, height] at z = 0 in nu x nv cells, with 0, 1 or 2 rectangular
/// holes (one boundary loop each); holes need nu >= 5 and nv >= 3.
inline IndexedFaceSet planarPatch(int nu, int nv, double width = 1.0, double height = 1.0,
                                  int holes = 0) {
  auto const inHole = [=](int i, int j) {
    bool const row = 3 * j >= nv && 3 * j < 2 * nv;
    if (holes == 1)
      return row && 3 * i >= nu && 3 * i < 2 * nu;
    return holes == 2 && row &&
           ((5 * i >= nu && 5 * i < 2 * nu) || (5 * i >= 3 * nu && 5 * i < 4 * nu));
  };
  return grid(
      nu, nv, false, [=](int i, int j) { return Point(width * i / nu, height * j / nv, 0.0); },
      [=](int i, int j) { return !inHole(i, j); });
}

/// An open arc of a cylinder about z: `arc` radians in `around` cells, `along` cells up to z = 1.
inline IndexedFaceSet cylinderStrip(int around, int along, double arc, double radius = 1.0) {
  return grid(around, along, false, [=](int i, int j) {
    double const a = arc * i / around;
    return Point(radius * std::cos(a), radius * std::sin(a), double(j) / along);
  });
}

/// A closed tube about z from z = 0 to `length`: two boundary loops. Ring j is turned by
/// `twist` cells, so that its points do not lie straight above those of ring 0 (exact hits of a
/// cutting plane). The last point lies on the top loop, or, with lastInterior, the last point of
/// ring 1 swaps places with the very last one (needs along >= 2).
inline IndexedFaceSet tube(int around, int along, double radius = 1.0, double length = 1.0,
                           double twist = 0.0, bool lastInterior = false) {
  IndexedFaceSet set = grid(around, along, true, [=](int i, int j) {
    double const a = 2.0 * pi * (i + twist * j) / around;
    return Point(radius * std::cos(a), radius * std::sin(a), length * j / along);
  });
  if (!lastInterior)
    return set;
  std::uint32_t const last = set.getNumberOfPoints() - 1;
  std::uint32_t const inner = std::uint32_t(2 * around - 1);
  std::vector<Point> points = set.getPoints();
  std::swap(points[last], points[inner]);
  std::vector<IndexedFaceSet::Face> faces = set.getFaces();
  for (auto& f : faces)
    for (auto& v : f)
      v = v == last ? inner : v == inner ? last : v;
  return IndexedFaceSet(std::move(points), std::move(faces));
}

/// Closes the last ring (the last `around` points) of a grid wrapped round z with a fan to a new
/// last point, the tip.
inline void closeTopRing(IndexedFaceSet& set, int around, Point const& tip) {
  std::uint32_t const top = set.getNumberOfPoints() - std::uint32_t(around);
  std::uint32_t const apex = set.addPoint(tip);
  for (int i = 0; i < around; ++i)
    set.addFace(top + std::uint32_t(i), top + std::uint32_t((i + 1) % around), apex);
}

/// A cone about z with base radius 1 at z = 0 and apex (0, 0, 1), `rings` cells high. With the
/// apex kept it is a disc (one loop, apex last); without it the top ring of cells is left out
/// and it has two loops.
inline IndexedFaceSet cone(int around, int rings, bool keepApex) {
  auto const ringPoint = [=](int i, int j) {
    double const a = 2.0 * pi * i / around;
    double const r = 1.0 - double(j) / rings;
    return Point(r * std::cos(a), r * std::sin(a), double(j) / rings);
  };
  IndexedFaceSet set = grid(around, rings - 1, true, ringPoint);
  if (keepApex)
    closeTopRing(set, around, Point(0.0, 0.0, 1.0));
  return set;
}

/// The upper unit hemisphere: the equator (its boundary loop) first, then rings up to the pole,
/// which is the last point.
inline IndexedFaceSet hemisphere(int around, int rings) {
  IndexedFaceSet set = grid(around, rings - 1, true, [=](int i, int j) {
    double const a = 2.0 * pi * i / around;
    double const e = 0.5 * pi * j / rings;
    return Point(std::cos(e) * std::cos(a), std::cos(e) * std::sin(a), std::sin(e));
  });
  closeTopRing(set, around, Point(0.0, 0.0, 1.0));
  return set;
}

/// A doubly curved panel over [0, 2] x [0, 1]: the height field z = 0.3 (x - 1)^2 + 0.2 y^2.
inline IndexedFaceSet curvedPanel(int nu, int nv) {
  return grid(nu, nv, false, [=](int i, int j) {
    double const x = 2.0 * i / nu;
    double const y = double(j) / nv;
    return Point(x, y, 0.3 * (x - 1.0) * (x - 1.0) + 0.2 * y * y);
  });
}

/// A closed surface: the tube of 4 x 1 cells with both ends capped by two triangles.
inline IndexedFaceSet cappedTube() {
  IndexedFaceSet set = tube(4, 1);
  for (IndexedFaceSet::Face const f :
       {IndexedFaceSet::Face{0, 2, 1}, {0, 3, 2}, {4, 5, 6}, {4, 6, 7}})
    set.addFace(f[0], f[1], f[2]);
  return set;
}

/// Two 2 x 2 patches side by side, not touching: 8 faces in two components of 4.
inline IndexedFaceSet twoComponents() {
  IndexedFaceSet set = planarPatch(2, 2);
  std::vector<Point> points = set.getPoints();
  std::vector<IndexedFaceSet::Face> faces = set.getFaces();
  auto const n = std::uint32_t(points.size());
  for (std::uint32_t i = 0; i < n; ++i)
    points.push_back(Point(points[i].getX() + 2.0, points[i].getY(), 0.0));
  for (std::size_t f = 0, count = faces.size(); f < count; ++f)
    faces.push_back({faces[f][0] + n, faces[f][1] + n, faces[f][2] + n});
  return IndexedFaceSet(std::move(points), std::move(faces));
}

/// A Möbius strip of `around` cells (at least 3) and one cell across: not orientable.
inline IndexedFaceSet mobiusStrip(int around) {
  IndexedFaceSet set;
  for (int i = 0; i < around; ++i)
    for (int side = 0; side < 2; ++side) {
      double const a = 2.0 * pi * i / around;
      double const t = side == 0 ? -0.3 : 0.3;
      set.addPoint(Point((1.0 + t * std::cos(a / 2)) * std::cos(a),
                         (1.0 + t * std::cos(a / 2)) * std::sin(a), t * std::sin(a / 2)));
    }
  for (int i = 0; i < around; ++i) {
    auto const a = std::uint32_t(2 * i);
    // The last cell joins the first column with its sides swapped: the half twist.
    bool const twist = i + 1 == around;
    auto const b = std::uint32_t(twist ? 1 : 2 * i + 2);
    auto const c = std::uint32_t(twist ? 0 : 2 * i + 3);
    set.addFace(a, b, c);
    set.addFace(a, c, a + 1);
  }
  return set;
}

/// `blades` triangles sharing the edge (0, 1): a non-manifold edge when blades > 2.
inline IndexedFaceSet nonManifoldFan(int blades = 3) {
  IndexedFaceSet set;
  set.addPoint(Point(0.0, 0.0, 0.0));
  set.addPoint(Point(1.0, 0.0, 0.0));
  for (int b = 0; b < blades; ++b) {
    double const a = 2.0 * pi * b / blades;
    std::uint32_t const tip = set.addPoint(Point(0.5, std::cos(a), std::sin(a)));
    set.addFace(0, 1, tip);
  }
  return set;
}

/// Two triangles touching only at point 0: a non-manifold vertex.
inline IndexedFaceSet bowTie() {
  IndexedFaceSet set({Point(0.0, 0.0, 0.0), Point(1.0, 1.0, 0.0), Point(-1.0, 1.0, 0.0),
                      Point(-1.0, -1.0, 0.0), Point(1.0, -1.0, 0.0)},
                     {{0, 1, 2}, {0, 3, 4}});
  return set;
}

} // namespace QARN::Test::Meshes

#endif
