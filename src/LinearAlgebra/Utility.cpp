#include <QARN/LinearAlgebra/Utility.h>

#include <cmath>

namespace QARN {
namespace LinearAlgebra {

namespace {

/// Absolute bound on the Euclidean norm of the residual.
constexpr double tolerance = 1e-20;
constexpr std::uint32_t iterationLimit = 0x40000;

} // namespace

// Conjugate gradients in the textbook form
//   p = r (first) or r + (rᵀr / r_prevᵀr_prev)·p;  α = rᵀr / pᵀAp;  x += α·p;  r -= α·Ap
// with the residual recurred, never recomputed from b - A·x. Each iteration forms A·p once
// (together with pᵀAp) and reuses rᵀr from the norm of the previous residual; every sum runs in
// index order from 0.0, so the iterates are bitwise those of the formulation that builds each
// vector separately.
bool Utility::solve(SparseMatrix const& A, Vector& x, Vector const& b, std::uint32_t* iterations,
                    ProgressListener* listener, ProgressTerminator*) {
  if (listener != nullptr)
    listener->setStatusText("Solving linear system...");
  // The shape checks of A·x, b − A·x and, once an iteration starts, A·p (p has b's length).
  if (A.getNumberOfColumns() != x.getNumberOfValues())
    throw new SparseMatrix::SparseMatrixInvalidDimensionsException;
  if (A.getNumberOfRows() != b.getNumberOfValues())
    throw new Vector::VectorInvalidDimensionsException;

  std::uint32_t const n = b.getNumberOfValues();
  Vector rVector(n);
  Vector pVector(n);
  Vector apVector(n);
  double* const xk = x.begin();
  double* const r = rVector.begin();
  double* const p = pVector.begin();
  double* const ap = apVector.begin();
  double const* const rhs = b.begin();

  A.multiply(xk, ap);
  double rr = 0.0;
  for (std::uint32_t i = 0; i < n; ++i) {
    r[i] = rhs[i] - ap[i];
    rr += r[i] * r[i];
  }
  double res = std::sqrt(rr);
  if (res > tolerance && A.getNumberOfRows() != A.getNumberOfColumns())
    throw new SparseMatrix::SparseMatrixInvalidDimensionsException;
  double rrPrev = 0.0;
  std::uint32_t k = 0;

  while (res > tolerance && k < iterationLimit) {
    ++k;
    if (k == 1) {
      for (std::uint32_t i = 0; i < n; ++i)
        p[i] = r[i];
    } else {
      double const beta = rr / rrPrev;
      for (std::uint32_t i = 0; i < n; ++i)
        p[i] = r[i] + beta * p[i];
    }
    // A·p and pᵀ(A·p) in one pass: entry i of the product is complete before it is summed.
    double pAp = 0.0;
    for (std::uint32_t i = 0; i < n; ++i) {
      SparseMatrix::Row const& row = A.rowTable[i];
      double sum = 0.0;
      for (std::uint32_t e = 0; e < row.count; ++e)
        sum += row.values[e] * p[row.indices[e]];
      ap[i] = sum;
      pAp += p[i] * sum;
    }
    double const alpha = rr / pAp;
    double rrNext = 0.0;
    for (std::uint32_t i = 0; i < n; ++i) {
      xk[i] = xk[i] + alpha * p[i];
      r[i] = r[i] - alpha * ap[i];
      rrNext += r[i] * r[i];
    }
    rrPrev = rr;
    rr = rrNext;
    res = std::sqrt(rr);
    if (listener != nullptr)
      listener->setValue("Residual L2 norm", res);
  }

  if (iterations != nullptr)
    *iterations = k;
  return res <= tolerance;
}

bool Utility::isSSEPresent() {
  return false;
}

bool Utility::isSSE2Present() {
  return false;
}

} // namespace LinearAlgebra
} // namespace QARN
