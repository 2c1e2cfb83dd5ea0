#ifndef QARN_TESTS_QUADMESH_REFERENCESEARCH_H
#define QARN_TESTS_QUADMESH_REFERENCESEARCH_H

#include "QuadMeshTestSupport.h"

#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIntersectionData.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace QuadMeshTest {

using QARN::Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus;
using QARN::Geometry::ThreeDimensional::QuadMesh::QuadIntersectionData;

/// The beam search of a mesh written out plainly, step by step as it is defined: the reference
/// that the library's search must reproduce bit for bit. It reads the mesh only through
/// getPoint, getIsQuadValid and the mesh's settings, and keeps its own copy of the search state
/// (reset flag and last hit), which the tests compare with the mesh's.
class ReferenceSearch {
public:
  explicit ReferenceSearch(RectMesh& mesh) : mesh(mesh) {}
  virtual ~ReferenceSearch() = default;

  bool isSearchReset = true;
  GridPoint lastSearchIndices;

  /// The ray against quad q, triangle by triangle, strictly inside every edge.
  bool getDoesIntersectQuad(GridPoint const& q, Point const& P, Vector const& d, Point& hit,
                            QuadIntersectionData* data) const {
    if (!mesh.getIsQuadValid(q))
      return false;
    Point const c[4] = {corner(q, 0, 0), corner(q, 1, 0), corner(q, 1, 1), corner(q, 0, 1)};
    bool inside = false;
    for (int k = 0; k < 2 && !inside; ++k) {
      Point const T[3] = {c[0], c[k + 1], c[k + 2]};
      Vector const n = (T[1] - T[0]).cross(T[2] - T[0]);
      double const t = (c[0] - P).dot(n) / d.dot(n);
      hit = P + d * t;
      inside = true;
      for (int i = 0; i < 3 && inside; ++i)
        inside = n.cross(T[(i + 1) % 3] - T[i]).dot(hit - T[i]) > 0.0;
      if (inside && data != nullptr)
        measure(c, n, P, d, t, hit, *data);
    }
    return inside;
  }

  /// One search: the active check, the start, the walk and the keep-or-reset rule.
  QuadIndicesIntersectionStatus getIntersectionStatus(Point const& P, Vector const& d,
                                                      bool doFullSearch) {
    std::uint32_t const position = mesh.*get(Position{});
    if (((mesh.*get(ActivePositionFlags{}) >> (position % 32)) & 1u) == 0)
      return QuadIndicesIntersectionStatus(nullptr, Point(), GridPoint(-1, -1), false,
                                           QuadIntersectionData(-1, -1, -1), mesh.getFileName());
    if (doFullSearch)
      isSearchReset = true;
    GridPoint const start = isSearchReset ? getStartSearchPoint(P) : lastSearchIndices;
    GridPoint quad;
    Point hit;
    QuadIntersectionData data;
    bool const found = walk(start, P, d, quad, hit, data) && data.getDistanceToObject() < 131072.0;
    if (found)
      isSearchReset = false;
    if (found && isKept(data))
      lastSearchIndices = quad;
    else
      isSearchReset = true;
    long long u = found ? quad.getU() : 0;
    long long v = found ? quad.getV() : 0;
    if (mesh.*get(DoFlipAxisU{}))
      u = static_cast<long long>(mesh.getExtents().getdU()) - 1 - u;
    if (mesh.*get(DoFlipAxisV{}))
      v = static_cast<long long>(mesh.getExtents().getdV()) - 1 - v;
    GridPoint const indices =
        GridPoint(static_cast<int>(u), static_cast<int>(v)) + mesh.getOffset();
    return QuadIndicesIntersectionStatus(&mesh, found ? hit : Point(), indices, found,
                                         found ? data : QuadIntersectionData(), mesh.getFileName());
  }

  QuadIndicesIntersectionStatus getIntersection(Point const& P, Vector const& d) {
    QuadIndicesIntersectionStatus const s = getIntersectionStatus(P, d, false);
    if (s.getIsValid() && s.getIntersectionData().getAngleToObjectNormal() >= halfPi)
      return s;
    return getIntersectionStatus(P, d, true);
  }

