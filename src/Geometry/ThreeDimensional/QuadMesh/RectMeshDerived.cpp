#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <Geometry/ThreeDimensional/QuadMesh/GridIndex.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

double RectMesh::round(double x) const {
  return GridIndex::roundHalfUp(x);
}

namespace {

/// Area of the quad with the corners c0 = P(p), c1 = P(p + (1, 0)), c2 = P(p + (1, 1)) and
/// c3 = P(p + (0, 1)): half the length of each of its triangle normals about the diagonal c0 → c2.
double getQuadAreaOf(Point const& c0, Point const& c1, Point const& c2, Point const& c3) {
  return 0.5 * std::sqrt((c1 - c0).cross(c2 - c0).lSqr()) +
         0.5 * std::sqrt((c2 - c0).cross(c3 - c0).lSqr());
}

} // namespace

void RectMesh::getMaxMeanMinQuadSize(double* max, double* mean, double* min) const {
  double largest = 0.0;
  double smallest = 0.0;
  double sum = 0.0;
  std::uint64_t count = 0;
  std::int64_t const U = extents.getdU();
  std::int64_t const V = extents.getdV();
  std::int64_t const lastU = std::min<std::int64_t>(U - 1, std::numeric_limits<int>::max() - 1);
  std::int64_t const lastV = std::min<std::int64_t>(V - 1, std::numeric_limits<int>::max() - 1);
  auto const at = [this](std::int64_t u, std::int64_t v) {
    return getPoint(TwoDimensional::Point<int>(static_cast<int>(u), static_cast<int>(v)));
  };
  for (std::int64_t v = 0; v <= lastV; ++v) {
    // The right corners of a valid quad are the left corners of the next one.
    bool hasLeft = false;
    Point right0;
    Point right1;
    for (std::int64_t u = 0; u <= lastU; ++u) {
      if (!getIsQuadValidAt(u, v)) {
        hasLeft = false;
        continue;
      }
      Point const c0 = hasLeft ? right0 : at(u, v);
      Point const c3 = hasLeft ? right1 : at(u, v + 1);
      right0 = at(u + 1, v);
      right1 = at(u + 1, v + 1);
      hasLeft = true;
      double const area = getQuadAreaOf(c0, right0, right1, c3);
      if (count == 0 || area > largest)
        largest = area;
      if (count == 0 || area < smallest)
        smallest = area;
      sum += area;
      ++count;
    }
  }
  *max = largest;
  *mean = count > 0 ? sum / static_cast<double>(count) : 0.0;
  *min = smallest;
}

double RectMesh::getQuadArea(TwoDimensional::Point<int> const& p) const {
  auto const at = [&](std::int64_t du, std::int64_t dv) {
    return getPoint(TwoDimensional::Point<int>(GridIndex::clampToInt(p.getU() + du),
                                               GridIndex::clampToInt(p.getV() + dv)));
  };
  return getQuadAreaOf(at(0, 0), at(1, 0), at(1, 1), at(0, 1));
}

namespace {

using GridPoint = TwoDimensional::Point<int>;

/// The last grid index along an axis that int indices can address.
std::int64_t lastIndex(std::uint32_t extent) {
  return std::min<std::int64_t>(extent, std::numeric_limits<int>::max());
}

GridPoint gridPoint(std::int64_t u, std::int64_t v) {
  return GridPoint(static_cast<int>(u), static_cast<int>(v));
}

/// Copies point from and its whole flag byte to point to of target.
void copyPoint(RectMesh const& source, GridPoint const& from, RectMesh& target,
               GridPoint const& to) {
  target.setPoint(to, source.getPoint(from));
  target.setPointFlags(to, source.getPointFlags(from));
}

/// Distance of x from the straight line through a and b, or from a when a and b coincide.
double getDistanceFromLine(Point const& x, Point const& a, Point const& b) {
  Vector const ab = b - a;
  Vector const ax = x - a;
  double const lengthSqr = ab.lSqr();
  if (lengthSqr == 0.0)
    return std::sqrt(ax.lSqr());
  return std::sqrt(ax.cross(ab).lSqr() / lengthSqr);
}

} // namespace

