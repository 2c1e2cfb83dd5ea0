#include <QARN/Geometry/ThreeDimensional/Quaternion.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

#include <cmath>

namespace QARN::Geometry::ThreeDimensional {

Vector::Vector(std::uint32_t i, double value) {
  set(i, value);
}

Vector::Vector(double const* a) : dX(a[0]), dY(a[1]), dZ(a[2]) {}

double Vector::get(std::uint32_t i) const {
  switch (i % 3) {
  case 0:
    return dX;
  case 1:
    return dY;
  default:
    return dZ;
  }
}

void Vector::set(std::uint32_t i, double x) {
  switch (i % 3) {
  case 0:
    dX = x;
    break;
  case 1:
    dY = x;
    break;
  default:
    dZ = x;
  }
}

void Vector::inc(std::uint32_t i, double x) {
  set(i, get(i) + x);
}

void Vector::set(double x, double y, double z) {
  dX = x;
  dY = y;
  dZ = z;
}

void Vector::set(Vector const& w) {
  *this = w;
}

double Vector::dot(Vector const& w) const {
  return dX * w.dX + dY * w.dY + dZ * w.dZ;
}

Vector Vector::cross(Vector const& w) const {
  return Vector(dY * w.dZ - dZ * w.dY, dZ * w.dX - dX * w.dZ, dX * w.dY - dY * w.dX);
}

double Vector::lSqr() const {
  return sqr(dX) + sqr(dY) + sqr(dZ);
}

double Vector::linf() const {
  double m = std::fabs(dX);
  if (std::fabs(dY) > m)
    m = std::fabs(dY);
  if (std::fabs(dZ) > m)
    m = std::fabs(dZ);
  return m;
}

bool Vector::getIsReal() const {
  return std::isfinite(dX) && std::isfinite(dY) && std::isfinite(dZ);
}

Vector Vector::rot(Quaternion const& q) const {
  return (q * Quaternion(*this) * q.inverse()).getbcd();
}

Vector Vector::operator*(double s) const {
  return Vector(dX * s, dY * s, dZ * s);
}

Vector Vector::operator/(double s) const {
  return Vector(dX / s, dY / s, dZ / s);
}

Vector Vector::operator+(Vector const& w) const {
  return Vector(dX + w.dX, dY + w.dY, dZ + w.dZ);
}

Vector Vector::operator-(Vector const& w) const {
  return Vector(dX - w.dX, dY - w.dY, dZ - w.dZ);
}

Vector Vector::operator-() const {
  return Vector(-dX, -dY, -dZ);
}

Vector& Vector::operator+=(Vector const& w) {
  return *this = *this + w;
}

Vector& Vector::operator*=(double s) {
  return *this = *this * s;
}

double Vector::sqr(double x) {
  return x * x;
}

Vector operator*(double s, Vector const& w) {
  return Vector(s * w.getdX(), s * w.getdY(), s * w.getdZ());
}

} // namespace QARN::Geometry::ThreeDimensional
