#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>

namespace QARN::Geometry::TwoDimensional {

template <typename T>
bool BoundingBoxAA<T>::isInside(Point<T> const& q) const {
  Point<T> const p1 = getp1();
  return p.getU() <= q.getU() && q.getU() < p1.getU() && p.getV() <= q.getV() &&
         q.getV() < p1.getV();
}

template <typename T>
void BoundingBoxAA<T>::expand(BoundingBoxAA const& b) {
  Point<T> q1 = getp1();
  q1.setMax(b.getp1());
  p.setMin(b.p);
  d = q1 - p;
}

template class BoundingBoxAA<int>;
template class BoundingBoxAA<std::uint32_t>;
template class BoundingBoxAA<double>;

} // namespace QARN::Geometry::TwoDimensional
