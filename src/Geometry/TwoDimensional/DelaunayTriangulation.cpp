#include "DelaunayTriangulation.h"

#include <algorithm>
#include <numeric>

namespace QARN::Geometry::TwoDimensional {

namespace {

__extension__ using Wide = __int128;

using Coordinates = DelaunayTriangulation::Coordinates;
using Triangle = DelaunayTriangulation::Triangle;
constexpr std::uint32_t none = DelaunayTriangulation::none;
/// The vertex at infinity: a triangle holding it is a ghost across a hull side.
constexpr std::uint32_t infinite = 0xFFFFFFFEu;

/// The position along a Hilbert curve over the 2^24 x 2^24 grid.
std::uint64_t hilbert(Coordinates const& p) {
  std::uint64_t x = static_cast<std::uint32_t>(p[0]);
  std::uint64_t y = static_cast<std::uint32_t>(p[1]);
  std::uint64_t d = 0;
  for (std::uint64_t s = std::uint64_t(1) << 23; s > 0; s >>= 1) {
    std::uint64_t const rx = (x & s) != 0 ? 1 : 0;
    std::uint64_t const ry = (y & s) != 0 ? 1 : 0;
    d += s * s * ((3 * rx) ^ ry);
    if (ry == 0) {
      if (rx == 1) {
        x = s - 1 - x;
        y = s - 1 - y;
      }
      std::swap(x, y);
    }
  }
  return d;
}

/// The triangulation while it grows: real triangles and ghosts, with their neighbours.
class Builder {
public:
  explicit Builder(std::vector<Coordinates> const& points) : points(points) {}

  bool start(std::uint32_t a, std::uint32_t b, std::uint32_t c);
  void insert(std::uint32_t p);
  void finish(std::vector<Triangle>& triangles, std::vector<Triangle>& neighbours) const;

private:
  struct Face {
    Triangle v;
    Triangle n;
  };
  /// A side of a triangle: its face and the index k of the side (opposite corner k).
  struct Side {
    std::uint32_t face;
    std::uint32_t k;
  };

  bool isGhost(std::uint32_t f) const {
    Triangle const& v = faces[f].v;
    return v[0] == infinite || v[1] == infinite || v[2] == infinite;
  }
  bool conflicts(std::uint32_t f, std::uint32_t p) const;
  std::uint32_t locate(std::uint32_t p) const;
  std::uint32_t newFace(Triangle const& v);
  void link(std::uint32_t f, std::uint32_t k, std::uint32_t g, std::uint32_t m) {
    faces[f].n[k] = g;
    faces[g].n[m] = f;
  }

