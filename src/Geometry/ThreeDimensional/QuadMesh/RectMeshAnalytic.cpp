#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

#include <cmath>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridIndex = TwoDimensional::Point<int>;
using GridExtents = TwoDimensional::Vector<std::uint32_t>;

/// Largest quad count along one axis: grid indices up to it must fit an int.
constexpr double quadCountLimit = 2147483647.0;

bool isFinitePositive(double x) {
  return std::isfinite(x) && x > 0.0;
}

/// Truncates a non-negative count to an integer; false for NaN, negatives and counts whose
/// grid indices would not fit an int.
bool truncateCount(double x, std::uint32_t& count) {
  if (!(x >= 0.0 && x < quadCountLimit))
    return false;
  count = static_cast<std::uint32_t>(x);
  return true;
}

} // namespace

bool RectMesh::setAsPlane(TwoDimensional::Vector<double> const& size, double spacing,
                          bool isCentred, std::uint32_t maxMB) {
  if (!std::isfinite(size.getdU()) || !std::isfinite(size.getdV()) || size.getdU() < 0.0 ||
      size.getdV() < 0.0 || !isFinitePositive(spacing))
    return false;
  std::uint32_t quadsU = 0;
  std::uint32_t quadsV = 0;
  if (!truncateCount(size.getdU() / spacing, quadsU) ||
      !truncateCount(size.getdV() / spacing, quadsV))
    return false;
  std::uint32_t const nU = quadsU + 1;
  std::uint32_t const nV = quadsV + 1;
  if (getNumberOfMBs(nU, nV) > maxMB)
    return false;

  double const halfU = 0.5 * quadsU * spacing;
  double const halfV = 0.5 * quadsV * spacing;
  double const uMin = isCentred ? -halfU : 0.0;
  double const vMin = isCentred ? -halfV : 0.0;
  double const uMax = isCentred ? halfU : quadsU * spacing;
  double const vMax = isCentred ? halfV : quadsV * spacing;

  init(GridExtents(quadsU, quadsV));
  for (std::uint32_t j = 0; j < nV; ++j) {
    // A single point along an axis sits at the low end of its range.
    double const y = quadsV == 0 ? vMin : j * (vMax - vMin) / quadsV + vMin;
    for (std::uint32_t i = 0; i < nU; ++i) {
      double const x = quadsU == 0 ? uMin : i * (uMax - uMin) / quadsU + uMin;
      setPoint(GridIndex(static_cast<int>(i), static_cast<int>(j)),
               ThreeDimensional::Point(x, y, 0.0));
    }
  }
  maxQuadArea = meanQuadArea = minQuadArea = spacing * spacing;
  calculateSearchPoints(searchPointBudget, numberOfSearchPointsU, numberOfSearchPointsV);
  return true;
}

bool RectMesh::setAsPlane(TwoDimensional::Vector<std::uint32_t> const& extents, double spacing,
                          ThreeDimensional::Point const& origin, Vector const& axisU,
                          Vector const& axisV, QuadValidityGenerator& generator) {
  if (!isFinitePositive(spacing) || extents.getdU() >= quadCountLimit ||
      extents.getdV() >= quadCountLimit)
    return false;
  init(extents);
  int const U = static_cast<int>(extents.getdU());
  int const V = static_cast<int>(extents.getdV());
  for (int v = 0; v <= V; ++v)
    for (int u = 0; u <= U; ++u) {
      GridIndex const p(u, v);
      setPoint(p, origin + spacing * (u * axisU + v * axisV));
      setPointValidity(p, false);
    }
  for (int v = 0; v < V; ++v)
    for (int u = 0; u < U; ++u) {
      GridIndex const p(u, v);
      if (!generator.getValidity(p))
        continue;
      setPointValidity(p, true);
      setPointValidity(GridIndex(u + 1, v), true);
      setPointValidity(GridIndex(u, v + 1), true);
      setPointValidity(GridIndex(u + 1, v + 1), true);
    }
  calculateSearchPoints(searchPointBudget, numberOfSearchPointsU, numberOfSearchPointsV);
  return true;
}

bool RectMesh::setAsCylinderArc(double radius, double arcAngle, double length, double spacing,
                                std::uint32_t maxMB) {
  if (!isFinitePositive(radius) || !isFinitePositive(arcAngle) || !isFinitePositive(length) ||
      !isFinitePositive(spacing) || spacing > 2.0 * radius)
    return false;
  double const dTheta = 2.0 * std::asin(0.5 * spacing / radius);
  std::uint32_t nU = 0;
  std::uint32_t nV = 0;
  if (!truncateCount(arcAngle / dTheta, nV) || !truncateCount(length / spacing, nU) || nU == 0)
    return false;
  if (getNumberOfMBs(nU, nV) > maxMB)
    return false;

  init(GridExtents(nU, nV));
  double const centreColumn = static_cast<double>(nU / 2);
  double theta = 0.0;
  for (std::uint32_t i = 0; i <= nV; ++i) {
    double const x = radius * std::cos(theta - 0.5 * arcAngle);
    double const y = radius * std::sin(theta - 0.5 * arcAngle);
    int const row = static_cast<int>(nV - i);
    for (std::uint32_t j = 0; j <= nU; ++j) {
      double const z = (j - centreColumn) / nU * length;
      setPoint(GridIndex(static_cast<int>(j), row), ThreeDimensional::Point(x, y, z));
    }
    theta += dTheta;
  }
  maxQuadArea = meanQuadArea = minQuadArea = spacing * spacing;
  calculateSearchPoints(searchPointBudget, numberOfSearchPointsU, numberOfSearchPointsV);
  return true;
}

