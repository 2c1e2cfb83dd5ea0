#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUATERNION_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUATERNION_H

#include <QARN/Geometry/ThreeDimensional/Vector.h>

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional {

class LinearMap;

/// a + b·i + c·j + d·k with the Hamilton product. A quaternion of any non-zero length stands
/// for a rotation: the rotations below divide by the squared norm.
class Quaternion {
public:
  /// (0, 0, 0, 0).
  Quaternion() = default;
  Quaternion(double a, double b, double c, double d) : a(a), b(b), c(c), d(d) {}
  Quaternion(double a, Vector const& v) : a(a), b(v.getdX()), c(v.getdY()), d(v.getdZ()) {}
  /// The pure quaternion (0, v).
  explicit Quaternion(Vector const& v) : Quaternion(0.0, v) {}
  /// rot(u, w).
  Quaternion(Vector const& u, Vector const& w);
  Quaternion(Quaternion const&) = default;
  virtual ~Quaternion() = default;
  Quaternion& operator=(Quaternion const&) = default;

  double geta() const { return a; }
  double getb() const { return b; }
  double getc() const { return c; }
  double getd() const { return d; }
  /// The vector part (b, c, d).
  Vector getbcd() const { return Vector(b, c, d); }
  /// Component i mod 4: 0 = a, 1 = b, 2 = c, 3 = d.
  double get(std::uint32_t i) const;
  void set(std::uint32_t i, double x);
  void inc(std::uint32_t i, double x);
  void set(double a, double b, double c, double d);
  void set(double a, Vector const& v);
  void set(Quaternion const& q);

  double dot(Quaternion const& q) const;
  double normSqr() const;
  /// The largest absolute component.
  double linf() const;
  /// (a, −b, −c, −d).
  Quaternion conj() const;
  /// conj() / normSqr(); a zero quaternion is not detected.
  Quaternion inverse() const;

  /// The Hamilton product this·q.
  Quaternion operator*(Quaternion const& q) const;
  Quaternion operator*(double s) const;
  Quaternion operator/(double s) const;
  Quaternion operator+(Quaternion const& q) const;
  Quaternion operator-(Quaternion const& q) const;
  Quaternion& operator+=(Quaternion const& q);

  /// Writes the rotation matrix divided by normSqr(); it agrees with Vector::rot.
  void getRotation(LinearMap& R) const;

  /// (u·w, u × w): for unit u and w the rotation about u × w by twice their angle.
  static Quaternion rot2theta(Vector const& u, Vector const& w);
  /// The rotation turning direction u into direction w (unit vectors), built from the half-way
  /// vector; for opposite u and w the half-way vector is the first non-zero e_i × u.
  static Quaternion rot(Vector const& u, Vector const& w);
  /// The rotation turning unit u a fraction f of the way towards unit w about their common
  /// normal: f = 0 gives the identity, f = 1 the full rot(u, w).
  static Quaternion rot(Vector const& u, Vector const& w, double f);
  /// The rotation carrying the pair of unit directions (u1, u2) to (w1, w2), a fraction f of the
  /// way. The full rotation Q = q2·q1: q1 = rot(u1, w1) maps u1 onto w1 exactly; q2 then turns
  /// about w1 by the signed angle between the projections of q1(u2) and w2 onto the plane normal
  /// to w1, which brings u2 as close to w2 as u1 ↦ w1 allows (no turn when a projection is
  /// zero). The fraction turns about Q's axis by f times Q's angle (taken in (−π, π]), so f = 1
  /// gives Q up to rounding and f = 0 exactly the identity (1, 0, 0, 0).
  static Quaternion rot(Vector const& u1, Vector const& w1, Vector const& u2, Vector const& w2,
                        double f);

private:
  double a = 0.0;
  double b = 0.0;
  double c = 0.0;
  double d = 0.0;
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
