#ifndef QARN_GEOMETRY_TWODIMENSIONAL_BOUNDINGBOXAA_H
#define QARN_GEOMETRY_TWODIMENSIONAL_BOUNDINGBOXAA_H

#include <QARN/Geometry/TwoDimensional/Point.h>
#include <QARN/Geometry/TwoDimensional/Vector.h>

#include <cstdint>

namespace QARN::Geometry::TwoDimensional {

/// A half-open axis-aligned box: low corner p and extent d; it holds q when
/// p ≤ q < p + d in both components, so a box with a zero extent holds nothing.
template <typename T>
class BoundingBoxAA {
public:
  BoundingBoxAA() = default;
  BoundingBoxAA(Point<T> const& p, Vector<T> const& d) : p(p), d(d) {}
  BoundingBoxAA(BoundingBoxAA const&) = default;
  virtual ~BoundingBoxAA() = default;
  BoundingBoxAA& operator=(BoundingBoxAA const&) = default;

  Point<T> const& getp() const { return p; }
  Vector<T> const& getd() const { return d; }
  void set(Point<T> const& q, Vector<T> const& w) {
    p = q;
    d = w;
  }
  void setp(Point<T> const& q) { p = q; }
  /// The far corner p + d (outside the box).
  Point<T> getp1() const { return p + d; }

  bool isInside(Point<T> const& q) const;
  /// Grows to the smallest box holding both. Not neutral for a default box: the result then
  /// always holds the origin.
  void expand(BoundingBoxAA const& b);

private:
  Point<T> p;
  Vector<T> d;
};

extern template class BoundingBoxAA<int>;
extern template class BoundingBoxAA<std::uint32_t>;
extern template class BoundingBoxAA<double>;

} // namespace QARN::Geometry::TwoDimensional

#endif