bool RectMesh::setAsSphereArcStereographic(double radius, double const& arcAngleU,
                                           double const& arcAngleV, std::uint32_t maxMB) {
  double const fullTurn = Utility::twopi();
  if (!isFinitePositive(radius) || !(arcAngleU > 0.0 && arcAngleU < fullTurn) ||
      !(arcAngleV > 0.0 && arcAngleV < fullTurn))
    return false;
  // Half-widths of the cap's rectangle in the plane tangent at the pole, projecting from the
  // antipode: a polar angle φ lands at 2R·tan(φ/2).
  double const halfWidthU = 2.0 * radius * std::tan(0.25 * arcAngleU);
  double const halfWidthV = 2.0 * radius * std::tan(0.25 * arcAngleV);
  std::uint32_t stepsU = 0;
  std::uint32_t stepsV = 0;
  if (!truncateCount(std::ceil(halfWidthU), stepsU) ||
      !truncateCount(std::ceil(halfWidthV), stepsV) || stepsU >= quadCountLimit / 2 ||
      stepsV >= quadCountLimit / 2)
    return false;
  stepsU = stepsU == 0 ? 1 : stepsU;
  stepsV = stepsV == 0 ? 1 : stepsV;
  std::uint32_t const nU = 2 * stepsU;
  std::uint32_t const nV = 2 * stepsV;
  if (getNumberOfMBs(nU, nV) > maxMB)
    return false;

  init(GridExtents(nU, nV));
  double const stepU = halfWidthU / stepsU;
  double const stepV = halfWidthV / stepsV;
  double const diameterSqr = 4.0 * radius * radius;
  for (std::uint32_t j = 0; j <= nV; ++j) {
    double const t = (static_cast<double>(j) - stepsV) * stepV;
    for (std::uint32_t i = 0; i <= nU; ++i) {
      double const s = (static_cast<double>(i) - stepsU) * stepU;
      double const mu = diameterSqr / (diameterSqr + s * s + t * t);
      setPoint(GridIndex(static_cast<int>(i), static_cast<int>(j)),
               ThreeDimensional::Point(mu * s, mu * t, radius * (2.0 * mu - 1.0)));
    }
  }
  getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
  calculateSearchPoints(searchPointBudget, numberOfSearchPointsU, numberOfSearchPointsV);
  return true;
}

bool RectMesh::setAsSphereArcAreaPreserving(double, double const&, double const&, std::uint32_t) {
  return true;
}

bool RectMesh::setAsParaboloid(ThreeDimensional::Point const& apex, Vector const& axisU,
                               Vector const& axisV, double const& curvatureU,
                               double const& curvatureV, double const& depth, double spacing,
                               std::uint32_t maxMB) {
  if (!isFinitePositive(curvatureU) || !isFinitePositive(curvatureV) || !(depth >= 0.0) ||
      !isFinitePositive(spacing))
    return false;
  // Half-widths at which the height reaches the depth, rounded up to the next whole spacing
  // beyond them: the outermost ring of grid points lies strictly outside the rim.
  std::uint32_t halfU = 0;
  std::uint32_t halfV = 0;
  if (!truncateCount(std::sqrt(2.0 * depth / curvatureU) / spacing, halfU) ||
      !truncateCount(std::sqrt(2.0 * depth / curvatureV) / spacing, halfV) ||
      halfU + 1.0 >= quadCountLimit / 2 || halfV + 1.0 >= quadCountLimit / 2)
    return false;
  halfU += 1;
  halfV += 1;
  std::uint32_t const nU = 2 * halfU;
  std::uint32_t const nV = 2 * halfV;
  if (getNumberOfMBs(nU, nV) > maxMB)
    return false;

  init(GridExtents(nU, nV));
  Vector const normal = axisU.cross(axisV);
  for (std::uint32_t j = 0; j <= nV; ++j) {
    double const y = (static_cast<double>(j) - halfV) * spacing;
    for (std::uint32_t i = 0; i <= nU; ++i) {
      double const x = (static_cast<double>(i) - halfU) * spacing;
      double const q = 0.5 * (curvatureU * x * x + curvatureV * y * y);
      if (q <= depth)
        setPoint(GridIndex(static_cast<int>(i), static_cast<int>(j)),
                 apex + (x * axisU + y * axisV + q * normal));
    }
  }
  getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
  calculateSearchPoints(searchPointBudget, numberOfSearchPointsU, numberOfSearchPointsV);
  return true;
}

bool RectMesh::setAsHeightField() {
  init(GridExtents(128, 128));
  double const twoPi = Utility::twopi();
  for (int j = 0; j <= 128; ++j) {
    double const y = j * 2.0 / 128.0 - 1.0;
    for (int i = 0; i <= 128; ++i) {
      double const x = i * 2.0 / 128.0 - 1.0;
      double const z = std::cos(4.0 * x * twoPi / 2.0) * 0.5 * 0.5 / 3.0;
      setPoint(GridIndex(i, j), ThreeDimensional::Point(500.0 * x, 500.0 * y, 500.0 * z));
    }
  }
  getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
  calculateSearchPoints(searchPointBudget, numberOfSearchPointsU, numberOfSearchPointsV);
  return true;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
