#include <QARN/Geometry/ThreeDimensional/Utility/CylinderFitFunction.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

#include "DenseSolvers.h"
#include "PointSets.h"

#include <QARN/Exception.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace QARN::Geometry::ThreeDimensional {

namespace {

LinearMap::RotationAxis const axesXYZ[3] = {LinearMap::X, LinearMap::Y, LinearMap::Z};

/// The points in a frame of their own, p' = (p − centroid)/scale, which keeps the fits' sums
/// well scaled whatever the units and the distance from the origin.
std::vector<Vector> normalised(PointCloud::Cloud const& cloud,
                               PointSets::Principal const& principal) {
  std::vector<Vector> result;
  result.reserve(cloud.getNumberOfPoints());
  Point const origin;
  for (Point const& p : cloud.getPoints())
    result.push_back(((p - origin) - principal.centroid) / principal.scale);
  return result;
}

/// Linear least squares Σ (row_i · c − rhs_i)² through the normal equations; false when they
/// are singular to a relative 1e-12.
bool solveLinear(std::uint32_t n, std::vector<double> const& rows, std::vector<double> const& rhs,
                 double* solution) {
  double normal[DenseSolvers::maxSize * DenseSolvers::maxSize] = {};
  double right[DenseSolvers::maxSize] = {};
  for (std::size_t i = 0; i < rhs.size(); ++i) {
    double const* row = rows.data() + i * n;
    for (std::uint32_t r = 0; r < n; ++r) {
      right[r] += row[r] * rhs[i];
      for (std::uint32_t c = r; c < n; ++c)
        normal[r * n + c] += row[r] * row[c];
    }
  }
  return DenseSolvers::solveSymmetric(n, normal, right, solution, 1e-12);
}

/// The circle x² + y² + D·x + E·y + F = 0 nearest the (x, y) of the points algebraically:
/// centre (cx, cy) and radius; false when the points do not determine one.
bool fitCircle(std::vector<Vector> const& points, double& cx, double& cy, double& radius) {
  std::vector<double> rows;
  std::vector<double> rhs;
  for (Vector const& p : points) {
    rows.insert(rows.end(), {p.getdX(), p.getdY(), 1.0});
    rhs.push_back(-(p.getdX() * p.getdX() + p.getdY() * p.getdY()));
  }
  double c[3];
  if (!solveLinear(3, rows, rhs, c))
    return false;
  cx = -0.5 * c[0];
  cy = -0.5 * c[1];
  double const r2 = cx * cx + cy * cy - c[2];
  if (!(r2 > 0.0) || !std::isfinite(r2))
    return false;
  radius = std::sqrt(r2);
  return true;
}

/// A function with one value per point of a list it holds by reference.
class PointsFunction : public RealValuedVectorFunction {
public:
  explicit PointsFunction(std::vector<Vector> const& points) : points(points) {}
  std::uint32_t getNumberOfValues() const override {
    return static_cast<std::uint32_t>(points.size());
  }

protected:
  std::vector<Vector> const& points;
};

/// Value i: the distance of point i from the centre (x0, x1, x2) less the radius x3.
class SphereFunction : public PointsFunction {
public:
  using PointsFunction::PointsFunction;
  std::uint32_t getNumberOfVariables() const override { return 4; }
  void evaluate(double const* x, std::uint32_t first, std::uint32_t count, double* values,
                double* jacobian) const override {
    Vector const centre(x[0], x[1], x[2]);
    for (std::uint32_t i = 0; i < count; ++i) {
      Vector const d = points[first + i] - centre;
      double const length = std::sqrt(d.lSqr());
      values[i] = length - x[3];
      if (jacobian == nullptr)
        continue;
      double* const row = jacobian + std::size_t(i) * 4;
      Vector const u = length > 0.0 ? d / length : Vector();
      row[0] = -u.getdX();
      row[1] = -u.getdY();
      row[2] = -u.getdZ();
      row[3] = -1.0;
    }
  }
};

/// Value i: h − (a·u² + b·v²) for point i in the paraboloid's frame (u, v, h) = Rᵀ·(p − c), R
/// the rotation about X, Y and Z by (x0, x1, x2) in turn, c = (x3, x4, x5), a = x6, b = x7.
class ParaboloidFunction : public PointsFunction {
public:
  using PointsFunction::PointsFunction;
  std::uint32_t getNumberOfVariables() const override { return 8; }
  void evaluate(double const* x, std::uint32_t first, std::uint32_t count, double* values,
                double* jacobian) const override {
    Vector const angles(x[0], x[1], x[2]);
    LinearMap const Rt = LinearMap(axesXYZ, angles).transpose();
    LinearMap D[3];
    if (jacobian != nullptr)
      for (std::uint32_t k = 0; k < 3; ++k) {
        D[k].setRotationDerivative(k, axesXYZ, angles);
        D[k] = D[k].transpose();
      }
    Vector const c(x[3], x[4], x[5]);
    double const a = x[6];
    double const b = x[7];
    for (std::uint32_t i = 0; i < count; ++i) {
      Vector const p = points[first + i] - c;
      Vector const q = Rt * p;
      double const u = q.getdX();
      double const v = q.getdY();
      values[i] = q.getdZ() - a * u * u - b * v * v;
      if (jacobian == nullptr)
        continue;
      double* const row = jacobian + std::size_t(i) * 8;
      // ∂value/∂q, then q's derivatives: Dₖᵀ·p for the angles, −Rᵀ's columns for c.
      Vector const g(-2.0 * a * u, -2.0 * b * v, 1.0);
      for (std::uint32_t k = 0; k < 3; ++k) {
        row[k] = g.dot(D[k] * p);
        row[3 + k] =
            -(g.getdX() * Rt.get(0, k) + g.getdY() * Rt.get(1, k) + g.getdZ() * Rt.get(2, k));
      }
      row[6] = -u * u;
      row[7] = -v * v;
    }
  }
};

/// Root mean square from a sum of squares over n values, in the units of the original points.
double rms(double sumOfSquares, std::size_t n, double scale) {
  return scale * std::sqrt(sumOfSquares / double(n));
}

Vector column(LinearMap const& M, std::uint32_t c) {
  return Vector(M.get(0, c), M.get(1, c), M.get(2, c));
}

} // namespace

