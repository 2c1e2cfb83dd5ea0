#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_BEAMWALK_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_BEAMWALK_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIntersectionData.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/TwoDimensional/Point.h>

#include <Geometry/ThreeDimensional/QuadMesh/GridIndex.h>
#include <Geometry/ThreeDimensional/QuadMesh/QuadBeamTest.h>
#include <Geometry/ThreeDimensional/QuadMesh/QuadDualBasis.h>
#include <Geometry/ThreeDimensional/QuadMesh/Triple.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

// The walk of the beam search: from a start quad towards the beam, quad by quad, in the quads'
// own (u, v) units.
namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// The walk visits at most this many quads after its start.
constexpr std::uint32_t maximumWalkSteps = 32;
/// It gives up after landing on this many invalid quads in a row.
constexpr std::uint32_t maximumInvalidRun = 4;

/// Read access to a mesh's grid for the walk: validity from the flag bytes, and corners either
/// straight from the stored coordinates (three floats a point, v·(U + 1) + u), on a plain
/// RectMesh whose getPoint reports them as stored, or through the mesh's virtual getPoint, which
/// a derived mesh overrides. The mesh must have storage.
class GridAccess {
public:
  GridAccess(RectMesh const& mesh, float const* coordinates, signed char const* flags,
             TwoDimensional::Vector<std::uint32_t> const& extents, bool isPlainMesh)
      : mesh(mesh), coordinates(coordinates), flags(flags), lastU(extents.getdU()),
        lastV(extents.getdV()), isPlainMesh(isPlainMesh) {}

  std::int64_t getLastU() const { return lastU; }
  std::int64_t getLastV() const { return lastV; }
  bool isInBounds(std::int64_t u, std::int64_t v) const {
    return u >= 0 && v >= 0 && u <= lastU && v <= lastV;
  }
  bool isQuadValid(std::int64_t u, std::int64_t v) const {
    return isValid(u, v) && isValid(u + 1, v) && isValid(u, v + 1) && isValid(u + 1, v + 1);
  }
  /// The corners of the quad (u, v), whose far corner (u + 1, v + 1) lies in the grid.
  QuadCorners getCorners(std::int64_t u, std::int64_t v) const {
    if (isPlainMesh) {
      float const* row = coordinates + 3 * getIndex(u, v);
      float const* nextRow = row + 3 * (lastU + 1);
      return {getStored(row), getStored(row + 3), getStored(nextRow + 3), getStored(nextRow)};
    }
    int const u0 = static_cast<int>(u);
    int const v0 = static_cast<int>(v);
    int const u1 = GridIndex::clampToInt(u + 1);
    int const v1 = GridIndex::clampToInt(v + 1);
    return {Triple::of(mesh.getPoint({u0, v0})), Triple::of(mesh.getPoint({u1, v0})),
            Triple::of(mesh.getPoint({u1, v1})), Triple::of(mesh.getPoint({u0, v1}))};
  }

private:
  std::size_t getIndex(std::int64_t u, std::int64_t v) const {
    return static_cast<std::size_t>(v) * static_cast<std::size_t>(lastU + 1) +
           static_cast<std::size_t>(u);
  }
  static Triple getStored(float const* xyz) { return {xyz[0], xyz[1], xyz[2]}; }
  bool isValid(std::int64_t u, std::int64_t v) const {
    return isInBounds(u, v) && (flags[getIndex(u, v)] & 1) != 0;
  }

  RectMesh const& mesh;
  float const* coordinates;
  signed char const* flags;
  std::int64_t lastU;
  std::int64_t lastV;
  bool isPlainMesh;
};

/// A grid index pair.
struct QuadIndex {
  std::int64_t u;
  std::int64_t v;

  bool operator==(QuadIndex const& q) const { return u == q.u && v == q.v; }
  bool operator!=(QuadIndex const& q) const { return !(*this == q); }
};

/// The last few quads a walk has worked on, to do something once per quad.
class RecentQuads {
public:
  bool contains(QuadIndex const& q) const {
    for (std::uint32_t i = 0; i < count; ++i)
      if (quads[i] == q)
        return true;
    return false;
  }
  void add(QuadIndex const& q) {
    quads[next] = q;
    next = (next + 1) % capacity;
    count = std::min(count + 1, capacity);
  }

private:
  static constexpr std::uint32_t capacity = 4;
  QuadIndex quads[capacity];
  std::uint32_t next = 0;
  std::uint32_t count = 0;
};

/// The first of the eight neighbours of quad that the beam meets: first (when it is one of
/// them), then those on the side of the offsets (the beam's plane hit in quad units from the
/// centre of quad), then the others. found receives it.
template <bool isWatertight>
bool getNeighbourHit(GridAccess const& grid, QuadBeam const& beam, QuadIndex const& quad,
                     QuadIndex const& first, double offsetU, double offsetV, QuadIndex& found,
                     Triple& hit, QuadIntersectionData& data) {
  std::int64_t const su = offsetU >= 0.0 ? 1 : -1;
  std::int64_t const sv = offsetV >= 0.0 ? 1 : -1;
  std::int64_t const ring[9][2] = {{first.u - quad.u, first.v - quad.v},
                                   {su, 0},
                                   {0, sv},
                                   {su, sv},
                                   {-su, 0},
                                   {0, -sv},
                                   {su, -sv},
                                   {-su, sv},
                                   {-su, -sv}};
  for (int i = 0; i < 9; ++i) {
    if (i > 0 && ring[i][0] == ring[0][0] && ring[i][1] == ring[0][1])
      continue;
    QuadIndex const neighbour{GridIndex::clampToInt(quad.u + ring[i][0]),
                              GridIndex::clampToInt(quad.v + ring[i][1])};
    if (grid.isQuadValid(neighbour.u, neighbour.v) &&
        getDoesBeamMeetQuad<isWatertight>(grid.getCorners(neighbour.u, neighbour.v), beam, hit,
                                          &data)) {
      found = neighbour;
      return true;
    }
  }
  return false;
}

