#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <Geometry/ThreeDimensional/QuadMesh/GridIndex.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;

GridPoint shifted(GridPoint const& p, std::int64_t du, std::int64_t dv) {
  return GridPoint(GridIndex::clampToInt(p.getU() + du), GridIndex::clampToInt(p.getV() + dv));
}

/// The largest index along an axis that int grid indices can address.
std::int64_t lastIndex(std::uint32_t extent) {
  return std::min<std::int64_t>(extent, std::numeric_limits<int>::max());
}

[[noreturn]] void throwInsufficientMemory() {
  throw Exception("Insufficient memory to initialise quad-mesh.");
}

} // namespace

std::uint32_t RectMesh::creationCount = 0;

RectMesh::RectMesh() {
  char name[32];
  std::snprintf(name, sizeof name, "Unnamed%d.quads", static_cast<int>(creationCount + 1));
  fileName = name;
  ++creationCount;
}

RectMesh::RectMesh(RectMesh const& other) : RectMesh() {
  *this = other;
}

RectMesh& RectMesh::operator=(RectMesh const& other) {
  if (this == &other)
    return *this;
  if (!other.getHasStorage()) {
    uninit();
  } else {
    init(other.extents);
    std::size_t const count = getStorageIndex(extents.getdU(), extents.getdV()) + 1;
    std::copy_n(other.coordinates.get(), 3 * count, coordinates.get());
    std::copy_n(other.flagBytes.get(), count, flagBytes.get());
  }
  meanQuadArea = other.meanQuadArea;
  minQuadArea = other.minQuadArea;
  maxQuadArea = other.maxQuadArea;
  isSearchReset = other.isSearchReset;
  doFlipNormals = other.doFlipNormals;
  doFlipAxisU = other.doFlipAxisU;
  doFlipAxisV = other.doFlipAxisV;
  lastSearchIndices = other.lastSearchIndices;
  numberOfSearchPointsU = other.numberOfSearchPointsU;
  numberOfSearchPointsV = other.numberOfSearchPointsV;
  fileName = other.fileName;
  setNumberOfSearchPoints(other.numberOfSearchPointsU, other.numberOfSearchPointsV);
  return *this;
}

RectMesh::~RectMesh() = default;

void RectMesh::init(TwoDimensional::Vector<std::uint32_t> const& newExtents) {
  uninit();
  isSearchReset = true;
  // Sizes in 64 bits, checked against the largest object the platform can address, so that no
  // size computation below can wrap.
  std::uint64_t const columns = std::uint64_t{newExtents.getdU()} + 1;
  std::uint64_t const rows = std::uint64_t{newExtents.getdV()} + 1;
  std::uint64_t const limit =
      static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max());
  if (columns > limit / (3 * sizeof(float)) || rows > limit / (columns * 3 * sizeof(float)))
    throwInsufficientMemory();
  auto const count = static_cast<std::size_t>(columns * rows);
  // Zeroed by the allocator: a large block comes from the system already cleared, untouched.
  CoordinateBlock coordinateBlock(static_cast<float*>(std::calloc(3 * count, sizeof(float))));
  FlagBlock flagBlock(static_cast<signed char*>(std::calloc(count, 1)));
  if (!coordinateBlock || !flagBlock)
    throwInsufficientMemory();
  setStorage(newExtents, std::move(coordinateBlock), std::move(flagBlock));
}

void RectMesh::setStorage(TwoDimensional::Vector<std::uint32_t> const& newExtents,
                          CoordinateBlock coordinateBlock, FlagBlock flagBlock) {
  coordinates = std::move(coordinateBlock);
  flagBytes = std::move(flagBlock);
  extents = newExtents;
  isSearchReset = true;
  numberOfSearchPointsU = 1;
  numberOfSearchPointsV = 1;
}

void RectMesh::uninit() {
  isSearchBoxValid = false;
  coordinates.reset();
  flagBytes.reset();
  std::vector<TwoDimensional::Point<int>>().swap(searchPoints);
  extents = TwoDimensional::Vector<std::uint32_t>();
  meanQuadArea = 0.0;
  minQuadArea = 0.0;
  maxQuadArea = 0.0;
}

void RectMesh::clear() {
  uninit();
  isSearchReset = true;
}