// Algebraically, |p|² + D·p + E = 0 in the normalised frame (a linear problem), then the
// geometric distances by Levenberg-Marquardt from there.
SphereFit Utility::getSphereFit(PointCloud::Cloud const& cloud) {
  PointSets::check(cloud, 4);
  PointSets::Principal const principal = PointSets::getPrincipal(cloud);
  std::vector<Vector> const points = normalised(cloud, principal);
  std::vector<double> rows;
  std::vector<double> rhs;
  for (Vector const& p : points) {
    rows.insert(rows.end(), {p.getdX(), p.getdY(), p.getdZ(), 1.0});
    rhs.push_back(-p.lSqr());
  }
  double c[4];
  if (!solveLinear(4, rows, rhs, c))
    throw Exception("Degenerate point configuration");
  Vector const centre = -0.5 * Vector(c[0], c[1], c[2]);
  double const r2 = centre.lSqr() - c[3];
  if (!(r2 > 0.0) || !std::isfinite(r2))
    throw Exception("Degenerate point configuration");
  double x[4] = {centre.getdX(), centre.getdY(), centre.getdZ(), std::sqrt(r2)};
  double const cost = minimiseSumOfSquares(SphereFunction(points), x);
  SphereFit fit;
  fit.centre = principal.centroid + principal.scale * Vector(x[0], x[1], x[2]);
  fit.radius = principal.scale * std::fabs(x[3]);
  fit.residual = rms(cost, points.size(), principal.scale);
  return fit;
}

CylinderFit Utility::getCylinderFit(PointCloud::Cloud const& cloud) {
  PointSets::check(cloud, 5);
  PointSets::Principal const principal = PointSets::getPrincipal(cloud);
  std::vector<Vector> const points = normalised(cloud, principal);
  double bestCost = -1.0;
  CylinderFit best;
  for (std::uint32_t start = 0; start < 3; ++start) {
    // A right-handed base frame whose Z axis is principal direction `start`.
    LinearMap base;
    base.setColumn(0, column(principal.axes, (start + 1) % 3));
    base.setColumn(1, column(principal.axes, (start + 2) % 3));
    base.setColumn(2, column(principal.axes, start));
    LinearMap const toBase = base.transpose();
    std::vector<Vector> across;
    across.reserve(points.size());
    for (Vector const& p : points)
      across.push_back(toBase * p);
    double x[5] = {0.0, 0.0, 0.0, 0.0, 0.0};
    if (!fitCircle(across, x[2], x[3], x[4]))
      continue;
    // The function reads the cloud itself: p' = base ᵀ·(p − centroid)/scale.
    LinearMap scaled = toBase;
    for (std::uint32_t r = 0; r < 3; ++r)
      for (std::uint32_t c = 0; c < 3; ++c)
        scaled.set(r, c, toBase.get(r, c) / principal.scale);
    AffineMap const frame(scaled, -(scaled * principal.centroid));
    double const cost = minimiseSumOfSquares(CylinderFitFunction(cloud, frame), x);
    if (!std::isfinite(cost) || (bestCost >= 0.0 && cost >= bestCost))
      continue;
    bestCost = cost;
    LinearMap const R(axesXYZ, Vector(x[0], x[1], 0.0));
    Vector direction = base * (R * Vector(0.0, 0.0, 1.0));
    Vector const through =
        principal.centroid + principal.scale * (base * (R * Vector(x[2], x[3], 0.0)));
    std::uint32_t largest = 0;
    for (std::uint32_t a = 1; a < 3; ++a)
      if (std::fabs(direction.get(a)) > std::fabs(direction.get(largest)))
        largest = a;
    if (direction.get(largest) < 0.0)
      direction = -direction;
    best.axisDirection = direction;
    best.axisPoint = through + (principal.centroid - through).dot(direction) * direction;
    best.radius = principal.scale * std::fabs(x[4]);
    best.residual = rms(cost, points.size(), principal.scale);
  }
  if (bestCost < 0.0)
    throw Exception("Degenerate point configuration");
  return best;
}

