#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_UTILITY_DENSESOLVERS_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_UTILITY_DENSESOLVERS_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::DenseSolvers {

/// Small dense systems, row-major n x n arrays with n at most maxSize.
constexpr std::uint32_t maxSize = 10;

/// The eigenvalues of the symmetric matrix A (its upper triangle is read), largest first, in
/// values, and the unit eigenvectors as the columns of vectors, by cyclic Jacobi rotations.
/// Equal eigenvalues keep the order of A's diagonal, so that the zero matrix gives the identity.
void getSymmetricEigen(std::uint32_t n, double const* A, double* values, double* vectors);

/// Solves A·x = b for a symmetric positive definite A by Cholesky factorisation; false (x
/// unchanged) when a pivot is not above tolerance times the largest diagonal entry.
bool solveSymmetric(std::uint32_t n, double const* A, double const* b, double* x, double tolerance);

} // namespace QARN::Geometry::ThreeDimensional::DenseSolvers

#endif
