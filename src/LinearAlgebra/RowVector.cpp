#include <QARN/LinearAlgebra/RowVector.h>

namespace QARN {
namespace LinearAlgebra {

double RowVector::operator*(Vector const& v) const {
  if (v.getNumberOfValues() != getNumberOfValues())
    throw new RowVectorInvalidDimensionsException;
  double const* a = begin();
  double const* b = v.begin();
  double sum = 0.0;
  for (std::uint32_t i = 0; i < getNumberOfValues(); ++i)
    sum += a[i] * b[i];
  return sum;
}

RowVector RowVector::operator*(double const& s) const {
  RowVector result(*this);
  for (double& x : result)
    x *= s;
  return result;
}

} // namespace LinearAlgebra
} // namespace QARN
