#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/TwoDimensional/Point.h>

namespace QARN::Geometry::TwoDimensional {

using namespace detail;

template <typename T>
T Point<T>::dSqr(Point const& q) const {
  return add(sqr(sub(u, q.u)), sqr(sub(v, q.v)));
}

template <typename T>
BoundingBoxAA<T> Point<T>::getBoundingBox() const {
  return BoundingBoxAA<T>(*this, Vector<T>());
}

template <typename T>
T Point<T>::sqr(T x) {
  return mul(x, x);
}

template class Point<int>;
template class Point<std::uint32_t>;
template class Point<double>;

} // namespace QARN::Geometry::TwoDimensional
