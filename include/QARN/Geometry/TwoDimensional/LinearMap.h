#ifndef QARN_GEOMETRY_TWODIMENSIONAL_LINEARMAP_H
#define QARN_GEOMETRY_TWODIMENSIONAL_LINEARMAP_H

#include <QARN/Geometry/TwoDimensional/DefaultLinearMaps.h>
#include <QARN/Geometry/TwoDimensional/Vector.h>

namespace QARN::Geometry::TwoDimensional {

/// A 2x2 matrix (m00, m01; m10, m11) acting on column vectors; instantiated for double only.
template <typename T>
class LinearMap {
public:
  /// The zero matrix (not the identity).
  LinearMap() = default;
  /// Identity gives the unit matrix; any other value throws QARN::Exception
  /// "Unsupported linear map initialisation.".
  explicit LinearMap(DefaultLinearMaps init);
  /// setAsRotation(a, b, s).
  LinearMap(T a, T b, T s);
  LinearMap(T m00, T m01, T m10, T m11) : m00(m00), m01(m01), m10(m10), m11(m11) {}
  LinearMap(LinearMap const&) = default;
  virtual ~LinearMap() = default;
  LinearMap& operator=(LinearMap const&) = default;

  /// s times the counter-clockwise rotation by θ = 2π·a / b (step a of b steps in a turn).
  void setAsRotation(T a, T b, T s);
  /// The adjugate over the determinant; a singular map gives infinities or NaN.
  LinearMap inverse() const;

  /// The matrix product this·B.
  LinearMap operator*(LinearMap const& B) const;
  LinearMap operator()(LinearMap const& B) const;
  Vector<T> operator*(Vector<T> const& w) const;
  Vector<T> operator()(Vector<T> const& w) const;
  LinearMap operator+(LinearMap const& B) const;
  LinearMap operator-(LinearMap const& B) const;
  /// All four entries exactly equal.
  bool operator==(LinearMap const& B) const;

private:
  T m00 = 0;
  T m01 = 0;
  T m10 = 0;
  T m11 = 0;
};

extern template class LinearMap<double>;

} // namespace QARN::Geometry::TwoDimensional

#endif