// The start: a quadratic height field z = A·x² + B·x·y + C·y² + D·x + E·y + F over the points'
// best-fit plane, whose Hessian gives the principal directions and curvatures and whose
// stationary point gives the apex (the centroid's foot where the quadric has none).
EllipticParaboloidFit Utility::getEllipticParaboloidFit(PointCloud::Cloud const& cloud) {
  PointSets::check(cloud, 8);
  PointSets::Principal const principal = PointSets::getPrincipal(cloud);
  std::vector<Vector> const points = normalised(cloud, principal);
  LinearMap const toPlane = principal.axes.transpose();
  std::vector<double> rows;
  std::vector<double> rhs;
  for (Vector const& p : points) {
    Vector const l = toPlane * p;
    double const u = l.getdX();
    double const v = l.getdY();
    rows.insert(rows.end(), {u * u, u * v, v * v, u, v, 1.0});
    rhs.push_back(l.getdZ());
  }
  double q[6];
  if (!solveLinear(6, rows, rhs, q))
    throw Exception("Degenerate point configuration");
  double const hessian[4] = {q[0], 0.5 * q[1], 0.0, q[2]};
  double curvatures[2];
  double directions[4];
  DenseSolvers::getSymmetricEigen(2, hessian, curvatures, directions);
  double apexU = 0.0;
  double apexV = 0.0;
  double const det = 4.0 * q[0] * q[2] - q[1] * q[1];
  if (std::fabs(det) > 1e-9 * (q[0] * q[0] + q[1] * q[1] + q[2] * q[2])) {
    apexU = (-2.0 * q[2] * q[3] + q[1] * q[4]) / det;
    apexV = (q[1] * q[3] - 2.0 * q[0] * q[4]) / det;
  }
  double const apexH = q[0] * apexU * apexU + q[1] * apexU * apexV + q[2] * apexV * apexV +
                       q[3] * apexU + q[4] * apexV + q[5];
  // The base frame: the plane's axes turned to the principal directions, at the apex.
  double const gamma = std::atan2(directions[2], directions[0]);
  LinearMap turn;
  turn.setRotation(LinearMap::Z, gamma);
  LinearMap const base = principal.axes * turn;
  Vector const apex = principal.axes * Vector(apexU, apexV, apexH);
  std::vector<Vector> local;
  local.reserve(points.size());
  LinearMap const toBase = base.transpose();
  for (Vector const& p : points)
    local.push_back(toBase * (p - apex));
  double x[8] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, curvatures[0], curvatures[1]};
  double const cost = minimiseSumOfSquares(ParaboloidFunction(local), x);

  LinearMap const R = base * LinearMap(axesXYZ, Vector(x[0], x[1], x[2]));
  Vector axis = column(R, 2);
  Vector first = column(R, 0);
  Vector second = column(R, 1);
  double a = x[6] / principal.scale;
  double b = x[7] / principal.scale;
  // Open towards the axis (a half turn about the first direction), then the larger curvature
  // first (a quarter turn about the axis).
  if (a + b < 0.0) {
    axis = -axis;
    second = -second;
    a = -a;
    b = -b;
  }
  if (a < b) {
    Vector const previous = first;
    first = second;
    second = -previous;
    std::swap(a, b);
  }
  EllipticParaboloidFit fit;
  fit.apex = principal.centroid + principal.scale * (apex + base * Vector(x[3], x[4], x[5]));
  fit.axis = axis;
  fit.firstDirection = first;
  fit.firstCurvature = a;
  fit.secondCurvature = b;
  fit.residual = rms(cost, points.size(), principal.scale);
  return fit;
}

} // namespace QARN::Geometry::ThreeDimensional