  std::vector<Coordinates> const& points;
  std::vector<Face> faces;
  std::vector<std::uint8_t> dead;
  std::vector<std::uint32_t> unused;
  std::uint32_t last = 0;
  // Scratch of one insertion, kept to spare allocations.
  std::vector<std::uint32_t> cavity;
  std::vector<std::uint32_t> visited;
  std::uint32_t stamp = 0;
  std::vector<Side> border;
  /// A border side: its corners in the cavity's direction, and the face and side beyond it.
  struct Rim {
    std::uint32_t from;
    std::uint32_t to;
    std::uint32_t outer;
    std::uint32_t outerSide;
  };
  std::vector<Rim> rims;
  /// (first corner, face) of the new triangles, sorted to find each one's successor.
  std::vector<std::pair<std::uint32_t, std::uint32_t>> starts;
};

std::uint32_t Builder::newFace(Triangle const& v) {
  std::uint32_t f;
  if (!unused.empty()) {
    f = unused.back();
    unused.pop_back();
    dead[f] = 0;
  } else {
    f = static_cast<std::uint32_t>(faces.size());
    faces.push_back({});
    dead.push_back(0);
    visited.push_back(0);
  }
  faces[f].v = v;
  faces[f].n = {none, none, none};
  return f;
}

// The counter-clockwise triangle (a, b, c) and a ghost across each of its sides.
bool Builder::start(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  std::int64_t const o = DelaunayTriangulation::orient(points[a], points[b], points[c]);
  if (o == 0)
    return false;
  if (o < 0)
    std::swap(b, c);
  std::uint32_t const t = newFace({a, b, c});
  Triangle const v = {a, b, c};
  std::uint32_t ghosts[3];
  for (std::uint32_t k = 0; k < 3; ++k) {
    // Side k runs from v[k+1] to v[k+2]; its ghost runs back, with the infinite vertex.
    ghosts[k] = newFace({v[(k + 2) % 3], v[(k + 1) % 3], infinite});
    link(t, k, ghosts[k], 2);
  }
  // Ghost k = (v[k+2], v[k+1], ∞): its side 0 (v[k+1]→∞) meets ghost k+2's side 1 (∞→v[k+1]).
  for (std::uint32_t k = 0; k < 3; ++k)
    link(ghosts[k], 0, ghosts[(k + 2) % 3], 1);
  last = t;
  return true;
}

// A real triangle conflicts when p is strictly inside its circumcircle; a ghost across the hull
// side x→y (outside on its left) when p is strictly left of it, or on the open side itself.
bool Builder::conflicts(std::uint32_t f, std::uint32_t p) const {
  Triangle const& v = faces[f].v;
  Coordinates const& q = points[p];
  if (!isGhost(f))
    return DelaunayTriangulation::inCircle(points[v[0]], points[v[1]], points[v[2]], q) > 0;
  std::uint32_t g = 0;
  while (v[g] != infinite)
    ++g;
  Coordinates const& x = points[v[(g + 1) % 3]];
  Coordinates const& y = points[v[(g + 2) % 3]];
  std::int64_t const o = DelaunayTriangulation::orient(x, y, q);
  if (o != 0)
    return o > 0;
  auto const between = [](std::int32_t s, std::int32_t a, std::int32_t b) {
    return (a < s && s < b) || (b < s && s < a);
  };
  return between(q[0], x[0], y[0]) || between(q[1], x[1], y[1]);
}

// A visibility walk from the last new triangle: across any side that has p strictly on its far
// side, until p lies in the triangle or beyond the hull (in a ghost). The side tried first turns
// with every step, so that the walk cannot circle.
std::uint32_t Builder::locate(std::uint32_t p) const {
  std::uint32_t f = last;
  Coordinates const& q = points[p];
  for (std::uint32_t turn = 0;; ++turn) {
    if (isGhost(f))
      return f;
    Triangle const& v = faces[f].v;
    std::uint32_t next = none;
    for (std::uint32_t i = 0; i < 3 && next == none; ++i) {
      std::uint32_t const k = (i + turn) % 3;
      if (DelaunayTriangulation::orient(points[v[(k + 1) % 3]], points[v[(k + 2) % 3]], q) < 0)
        next = faces[f].n[k];
    }
    if (next == none)
      return f;
    f = next;
  }
}

// The faces in conflict with p form a star-shaped cavity around it; each side on its border
// becomes a new triangle with p.
void Builder::insert(std::uint32_t p) {
  ++stamp;
  cavity.clear();
  border.clear();
  std::uint32_t const seed = locate(p);
  cavity.push_back(seed);
  visited[seed] = stamp;
  for (std::size_t i = 0; i < cavity.size(); ++i) {
    std::uint32_t const f = cavity[i];
    for (std::uint32_t k = 0; k < 3; ++k) {
      std::uint32_t const g = faces[f].n[k];
      if (visited[g] == stamp)
        continue;
      if (conflicts(g, p)) {
        visited[g] = stamp;
        cavity.push_back(g);
      } else {
        border.push_back({f, k});
      }
    }
  }
  // The outer faces and sides of the border, read before the cavity's faces are reused.
  rims.clear();
  for (Side const& s : border) {
    Face const& f = faces[s.face];
    std::uint32_t const outer = f.n[s.k];
    std::uint32_t m = 0;
    while (faces[outer].n[m] != s.face)
      ++m;
    rims.push_back({f.v[(s.k + 1) % 3], f.v[(s.k + 2) % 3], outer, m});
  }
  for (std::uint32_t const f : cavity) {
    dead[f] = 1;
    unused.push_back(f);
  }
  // New triangle (from, to, p): side 2 faces the outer face; side 0 (to→p) meets the new
  // triangle starting at `to`, side 1 (p→from) the one ending at `from`.
  starts.clear();
  for (Rim const& r : rims) {
    std::uint32_t const t = newFace({r.from, r.to, p});
    link(t, 2, r.outer, r.outerSide);
    starts.emplace_back(r.from, t);
    if (r.from != infinite && r.to != infinite)
      last = t;
  }
  std::sort(starts.begin(), starts.end());
  for (auto const& [from, t] : starts) {
    std::uint32_t const to = faces[t].v[1];
    auto const next =
        std::lower_bound(starts.begin(), starts.end(), std::make_pair(to, std::uint32_t(0)));
    link(t, 0, next->second, 1);
  }
}

void Builder::finish(std::vector<Triangle>& triangles, std::vector<Triangle>& neighbours) const {
  std::vector<std::uint32_t> index(faces.size(), none);
  for (std::uint32_t f = 0; f < faces.size(); ++f)
    if (!dead[f] && !isGhost(f)) {
      index[f] = static_cast<std::uint32_t>(triangles.size());
      triangles.push_back(faces[f].v);
    }
  neighbours.reserve(triangles.size());
  for (std::uint32_t f = 0; f < faces.size(); ++f)
    if (index[f] != none) {
      Triangle n;
      for (std::uint32_t k = 0; k < 3; ++k)
        n[k] = index[faces[f].n[k]];
      neighbours.push_back(n);
    }
}

} // namespace

std::int64_t DelaunayTriangulation::orient(Coordinates const& a, Coordinates const& b,
                                           Coordinates const& c) {
  return std::int64_t(b[0] - a[0]) * (c[1] - a[1]) - std::int64_t(b[1] - a[1]) * (c[0] - a[0]);
}

int DelaunayTriangulation::inCircle(Coordinates const& a, Coordinates const& b,
                                    Coordinates const& c, Coordinates const& d) {
  std::int64_t const adx = a[0] - d[0];
  std::int64_t const ady = a[1] - d[1];
  std::int64_t const bdx = b[0] - d[0];
  std::int64_t const bdy = b[1] - d[1];
  std::int64_t const cdx = c[0] - d[0];
  std::int64_t const cdy = c[1] - d[1];
  Wide const alift = adx * adx + ady * ady;
  Wide const blift = bdx * bdx + bdy * bdy;
  Wide const clift = cdx * cdx + cdy * cdy;
  Wide const det = alift * Wide(bdx * cdy - cdx * bdy) + blift * Wide(cdx * ady - adx * cdy) +
                   clift * Wide(adx * bdy - bdx * ady);
  return det > 0 ? 1 : det < 0 ? -1 : 0;
}

DelaunayTriangulation::DelaunayTriangulation(std::vector<Coordinates> const& points) {
  auto const n = static_cast<std::uint32_t>(points.size());
  std::vector<std::uint64_t> keys(n);
  for (std::uint32_t i = 0; i < n; ++i)
    keys[i] = hilbert(points[i]);
  std::vector<std::uint32_t> order(n);
  std::iota(order.begin(), order.end(), 0u);
  std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
    return keys[a] < keys[b] || (keys[a] == keys[b] && a < b);
  });
  if (n < 3)
    return;
  // The first two points and the first point off their line start the triangulation; the
  // points skipped on the way (on that line) are inserted after it.
  std::uint32_t third = 2;
  while (third < n && orient(points[order[0]], points[order[1]], points[order[third]]) == 0)
    ++third;
  if (third == n)
    return;
  Builder builder(points);
  builder.start(order[0], order[1], order[third]);
  for (std::uint32_t i = 2; i < n; ++i)
    if (i != third)
      builder.insert(order[i]);
  builder.finish(triangles, neighbours);
}

} // namespace QARN::Geometry::TwoDimensional
