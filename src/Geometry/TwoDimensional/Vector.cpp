#include <QARN/Geometry/TwoDimensional/Vector.h>

namespace QARN::Geometry::TwoDimensional {

using namespace detail;

template <typename T>
T Vector<T>::dot(Vector const& w) const {
  return add(mul(du, w.du), mul(dv, w.dv));
}

template <typename T>
T Vector<T>::det(Vector const& w) const {
  return sub(mul(du, w.dv), mul(dv, w.du));
}

template <typename T>
T Vector<T>::lSqr() const {
  return add(sqr(du), sqr(dv));
}

template <typename T>
T Vector<T>::sqr(T x) {
  return mul(x, x);
}

template class Vector<int>;
template class Vector<std::uint32_t>;
template class Vector<double>;

} // namespace QARN::Geometry::TwoDimensional
