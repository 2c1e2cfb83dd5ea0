#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_VECTOR_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_VECTOR_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional {

class Quaternion;

/// A displacement (dX, dY, dZ) in double precision. Nothing is checked: IEEE faults propagate.
/// dot, cross and lSqr sum products, which a compiler allowed to contract floating-point
/// expressions may fuse into multiply-adds. The library is built without contraction and inlines
/// them at every call of its own (always_inline, at any optimisation level), so that its results
/// never come from a copy compiled with a host's flags.
class Vector {
public:
  Vector() = default;
  Vector(double dX, double dY, double dZ) : dX(dX), dY(dY), dZ(dZ) {}
  /// The zero vector with component i (taken mod 3) set to value: Vector(2, 1.0) is the Z axis.
  Vector(std::uint32_t i, double value) { set(i, value); }
  /// (a[0], a[1], a[2]).
  explicit Vector(double const* a) : dX(a[0]), dY(a[1]), dZ(a[2]) {}
  Vector(Vector const&) = default;
  virtual ~Vector() = default;
  Vector& operator=(Vector const&) = default;

  double getdX() const { return dX; }
  double getdY() const { return dY; }
  double getdZ() const { return dZ; }
  /// Component i mod 3.
  double get(std::uint32_t i) const {
    switch (i % 3) {
    case 0:
      return dX;
    case 1:
      return dY;
    default:
      return dZ;
    }
  }
  /// Sets component i mod 3.
  void set(std::uint32_t i, double x) {
    switch (i % 3) {
    case 0:
      dX = x;
      break;
    case 1:
      dY = x;
      break;
    default:
      dZ = x;
    }
  }
  /// Adds x to component i mod 3.
  void inc(std::uint32_t i, double x) { set(i, get(i) + x); }
  void set(double x, double y, double z) {
    dX = x;
    dY = y;
    dZ = z;
  }
  void set(Vector const& w) { *this = w; }

  [[gnu::always_inline]] double dot(Vector const& w) const {
    return dX * w.dX + dY * w.dY + dZ * w.dZ;
  }
  [[gnu::always_inline]] Vector cross(Vector const& w) const {
    return Vector(dY * w.dZ - dZ * w.dY, dZ * w.dX - dX * w.dZ, dX * w.dY - dY * w.dX);
  }
  /// Squared length; the length is its square root.
  [[gnu::always_inline]] double lSqr() const { return sqr(dX) + sqr(dY) + sqr(dZ); }
  /// The largest absolute component.
  double linf() const;
  /// No component is NaN or infinite.
  bool getIsReal() const;
  /// The vector part of q·(0, this)·q⁻¹: a pure rotation for a quaternion of any non-zero length.
  Vector rot(Quaternion const& q) const;

  Vector operator*(double s) const { return Vector(dX * s, dY * s, dZ * s); }
  Vector operator/(double s) const { return Vector(dX / s, dY / s, dZ / s); }
  Vector operator+(Vector const& w) const { return Vector(dX + w.dX, dY + w.dY, dZ + w.dZ); }
  Vector operator-(Vector const& w) const { return Vector(dX - w.dX, dY - w.dY, dZ - w.dZ); }
  Vector operator-() const { return Vector(-dX, -dY, -dZ); }
  Vector& operator+=(Vector const& w) { return *this = *this + w; }
  Vector& operator*=(double s) { return *this = *this * s; }

private:
  [[gnu::always_inline]] static double sqr(double x) { return x * x; }

  double dX = 0.0;
  double dY = 0.0;
  double dZ = 0.0;
};

inline Vector operator*(double s, Vector const& w) {
  return Vector(s * w.getdX(), s * w.getdY(), s * w.getdZ());
}

} // namespace QARN::Geometry::ThreeDimensional

#endif