  /// The grid point nearest to P by the coarse-to-fine sampling (k × k samples a pass).
  GridPoint getStartSearchPoint(Point const& P) const {
    long long const U = mesh.getExtents().getdU();
    long long const V = mesh.getExtents().getdV();
    GridPoint best(static_cast<int>(U / 2), static_cast<int>(V / 2));
    if (!mesh.getIsPointInBounds(best))
      return best;
    double bestD = mesh.getPoint(best).dSqr(P);
    long long const k = std::max(
        1LL, static_cast<long long>(round(std::sqrt(double(RectMesh::searchDivideByNTimes)))));
    long long spanU = U, spanV = V;
    std::uint32_t n = 0;
    for (bool done = false; !done;) {
      long long const stepU = static_cast<long long>(round(spanU / (2.0 * k)));
      long long const stepV = static_cast<long long>(round(spanV / (2.0 * k)));
      std::vector<GridPoint> samples;
      for (long long j = 0; j < k; ++j)
        for (long long i = 0; i < k; ++i)
          samples.emplace_back(best.getU() - (spanU >> 1) + (2 * i + 1) * stepU,
                               best.getV() - (spanV >> 1) + (2 * j + 1) * stepV);
      bool anyInvalid = false;
      bool const closer = isAnyCloser(samples, P, best, bestD, anyInvalid, n);
      bool refined = false;
      if (anyInvalid) {
        long long const subU = static_cast<long long>(round(stepU / double(k)));
        long long const subV = static_cast<long long>(round(stepV / double(k)));
        for (GridPoint const& s : samples) {
          std::vector<GridPoint> sub;
          for (long long j = 0; j < 2; ++j)
            for (long long i = 0; i < 2; ++i)
              sub.emplace_back(s.getU() - stepU + (2 * i + 1) * subU,
                               s.getV() - stepV + (2 * j + 1) * subV);
          bool subInvalid = false;
          refined = isAnyCloser(sub, P, best, bestD, subInvalid, n) || refined;
        }
      }
      double const divisor = refined ? 2.0 * k : double(k);
      spanU = static_cast<long long>(round(spanU / divisor));
      spanV = static_cast<long long>(round(spanV / divisor));
      done = !closer;
      if (done && bestD > 400.0 && n < RectMesh::maxDoNMoreTimes) {
        done = false;
        ++n;
      }
    }
    return best;
  }

protected:
  /// Half up: round(−2.5) = −2.
  static double round(double x) {
    double const f = std::floor(x);
    return x - f < 0.5 ? f : std::ceil(x);
  }

  Point corner(GridPoint const& q, int du, int dv) const {
    return mesh.getPoint(GridPoint(q.getU() + du, q.getV() + dv));
  }

  /// The measures of a hit on the triangle with normal n of the quad with corners c.
  void measure(Point const (&c)[4], Vector const& n, Point const& P, Vector const& d, double t,
               Point const& hit, QuadIntersectionData& data) const {
    double const distance = std::sqrt((hit - P).lSqr());
    if (distance >= 10000.0)
      return;
    double const sense = mesh.*get(DoFlipNormals{}) ? -1.0 : 1.0;
    double const angle = std::atan2(std::sqrt(n.cross(d).lSqr()), sense * n.dot(d));
    Point const centre = c[0] + ((c[1] - c[0]) + (c[3] - c[0])) * 0.5;
    data = QuadIntersectionData(t > 0.0 ? distance : -distance, angle, (hit - centre).lSqr());
  }

  /// The quad test the walk uses; the strict one here.
  virtual bool getDoesIntersect(GridPoint const& q, Point const& P, Vector const& d, Point& hit,
                                QuadIntersectionData* data) const {
    return getDoesIntersectQuad(q, P, d, hit, data);
  }

  /// What the walk does when its step rounds to nothing: it stops without a hit.
  virtual bool getIsNeighbourHit(GridPoint const&, double, double, Point const&, Vector const&,
                                 GridPoint&, Point&, QuadIntersectionData&) const {
    return false;
  }

  RectMesh& mesh;
  double const halfPi = 6.283185307179586 / 4.0;

private:
  bool isKept(QuadIntersectionData const& data) const {
    double const angle = data.getAngleToObjectNormal();
    double const distance = data.getDistanceToObject();
    switch (QuadIndicesIntersectionStatus::getIntersectionQualityMode()) {
    case QuadIndicesIntersectionStatus::FacingThenNearest:
      return angle > halfPi && distance < 1000.0;
    case QuadIndicesIntersectionStatus::Nearest:
      return distance < 1000.0;
    case QuadIndicesIntersectionStatus::BestAngle:
      return angle > halfPi;
    default:
      return false;
    }
  }

