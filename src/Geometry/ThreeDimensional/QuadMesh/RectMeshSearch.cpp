#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

#include <Geometry/ThreeDimensional/QuadMesh/BeamWalk.h>
#include <Geometry/ThreeDimensional/QuadMesh/GridIndex.h>
#include <Geometry/ThreeDimensional/QuadMesh/QuadBeamTest.h>
#include <Geometry/ThreeDimensional/QuadMesh/Triple.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <typeinfo>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;

/// A hit this far along the beam or farther is not accepted as an answer.
constexpr double acceptedDistanceCeiling = 131072.0;
/// A hit this far or farther is not remembered as the next start.
constexpr double keptDistanceLimit = 1000.0;
/// The start search keeps refining while its best squared distance exceeds this.
constexpr double startSearchGiveUpDistanceSqr = 400.0;
constexpr double initialLocalMinimum = 1000000.0;
/// Bound of k, the samples per axis of a start-search pass.
constexpr std::int64_t maximumSamplesPerAxis = 1024;

double halfPi() {
  return Utility::twopi() / 4.0;
}

/// Whether the hit qualifies as the start of the next search under the current mode.
bool getIsKeptHit(QuadIntersectionData const& data) {
  double const angle = data.getAngleToObjectNormal();
  double const distance = data.getDistanceToObject();
  switch (QuadIndicesIntersectionStatus::getIntersectionQualityMode()) {
  case QuadIndicesIntersectionStatus::FacingThenNearest:
    return angle > halfPi() && distance < keptDistanceLimit;
  case QuadIndicesIntersectionStatus::Nearest:
    return distance < keptDistanceLimit;
  case QuadIndicesIntersectionStatus::BestAngle:
    return angle > halfPi();
  default:
    return false;
  }
}

/// Two's-complement wrap of a 64-bit index into int, as int index arithmetic wraps.
int wrapToInt(std::int64_t x) {
  return static_cast<int>(static_cast<std::uint32_t>(x));
}

} // namespace

EdgeRule RectMesh::edgeRule = EdgeRule::Strict;
std::uint32_t RectMesh::maxDoNMoreTimes = 0;
std::uint32_t RectMesh::searchDivideByNTimes = 4;

QuadIndicesIntersectionStatus
RectMesh::getIntersectionStatus(Point const& position, Vector const& direction, bool doFullSearch) {
  if (((activePositionFlags >> (this->position % 32)) & 1u) == 0)
    return QuadIndicesIntersectionStatus(nullptr, Point(), GridPoint(-1, -1), false,
                                         QuadIntersectionData(-1.0, -1.0, -1.0), fileName);
  if (doFullSearch)
    isSearchReset = true;
  GridPoint quad;
  Point hitPoint;
  QuadIntersectionData data;
  // A search from scratch for a beam that cannot meet the grid finds nothing; the start search
  // would only take long to say so.
  bool const found =
      (!isSearchReset || getMayBeamMeetGrid(position, direction)) &&
      getWalkedIntersection(isSearchReset ? getStartSearchPoint(position) : lastSearchIndices,
                            position, direction, quad, hitPoint, data) &&
      data.getDistanceToObject() < acceptedDistanceCeiling;
  if (found)
    isSearchReset = false;
  if (found && getIsKeptHit(data))
    lastSearchIndices = quad;
  else
    isSearchReset = true;

  std::int64_t u = found ? quad.getU() : 0;
  std::int64_t v = found ? quad.getV() : 0;
  if (doFlipAxisU)
    u = std::int64_t{extents.getdU()} - 1 - u;
  if (doFlipAxisV)
    v = std::int64_t{extents.getdV()} - 1 - v;
  GridPoint const indices = GridPoint(wrapToInt(u), wrapToInt(v)) + offset;
  if (!found)
    return QuadIndicesIntersectionStatus(this, Point(), indices, false, QuadIntersectionData(),
                                         fileName);
  return QuadIndicesIntersectionStatus(this, hitPoint, indices, true, data, fileName);
}

QuadIndicesIntersectionStatus RectMesh::getIntersection(Point const& position,
                                                        Vector const& direction) {
  QuadIndicesIntersectionStatus status = getIntersectionStatus(position, direction, false);
  if (status.getIsValid() &&
      status.getIntersectionData().getAngleToObjectNormal() >= Utility::twopi() * 0.25)
    return status;
  return getIntersectionStatus(position, direction, true);
}

