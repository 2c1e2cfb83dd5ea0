#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/Quaternion.h>

#include <cmath>
#include <initializer_list>

namespace QARN::Geometry::ThreeDimensional {

Quaternion::Quaternion(Vector const& u, Vector const& w) : Quaternion(rot(u, w)) {}

double Quaternion::get(std::uint32_t i) const {
  switch (i % 4) {
  case 0:
    return a;
  case 1:
    return b;
  case 2:
    return c;
  default:
    return d;
  }
}

void Quaternion::set(std::uint32_t i, double x) {
  switch (i % 4) {
  case 0:
    a = x;
    break;
  case 1:
    b = x;
    break;
  case 2:
    c = x;
    break;
  default:
    d = x;
  }
}

void Quaternion::inc(std::uint32_t i, double x) {
  set(i, get(i) + x);
}

void Quaternion::set(double qa, double qb, double qc, double qd) {
  *this = Quaternion(qa, qb, qc, qd);
}

void Quaternion::set(double qa, Vector const& v) {
  *this = Quaternion(qa, v);
}

void Quaternion::set(Quaternion const& q) {
  *this = q;
}

double Quaternion::dot(Quaternion const& q) const {
  return a * q.a + b * q.b + c * q.c + d * q.d;
}

double Quaternion::normSqr() const {
  return dot(*this);
}

double Quaternion::linf() const {
  double m = std::fabs(a);
  for (double x : {b, c, d})
    if (std::fabs(x) > m)
      m = std::fabs(x);
  return m;
}

Quaternion Quaternion::conj() const {
  return Quaternion(a, -b, -c, -d);
}

Quaternion Quaternion::inverse() const {
  return conj() / normSqr();
}

Quaternion Quaternion::operator*(Quaternion const& q) const {
  return Quaternion(a * q.a - b * q.b - c * q.c - d * q.d, a * q.b + b * q.a + c * q.d - d * q.c,
                    a * q.c - b * q.d + c * q.a + d * q.b, a * q.d + b * q.c - c * q.b + d * q.a);
}

Quaternion Quaternion::operator*(double s) const {
  return Quaternion(a * s, b * s, c * s, d * s);
}

Quaternion Quaternion::operator/(double s) const {
  return Quaternion(a / s, b / s, c / s, d / s);
}

Quaternion Quaternion::operator+(Quaternion const& q) const {
  return Quaternion(a + q.a, b + q.b, c + q.c, d + q.d);
}

Quaternion Quaternion::operator-(Quaternion const& q) const {
  return Quaternion(a - q.a, b - q.b, c - q.c, d - q.d);
}

Quaternion& Quaternion::operator+=(Quaternion const& q) {
  return *this = *this + q;
}

void Quaternion::getRotation(LinearMap& R) const {
  double const n = normSqr();
  R.set(0, 0, (a * a + b * b - c * c - d * d) / n);
  R.set(0, 1, 2.0 * (b * c - a * d) / n);
  R.set(0, 2, 2.0 * (a * c + b * d) / n);
  R.set(1, 0, 2.0 * (a * d + b * c) / n);
  R.set(1, 1, (a * a - b * b + c * c - d * d) / n);
  R.set(1, 2, 2.0 * (c * d - a * b) / n);
  R.set(2, 0, 2.0 * (b * d - a * c) / n);
  R.set(2, 1, 2.0 * (a * b + c * d) / n);
  R.set(2, 2, (a * a - b * b - c * c + d * d) / n);
}

Quaternion Quaternion::rot2theta(Vector const& u, Vector const& w) {
  return Quaternion(u.dot(w), u.cross(w));
}

Quaternion Quaternion::rot(Vector const& u, Vector const& w) {
  Vector h = u + w;
  for (std::uint32_t i = 0; i < 3 && h.dot(h) == 0.0; ++i)
    h = Vector(i, 1.0).cross(u);
  h = h / std::sqrt(h.dot(h));
  return rot2theta(u, h);
}

Quaternion Quaternion::rot(Vector const& u, Vector const& w, double f) {
  Vector n = u.cross(w);
  double const nn = n.dot(n);
  double const phi = std::atan2(std::sqrt(nn), u.dot(w));
  n = nn == 0.0 ? Vector() : n / std::sqrt(nn);
  Vector const target = std::cos(f * phi) * u + std::sin(f * phi) * n.cross(u);
  return rot(u, target);
}

Quaternion Quaternion::rot(Vector const& u1, Vector const& w1, Vector const& u2, Vector const& w2,
                           double f) {
  Quaternion const q1 = rot(u1, w1);
  Vector const axis = w1 / std::sqrt(w1.dot(w1));
  Vector const turned = u2.rot(q1);
  Vector const from = turned - axis * turned.dot(axis);
  Vector const to = w2 - axis * w2.dot(axis);
  // atan2 is indifferent to the lengths of the projections; both zero gives no turn.
  double const theta = std::atan2(from.cross(to).dot(axis), from.dot(to));
  Quaternion const q2(std::cos(0.5 * theta), axis * std::sin(0.5 * theta));
  Quaternion full = q2 * q1;
  if (full.a < 0.0)
    full = full * -1.0;
  Vector const v = full.getbcd();
  double const s = std::sqrt(v.dot(v));
  double const half = std::atan2(s, full.a);
  Vector const n = s == 0.0 ? Vector() : v / s;
  return Quaternion(std::cos(f * half), n * std::sin(f * half));
}

} // namespace QARN::Geometry::ThreeDimensional
