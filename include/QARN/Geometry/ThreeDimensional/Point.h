#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_POINT_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_POINT_H

#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/Object.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional {

class BoundingBoxAA;
class Plane;

/// A position (x, y, z) stored as single-precision floats: coordinates come in as double and
/// are rounded to float when stored; they go out as float. Arithmetic that yields a Vector
/// works in double on the stored values.
class Point : public BinarySpacePartition::Object {
public:
  Point() = default;
  Point(double px, double py, double pz)
      : x(static_cast<float>(px)), y(static_cast<float>(py)), z(static_cast<float>(pz)) {}
  /// (a[0], a[1], a[2]).
  explicit Point(double const* a) : Point(a[0], a[1], a[2]) {}
  Point(Point const&) = default;
  ~Point() override = default;
  Point& operator=(Point const&) = default;

  float getX() const { return x; }
  float getY() const { return y; }
  float getZ() const { return z; }
  /// Coordinate i mod 3.
  float get(std::uint32_t i) const {
    switch (i % 3) {
    case 0:
      return x;
    case 1:
      return y;
    default:
      return z;
    }
  }
  /// Sets coordinate i mod 3.
  void seti(std::uint32_t i, double value) {
    float const f = static_cast<float>(value);
    switch (i % 3) {
    case 0:
      x = f;
      break;
    case 1:
      y = f;
      break;
    default:
      z = f;
    }
  }
  void set(double px, double py, double pz) { *this = Point(px, py, pz); }
  void set(Point const& q) { *this = q; }
  /// Per coordinate, takes q's value when it is smaller; a NaN never wins.
  void setMin(Point const& q) {
    if (q.x < x)
      x = q.x;
    if (q.y < y)
      y = q.y;
    if (q.z < z)
      z = q.z;
  }
  /// Per coordinate, takes q's value when it is larger; a NaN never wins.
  void setMax(Point const& q) {
    if (q.x > x)
      x = q.x;
    if (q.y > y)
      y = q.y;
    if (q.z > z)
      z = q.z;
  }
  /// Squared distance, rounded as the stored data is: each squared difference (difference in
  /// double) is rounded to float, the first two are summed in float, the third is added in
  /// double. (The roundings to float leave no multiply-add to fuse, so it may inline anywhere.)
  double dSqr(Point const& q) const {
    float const xy = sqr(double(x) - double(q.x)) + sqr(double(y) - double(q.y));
    return double(xy) + double(sqr(double(z) - double(q.z)));
  }
  /// x, y and z all exactly 0.
  bool getIsNull() const { return x == 0.0f && y == 0.0f && z == 0.0f; }

  /// (this − P.p)·P.N ≥ 0: a point on the plane is above.
  bool getIsAbove(Plane const& P) const override;
  /// (this − P.p)·P.N < 0. NaN gives false for both tests.
  bool getIsBelow(Plane const& P) const override;
  /// sqrt(dSqr(q)).
  double getMinMaxDistance(Point const& q) const override;
  /// The unsigned distance to the plane; its normal need not be a unit vector.
  double getMinMaxDistance(Plane const& P) const override;
  /// The box at this point with extent (0, 0, 0) (which holds the point: boxes are closed).
  BoundingBoxAA getBoundingBox() const override;

  /// This minus q, in double.
  Vector operator-(Point const& q) const {
    return Vector(double(x) - double(q.x), double(y) - double(q.y), double(z) - double(q.z));
  }
  /// The sum in double, rounded to float when stored. Out of line on purpose: g++ 12's
  /// vectoriser can drop the rounding between two inlined steps, which would make a point
  /// depend on the optimisation level of the code that computes it.
  Point operator+(Vector const& w) const;
  Point operator-(Vector const& w) const;
  Point& operator+=(Vector const& w) { return *this = *this + w; }
  Point& operator-=(Vector const& w) { return *this = *this - w; }
  /// The stored floats compared exactly.
  bool operator==(Point const& q) const { return x == q.x && y == q.y && z == q.z; }
  bool operator!=(Point const& q) const { return !(*this == q); }

private:
  static float sqr(double v) { return static_cast<float>(v * v); }

  float x = 0.0f;
  float y = 0.0f;
  float z = 0.0f;
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
