#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_VECTOR_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_VECTOR_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional {

class Quaternion;

/// A displacement (dX, dY, dZ) in double precision. Nothing is checked: IEEE faults propagate.
class Vector {
public:
  Vector() = default;
  Vector(double dX, double dY, double dZ) : dX(dX), dY(dY), dZ(dZ) {}
  /// The zero vector with component i (taken mod 3) set to value: Vector(2, 1.0) is the Z axis.
  Vector(std::uint32_t i, double value);
  /// (a[0], a[1], a[2]).
  explicit Vector(double const* a);
  Vector(Vector const&) = default;
  virtual ~Vector() = default;
  Vector& operator=(Vector const&) = default;

  double getdX() const { return dX; }
  double getdY() const { return dY; }
  double getdZ() const { return dZ; }
  /// Component i mod 3.
  double get(std::uint32_t i) const;
  /// Sets component i mod 3.
  void set(std::uint32_t i, double x);
  /// Adds x to component i mod 3.
  void inc(std::uint32_t i, double x);
  void set(double dX, double dY, double dZ);
  void set(Vector const& w);

  double dot(Vector const& w) const;
  Vector cross(Vector const& w) const;
  /// Squared length; the length is its square root.
  double lSqr() const;
  /// The largest absolute component.
  double linf() const;
  /// No component is NaN or infinite.
  bool getIsReal() const;
  /// The vector part of q·(0, this)·q⁻¹: a pure rotation for a quaternion of any non-zero length.
  Vector rot(Quaternion const& q) const;

  Vector operator*(double s) const;
  Vector operator/(double s) const;
  Vector operator+(Vector const& w) const;
  Vector operator-(Vector const& w) const;
  Vector operator-() const;
  Vector& operator+=(Vector const& w);
  Vector& operator*=(double s);

private:
  static double sqr(double x);

  double dX = 0.0;
  double dY = 0.0;
  double dZ = 0.0;
};

Vector operator*(double s, Vector const& w);

} // namespace QARN::Geometry::ThreeDimensional

#endif
