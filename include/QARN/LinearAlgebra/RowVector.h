#ifndef QARN_LINEARALGEBRA_ROWVECTOR_H
#define QARN_LINEARALGEBRA_ROWVECTOR_H

#include <QARN/LinearAlgebra/Vector.h>

#include <cstdint>

namespace QARN {
namespace LinearAlgebra {

/// The transpose of a Vector, used to form inner products as row times column.
class RowVector : public Vector {
public:
  class RowVectorInvalidDimensionsException {};

  /// n values, all 0.0.
  explicit RowVector(std::uint32_t n) : Vector(n) {}
  RowVector(RowVector const& v) = default;
  RowVector& operator=(RowVector const& v) = default;
  ~RowVector() override = default;

  /// The inner product, summed in index order; lengths must match, else a new
  /// RowVectorInvalidDimensionsException is thrown.
  double operator*(Vector const& v) const;
  RowVector operator*(double const& s) const;

protected:
  explicit RowVector(Vector const& v) : Vector(v) {}

  friend class Vector;
};

} // namespace LinearAlgebra
} // namespace QARN

#endif