  bool walk(GridPoint const& start, Point const& P, Vector const& d, GridPoint& quad, Point& hit,
            QuadIntersectionData& data) const {
    if (!mesh.getIsPointInBounds(start))
      return false;
    long long const maxU = mesh.getExtents().getdU() + 1LL;
    long long const maxV = mesh.getExtents().getdV() + 1LL;
    GridPoint current = start;
    int invalidRun = 0;
    for (int steps = 0;; ++steps) {
      if (getDoesIntersect(current, P, d, hit, &data)) {
        quad = current;
        return true;
      }
      if (steps >= 32 || !mesh.getIsPointInBounds(current + Offset(1, 1)))
        return false;
      Vector const a = corner(current, 1, 0) - corner(current, 0, 0);
      Vector const b = corner(current, 0, 1) - corner(current, 0, 0);
      double const aa = a.dot(a), ab = a.dot(b), bb = b.dot(b), det = aa * bb - ab * ab;
      Vector const aDual = (a * bb - b * ab) / det;
      Vector const bDual = (b * aa - a * ab) / det;
      Point const centre = corner(current, 0, 0) + (a + b) * 0.5;
      Vector const n = a.cross(b) / std::sqrt(det);
      double const t = (centre - P).dot(n) / d.dot(n);
      Vector const offset = (P + d * t) - centre;
      double const su = round(offset.dot(aDual));
      double const sv = round(offset.dot(bDual));
      if (!std::isfinite(su) || !std::isfinite(sv))
        return false;
      long long const du = std::clamp(static_cast<long long>(su), -maxU, maxU);
      long long const dv = std::clamp(static_cast<long long>(sv), -maxV, maxV);
      if (du == 0 && dv == 0)
        return getIsNeighbourHit(current, offset.dot(aDual), offset.dot(bDual), P, d, quad, hit,
                                 data);
      GridPoint const previous = current;
      current =
          GridPoint(static_cast<int>(current.getU() + du), static_cast<int>(current.getV() + dv));
      if (mesh.getIsQuadValid(current)) {
        invalidRun = 0;
        continue;
      }
      if (++invalidRun >= 4)
        return false;
      GridPoint good = previous, bad = current;
      for (;;) {
        Offset const half((bad.getU() - good.getU()) / 2, (bad.getV() - good.getV()) / 2);
        if (half == Offset(0, 0))
          break;
        if (mesh.getIsQuadValid(good + half))
          good = good + half;
        else
          bad = bad - half;
      }
      current = good;
    }
  }

  bool isAnyCloser(std::vector<GridPoint> const& points, Point const& P, GridPoint& best,
                   double& bestD, bool& anyInvalid, std::uint32_t n) const {
    anyInvalid = false;
    double localMin = 1000000.0;
    GridPoint localBest = points[0];
    bool improved = false;
    for (std::size_t i = 0; i < points.size(); ++i) {
      if (!mesh.getIsQuadValid(points[i])) {
        anyInvalid = true;
        continue;
      }
      double const d2 = mesh.getPoint(points[i]).dSqr(P);
      if (i == 0 || d2 < localMin) {
        localMin = d2;
        localBest = points[i];
      }
      if (d2 < bestD) {
        bestD = d2;
        best = points[i];
        improved = true;
      }
    }
    if (bestD > 400.0 && !improved && n < RectMesh::maxDoNMoreTimes) {
      best = localBest;
      bestD = localMin;
    }
    return improved;
  }
};

/// Bitwise equality of two doubles (so that NaNs compare, and −0 differs from 0).
inline bool sameBits(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Two records equal field by field, measures bit for bit.
inline ::testing::AssertionResult sameRecord(QuadIndicesIntersectionStatus const& a,
                                             QuadIndicesIntersectionStatus const& b) {
  QuadIntersectionData const& x = a.getIntersectionData();
  QuadIntersectionData const& y = b.getIntersectionData();
  Point const& p = a.getQuadPoint();
  Point const& q = b.getQuadPoint();
  bool const same = a.getIsValid() == b.getIsValid() && a.getIndices() == b.getIndices() &&
                    sameBits(p.getX(), q.getX()) && sameBits(p.getY(), q.getY()) &&
                    sameBits(p.getZ(), q.getZ()) &&
                    sameBits(x.getDistanceToObject(), y.getDistanceToObject()) &&
                    sameBits(x.getAngleToObjectNormal(), y.getAngleToObjectNormal()) &&
                    sameBits(x.getDistanceSqrToQuadCentre(), y.getDistanceSqrToQuadCentre()) &&
                    a.getFileName() == b.getFileName();
  if (same)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "valid " << a.getIsValid() << "/" << b.getIsValid() << ", quad ("
         << a.getIndices().getU() << ", " << a.getIndices().getV() << ")/(" << b.getIndices().getU()
         << ", " << b.getIndices().getV() << "), distance " << x.getDistanceToObject() << "/"
         << y.getDistanceToObject() << ", angle " << x.getAngleToObjectNormal() << "/"
         << y.getAngleToObjectNormal();
}

} // namespace QuadMeshTest

#endif
