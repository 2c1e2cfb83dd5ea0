#include "DenseSolvers.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace QARN::Geometry::ThreeDimensional::DenseSolvers {

void getSymmetricEigen(std::uint32_t n, double const* A, double* values, double* vectors) {
  double a[maxSize * maxSize];
  double v[maxSize * maxSize];
  for (std::uint32_t r = 0; r < n; ++r)
    for (std::uint32_t c = 0; c < n; ++c) {
      a[r * n + c] = r <= c ? A[r * n + c] : A[c * n + r];
      v[r * n + c] = r == c ? 1.0 : 0.0;
    }
  for (std::uint32_t sweep = 0; sweep < 64; ++sweep) {
    // Done when the off-diagonal part no longer shows at double precision.
    double off = 0.0;
    double diagonal = 0.0;
    for (std::uint32_t r = 0; r < n; ++r) {
      diagonal += a[r * n + r] * a[r * n + r];
      for (std::uint32_t c = r + 1; c < n; ++c)
        off += a[r * n + c] * a[r * n + c];
    }
    if (off <= 1e-36 * diagonal)
      break;
    for (std::uint32_t p = 0; p < n; ++p)
      for (std::uint32_t q = p + 1; q < n; ++q) {
        double const apq = a[p * n + q];
        if (apq == 0.0)
          continue;
        // The rotation that zeroes a[p][q], with the smaller of the two angles.
        double const theta = (a[q * n + q] - a[p * n + p]) / (2.0 * apq);
        double const t =
            (theta >= 0.0 ? 1.0 : -1.0) / (std::fabs(theta) + std::sqrt(theta * theta + 1.0));
        double const c = 1.0 / std::sqrt(t * t + 1.0);
        double const s = t * c;
        for (std::uint32_t k = 0; k < n; ++k) {
          double const akp = a[k * n + p];
          double const akq = a[k * n + q];
          a[k * n + p] = c * akp - s * akq;
          a[k * n + q] = s * akp + c * akq;
        }
        for (std::uint32_t k = 0; k < n; ++k) {
          double const apk = a[p * n + k];
          double const aqk = a[q * n + k];
          a[p * n + k] = c * apk - s * aqk;
          a[q * n + k] = s * apk + c * aqk;
        }
        for (std::uint32_t k = 0; k < n; ++k) {
          double const vkp = v[k * n + p];
          double const vkq = v[k * n + q];
          v[k * n + p] = c * vkp - s * vkq;
          v[k * n + q] = s * vkp + c * vkq;
        }
      }
  }
  std::uint32_t order[maxSize];
  std::iota(order, order + n, 0u);
  std::stable_sort(order, order + n,
                   [&](std::uint32_t i, std::uint32_t j) { return a[i * n + i] > a[j * n + j]; });
  for (std::uint32_t i = 0; i < n; ++i) {
    values[i] = a[order[i] * n + order[i]];
    for (std::uint32_t k = 0; k < n; ++k)
      vectors[k * n + i] = v[k * n + order[i]];
  }
}

bool solveSymmetric(std::uint32_t n, double const* A, double const* b, double* x,
                    double tolerance) {
  double largest = 0.0;
  for (std::uint32_t i = 0; i < n; ++i)
    largest = std::max(largest, std::fabs(A[i * n + i]));
  double L[maxSize * maxSize] = {};
  for (std::uint32_t j = 0; j < n; ++j) {
    double d = A[j * n + j];
    for (std::uint32_t k = 0; k < j; ++k)
      d -= L[j * n + k] * L[j * n + k];
    if (!(d > tolerance * largest))
      return false;
    L[j * n + j] = std::sqrt(d);
    for (std::uint32_t i = j + 1; i < n; ++i) {
      double s = A[std::min(i, j) * n + std::max(i, j)];
      for (std::uint32_t k = 0; k < j; ++k)
        s -= L[i * n + k] * L[j * n + k];
      L[i * n + j] = s / L[j * n + j];
    }
  }
  double y[maxSize];
  for (std::uint32_t i = 0; i < n; ++i) {
    double s = b[i];
    for (std::uint32_t k = 0; k < i; ++k)
      s -= L[i * n + k] * y[k];
    y[i] = s / L[i * n + i];
  }
  for (std::uint32_t i = n; i-- > 0;) {
    double s = y[i];
    for (std::uint32_t k = i + 1; k < n; ++k)
      s -= L[k * n + i] * x[k];
    x[i] = s / L[i * n + i];
  }
  return true;
}

} // namespace QARN::Geometry::ThreeDimensional::DenseSolvers