/// The walk from start (a grid point) to the quad the beam meets, at most maximumWalkSteps steps
/// after the start: true with that quad in quad, its plane hit in hit and its measures in data.
/// Each step goes by the beam's hit on the plane of the current quad, in that quad's units,
/// rounded half up; a landing on an invalid quad backs off by bisection towards the quad the
/// step came from. A start on the top or right rim of the grid, or a step that rounds to
/// nothing, gives no hit. With watertight edges, where a step leads next door, nowhere or off
/// the valid quads, the eight neighbours are tried first (once per quad), and a step off the
/// valid quads keeps the part of it that stays on them before it backs off.
template <bool isWatertight>
bool getWalkedHit(GridAccess const& grid, QuadBeam const& beam, QuadIndex const& start,
                  QuadIndex& quad, Triple& hit, QuadIntersectionData& data) {
  QuadIndex current = start;
  RecentQuads probed;
  std::uint32_t invalidRun = 0;
  for (std::uint32_t steps = 0;; ++steps) {
    std::int64_t const cu = current.u;
    std::int64_t const cv = current.v;
    bool const hasFarCorners = grid.isInBounds(cu + 1, cv + 1);
    QuadCorners corners{};
    if (hasFarCorners)
      corners = grid.getCorners(cu, cv);
    if (grid.isQuadValid(cu, cv) && getDoesBeamMeetQuad<isWatertight>(corners, beam, hit, &data)) {
      quad = current;
      return true;
    }
    if (steps >= maximumWalkSteps || !hasFarCorners)
      return false;

    // Where the beam meets the plane of the current quad, in the quad's own (u, v) units.
    Triple const a = corners.p10 - corners.p00;
    Triple const b = corners.p01 - corners.p00;
    QuadDualBasis const dual(a, b);
    Triple const centre = (corners.p00 + (a + b) * 0.5).stored();
    Triple const normal = a.cross(b) / std::sqrt(dual.det);
    double const t = (centre - beam.origin).dot(normal) / beam.direction.dot(normal);
    Triple const offsetInPlane = (beam.origin + beam.direction * t).stored() - centre;
    double const offsetU = offsetInPlane.dot(dual.aDual);
    double const offsetV = offsetInPlane.dot(dual.bDual);
    double const stepU = GridIndex::roundHalfUp(offsetU);
    double const stepV = GridIndex::roundHalfUp(offsetV);
    if (!std::isfinite(stepU) || !std::isfinite(stepV))
      return false;
    std::int64_t const maxStepU = grid.getLastU() + 1;
    std::int64_t const maxStepV = grid.getLastV() + 1;
    std::int64_t const du =
        std::clamp(GridIndex::saturatingCast<std::int64_t>(stepU), -maxStepU, maxStepU);
    std::int64_t const dv =
        std::clamp(GridIndex::saturatingCast<std::int64_t>(stepV), -maxStepV, maxStepV);
    QuadIndex next{GridIndex::clampToInt(cu + du), GridIndex::clampToInt(cv + dv)};
    bool const isStuck = du == 0 && dv == 0;
    bool isValidNext = grid.isQuadValid(next.u, next.v);
    if constexpr (isWatertight) {
      // The beam may lie exactly on an edge or a corner that a neighbour owns, where a step by
      // the rounded offsets can round to nothing, circle the corner or lead off the valid quads
      // (an offset of exactly one half rounds up).
      bool const isNextDoor = du >= -1 && du <= 1 && dv >= -1 && dv <= 1;
      if ((isNextDoor || !isValidNext) && !probed.contains(current)) {
        probed.add(current);
        if (getNeighbourHit<true>(grid, beam, current, isNextDoor ? next : current, offsetU,
                                  offsetV, quad, hit, data))
          return true;
      }
      if (!isStuck && !isValidNext) {
        // Slide along the edge of the valid quads: keep the part of the step that stays on them.
        if (dv != 0 && grid.isQuadValid(cu, next.v))
          next = {cu, next.v};
        else if (du != 0 && grid.isQuadValid(next.u, cv))
          next = {next.u, cv};
        isValidNext = grid.isQuadValid(next.u, next.v);
      }
    }
    if (isStuck)
      return false;

    current = next;
    if (isValidNext) {
      invalidRun = 0;
      continue;
    }
    if (++invalidRun >= maximumInvalidRun)
      return false;
    // Back off by bisection from the invalid landing towards the quad the step came from.
    std::int64_t goodU = cu;
    std::int64_t goodV = cv;
    std::int64_t badU = current.u;
    std::int64_t badV = current.v;
    for (;;) {
      std::int64_t const halfU = (badU - goodU) / 2;
      std::int64_t const halfV = (badV - goodV) / 2;
      if (halfU == 0 && halfV == 0)
        break;
      if (grid.isQuadValid(goodU + halfU, goodV + halfV)) {
        goodU += halfU;
        goodV += halfV;
      } else {
        badU -= halfU;
        badV -= halfV;
      }
    }
    current = {goodU, goodV};
  }
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