std::uint64_t RectMesh::getNumberOfMBs(std::uint32_t U, std::uint32_t V) {
  std::uint64_t const a = std::uint64_t{U} + 1;
  std::uint64_t const b = std::uint64_t{V} + 1;
  if (a > std::numeric_limits<std::uint64_t>::max() / b)
    return std::numeric_limits<std::uint64_t>::max() / 41943;
  return a * b / 41943;
}

Point RectMesh::getPoint(TwoDimensional::Point<int> const& p) const {
  if (!getIsInBounds(p.getU(), p.getV()))
    return Point();
  return getStoredPoint(getStorageIndex(p.getU(), p.getV()));
}

void RectMesh::setPoint(TwoDimensional::Point<int> const& p, Point const& x) {
  if (!getIsInBounds(p.getU(), p.getV()))
    return;
  std::size_t const i = getStorageIndex(p.getU(), p.getV());
  setStoredPoint(i, x);
  setStoredFlags(i, static_cast<signed char>(getStoredFlags(i) | 1));
  expandSearchBox(x);
}

bool RectMesh::getFlag(char flags, PointFlagID id) const {
  return id < 8 && ((static_cast<unsigned char>(flags) >> id) & 1u) != 0;
}

char RectMesh::setFlag(char flags, PointFlagID id, bool on) const {
  if (id >= 8)
    return flags;
  unsigned const bit = 1u << id;
  unsigned const cleared = static_cast<unsigned char>(flags) & ~bit;
  return static_cast<char>(on ? cleared | bit : cleared);
}

char RectMesh::getPointFlags(TwoDimensional::Point<int> const& p) const {
  if (!getIsInBounds(p.getU(), p.getV()))
    return 0;
  return static_cast<char>(getStoredFlags(getStorageIndex(p.getU(), p.getV())));
}

void RectMesh::setPointFlags(TwoDimensional::Point<int> const& p, char const& flags) {
  if (!getIsInBounds(p.getU(), p.getV()))
    return;
  std::size_t const i = getStorageIndex(p.getU(), p.getV());
  setStoredFlags(i, static_cast<signed char>(flags));
  if ((flags & 1) != 0)
    expandSearchBox(getStoredPoint(i));
}

bool RectMesh::getPointFlag(TwoDimensional::Point<int> const& p, PointFlagID id) const {
  return getFlag(getPointFlags(p), id);
}

void RectMesh::setPointFlag(TwoDimensional::Point<int> const& p, PointFlagID id, bool on) {
  setPointFlags(p, setFlag(getPointFlags(p), id, on));
}

bool RectMesh::getPointValidity(TwoDimensional::Point<int> const& p) const {
  return getPointFlag(p, Valid);
}

void RectMesh::setPointValidity(TwoDimensional::Point<int> const& p, bool valid) {
  setPointFlag(p, Valid, valid);
}

bool RectMesh::getIsPointInBounds(TwoDimensional::Point<int> const& p) const {
  return getIsInBounds(p.getU(), p.getV());
}

bool RectMesh::getIsPointValid(TwoDimensional::Point<int> const& p) const {
  return getIsValidAt(p.getU(), p.getV());
}

bool RectMesh::getIsQuadValid(TwoDimensional::Point<int> const& p) const {
  return getIsQuadValidAt(p.getU(), p.getV());
}

bool RectMesh::getIsBoundaryPoint(TwoDimensional::Point<int> const& p) const {
  std::int64_t const u = p.getU();
  std::int64_t const v = p.getV();
  if (!getIsValidAt(u, v))
    return false;
  std::int64_t const neighbours[4][2] = {{u + 1, v}, {u - 1, v}, {u, v + 1}, {u, v - 1}};
  for (auto const& q : neighbours)
    if (getIsInBounds(q[0], q[1]) && !getIsValidAt(q[0], q[1]))
      return true;
  return false;
}

bool RectMesh::getIsInteriorNonExtendedPoint(TwoDimensional::Point<int> const& p) const {
  char const flags = getPointFlags(p);
  return getFlag(flags, Valid) && (getFlag(flags, Interior) || getFlag(flags, Boundary));
}

void RectMesh::getQuadPoints(TwoDimensional::Point<int> const& p, Point* out) const {
  GridPoint const corners[4] = {p, shifted(p, 1, 0), shifted(p, 1, 1), shifted(p, 0, 1)};
  for (int i = 0; i < 4; ++i) {
    if (!getIsPointValid(corners[i]))
      return;
    out[i] = getPoint(corners[i]);
  }
}

