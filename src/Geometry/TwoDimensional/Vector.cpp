#include <QARN/Geometry/TwoDimensional/Vector.h>

#include "Geometry/TwoDimensional/Arithmetic.h"

namespace QARN::Geometry::TwoDimensional {

using namespace Arithmetic;

template <typename T>
T Vector<T>::get(std::uint32_t i) const {
  return i % 2 == 0 ? du : dv;
}

template <typename T>
void Vector<T>::seti(std::uint32_t i, T x) {
  if (i % 2 == 1) {
    dv = x;
    return;
  }
  du = x;
  if (i != 0)
    dv = x;
}

template <typename T>
void Vector<T>::set(T u, T v) {
  du = u;
  dv = v;
}

template <typename T>
void Vector<T>::set(Vector const& w) {
  *this = w;
}

template <typename T>
T Vector<T>::dot(Vector const& w) const {
  return add(mul(du, w.du), mul(dv, w.dv));
}

template <typename T>
T Vector<T>::det(Vector const& w) const {
  return sub(mul(du, w.dv), mul(dv, w.du));
}

template <typename T>
Vector<T> Vector<T>::perp() const {
  return Vector(neg(dv), du);
}

template <typename T>
T Vector<T>::lSqr() const {
  return add(sqr(du), sqr(dv));
}

template <typename T>
bool Vector<T>::getIsNull() const {
  return du == 0 && dv == 0;
}

template <typename T>
Vector<T> Vector<T>::operator+(Vector const& w) const {
  return Vector(add(du, w.du), add(dv, w.dv));
}

template <typename T>
Vector<T> Vector<T>::operator-(Vector const& w) const {
  return Vector(sub(du, w.du), sub(dv, w.dv));
}

template <typename T>
Vector<T> Vector<T>::operator*(T const& s) const {
  return Vector(mul(du, s), mul(dv, s));
}

template <typename T>
Vector<T> Vector<T>::operator/(T const& s) const {
  return Vector(du / s, dv / s);
}

template <typename T>
Vector<T>& Vector<T>::operator/=(T const& s) {
  du /= s;
  dv /= s;
  return *this;
}

template <typename T>
Vector<T>& Vector<T>::operator+=(Vector const& w) {
  return *this = *this + w;
}

template <typename T>
Vector<T>& Vector<T>::operator-=(Vector const& w) {
  return *this = *this - w;
}

template <typename T>
bool Vector<T>::operator==(Vector const& w) const {
  return du == w.du && dv == w.dv;
}

template <typename T>
bool Vector<T>::operator!=(Vector const& w) const {
  return !(*this == w);
}

template <typename T>
T Vector<T>::sqr(T x) {
  return mul(x, x);
}

template class Vector<int>;
template class Vector<std::uint32_t>;
template class Vector<double>;

} // namespace QARN::Geometry::TwoDimensional
