#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/TwoDimensional/Point.h>

#include "Geometry/TwoDimensional/Arithmetic.h"

namespace QARN::Geometry::TwoDimensional {

using namespace Arithmetic;

template <typename T>
T Point<T>::get(std::uint32_t i) const {
  return i % 2 == 0 ? u : v;
}

template <typename T>
void Point<T>::seti(std::uint32_t i, T x) {
  if (i % 2 == 1) {
    v = x;
    return;
  }
  u = x;
  if (i != 0)
    v = x;
}

template <typename T>
void Point<T>::set(T pu, T pv) {
  u = pu;
  v = pv;
}

template <typename T>
void Point<T>::set(Point const& q) {
  *this = q;
}

template <typename T>
void Point<T>::set(std::pair<T, T> const& uv) {
  u = uv.first;
  v = uv.second;
}

template <typename T>
void Point<T>::setMin(Point const& q) {
  if (q.u < u)
    u = q.u;
  if (q.v < v)
    v = q.v;
}

template <typename T>
void Point<T>::setMax(Point const& q) {
  if (q.u > u)
    u = q.u;
  if (q.v > v)
    v = q.v;
}

template <typename T>
T Point<T>::dSqr(Point const& q) const {
  return add(sqr(sub(u, q.u)), sqr(sub(v, q.v)));
}

template <typename T>
BoundingBoxAA<T> Point<T>::getBoundingBox() const {
  return BoundingBoxAA<T>(*this, Vector<T>());
}

template <typename T>
Point<T> Point<T>::operator+(Vector<T> const& w) const {
  return Point(add(u, w.getdU()), add(v, w.getdV()));
}

template <typename T>
Point<T> Point<T>::operator-(Vector<T> const& w) const {
  return Point(sub(u, w.getdU()), sub(v, w.getdV()));
}

template <typename T>
Vector<T> Point<T>::operator-(Point const& q) const {
  return Vector<T>(sub(u, q.u), sub(v, q.v));
}

template <typename T>
Point<T>& Point<T>::operator+=(Vector<T> const& w) {
  return *this = *this + w;
}

template <typename T>
Point<T>& Point<T>::operator-=(Vector<T> const& w) {
  return *this = *this - w;
}

template <typename T>
bool Point<T>::operator==(Point const& q) const {
  return u == q.u && v == q.v;
}

template <typename T>
bool Point<T>::operator!=(Point const& q) const {
  return !(*this == q);
}

template <typename T>
T Point<T>::sqr(T x) {
  return mul(x, x);
}

template class Point<int>;
template class Point<std::uint32_t>;
template class Point<double>;

} // namespace QARN::Geometry::TwoDimensional
