#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_PLANE_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_PLANE_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

namespace QARN::Geometry::ThreeDimensional {

/// A plane through p with normal N (any length). The side N points to is "above"; side tests
/// live on Point.
class Plane {
public:
  Plane() = default;
  Plane(Point const& p, Vector const& N) : p(p), N(N) {}
  Plane(Plane const&) = default;
  virtual ~Plane() = default;
  Plane& operator=(Plane const&) = default;

  Point const& getp() const { return p; }
  Vector const& getN() const { return N; }
  void setp(Point const& q) { p = q; }
  void setN(Vector const& w) { N = w; }
  void set(Point const& q, Vector const& w) {
    p = q;
    N = w;
  }

private:
  Point p;
  Vector N;
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
