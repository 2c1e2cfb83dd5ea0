#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_CYLINDERFITFUNCTION_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_UTILITY_CYLINDERFITFUNCTION_H

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/Utility/RealValuedVectorFunction.h>

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional {

namespace PointCloud {
class Cloud;
}

/// The residuals of a circular cylinder against the points of a cloud, for a least-squares fit:
/// value i is point i's distance from the cylinder's axis less its radius.
///
/// The points are first taken into a local frame, p' = frame(p) (a rigid map, chosen by the
/// caller so that the expected axis runs along Z near the origin). The five variables are
/// (α, β, x0, y0, r): with R the rotation about X by α followed by the rotation about Y by β
/// (LinearMap::setRotation with axes X, Y, Z and angles (α, β, 0)), the axis runs along R·e_z
/// through R·(x0, y0, 0), and point p' has the axis-frame coordinates q = Rᵀ·p' − (x0, y0, 0)
/// and value sqrt(qx² + qy²) − r. The Jacobian is analytic, its rotation columns from
/// LinearMap::setRotationDerivative. On the axis itself (qx = qy = 0) the distance has no
/// derivative; the row then holds only the radius column (−1).
///
/// The cloud is held by reference and must outlive the function.
class CylinderFitFunction : public RealValuedVectorFunction {
public:
  CylinderFitFunction(PointCloud::Cloud const& cloud, AffineMap const& frame);
  CylinderFitFunction(CylinderFitFunction const&) = default;
  CylinderFitFunction& operator=(CylinderFitFunction const&) = delete;
  ~CylinderFitFunction() override = default;

  std::uint32_t getNumberOfVariables() const override { return 5; }
  std::uint32_t getNumberOfValues() const override;
  void evaluate(double const* x, std::uint32_t first, std::uint32_t count, double* values,
                double* jacobian) const override;

private:
  PointCloud::Cloud const& cloud;
  AffineMap frame;
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
