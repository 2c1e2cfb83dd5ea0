#ifndef QARN_SRC_GEOMETRY_TWODIMENSIONAL_DELAUNAYTRIANGULATION_H
#define QARN_SRC_GEOMETRY_TWODIMENSIONAL_DELAUNAYTRIANGULATION_H

#include <array>
#include <cstdint>
#include <vector>

namespace QARN::Geometry::TwoDimensional {

/// The Delaunay triangulation of distinct points on an integer grid, by incremental insertion
/// (Bowyer-Watson) in the order of a Hilbert curve, with a vertex at infinity closing the hull.
/// The orientation and in-circle tests are exact (64- and 128-bit integers), so collinear and
/// cocircular points need no tolerance; among cocircular points the triangulation is one of the
/// Delaunay ones. Fewer than three points, or points all on one line, give no triangle.
class DelaunayTriangulation {
public:
  /// Coordinates of a point, each in [0, maxCoordinate].
  using Coordinates = std::array<std::int32_t, 2>;
  using Triangle = std::array<std::uint32_t, 3>;

  static constexpr std::int32_t maxCoordinate = (1 << 24) - 1;
  /// A neighbour slot on the hull.
  static constexpr std::uint32_t none = 0xFFFFFFFFu;

  /// Triangulates the points, which must be distinct and within range (not checked).
  explicit DelaunayTriangulation(std::vector<Coordinates> const& points);

  /// The triangles, counter-clockwise, as indices into the points.
  std::vector<Triangle> const& getTriangles() const { return triangles; }
  /// Per triangle, the triangle across each side k (from corner k + 1 to corner k + 2), or none
  /// on the hull.
  std::vector<Triangle> const& getNeighbours() const { return neighbours; }

  /// > 0 when c lies to the left of a→b, < 0 to the right, 0 on the line.
  static std::int64_t orient(Coordinates const& a, Coordinates const& b, Coordinates const& c);
  /// > 0 when d lies inside the circle through the counter-clockwise a, b, c; 0 on it.
  static int inCircle(Coordinates const& a, Coordinates const& b, Coordinates const& c,
                      Coordinates const& d);

private:
  std::vector<Triangle> triangles;
  std::vector<Triangle> neighbours;
};

} // namespace QARN::Geometry::TwoDimensional

#endif
