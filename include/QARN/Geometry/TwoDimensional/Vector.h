#ifndef QARN_GEOMETRY_TWODIMENSIONAL_VECTOR_H
#define QARN_GEOMETRY_TWODIMENSIONAL_VECTOR_H

#include <cstdint>

namespace QARN::Geometry::TwoDimensional {

/// The coordinate arithmetic of the 2-D value types, kept in the header so that their small
/// members inline; not part of the interface. int is carried out in std::uint32_t and converted
/// back, so that it wraps modulo 2^32 instead of overflowing; std::uint32_t and double use their
/// own operations.
namespace detail {

template <typename T>
struct Carrier {
  using Type = T;
};

template <>
struct Carrier<int> {
  using Type = std::uint32_t;
};

template <typename T>
T add(T a, T b) {
  using W = typename Carrier<T>::Type;
  return static_cast<T>(static_cast<W>(a) + static_cast<W>(b));
}

template <typename T>
T sub(T a, T b) {
  using W = typename Carrier<T>::Type;
  return static_cast<T>(static_cast<W>(a) - static_cast<W>(b));
}

template <typename T>
T mul(T a, T b) {
  using W = typename Carrier<T>::Type;
  return static_cast<T>(static_cast<W>(a) * static_cast<W>(b));
}

template <typename T>
T neg(T a) {
  using W = typename Carrier<T>::Type;
  return static_cast<T>(-static_cast<W>(a));
}

} // namespace detail

/// A displacement (du, dv) in the scan plane, instantiated for int, std::uint32_t and double.
/// Arithmetic happens in T's own terms: int and std::uint32_t wrap modulo 2^32, integer
/// division truncates. Nothing is checked: an integer division by zero, or int's
/// INT_MIN / -1, is the caller's fault (precondition), double faults give IEEE values.
/// The products summed by dot, det and lSqr stay out of line, in the library's own translation
/// unit, so that no caller's compiler flags can fuse their multiply-adds.
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
  T get(std::uint32_t i) const { return i % 2 == 0 ? du : dv; }
  /// i = 0 sets du, odd i sets dv, an even i >= 2 sets both.
  void seti(std::uint32_t i, T x) {
    if (i % 2 == 1) {
      dv = x;
      return;
    }
    du = x;
    if (i != 0)
      dv = x;
  }
  void set(T u, T v) {
    du = u;
    dv = v;
  }
  void set(Vector const& w) { *this = w; }
  void setdU(T x) { du = x; }
  void setdV(T x) { dv = x; }

  T dot(Vector const& w) const;
  /// du·w.dv − dv·w.du: positive when w lies counter-clockwise of this.
  T det(Vector const& w) const;
  /// (−dv, du), the vector turned by +90°; for std::uint32_t −dv wraps.
  Vector perp() const { return Vector(detail::neg(dv), du); }
  /// Squared length (there is no length function).
  T lSqr() const;
  /// Exactly (0, 0); −0.0 counts as 0.
  bool getIsNull() const { return du == 0 && dv == 0; }

  Vector operator+(Vector const& w) const {
    return Vector(detail::add(du, w.du), detail::add(dv, w.dv));
  }
  Vector operator-(Vector const& w) const {
    return Vector(detail::sub(du, w.du), detail::sub(dv, w.dv));
  }
  Vector operator*(T const& s) const { return Vector(detail::mul(du, s), detail::mul(dv, s)); }
  Vector operator/(T const& s) const { return Vector(du / s, dv / s); }
  Vector& operator/=(T const& s) {
    du /= s;
    dv /= s;
    return *this;
  }
  Vector& operator+=(Vector const& w) { return *this = *this + w; }
  Vector& operator-=(Vector const& w) { return *this = *this - w; }
  bool operator==(Vector const& w) const { return du == w.du && dv == w.dv; }
  bool operator!=(Vector const& w) const { return !(*this == w); }

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