void RectMesh::getSubSampled(ResampleDataType type, std::uint32_t count, RectMesh& target) const {
  if (type == SampleStep && count == 0)
    throw Exception("Invalid sub-sampling step.");
  if (&target == this) {
    RectMesh scratch = makeScratch();
    getSubSampled(type, count, scratch);
    target.swapGrid(scratch);
    return;
  }
  std::uint32_t f = 1;
  if (type == MaxNumberOfQuads) {
    std::uint32_t n = extents.getdU() * extents.getdV();
    while (n > count) {
      n >>= 2;
      f *= 2;
    }
  } else if (type == SampleStep) {
    f = count;
  }
  TwoDimensional::Vector<std::uint32_t> const sampled(extents.getdU() / f, extents.getdV() / f);
  target.init(sampled);
  for (std::int64_t j = 0; j <= lastIndex(sampled.getdV()); ++j)
    for (std::int64_t i = 0; i <= lastIndex(sampled.getdU()); ++i) {
      if (!getIsValidAt(i * f, j * f))
        continue;
      copyPoint(*this, gridPoint(i * f, j * f), target, gridPoint(i, j));
    }
  target.finishDerivedGrid(searchPointBudget);
  target.fileName = fileName;
}

void RectMesh::getRestrictedToAABB(TwoDimensional::BoundingBoxAA<int> const& box,
                                   RectMesh& target) const {
  TwoDimensional::Vector<int> const& d = box.getd();
  if (d.getdU() < 0 || d.getdV() < 0)
    throw Exception("Invalid restriction box.");
  if (&target == this) {
    RectMesh scratch = makeScratch();
    getRestrictedToAABB(box, scratch);
    target.swapGrid(scratch);
    return;
  }
  TwoDimensional::Vector<std::uint32_t> const size(static_cast<std::uint32_t>(d.getdU()),
                                                   static_cast<std::uint32_t>(d.getdV()));
  target.init(size);
  std::int64_t const u0 = box.getp().getU();
  std::int64_t const v0 = box.getp().getV();
  for (std::int64_t j = 0; j <= d.getdV(); ++j)
    for (std::int64_t i = 0; i <= d.getdU(); ++i) {
      // Indices beyond int's range lie outside every grid and stay invalid.
      if (!getIsValidAt(u0 + i, v0 + j))
        continue;
      copyPoint(*this, gridPoint(u0 + i, v0 + j), target, gridPoint(i, j));
    }
  target.finishDerivedGrid(searchPointBudget);
}

void RectMesh::getRestrictedToAABB(BoundingBoxAA const& box, RectMesh& target) const {
  if (&target == this) {
    RectMesh scratch = makeScratch();
    getRestrictedToAABB(box, scratch);
    target.swapGrid(scratch);
    return;
  }
  auto const isKept = [&](GridPoint const& p) {
    return getIsPointValid(p) && box.getIsInside(getPoint(p));
  };
  std::int64_t const lastU = lastIndex(extents.getdU());
  std::int64_t const lastV = lastIndex(extents.getdV());
  std::int64_t uMin = lastU, uMax = 0, vMin = lastV, vMax = -1;
  for (std::int64_t v = 0; v <= lastV && getHasStorage(); ++v)
    for (std::int64_t u = 0; u <= lastU; ++u)
      if (isKept(gridPoint(u, v))) {
        uMin = std::min(uMin, u);
        uMax = std::max(uMax, u);
        vMin = std::min(vMin, v);
        vMax = v;
      }
  if (vMax < 0) {
    target.init(TwoDimensional::Vector<std::uint32_t>());
    target.finishDerivedGrid(searchPointBudget);
    return;
  }
  target.init(TwoDimensional::Vector<std::uint32_t>(static_cast<std::uint32_t>(uMax - uMin),
                                                    static_cast<std::uint32_t>(vMax - vMin)));
  for (std::int64_t v = vMin; v <= vMax; ++v)
    for (std::int64_t u = uMin; u <= uMax; ++u) {
      GridPoint const source = gridPoint(u, v);
      if (!isKept(source))
        continue;
      copyPoint(*this, source, target, gridPoint(u - uMin, v - vMin));
    }
  target.finishDerivedGrid(searchPointBudget);
}

void RectMesh::getFlattened(RectMesh& target) const {
  if (&target == this) {
    RectMesh scratch = makeScratch();
    getFlattened(scratch);
    target.swapGrid(scratch);
    return;
  }
  target.init(extents);
  double const s = std::sqrt(getMeanQuadArea());
  for (std::int64_t v = 0; v <= lastIndex(extents.getdV()) && getHasStorage(); ++v)
    for (std::int64_t u = 0; u <= lastIndex(extents.getdU()); ++u) {
      GridPoint const p = gridPoint(u, v);
      if (!getIsPointValid(p))
        continue;
      target.setPoint(p, Point(static_cast<double>(u) * s, static_cast<double>(v) * s, 0.0));
      target.setPointFlags(p, getPointFlags(p));
    }
  target.finishDerivedGrid(searchPointBudget);
}

