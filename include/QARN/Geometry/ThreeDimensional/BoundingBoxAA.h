#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_BOUNDINGBOXAA_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_BOUNDINGBOXAA_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

namespace QARN::Geometry::ThreeDimensional {

/// A closed axis-aligned box: low corner p and extent d (components expected ≥ 0); it holds q
/// when p ≤ q ≤ p + d on every axis, faces included.
class BoundingBoxAA {
public:
  BoundingBoxAA() = default;
  BoundingBoxAA(Point const& p, Vector const& d) : p(p), d(d) {}
  BoundingBoxAA(BoundingBoxAA const&) = default;
  virtual ~BoundingBoxAA() = default;
  BoundingBoxAA& operator=(BoundingBoxAA const&) = default;

  Point const& getp() const { return p; }
  Vector const& getd() const { return d; }
  void set(Point const& q, Vector const& w) {
    p = q;
    d = w;
  }
  /// The far corner p + d.
  Point getp1() const { return p + d; }

  /// Grows to the smallest box holding both. Not neutral for a default box: the result then
  /// always holds the origin.
  void expand(BoundingBoxAA const& b);
  /// Closed on all six faces; NaN anywhere gives false.
  bool getIsInside(Point const& q) const;
  /// The largest extent component (ties go to X, then Y).
  double getLongestAxisSize() const;
  /// p + d/2.
  Point getCentrePoint() const;

private:
  Point p;
  Vector d;
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