bool RectMesh::getWalkedIntersection(GridPoint const& start, Point const& position,
                                     Vector const& direction, GridPoint& quad, Point& hitPoint,
                                     QuadIntersectionData& data) const {
  if (!getIsPointInBounds(start))
    return false;
  bool const isWatertight = edgeRule == EdgeRule::Watertight;
  GridAccess const grid(*this, coordinates.get(), flagBytes.get(), extents,
                        typeid(*this) == typeid(RectMesh));
  QuadBeam const beam(position, direction, doFlipNormals, isWatertight);
  QuadIndex found{};
  Triple hit{};
  QuadIndex const from{start.getU(), start.getV()};
  if (!(isWatertight ? getWalkedHit<true>(grid, beam, from, found, hit, data)
                     : getWalkedHit<false>(grid, beam, from, found, hit, data)))
    return false;
  quad = GridPoint(static_cast<int>(found.u), static_cast<int>(found.v));
  hitPoint = hit.toPoint();
  return true;
}

bool RectMesh::getDoesIntersectQuad(GridPoint const& indices, Point const& position,
                                    Vector const& direction, Point& hitPoint,
                                    QuadIntersectionData* data) const {
  if (!getIsQuadValid(indices))
    return false;
  bool const isWatertight = edgeRule == EdgeRule::Watertight;
  GridAccess const grid(*this, coordinates.get(), flagBytes.get(), extents,
                        typeid(*this) == typeid(RectMesh));
  QuadBeam const beam(position, direction, doFlipNormals, isWatertight);
  QuadCorners const corners = grid.getCorners(indices.getU(), indices.getV());
  Triple hit{};
  bool const inside = isWatertight ? getDoesBeamMeetQuad<true>(corners, beam, hit, data)
                                   : getDoesBeamMeetQuad<false>(corners, beam, hit, data);
  hitPoint = hit.toPoint();
  return inside;
}

bool RectMesh::getMayBeamMeetGrid(Point const& position, Vector const& direction) {
  if (typeid(*this) != typeid(RectMesh))
    return true;
  if (!isSearchBoxValid) {
    isSearchBoxValid = true;
    isSearchBoxEmpty = true;
    std::int64_t const lastU = getHasStorage() ? std::int64_t{extents.getdU()} : -1;
    std::int64_t const lastV = getHasStorage() ? std::int64_t{extents.getdV()} : -1;
    for (std::int64_t v = 0; v <= lastV; ++v)
      for (std::int64_t u = 0; u <= lastU; ++u)
        if (getIsValidAt(u, v))
          expandSearchBox(getStoredPoint(getStorageIndex(u, v)));
  }
  if (isSearchBoxEmpty)
    return false;
  Triple const origin = Triple::of(position);
  Triple const low = Triple::of(searchBoxLow);
  Triple const high = Triple::of(searchBoxHigh);
  // A box started at a NaN point bounds nothing.
  if (!(low.x <= high.x && low.y <= high.y && low.z <= high.z))
    return true;
  auto const largest = [](Triple const& p) {
    double const x = std::fabs(p.x), y = std::fabs(p.y), z = std::fabs(p.z);
    double const xy = x > y ? x : y;
    return xy > z ? xy : z;
  };
  double const boxScale = largest(low) > largest(high) ? largest(low) : largest(high);
  double const scale = largest(origin) > boxScale ? largest(origin) : boxScale;
  double const margin = (1.0 + scale) * 0x1p-16;
  // The slabs of the enlarged box along the whole line; a NaN rejects nothing.
  double enter = -std::numeric_limits<double>::infinity();
  double leave = std::numeric_limits<double>::infinity();
  auto const isInSlab = [&](double o, double d, double lo, double hi) {
    lo -= margin;
    hi += margin;
    if (d == 0.0)
      return !(o < lo || o > hi);
    double const t1 = (lo - o) / d;
    double const t2 = (hi - o) / d;
    if ((t1 < t2 ? t1 : t2) > enter)
      enter = t1 < t2 ? t1 : t2;
    if ((t1 < t2 ? t2 : t1) < leave)
      leave = t1 < t2 ? t2 : t1;
    return true;
  };
  return isInSlab(origin.x, direction.getdX(), low.x, high.x) &&
         isInSlab(origin.y, direction.getdY(), low.y, high.y) &&
         isInSlab(origin.z, direction.getdZ(), low.z, high.z) && !(enter > leave);
}