void RectMesh::getQuadTrianglePoints(TwoDimensional::Point<int> const& p, Point* out,
                                     bool first) const {
  out[0] = getPoint(p);
  if (first) {
    out[1] = getPoint(shifted(p, 1, 0));
    out[2] = getPoint(shifted(p, 1, 1));
  } else {
    out[1] = getPoint(shifted(p, 1, 1));
    out[2] = getPoint(shifted(p, 0, 1));
  }
}

void RectMesh::getQuadTrianglePoints(TwoDimensional::Point<int> const& p, Point* out,
                                     std::uint32_t k, int s) const {
  static constexpr int fan[8][2] = {{1, 0},  {1, 1},   {0, 1},  {-1, 1},
                                    {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
  if (k > 7)
    return;
  std::int64_t const step = s;
  auto const& a = fan[k];
  auto const& b = fan[(k + 1) % 8];
  out[0] = getPoint(p);
  out[1] = getPoint(shifted(p, a[0] * step, a[1] * step));
  out[2] = getPoint(shifted(p, b[0] * step, b[1] * step));
}

Vector RectMesh::getQuadNormalVector(TwoDimensional::Point<int> const& p, bool first) const {
  Point t[3];
  getQuadTrianglePoints(p, t, first);
  return (t[1] - t[0]).cross(t[2] - t[0]);
}

Vector RectMesh::getQuadNormalVector(TwoDimensional::Point<int> const& p, std::uint32_t k) const {
  Point t[3];
  getQuadTrianglePoints(p, t, k, 1);
  return (t[1] - t[0]).cross(t[2] - t[0]);
}

Vector RectMesh::getQuadUnitNormalVector(TwoDimensional::Point<int> const& p, bool first) const {
  Vector const n = getQuadNormalVector(p, first);
  return n / std::sqrt(n.lSqr());
}

Vector RectMesh::getPointUnitNormalVector(TwoDimensional::Point<int> const& p) const {
  Vector sum;
  int count = 0;
  auto add = [&](GridPoint const& q) {
    if (getIsQuadValid(q)) {
      sum += getQuadNormalVector(q, true);
      ++count;
    }
  };
  // The quads up and to the right first (three of them do not touch p), then the ones below
  // and to the left; the quad at p − (1, 1) is not consulted.
  for (GridPoint const& q : {p, shifted(p, 1, 0), shifted(p, 0, 1), shifted(p, 1, 1)})
    add(q);
  if (count == 0)
    for (GridPoint const& q : {p, shifted(p, -1, 0), shifted(p, 0, -1)})
      add(q);
  if (count == 0)
    sum = Vector(0.0, 0.0, 1.0);
  return sum / std::sqrt(sum.lSqr());
}

Point RectMesh::getMeanQuadPoint(TwoDimensional::Point<int> const& p) const {
  if (!getIsQuadValid(p))
    return Point();
  Point corners[4];
  getQuadPoints(p, corners);
  Point const origin;
  Vector sum;
  for (Point const& c : corners)
    sum += c - origin;
  return origin + sum * 0.25;
}

std::pair<Vector, Vector> RectMesh::getQuadBasis(TwoDimensional::Point<int> const& p) const {
  Point const corner = getPoint(p);
  return {getPoint(shifted(p, 1, 0)) - corner, getPoint(shifted(p, 0, 1)) - corner};
}

BoundingBoxAA RectMesh::getBoundingBoxAA() const {
  BoundingBoxAA box;
  bool first = true;
  std::int64_t const lastU = lastIndex(extents.getdU());
  std::int64_t const lastV = lastIndex(extents.getdV());
  for (std::int64_t v = 0; v <= lastV; ++v)
    for (std::int64_t u = 0; u <= lastU; ++u) {
      if (!getIsValidAt(u, v))
        continue;
      BoundingBoxAA const b =
          getPoint(GridPoint(static_cast<int>(u), static_cast<int>(v))).getBoundingBox();
      if (first)
        box = b;
      else
        box.expand(b);
      first = false;
    }
  return box;
}

void RectMesh::setAxisFlipFlags(bool u, bool v) {
  doFlipAxisU = u;
  doFlipAxisV = v;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
