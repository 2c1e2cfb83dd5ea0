#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

#include "DenseSolvers.h"
#include "PointSets.h"

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/Quaternion.h>

#include <cmath>

namespace QARN::Geometry::ThreeDimensional {

namespace PointSets {

void check(PointCloud::Cloud const& cloud, std::uint32_t minimum) {
  if (cloud.getNumberOfPoints() < minimum)
    throw Exception("Too few points");
  if (!cloud.getIsFinite())
    throw Exception("Point cloud holds a non-finite point");
}

Principal getPrincipal(PointCloud::Cloud const& cloud) {
  Principal principal;
  std::uint32_t const n = cloud.getNumberOfPoints();
  Point const origin;
  for (Point const& p : cloud.getPoints())
    principal.centroid += (p - origin) / double(n);
  double covariance[9] = {};
  double sum = 0.0;
  for (Point const& p : cloud.getPoints()) {
    Vector const d = (p - origin) - principal.centroid;
    for (std::uint32_t r = 0; r < 3; ++r)
      for (std::uint32_t c = r; c < 3; ++c)
        covariance[r * 3 + c] += d.get(r) * d.get(c);
    sum += d.lSqr();
  }
  double values[3];
  double vectors[9];
  DenseSolvers::getSymmetricEigen(3, covariance, values, vectors);
  for (std::uint32_t c = 0; c < 3; ++c)
    principal.axes.setColumn(c, Vector(vectors[c], vectors[3 + c], vectors[6 + c]));
  if (principal.axes.det() < 0.0)
    principal.axes.setColumn(2, -Vector(vectors[2], vectors[5], vectors[8]));
  double const rms = std::sqrt(sum / n);
  principal.scale = rms > 0.0 ? rms : 1.0;
  return principal;
}

AffineMap getRigidBodyMap(Vector const* from, Vector const* to, std::size_t count) {
  Vector a;
  Vector b;
  for (std::size_t i = 0; i < count; ++i) {
    a += from[i] / double(count);
    b += to[i] / double(count);
  }
  // S[j][k] = Σ (from − ā)_j (to − b̄)_k.
  double S[3][3] = {};
  for (std::size_t i = 0; i < count; ++i) {
    Vector const u = from[i] - a;
    Vector const v = to[i] - b;
    for (std::uint32_t j = 0; j < 3; ++j)
      for (std::uint32_t k = 0; k < 3; ++k)
        S[j][k] += u.get(j) * v.get(k);
  }
  double const N[16] = {S[0][0] + S[1][1] + S[2][2],
                        S[1][2] - S[2][1],
                        S[2][0] - S[0][2],
                        S[0][1] - S[1][0],
                        0.0,
                        S[0][0] - S[1][1] - S[2][2],
                        S[0][1] + S[1][0],
                        S[2][0] + S[0][2],
                        0.0,
                        0.0,
                        -S[0][0] + S[1][1] - S[2][2],
                        S[1][2] + S[2][1],
                        0.0,
                        0.0,
                        0.0,
                        -S[0][0] - S[1][1] + S[2][2]};
  double values[4];
  double vectors[16];
  DenseSolvers::getSymmetricEigen(4, N, values, vectors);
  LinearMap R;
  Quaternion(vectors[0], vectors[4], vectors[8], vectors[12]).getRotation(R);
  return AffineMap(R, b - R * a);
}

} // namespace PointSets

namespace {

/// The points of a cloud as positions in double precision.
std::vector<Vector> positions(PointCloud::Cloud const& cloud) {
  std::vector<Vector> result;
  result.reserve(cloud.getNumberOfPoints());
  Point const origin;
  for (Point const& p : cloud.getPoints())
    result.push_back(p - origin);
  return result;
}

void checkPair(PointCloud::Cloud const& from, PointCloud::Cloud const& to, std::uint32_t minimum) {
  if (from.getNumberOfPoints() != to.getNumberOfPoints())
    throw Exception("Point sets differ in size");
  PointSets::check(from, minimum);
  PointSets::check(to, minimum);
}

} // namespace

AffineMap Utility::getRigidBodyMap(PointCloud::Cloud const& from, PointCloud::Cloud const& to) {
  checkPair(from, to, 1);
  std::vector<Vector> const a = positions(from);
  std::vector<Vector> const b = positions(to);
  return PointSets::getRigidBodyMap(a.data(), b.data(), a.size());
}

// Centred on the source's centroid and scaled by its spread, so that the 3 x 3 normal matrix is
// well conditioned; L = C·M⁻¹ with M = Σ a·aᵀ and C = Σ b·aᵀ over the centred points.
AffineMap Utility::getAffineMap(PointCloud::Cloud const& from, PointCloud::Cloud const& to) {
  checkPair(from, to, 4);
  PointSets::Principal const principal = PointSets::getPrincipal(from);
  std::vector<Vector> const a = positions(from);
  std::vector<Vector> const b = positions(to);
  Vector mean;
  for (Vector const& v : b)
    mean += v / double(b.size());
  double M[9] = {};
  double C[3][3] = {};
  for (std::size_t i = 0; i < a.size(); ++i) {
    Vector const u = (a[i] - principal.centroid) / principal.scale;
    Vector const v = b[i] - mean;
    for (std::uint32_t r = 0; r < 3; ++r) {
      for (std::uint32_t c = r; c < 3; ++c)
        M[r * 3 + c] += u.get(r) * u.get(c);
      for (std::uint32_t c = 0; c < 3; ++c)
        C[r][c] += v.get(r) * u.get(c);
    }
  }
  // Row r of L solves M·row = C's row r (M is symmetric).
  LinearMap L;
  for (std::uint32_t r = 0; r < 3; ++r) {
    double row[3];
    if (!DenseSolvers::solveSymmetric(3, M, C[r], row, 1e-12))
      throw Exception("Degenerate point configuration");
    for (std::uint32_t c = 0; c < 3; ++c)
      L.set(r, c, row[c] / principal.scale);
  }
  return AffineMap(L, mean - L * principal.centroid);
}

} // namespace QARN::Geometry::ThreeDimensional
