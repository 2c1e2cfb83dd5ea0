#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_REALVALUEDVECTORFUNCTION_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_REALVALUEDVECTORFUNCTION_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional {

/// A function f from n real variables to m real values with its Jacobian, as a least-squares
/// solver sees it: Utility::minimiseSumOfSquares looks for the x that minimises the sum of the
/// squared values. Values are asked for in runs, so that m may be large (one value per point of
/// a cloud) without the solver holding the whole Jacobian.
class RealValuedVectorFunction {
public:
  RealValuedVectorFunction() = default;
  RealValuedVectorFunction(RealValuedVectorFunction const&) = default;
  RealValuedVectorFunction& operator=(RealValuedVectorFunction const&) = default;
  virtual ~RealValuedVectorFunction() = default;

  /// n.
  virtual std::uint32_t getNumberOfVariables() const = 0;
  /// m.
  virtual std::uint32_t getNumberOfValues() const = 0;
  /// Writes values first .. first + count − 1 of f(x) into values[0 .. count − 1] and, when
  /// jacobian is not null, their rows of the Jacobian (∂f_i/∂x_j, count rows of n, row-major)
  /// into jacobian. x holds n variables; first + count never exceeds m.
  virtual void evaluate(double const* x, std::uint32_t first, std::uint32_t count, double* values,
                        double* jacobian) const = 0;
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