void RectMesh::expandSearchBox(Point const& x) {
  if (!isSearchBoxValid)
    return;
  if (isSearchBoxEmpty) {
    searchBoxLow = x;
    searchBoxHigh = x;
    isSearchBoxEmpty = false;
    return;
  }
  searchBoxLow.setMin(x);
  searchBoxHigh.setMax(x);
}

GridPoint RectMesh::getStartSearchPoint(Point const& position) const {
  std::int64_t const U = extents.getdU();
  std::int64_t const V = extents.getdV();
  GridPoint best(GridIndex::clampToInt(U / 2), GridIndex::clampToInt(V / 2));
  if (!getIsPointInBounds(best))
    return best;
  double bestDistanceSqr = getPoint(best).dSqr(position);

  // k × k samples a pass; k is bounded so that absurd settings cannot exhaust memory.
  std::int64_t const k =
      std::clamp<std::int64_t>(GridIndex::saturatingCast<std::int64_t>(
                                   round(std::sqrt(static_cast<double>(searchDivideByNTimes)))),
                               1, maximumSamplesPerAxis);
  auto const count = static_cast<std::uint32_t>(k * k);
  std::array<GridPoint, 64> fixedSamples;
  std::vector<GridPoint> largeSamples;
  GridPoint* samples = fixedSamples.data();
  if (count > fixedSamples.size()) {
    largeSamples.resize(count);
    samples = largeSamples.data();
  }

  std::int64_t spanU = U;
  std::int64_t spanV = V;
  std::uint32_t n = 0;
  for (bool done = false; !done;) {
    double const twoK = 2.0 * static_cast<double>(k);
    std::int64_t const stepU = GridIndex::saturatingCast<std::int64_t>(round(spanU / twoK));
    std::int64_t const stepV = GridIndex::saturatingCast<std::int64_t>(round(spanV / twoK));
    // The centres of the k × k cells of the span-sized box centred on best.
    std::int64_t const lowU = std::int64_t{best.getU()} - (spanU >> 1);
    std::int64_t const lowV = std::int64_t{best.getV()} - (spanV >> 1);
    for (std::int64_t j = 0; j < k; ++j)
      for (std::int64_t i = 0; i < k; ++i)
        samples[j * k + i] = GridPoint(GridIndex::clampToInt(lowU + (2 * i + 1) * stepU),
                                       GridIndex::clampToInt(lowV + (2 * j + 1) * stepV));
    bool anyInvalid = false;
    bool const closer =
        getIsAnyQuadPointCloser(samples, position, best, bestDistanceSqr, anyInvalid, n, count);

    // Some sample fell on an invalid quad: look again at the 2 × 2 sub-cells of every cell.
    bool refined = false;
    if (anyInvalid) {
      double const kReal = static_cast<double>(k);
      std::int64_t const subU = GridIndex::saturatingCast<std::int64_t>(round(stepU / kReal));
      std::int64_t const subV = GridIndex::saturatingCast<std::int64_t>(round(stepV / kReal));
      for (std::uint32_t r = 0; r < count; ++r) {
        std::int64_t const cellU = std::int64_t{samples[r].getU()} - stepU;
        std::int64_t const cellV = std::int64_t{samples[r].getV()} - stepV;
        GridPoint subSamples[4];
        for (std::int64_t j = 0; j < 2; ++j)
          for (std::int64_t i = 0; i < 2; ++i)
            subSamples[j * 2 + i] = GridPoint(GridIndex::clampToInt(cellU + (2 * i + 1) * subU),
                                              GridIndex::clampToInt(cellV + (2 * j + 1) * subV));
        bool subInvalid = false;
        if (getIsAnyQuadPointCloser(subSamples, position, best, bestDistanceSqr, subInvalid, n, 4))
          refined = true;
      }
    }
    double const divisor = refined ? twoK : static_cast<double>(k);
    spanU = GridIndex::saturatingCast<std::int64_t>(round(spanU / divisor));
    spanV = GridIndex::saturatingCast<std::int64_t>(round(spanV / divisor));

    done = !closer;
    if (done && bestDistanceSqr > startSearchGiveUpDistanceSqr && n < maxDoNMoreTimes) {
      done = false;
      ++n;
    }
  }
  return best;
}

