#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_TRIPLE_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_TRIPLE_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// A position or an offset in double precision for the search's inner loops: Vector's formulas
/// on plain numbers, without Vector's virtual table, so that corners and intermediate results
/// stay in registers. A position is the point's stored coordinates, exactly; Point's own
/// arithmetic is reproduced by rounding sums with stored(). Results agree bit for bit with the
/// same expressions on Point and Vector.
struct Triple {
  double x;
  double y;
  double z;

  static Triple of(Point const& p) { return {p.getX(), p.getY(), p.getZ()}; }
  static Triple of(Vector const& v) { return {v.getdX(), v.getdY(), v.getdZ()}; }
  Point toPoint() const { return Point(x, y, z); }

  Triple operator+(Triple const& w) const { return {x + w.x, y + w.y, z + w.z}; }
  Triple operator-(Triple const& w) const { return {x - w.x, y - w.y, z - w.z}; }
  Triple operator*(double s) const { return {x * s, y * s, z * s}; }
  Triple operator/(double s) const { return {x / s, y / s, z / s}; }
  double dot(Triple const& w) const { return x * w.x + y * w.y + z * w.z; }
  Triple cross(Triple const& w) const {
    return {y * w.z - z * w.y, z * w.x - x * w.z, x * w.y - y * w.x};
  }
  double lSqr() const { return x * x + y * y + z * z; }
  /// This position as a Point stores it: each coordinate rounded to float (so p + w as a Point
  /// is (p + w).stored()).
  Triple stored() const {
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
  }
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
