#include <QARN/Geometry/ThreeDimensional/Utility/CylinderFitFunction.h>

#include <QARN/Geometry/ThreeDimensional/PointCloud/Cloud.h>

#include <cmath>

namespace QARN::Geometry::ThreeDimensional {

CylinderFitFunction::CylinderFitFunction(PointCloud::Cloud const& cloud, AffineMap const& frame)
    : cloud(cloud), frame(frame) {}

std::uint32_t CylinderFitFunction::getNumberOfValues() const {
  return cloud.getNumberOfPoints();
}

void CylinderFitFunction::evaluate(double const* x, std::uint32_t first, std::uint32_t count,
                                   double* values, double* jacobian) const {
  LinearMap::RotationAxis const axes[3] = {LinearMap::X, LinearMap::Y, LinearMap::Z};
  Vector const angles(x[0], x[1], 0.0);
  LinearMap const Rt = LinearMap(axes, angles).transpose();
  LinearMap dAlpha;
  LinearMap dBeta;
  if (jacobian != nullptr) {
    dAlpha.setRotationDerivative(0, axes, angles);
    dBeta.setRotationDerivative(1, axes, angles);
    dAlpha = dAlpha.transpose();
    dBeta = dBeta.transpose();
  }
  Vector const offset(x[2], x[3], 0.0);
  Point const origin;
  for (std::uint32_t i = 0; i < count; ++i) {
    Vector const p = frame(cloud.getPoint(first + i) - origin);
    Vector const q = Rt * p - offset;
    double const rho = std::sqrt(q.getdX() * q.getdX() + q.getdY() * q.getdY());
    values[i] = rho - x[4];
    if (jacobian == nullptr)
      continue;
    double* const row = jacobian + std::size_t(i) * 5;
    row[4] = -1.0;
    if (rho == 0.0) {
      row[0] = row[1] = row[2] = row[3] = 0.0;
      continue;
    }
    // ∂rho/∂q = (qx, qy, 0)/rho; q moves with α and β through Rᵀ, with x0 and y0 directly.
    double const ux = q.getdX() / rho;
    double const uy = q.getdY() / rho;
    Vector const qAlpha = dAlpha * p;
    Vector const qBeta = dBeta * p;
    row[0] = ux * qAlpha.getdX() + uy * qAlpha.getdY();
    row[1] = ux * qBeta.getdX() + uy * qBeta.getdY();
    row[2] = -ux;
    row[3] = -uy;
  }
}

} // namespace QARN::Geometry::ThreeDimensional
