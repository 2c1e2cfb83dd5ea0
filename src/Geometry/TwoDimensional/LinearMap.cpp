#include <QARN/Exception.h>
#include <QARN/Geometry/TwoDimensional/LinearMap.h>

#include <cmath>

namespace QARN::Geometry::TwoDimensional {

template <typename T>
LinearMap<T>::LinearMap(DefaultLinearMaps init) {
  if (init != Identity)
    throw Exception("Unsupported linear map initialisation.");
  m00 = 1;
  m11 = 1;
}

template <typename T>
LinearMap<T>::LinearMap(T a, T b, T s) {
  setAsRotation(a, b, s);
}

template <typename T>
void LinearMap<T>::setAsRotation(T a, T b, T s) {
  T const theta = 6.283185307179586 * a / b;
  T const c = std::cos(theta);
  T const n = std::sin(theta);
  m00 = s * c;
  m01 = s * -n;
  m10 = s * n;
  m11 = s * c;
}

template <typename T>
LinearMap<T> LinearMap<T>::inverse() const {
  T const det = m00 * m11 - m01 * m10;
  return LinearMap(m11 / det, -m01 / det, -m10 / det, m00 / det);
}

template <typename T>
LinearMap<T> LinearMap<T>::operator*(LinearMap const& B) const {
  return LinearMap(m00 * B.m00 + m01 * B.m10, m00 * B.m01 + m01 * B.m11, m10 * B.m00 + m11 * B.m10,
                   m10 * B.m01 + m11 * B.m11);
}

template <typename T>
LinearMap<T> LinearMap<T>::operator()(LinearMap const& B) const {
  return *this * B;
}

template <typename T>
Vector<T> LinearMap<T>::operator*(Vector<T> const& w) const {
  return Vector<T>(m00 * w.getdU() + m01 * w.getdV(), m10 * w.getdU() + m11 * w.getdV());
}

template <typename T>
Vector<T> LinearMap<T>::operator()(Vector<T> const& w) const {
  return *this * w;
}

template <typename T>
LinearMap<T> LinearMap<T>::operator+(LinearMap const& B) const {
  return LinearMap(m00 + B.m00, m01 + B.m01, m10 + B.m10, m11 + B.m11);
}

template <typename T>
LinearMap<T> LinearMap<T>::operator-(LinearMap const& B) const {
  return LinearMap(m00 - B.m00, m01 - B.m01, m10 - B.m10, m11 - B.m11);
}

template <typename T>
bool LinearMap<T>::operator==(LinearMap const& B) const {
  return m00 == B.m00 && m01 == B.m01 && m10 == B.m10 && m11 == B.m11;
}

template class LinearMap<double>;

} // namespace QARN::Geometry::TwoDimensional