void RectMesh::getNormalised(double quadSize, RectMesh& target) const {
  getNormalised(quadSize, Vector(), target);
}

void RectMesh::getNormalised(double quadSize, Vector const& centre, RectMesh& target) const {
  if (!std::isfinite(quadSize) || quadSize <= 0.0)
    throw Exception("Invalid normalisation quad size.");
  if (&target == this) {
    RectMesh scratch = makeScratch();
    getNormalised(quadSize, centre, scratch);
    target.swapGrid(scratch);
    return;
  }
  std::int64_t const lastU = !getHasStorage() ? -1 : lastIndex(extents.getdU());
  std::int64_t const lastV = !getHasStorage() ? -1 : lastIndex(extents.getdV());
  Point const origin;
  Vector sum;
  std::uint64_t count = 0;
  for (std::int64_t v = 0; v <= lastV; ++v)
    for (std::int64_t u = 0; u <= lastU; ++u) {
      GridPoint const p = gridPoint(u, v);
      if (!getIsPointValid(p))
        continue;
      sum += getPoint(p) - origin;
      ++count;
    }
  Vector const centroid = count > 0 ? sum / static_cast<double>(count) : Vector();
  double largest = 0.0, mean = 0.0, smallest = 0.0;
  getMaxMeanMinQuadSize(&largest, &mean, &smallest);
  double const scale = mean > 0.0 ? quadSize / std::sqrt(mean) : 1.0;

  target.init(extents);
  for (std::int64_t v = 0; v <= lastV; ++v)
    for (std::int64_t u = 0; u <= lastU; ++u) {
      GridPoint const p = gridPoint(u, v);
      if (!getIsPointValid(p))
        continue;
      target.setPoint(p, origin + centre + (getPoint(p) - origin - centroid) * scale);
      target.setPointFlags(p, getPointFlags(p));
    }
  target.finishDerivedGrid(searchPointBudget);
}

void RectMesh::transform(Point const& centre, AffineMap const& map) {
  if (!getHasStorage())
    return;
  for (std::int64_t v = 0; v <= lastIndex(extents.getdV()); ++v)
    for (std::int64_t u = 0; u <= lastIndex(extents.getdU()); ++u) {
      GridPoint const p = gridPoint(u, v);
      if (getIsPointValid(p))
        setPoint(p, centre + map(getPoint(p) - centre));
    }
  // Every point moved: the box of the search is rebuilt rather than grown to hold both places.
  isSearchBoxValid = false;
}

void RectMesh::mirror(CanonicalPlane plane, Point const& centre, CanonicalAxis axis) {
  if (axis != U && axis != V)
    throw Exception("Invalid scan flip axis");
  if (plane != X && plane != Y && plane != Z)
    throw Exception("Invalid mirror plane.");
  LinearMap reflection;
  reflection.setAsIdentity();
  reflection.set(plane, plane, -1.0);
  transform(centre, AffineMap(reflection, Vector()));
  flipWinding(axis);
}

void RectMesh::testArrayStripes(std::uint32_t aperture, double tolerance, std::uint32_t step,
                                std::uint32_t& segmentCount, std::uint32_t& passedCount,
                                GridRanges& stripes) const {
  if (step == 0)
    throw Exception("Invalid array stripe step.");
  segmentCount = 0;
  passedCount = 0;
  stripes.clear();
  if (!getHasStorage())
    return;
  // NaN positions or a NaN tolerance fail the comparison, so such segments never pass.
  auto const isStraight = [&](std::int64_t u0, std::int64_t u1, std::int64_t v) {
    for (std::int64_t u = u0; u <= u1; ++u)
      if (!getIsValidAt(u, v))
        return false;
    Point const a = getPoint(gridPoint(u0, v));
    Point const b = getPoint(gridPoint(u1, v));
    for (std::int64_t u = u0; u <= u1; ++u)
      if (!(getDistanceFromLine(getPoint(gridPoint(u, v)), a, b) <= tolerance))
        return false;
    return true;
  };
  std::int64_t const lastU = lastIndex(extents.getdU());
  std::int64_t const lastV = lastIndex(extents.getdV());
  for (std::int64_t u0 = 0; u0 + aperture <= lastU; u0 += step) {
    std::int64_t const u1 = u0 + aperture;
    std::int64_t runStart = -1;
    for (std::int64_t v = 0; v <= lastV + 1; ++v) {
      bool passes = false;
      if (v <= lastV) {
        passes = isStraight(u0, u1, v);
        ++segmentCount;
        passedCount += passes ? 1 : 0;
      }
      if (passes) {
        if (runStart < 0)
          runStart = v;
        continue;
      }
      if (runStart >= 0 && v - 1 > runStart)
        stripes.emplace_back(gridPoint(u0, runStart), gridPoint(u1, v - 1));
      runStart = -1;
    }
  }
}

