#ifndef QARN_GEOMETRY_TWODIMENSIONAL_VECTOR_H
#define QARN_GEOMETRY_TWODIMENSIONAL_VECTOR_H

#include <cstdint>

namespace QARN::Geometry::TwoDimensional {

/// A displacement (du, dv) in the scan plane, instantiated for int, std::uint32_t and double.
/// Arithmetic happens in T's own terms: int and std::uint32_t wrap modulo 2^32, integer
/// division truncates. Nothing is checked: an integer division by zero, or int's
/// INT_MIN / -1, is the caller's fault (precondition), double faults give IEEE values.
template <typename T>
class Vector {
public:
  Vector() : du(0), dv(0) {}
  Vector(T du, T dv) : du(du), dv(dv) {}
  Vector(Vector const&) = default;
  virtual ~Vector() = default;
  Vector& operator=(Vector const&) = default;

  T getdU() const { return du; }
  T getdV() const { return dv; }
  /// du for even i, dv for odd i.
  T get(std::uint32_t i) const;
  /// i = 0 sets du, odd i sets dv, an even i >= 2 sets both.
  void seti(std::uint32_t i, T x);
  void set(T du, T dv);
  void set(Vector const& w);
  void setdU(T x) { du = x; }
  void setdV(T x) { dv = x; }

  T dot(Vector const& w) const;
  /// du·w.dv − dv·w.du: positive when w lies counter-clockwise of this.
  T det(Vector const& w) const;
  /// (−dv, du), the vector turned by +90°; for std::uint32_t −dv wraps.
  Vector perp() const;
  /// Squared length (there is no length function).
  T lSqr() const;
  /// Exactly (0, 0); −0.0 counts as 0.
  bool getIsNull() const;

  Vector operator+(Vector const& w) const;
  Vector operator-(Vector const& w) const;
  Vector operator*(T const& s) const;
  Vector operator/(T const& s) const;
  Vector& operator/=(T const& s);
  Vector& operator+=(Vector const& w);
  Vector& operator-=(Vector const& w);
  bool operator==(Vector const& w) const;
  bool operator!=(Vector const& w) const;

private:
  static T sqr(T x);

  T du;
  T dv;
};

extern template class Vector<int>;
extern template class Vector<std::uint32_t>;
extern template class Vector<double>;

} // namespace QARN::Geometry::TwoDimensional

#endif
