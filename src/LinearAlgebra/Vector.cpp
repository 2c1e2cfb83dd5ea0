#include <QARN/LinearAlgebra/RowVector.h>
#include <QARN/LinearAlgebra/Utility.h>
#include <QARN/LinearAlgebra/Vector.h>

#include <algorithm>
#include <cmath>

namespace QARN {
namespace LinearAlgebra {

bool Vector::doUseSSE2 = false;
bool Vector::isSSE2Checked = false;

Vector::Vector(std::uint32_t n) {
  if (!isSSE2Checked) {
    doUseSSE2 = Utility::isSSE2Present();
    isSSE2Checked = true;
  }
  if (doUseSSE2 && n % 8 != 0)
    throw new VectorInvalidDimensionsException;
  values.assign(n, 0.0);
}

Vector::Vector(Vector const& v) {
  set(&v);
}

Vector& Vector::operator=(Vector const& v) {
  set(&v);
  return *this;
}

void Vector::set(std::uint32_t i, double x) {
  if (i < values.size())
    values[i] = x;
}

void Vector::acc(std::uint32_t i, double x) {
  if (i < values.size())
    values[i] += x;
}

void Vector::set(Vector const* v) {
  if (v != this)
    values = v->values;
}

void Vector::zero() {
  for (double& x : values)
    x = 0.0;
}

void Vector::allOnes() {
  for (double& x : values)
    x = 1.0;
}

double Vector::normL2Sqr() const {
  double sum = 0.0;
  for (double x : values)
    sum += x * x;
  return sum;
}

double Vector::normL2() const {
  return std::sqrt(normL2Sqr());
}

Vector Vector::operator+(Vector const& v) const {
  if (v.values.size() != values.size())
    throw new VectorInvalidDimensionsException;
  Vector result(getNumberOfValues());
  for (std::size_t i = 0; i < values.size(); ++i)
    result.values[i] = values[i] + v.values[i];
  return result;
}

Vector Vector::operator-(Vector const& v) const {
  if (v.values.size() != values.size())
    throw new VectorInvalidDimensionsException;
  Vector result(getNumberOfValues());
  for (std::size_t i = 0; i < values.size(); ++i)
    result.values[i] = values[i] - v.values[i];
  return result;
}

Vector Vector::operator-() const {
  Vector result(getNumberOfValues());
  for (std::size_t i = 0; i < values.size(); ++i)
    result.values[i] = -values[i];
  return result;
}

Vector Vector::operator*(double s) const {
  Vector result(getNumberOfValues());
  for (std::size_t i = 0; i < values.size(); ++i)
    result.values[i] = values[i] * s;
  return result;
}

Vector Vector::operator/(double s) const {
  Vector result(getNumberOfValues());
  for (std::size_t i = 0; i < values.size(); ++i)
    result.values[i] = values[i] / s;
  return result;
}

Vector& Vector::operator+=(Vector const& v) {
  std::size_t const n = std::min(values.size(), v.values.size());
  for (std::size_t i = 0; i < n; ++i)
    values[i] += v.values[i];
  return *this;
}

Vector& Vector::operator-=(Vector const& v) {
  std::size_t const n = std::min(values.size(), v.values.size());
  for (std::size_t i = 0; i < n; ++i)
    values[i] -= v.values[i];
  return *this;
}

RowVector Vector::transpose() const {
  return RowVector(*this);
}

Vector operator*(double s, Vector const& v) {
  return v * s;
}

} // namespace LinearAlgebra
} // namespace QARN
