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
  Point(double x, double y, double z);
  /// (a[0], a[1], a[2]).
  explicit Point(double const* a);
  Point(Point const&) = default;
  ~Point() override = default;
  Point& operator=(Point const&) = default;

  float getX() const { return x; }
  float getY() const { return y; }
  float getZ() const { return z; }
  /// Coordinate i mod 3.
  float get(std::uint32_t i) const;
  /// Sets coordinate i mod 3.
  void seti(std::uint32_t i, double value);
  void set(double x, double y, double z);
  void set(Point const& q);
  /// Per coordinate, takes q's value when it is smaller; a NaN never wins.
  void setMin(Point const& q);
  /// Per coordinate, takes q's value when it is larger; a NaN never wins.
  void setMax(Point const& q);
  /// Squared distance, rounded as the stored data is: each squared difference (difference in
  /// double) is rounded to float, the first two are summed in float, the third is added in
  /// double.
  double dSqr(Point const& q) const;
  /// x, y and z all exactly 0.
  bool getIsNull() const;

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
  Vector operator-(Point const& q) const;
  Point operator+(Vector const& w) const;
  Point operator-(Vector const& w) const;
  Point& operator+=(Vector const& w);
  Point& operator-=(Vector const& w);
  /// The stored floats compared exactly.
  bool operator==(Point const& q) const;
  bool operator!=(Point const& q) const;

private:
  static float sqr(double x);

  float x = 0.0f;
  float y = 0.0f;
  float z = 0.0f;
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