bool RectMesh::getIsAnyQuadPointCloser(GridPoint const* points, Point const& target,
                                       GridPoint& best, double& bestDistanceSqr, bool& anyInvalid,
                                       std::uint32_t doNMoreCount, std::uint32_t count) const {
  anyInvalid = false;
  double localMinimum = initialLocalMinimum;
  GridPoint localBest = points[0];
  bool improved = false;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!getIsQuadValid(points[i])) {
      anyInvalid = true;
      continue;
    }
    double const d2 = getPoint(points[i]).dSqr(target);
    if (i == 0 || d2 < localMinimum) {
      localMinimum = d2;
      localBest = points[i];
    }
    if (d2 < bestDistanceSqr) {
      bestDistanceSqr = d2;
      best = points[i];
      improved = true;
    }
  }
  // Escape from a poor local minimum: move to the batch's best even though it is farther.
  if (bestDistanceSqr > startSearchGiveUpDistanceSqr && !improved &&
      doNMoreCount < maxDoNMoreTimes) {
    best = localBest;
    bestDistanceSqr = localMinimum;
  }
  return improved;
}

void RectMesh::setNumberOfSearchPoints(std::uint32_t u, std::uint32_t v) {
  numberOfSearchPointsU = u;
  numberOfSearchPointsV = v;
  std::uint32_t numberU = 0;
  std::uint32_t numberV = 0;
  calculateSearchPoints(searchPointBudget, numberU, numberV);
}

void RectMesh::calculateSearchPoints(std::uint32_t const& cellsPerSearchPoint,
                                     std::uint32_t& numberU, std::uint32_t& numberV) {
  std::uint64_t const U = extents.getdU();
  std::uint64_t const V = extents.getdV();
  searchPoints.clear();
  if (U == 0 || V == 0) {
    // No quads: a one-point lattice that finds nothing to snap to.
    numberU = 1;
    numberV = 1;
    return;
  }
  std::uint64_t const m = std::max<std::uint64_t>(U * V / std::max(cellsPerSearchPoint, 1u), 8);
  double const r =
      std::sqrt(static_cast<double>(m) * static_cast<double>(U) / static_cast<double>(V));
  numberU = std::max(GridIndex::saturatingCast<std::uint32_t>(r), 1u);
  numberV = std::max(
      GridIndex::saturatingCast<std::uint32_t>(r * static_cast<double>(V) / static_cast<double>(U)),
      1u);
  searchPoints.reserve(static_cast<std::size_t>(std::uint64_t{numberU} * numberV));
  std::int64_t const lastV = static_cast<std::int64_t>(V);
  for (std::uint64_t j = 0; j < numberV; ++j)
    for (std::uint64_t i = 0; i < numberU; ++i) {
      std::int64_t const u = static_cast<std::int64_t>((i + 1) * U / (std::uint64_t{numberU} + 1));
      std::int64_t const v = static_cast<std::int64_t>((j + 1) * V / (std::uint64_t{numberV} + 1));
      // Snap along v to the nearest valid quad; below wins over above at the same distance.
      for (std::int64_t s = 0; v + s < lastV || v - s >= 0; ++s) {
        if (v - s >= 0 && getIsQuadValidAt(u, v - s)) {
          searchPoints.emplace_back(GridIndex::clampToInt(u), GridIndex::clampToInt(v - s));
          break;
        }
        if (v + s < lastV && getIsQuadValidAt(u, v + s)) {
          searchPoints.emplace_back(GridIndex::clampToInt(u), GridIndex::clampToInt(v + s));
          break;
        }
      }
    }
}

GridPoint RectMesh::getNearestPoint2D(Point const& point, double& distance) const {
  GridPoint best(0, 0);
  double bestSqr = std::numeric_limits<double>::max();
  std::int64_t const lastU =
      std::min<std::int64_t>(extents.getdU(), std::numeric_limits<int>::max());
  std::int64_t const lastV =
      std::min<std::int64_t>(extents.getdV(), std::numeric_limits<int>::max());
  for (std::int64_t v = 0; v <= lastV; ++v)
    for (std::int64_t u = 0; u <= lastU; ++u) {
      if (!getIsQuadValidAt(u, v))
        continue;
      GridPoint const p(static_cast<int>(u), static_cast<int>(v));
      double const d2 = (getPoint(p) - point).lSqr();
      if (d2 < bestSqr) {
        bestSqr = d2;
        best = p;
      }
    }
  distance = std::sqrt(bestSqr);
  return best;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
