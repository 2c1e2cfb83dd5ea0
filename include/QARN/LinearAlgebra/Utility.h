#ifndef QARN_LINEARALGEBRA_UTILITY_H
#define QARN_LINEARALGEBRA_UTILITY_H

#include <QARN/LinearAlgebra/SparseMatrix.h>
#include <QARN/LinearAlgebra/Vector.h>
#include <QARN/Progress/ProgressListener.h>
#include <QARN/Progress/ProgressTerminator.h>

#include <cstdint>

namespace QARN {
namespace LinearAlgebra {

/// Static helpers of the linear-algebra classes.
class Utility {
public:
  Utility() = delete;

  /// Solves the square system A·x = b by unpreconditioned conjugate gradients, starting from x
  /// and leaving the last iterate in x. Stops when the Euclidean norm of the recurred residual is
  /// at most 1e-20 (absolute) or after 262144 iterations; returns true in the first case.
  /// iterations (nullable) receives the number of iterations. The listener (nullable) gets
  /// "Solving linear system..." once, then "Residual L2 norm" after every iteration. The
  /// terminator is accepted and never consulted.
  /// Shapes are checked where the iteration's products need them, after the status text:
  /// SparseMatrix::SparseMatrixInvalidDimensionsException* when A's column count differs from
  /// x's length, then Vector::VectorInvalidDimensionsException* when its row count differs from
  /// b's length. A rectangular A (there is no least-squares mode) is refused with
  /// SparseMatrixInvalidDimensionsException* when the first iteration would form A·p, so a
  /// starting x whose residual b − A·x already meets the tolerance still gives true after zero
  /// iterations. x and *iterations are unchanged when an exception leaves.
  static bool solve(SparseMatrix const& A, Vector& x, Vector const& b, std::uint32_t* iterations,
                    ProgressListener* listener, ProgressTerminator* terminator);

  /// The SIMD paths of Vector and SparseMatrix are switched off: both answer false.
  static bool isSSEPresent();
  static bool isSSE2Present();
};

} // namespace LinearAlgebra
} // namespace QARN

#endif