void RectMesh::flipWinding(CanonicalAxis axis) {
  if (axis != U && axis != V)
    throw Exception("Invalid scan flip axis");
  if (getHasStorage()) {
    // Points (u, v) and (u', v') trade places with their flag bytes.
    auto const exchange = [this](std::size_t i, std::size_t j) {
      std::swap_ranges(&coordinates[3 * i], &coordinates[3 * i + 3], &coordinates[3 * j]);
      std::swap(flagBytes[i], flagBytes[j]);
    };
    std::int64_t const lastU = extents.getdU();
    std::int64_t const lastV = extents.getdV();
    if (axis == U) {
      for (std::int64_t v = 0; v <= lastV; ++v)
        for (std::int64_t u = 0; u < lastU - u; ++u)
          exchange(getStorageIndex(u, v), getStorageIndex(lastU - u, v));
    } else {
      for (std::int64_t v = 0; v < lastV - v; ++v)
        for (std::int64_t u = 0; u <= lastU; ++u)
          exchange(getStorageIndex(u, v), getStorageIndex(u, lastV - v));
    }
  }
  isSearchReset = true;
  // The start candidates must be valid quads again; the requested counts stay as they are.
  std::uint32_t numberU = 0;
  std::uint32_t numberV = 0;
  calculateSearchPoints(searchPointBudget, numberU, numberV);
}

void RectMesh::getQuadAreaDistribution(double min, double max, std::uint32_t bins,
                                       std::uint32_t* counts, std::uint32_t* total) const {
  std::fill(counts, counts + bins, 0u);
  *total = 0;
  if (bins == 0 || !getHasStorage())
    return;
  bool const isSpread = max > min;
  double const binCount = static_cast<double>(bins);
  double const lastBin = binCount - 1.0;
  for (std::int64_t v = 0; v < lastIndex(extents.getdV()); ++v)
    for (std::int64_t u = 0; u < lastIndex(extents.getdU()); ++u) {
      if (!getIsQuadValidAt(u, v))
        continue;
      double const area = getQuadArea(gridPoint(u, v));
      if (std::isnan(area))
        continue;
      double const x = isSpread ? (area - min) * binCount / (max - min) : 0.0;
      std::uint32_t bin = 0;
      if (x >= lastBin)
        bin = bins - 1;
      else if (x > 0.0)
        bin = static_cast<std::uint32_t>(x);
      ++counts[bin];
      ++*total;
    }
}

void RectMesh::finishDerivedGrid(std::uint32_t cellsPerSearchPoint) {
  getMaxMeanMinQuadSize(&maxQuadArea, &meanQuadArea, &minQuadArea);
  calculateSearchPoints(cellsPerSearchPoint, numberOfSearchPointsU, numberOfSearchPointsV);
}

RectMesh RectMesh::makeScratch() {
  // The constructor counts the mesh again; the host never sees this one.
  --creationCount;
  return RectMesh();
}

void RectMesh::swapGrid(RectMesh& other) {
  std::swap(coordinates, other.coordinates);
  std::swap(flagBytes, other.flagBytes);
  std::swap(extents, other.extents);
  std::swap(meanQuadArea, other.meanQuadArea);
  std::swap(minQuadArea, other.minQuadArea);
  std::swap(maxQuadArea, other.maxQuadArea);
  std::swap(searchPoints, other.searchPoints);
  std::swap(numberOfSearchPointsU, other.numberOfSearchPointsU);
  std::swap(numberOfSearchPointsV, other.numberOfSearchPointsV);
  isSearchReset = true;
  other.isSearchReset = true;
  isSearchBoxValid = false;
  other.isSearchBoxValid = false;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
