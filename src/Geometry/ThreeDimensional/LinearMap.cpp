#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/Quaternion.h>

#include <cmath>

namespace QARN::Geometry::ThreeDimensional {

LinearMap::LinearMap(Vector const& c0, Vector const& c1, Vector const& c2) {
  setColumn(0, c0);
  setColumn(1, c1);
  setColumn(2, c2);
}

LinearMap::LinearMap(RotationAxis const* axes, Vector const& angles) {
  setRotation(axes, angles);
}

LinearMap::LinearMap(Quaternion const& q) {
  q.getRotation(*this);
}

double LinearMap::get(std::uint32_t r, std::uint32_t c) const {
  return r < 3 && c < 3 ? m[r][c] : 0.0;
}

void LinearMap::set(std::uint32_t r, std::uint32_t c, double x) {
  if (r < 3 && c < 3)
    m[r][c] = x;
}

void LinearMap::inc(std::uint32_t r, std::uint32_t c, double x) {
  if (r < 3 && c < 3)
    m[r][c] += x;
}

void LinearMap::set(LinearMap const& M) {
  *this = M;
}

void LinearMap::setColumn(std::uint32_t c, Vector const& v) {
  if (c >= 3)
    return;
  for (std::uint32_t i = 0; i < 3; ++i)
    m[i][c] = v.get(i);
}

Vector LinearMap::getColumn(std::uint32_t c) const {
  Vector v;
  if (c >= 3)
    return v;
  for (std::uint32_t i = 0; i < c; ++i)
    v.set(i, m[i][c]);
  return v;
}

void LinearMap::setAsIdentity() {
  *this = LinearMap();
  m[0][0] = m[1][1] = m[2][2] = 1.0;
}

// The matrices below are given by their columns.
void LinearMap::setRotation(RotationAxis axis, double theta) {
  double const c = std::cos(theta);
  double const s = std::sin(theta);
  switch (axis) {
  case X:
    *this = LinearMap(Vector(1.0, 0.0, 0.0), Vector(0.0, c, s), Vector(0.0, -s, c));
    break;
  case Y:
    *this = LinearMap(Vector(c, 0.0, -s), Vector(0.0, 1.0, 0.0), Vector(s, 0.0, c));
    break;
  case Z:
    *this = LinearMap(Vector(c, s, 0.0), Vector(-s, c, 0.0), Vector(0.0, 0.0, 1.0));
    break;
  default:
    throw Exception("Invalid rotation axis.");
  }
}

void LinearMap::setRotationDerivative(RotationAxis axis, double theta) {
  double const c = std::cos(theta);
  double const s = std::sin(theta);
  switch (axis) {
  case X:
    *this = LinearMap(Vector(0.0, 0.0, 0.0), Vector(0.0, -s, c), Vector(0.0, -c, -s));
    break;
  case Y:
    *this = LinearMap(Vector(-s, 0.0, -c), Vector(0.0, 0.0, 0.0), Vector(c, 0.0, -s));
    break;
  case Z:
    *this = LinearMap(Vector(-s, c, 0.0), Vector(-c, -s, 0.0), Vector(0.0, 0.0, 0.0));
    break;
  default:
    throw Exception("Invalid rotation axis.");
  }
}

void LinearMap::setRotation(RotationAxis const* axes, Vector const& angles) {
  LinearMap R[3];
  for (std::uint32_t k = 0; k < 3; ++k)
    R[k].setRotation(axes[k], angles.get(k));
  *this = R[2] * R[1] * R[0];
}

void LinearMap::setRotationDerivative(std::uint32_t k, RotationAxis const* axes,
                                      Vector const& angles) {
  if (k > 2)
    throw Exception("Invalid derivative axis.");
  LinearMap R[3];
  for (std::uint32_t i = 0; i < 3; ++i) {
    if (i == k)
      R[i].setRotationDerivative(axes[i], angles.get(i));
    else
      R[i].setRotation(axes[i], angles.get(i));
  }
  *this = R[2] * R[1] * R[0];
}

LinearMap LinearMap::operator*(LinearMap const& B) const {
  LinearMap P;
  for (std::uint32_t r = 0; r < 3; ++r)
    for (std::uint32_t c = 0; c < 3; ++c)
      P.m[r][c] = m[r][0] * B.m[0][c] + m[r][1] * B.m[1][c] + m[r][2] * B.m[2][c];
  return P;
}

Vector LinearMap::operator*(Vector const& v) const {
  Vector w;
  for (std::uint32_t r = 0; r < 3; ++r)
    w.set(r, m[r][0] * v.getdX() + m[r][1] * v.getdY() + m[r][2] * v.getdZ());
  return w;
}

Vector LinearMap::operator()(Vector const& v) const {
  return *this * v;
}

LinearMap LinearMap::operator-(LinearMap const& B) const {
  LinearMap D;
  for (std::uint32_t r = 0; r < 3; ++r)
    for (std::uint32_t c = 0; c < 3; ++c)
      D.m[r][c] = m[r][c] - B.m[r][c];
  return D;
}

double LinearMap::det() const {
  return m[0][0] * m[1][1] * m[2][2] - m[0][0] * m[1][2] * m[2][1] - m[1][0] * m[0][1] * m[2][2] +
         m[1][0] * m[0][2] * m[2][1] + m[2][0] * m[0][1] * m[1][2] - m[2][0] * m[0][2] * m[1][1];
}

double LinearMap::trace() const {
  return m[0][0] + m[1][1] + m[2][2];
}

LinearMap LinearMap::transpose() const {
  LinearMap T;
  for (std::uint32_t r = 0; r < 3; ++r)
    for (std::uint32_t c = 0; c < 3; ++c)
      T.m[r][c] = m[c][r];
  return T;
}

LinearMap LinearMap::inverse() const {
  double const D = det();
  LinearMap I;
  I.m[0][0] = (m[1][1] * m[2][2] - m[1][2] * m[2][1]) / D;
  I.m[0][1] = -(m[0][1] * m[2][2] - m[0][2] * m[2][1]) / D;
  I.m[0][2] = (m[0][1] * m[1][2] - m[0][2] * m[1][1]) / D;
  I.m[1][0] = -(m[1][0] * m[2][2] - m[1][2] * m[2][0]) / D;
  I.m[1][1] = (m[0][0] * m[2][2] - m[0][2] * m[2][0]) / D;
  I.m[1][2] = -(m[0][0] * m[1][2] - m[0][2] * m[1][0]) / D;
  I.m[2][0] = (m[1][0] * m[2][1] - m[1][1] * m[2][0]) / D;
  I.m[2][1] = -(m[0][0] * m[2][1] - m[0][1] * m[2][0]) / D;
  I.m[2][2] = (m[0][0] * m[1][1] - m[0][1] * m[1][0]) / D;
  return I;
}

} // namespace QARN::Geometry::ThreeDimensional
