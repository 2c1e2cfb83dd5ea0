#ifndef QARN_GEOMETRY_TWODIMENSIONAL_POINT_H
#define QARN_GEOMETRY_TWODIMENSIONAL_POINT_H

#include <QARN/Geometry/TwoDimensional/Vector.h>

#include <cstdint>
#include <utility>

namespace QARN::Geometry::TwoDimensional {

template <typename T>
class BoundingBoxAA;

/// A position (u, v) in the scan plane, instantiated for int, std::uint32_t and double, with
/// the arithmetic rules of Vector<T>.
template <typename T>
class Point {
public:
  Point() : u(0), v(0) {}
  Point(T u, T v) : u(u), v(v) {}
  Point(Point const&) = default;
  virtual ~Point() = default;
  Point& operator=(Point const&) = default;

  T getU() const { return u; }
  T getV() const { return v; }
  /// u for even i, v for odd i.
  T get(std::uint32_t i) const { return i % 2 == 0 ? u : v; }
  /// i = 0 sets u, odd i sets v, an even i >= 2 sets both (unlike get, on purpose).
  void seti(std::uint32_t i, T x) {
    if (i % 2 == 1) {
      v = x;
      return;
    }
    u = x;
    if (i != 0)
      v = x;
  }
  void set(T pu, T pv) {
    u = pu;
    v = pv;
  }
  void set(Point const& q) { *this = q; }
  /// first is u, second is v.
  void set(std::pair<T, T> const& uv) {
    u = uv.first;
    v = uv.second;
  }
  void setU(T x) { u = x; }
  void setV(T x) { v = x; }
  /// Per component, takes q's value when it is smaller; a NaN never wins.
  void setMin(Point const& q) {
    if (q.u < u)
      u = q.u;
    if (q.v < v)
      v = q.v;
  }
  /// Per component, takes q's value when it is larger; a NaN never wins.
  void setMax(Point const& q) {
    if (q.u > u)
      u = q.u;
    if (q.v > v)
      v = q.v;
  }
  /// Squared distance, computed in T.
  T dSqr(Point const& q) const;
  /// The box at this point with extent (0, 0) (which contains nothing).
  BoundingBoxAA<T> getBoundingBox() const;

  Point operator+(Vector<T> const& w) const {
    return Point(detail::add(u, w.getdU()), detail::add(v, w.getdV()));
  }
  Point operator-(Vector<T> const& w) const {
    return Point(detail::sub(u, w.getdU()), detail::sub(v, w.getdV()));
  }
  /// This minus q.
  Vector<T> operator-(Point const& q) const {
    return Vector<T>(detail::sub(u, q.u), detail::sub(v, q.v));
  }
  Point& operator+=(Vector<T> const& w) { return *this = *this + w; }
  Point& operator-=(Vector<T> const& w) { return *this = *this - w; }
  bool operator==(Point const& q) const { return u == q.u && v == q.v; }
  bool operator!=(Point const& q) const { return !(*this == q); }

private:
  static T sqr(T x);

  T u;
  T v;
};

extern template class Point<int>;
extern template class Point<std::uint32_t>;
extern template class Point<double>;

} // namespace QARN::Geometry::TwoDimensional

#endif
