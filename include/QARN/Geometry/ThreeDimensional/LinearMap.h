#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_LINEARMAP_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_LINEARMAP_H

#include <QARN/Geometry/ThreeDimensional/Vector.h>

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional {

class Quaternion;

/// A 3x3 matrix m[r][c], row-major, acting on column vectors. Angles are in radians.
class LinearMap {
public:
  enum RotationAxis : std::uint32_t { X, Y, Z };

  /// The zero matrix (not the identity).
  LinearMap() = default;
  /// c0, c1, c2 become the columns.
  LinearMap(Vector const& c0, Vector const& c1, Vector const& c2);
  /// setRotation(axes, angles).
  LinearMap(RotationAxis const* axes, Vector const& angles);
  /// The rotation of q (q.getRotation).
  explicit LinearMap(Quaternion const& q);
  LinearMap(LinearMap const&) = default;
  virtual ~LinearMap() = default;
  LinearMap& operator=(LinearMap const&) = default;

  /// m[r][c], or 0.0 when r or c is 3 or more.
  double get(std::uint32_t r, std::uint32_t c) const;
  /// Does nothing when r or c is 3 or more.
  void set(std::uint32_t r, std::uint32_t c, double x);
  /// Adds x to m[r][c]; does nothing when r or c is 3 or more.
  void inc(std::uint32_t r, std::uint32_t c, double x);
  void set(LinearMap const& M);
  /// Column c (< 3) becomes v; c ≥ 3 is ignored.
  void setColumn(std::uint32_t c, Vector const& v);
  /// A partial column: m[i][c] for the rows i < c and 0 in the others, so getColumn(0) is
  /// (0, 0, 0) and getColumn(2) is (m02, m12, 0); (0, 0, 0) for c ≥ 3. Callers rely on no more.
  Vector getColumn(std::uint32_t c) const;
  void setAsIdentity();

  /// The counter-clockwise (right-handed) rotation about the axis by θ; any other axis value
  /// throws QARN::Exception "Invalid rotation axis.".
  void setRotation(RotationAxis axis, double theta);
  /// The derivative of setRotation(axis, θ) with respect to θ; same axis rule and message.
  void setRotationDerivative(RotationAxis axis, double theta);
  /// R2·R1·R0 with Rk the rotation about axes[k] by angle k (angles.dX, dY, dZ): the rotation
  /// about axes[0] acts first. The matrix may be partly written when an exception leaves.
  void setRotation(RotationAxis const* axes, Vector const& angles);
  /// The partial derivative of that product with respect to angle k: factor k replaced by its
  /// derivative. k > 2 throws QARN::Exception "Invalid derivative axis.".
  void setRotationDerivative(std::uint32_t k, RotationAxis const* axes, Vector const& angles);

  /// The matrix product this·B.
  LinearMap operator*(LinearMap const& B) const;
  Vector operator*(Vector const& v) const;
  Vector operator()(Vector const& v) const;
  LinearMap operator-(LinearMap const& B) const;

  double det() const;
  double trace() const;
  LinearMap transpose() const;
  /// The adjugate over det(); a singular matrix gives infinities or NaN.
  LinearMap inverse() const;

private:
  double m[3][3] = {{0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}};
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
