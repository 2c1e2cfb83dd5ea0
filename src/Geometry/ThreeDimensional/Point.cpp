#include <QARN/Geometry/ThreeDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/ThreeDimensional/Plane.h>
#include <QARN/Geometry/ThreeDimensional/Point.h>

#include <cmath>

namespace QARN::Geometry::ThreeDimensional {

Point::Point(double px, double py, double pz)
    : x(static_cast<float>(px)), y(static_cast<float>(py)), z(static_cast<float>(pz)) {}

Point::Point(double const* a) : Point(a[0], a[1], a[2]) {}

float Point::get(std::uint32_t i) const {
  switch (i % 3) {
  case 0:
    return x;
  case 1:
    return y;
  default:
    return z;
  }
}

void Point::seti(std::uint32_t i, double value) {
  float const f = static_cast<float>(value);
  switch (i % 3) {
  case 0:
    x = f;
    break;
  case 1:
    y = f;
    break;
  default:
    z = f;
  }
}

void Point::set(double px, double py, double pz) {
  *this = Point(px, py, pz);
}

void Point::set(Point const& q) {
  *this = q;
}

void Point::setMin(Point const& q) {
  if (q.x < x)
    x = q.x;
  if (q.y < y)
    y = q.y;
  if (q.z < z)
    z = q.z;
}

void Point::setMax(Point const& q) {
  if (q.x > x)
    x = q.x;
  if (q.y > y)
    y = q.y;
  if (q.z > z)
    z = q.z;
}

double Point::dSqr(Point const& q) const {
  float const xy = sqr(double(x) - double(q.x)) + sqr(double(y) - double(q.y));
  return double(xy) + double(sqr(double(z) - double(q.z)));
}

bool Point::getIsNull() const {
  return x == 0.0f && y == 0.0f && z == 0.0f;
}

bool Point::getIsAbove(Plane const& P) const {
  return (*this - P.getp()).dot(P.getN()) >= 0.0;
}

bool Point::getIsBelow(Plane const& P) const {
  return (*this - P.getp()).dot(P.getN()) < 0.0;
}

double Point::getMinMaxDistance(Point const& q) const {
  return std::sqrt(dSqr(q));
}

double Point::getMinMaxDistance(Plane const& P) const {
  return std::fabs((*this - P.getp()).dot(P.getN())) / std::sqrt(P.getN().dot(P.getN()));
}

BoundingBoxAA Point::getBoundingBox() const {
  return BoundingBoxAA(*this, Vector());
}

Vector Point::operator-(Point const& q) const {
  return Vector(double(x) - double(q.x), double(y) - double(q.y), double(z) - double(q.z));
}

Point Point::operator+(Vector const& w) const {
  return Point(x + w.getdX(), y + w.getdY(), z + w.getdZ());
}

Point Point::operator-(Vector const& w) const {
  return Point(x - w.getdX(), y - w.getdY(), z - w.getdZ());
}

Point& Point::operator+=(Vector const& w) {
  return *this = *this + w;
}

Point& Point::operator-=(Vector const& w) {
  return *this = *this - w;
}

bool Point::operator==(Point const& q) const {
  return x == q.x && y == q.y && z == q.z;
}

bool Point::operator!=(Point const& q) const {
  return !(*this == q);
}

float Point::sqr(double v) {
  return static_cast<float>(v * v);
}

} // namespace QARN::Geometry::ThreeDimensional
