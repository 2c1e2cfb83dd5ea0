#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesEllipseIntersectionInfo.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <Geometry/ThreeDimensional/QuadMesh/QuadDualBasis.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

namespace {

/// x rounded to an integer (towards zero, or down), when that fits an int (false for NaN and
/// infinities).
bool roundToInt(double x, bool isDown, std::int64_t& out) {
  double const t = isDown ? std::floor(x) : std::trunc(x);
  if (!(t >= std::numeric_limits<int>::min() && t <= std::numeric_limits<int>::max()))
    return false;
  out = static_cast<std::int64_t>(t);
  return true;
}

bool fitsInt(std::int64_t x) {
  return x >= std::numeric_limits<int>::min() && x <= std::numeric_limits<int>::max();
}

} // namespace

bool RectMesh::getEllipseAxisPoints(
    ThreeDimensional::Point const& position, Vector const& directionU, Vector const& directionV,
    double axialFactor, double lateralOffset, TwoDimensional::Point<int> const& quadIndices,
    ThreeDimensional::Point& centrePoint, ThreeDimensional::Point& pointU1,
    ThreeDimensional::Point& pointV1, ThreeDimensional::Point& pointU2,
    ThreeDimensional::Point& pointV2) const {
  if (!getIsQuadValid(quadIndices))
    return false;
  Vector const w = directionU.cross(directionV);
  ThreeDimensional::Point const q = getPoint(quadIndices);
  Vector const n = getQuadNormalVector(quadIndices, true);

  struct Ray {
    double s, t, alpha, beta, gamma;
    ThreeDimensional::Point* out;
  };
  Ray const rays[5] = {{0.0, 0.0, 0.0, 0.0, 1.0, &centrePoint},
                       {lateralOffset, 0.0, 1.0, 0.0, axialFactor, &pointU1},
                       {0.0, lateralOffset, 0.0, 1.0, axialFactor, &pointV1},
                       {-lateralOffset, 0.0, -1.0, 0.0, axialFactor, &pointU2},
                       {0.0, -lateralOffset, 0.0, -1.0, axialFactor, &pointV2}};
  // Origins and hits are points, so both are stored in single precision.
  for (Ray const& ray : rays) {
    ThreeDimensional::Point const origin = position + ray.s * directionU + ray.t * directionV;
    Vector const direction = ray.alpha * directionU + ray.beta * directionV + ray.gamma * w;
    *ray.out = origin - direction * ((origin - q).dot(n) / direction.dot(n));
  }
  return true;
}

bool RectMesh::getConeIntersection(ThreeDimensional::Point const& position,
                                   Vector const& directionU, Vector const& directionV,
                                   double axialFactor, double lateralOffset,
                                   TwoDimensional::Point<int> const& quadIndices, int unity,
                                   QuadIndicesEllipseIntersectionInfo& info) const {
  ThreeDimensional::Point points[5];
  if (!getEllipseAxisPoints(position, directionU, directionV, axialFactor, lateralOffset,
                            quadIndices, points[0], points[1], points[2], points[3], points[4]))
    return false;

  auto const [a, b] = getQuadBasis(quadIndices);
  QuadDualBasis const dual(a, b);
  Vector const& aDual = dual.aDual;
  Vector const& bDual = dual.bDual;
  double const k = unity;

  std::int64_t cells[10];
  if (edgeRule == EdgeRule::Watertight) {
    // Cells as half-open intervals: each hit lies in exactly one cell, and an axis reaches
    // from the centre's cell to the cell of its side hit.
    ThreeDimensional::Point const corner = getPoint(quadIndices);
    for (int i = 0; i < 5; ++i) {
      Vector const offset = points[i] - corner;
      if (!roundToInt(k * offset.dot(aDual), true, cells[2 * i]) ||
          !roundToInt(k * offset.dot(bDual), true, cells[2 * i + 1]))
        return false;
      if (i == 0)
        continue;
      cells[2 * i] -= cells[0];
      cells[2 * i + 1] -= cells[1];
      if (!fitsInt(cells[2 * i]) || !fitsInt(cells[2 * i + 1]))
        return false;
    }
  } else {
    // Quad-local coordinates in cells of 1/unity quad, truncated towards zero: the centre's
    // from the quad's corner, each axis from the central hit.
    Vector const centreOffset = points[0] - getPoint(quadIndices);
    if (!roundToInt(k * centreOffset.dot(aDual), false, cells[0]) ||
        !roundToInt(k * centreOffset.dot(bDual), false, cells[1]))
      return false;
    for (int i = 1; i < 5; ++i) {
      Vector const axis = points[i] - points[0];
      if (!roundToInt(k * axis.dot(aDual), false, cells[2 * i]) ||
          !roundToInt(k * axis.dot(bDual), false, cells[2 * i + 1]))
        return false;
    }
  }
  std::int64_t const centreU = std::int64_t{quadIndices.getU()} * unity + cells[0];
  std::int64_t const centreV = std::int64_t{quadIndices.getV()} * unity + cells[1];
  if (!fitsInt(centreU) || !fitsInt(centreV))
    return false;

  auto const axisVector = [&cells](int i) {
    return TwoDimensional::Vector<int>(static_cast<int>(cells[2 * i]),
                                       static_cast<int>(cells[2 * i + 1]));
  };
  info = QuadIndicesEllipseIntersectionInfo(
      TwoDimensional::Point<int>(static_cast<int>(centreU), static_cast<int>(centreV)),
      axisVector(1), axisVector(2), axisVector(3), axisVector(4), unity);
  return true;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
