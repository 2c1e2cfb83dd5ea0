#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADBEAMTEST_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADBEAMTEST_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/EdgeRule.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIntersectionData.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

#include <Geometry/ThreeDimensional/QuadMesh/BeamSpace.h>
#include <Geometry/ThreeDimensional/QuadMesh/TrianglePair.h>
#include <Geometry/ThreeDimensional/QuadMesh/Triple.h>

#include <cmath>

// A beam against one quad: which of its two triangles the beam meets under the edge rule, the
// plane hit and the measures of the hit.
namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// Hits this far along the beam or farther are not measured.
constexpr double measuredDistanceCeiling = 10000.0;

/// The corners of quad p as positions: P(p), P(p + (1, 0)), P(p + (1, 1)), P(p + (0, 1)),
/// counter-clockwise in (u, v). Triangle 0 is (p00, p10, p11), triangle 1 (p00, p11, p01).
struct QuadCorners {
  Triple p00;
  Triple p10;
  Triple p11;
  Triple p01;
};

/// What stays fixed for one beam query: the ray, the sense of the normals (−1 when they are
/// flipped), and, for the watertight rule, the beam's own space.
struct QuadBeam {
  QuadBeam(Point const& position, Vector const& direction, bool doFlipNormals, bool isWatertight)
      : origin(Triple::of(position)), direction(Triple::of(direction)),
        sense(doFlipNormals ? -1.0 : 1.0) {
    if (isWatertight)
      space = BeamSpace(origin, this->direction);
  }

  Triple origin;
  Triple direction;
  double sense;
  BeamSpace space;
};

/// Whether the beam meets the quad with the given corners (which must be a valid quad): triangle
/// 0 first, then triangle 1, each inside strictly (a point on an edge is outside, tested in
/// space on the triangle's plane hit) or, with the watertight rule, in the beam's space with the
/// owner of edges and corners decided by the tie-break. hit receives the plane hit of the last
/// triangle tried, rounded as a Point stores it; data, when given, the measures of a hit nearer
/// than measuredDistanceCeiling. Both triangles are worked out side by side in two lanes.
template <bool isWatertight>
bool getDoesBeamMeetQuad(QuadCorners const& c, QuadBeam const& beam, Triple& hit,
                         QuadIntersectionData* data) {
  LaneTriple const first = LaneTriple::broadcast(c.p00);
  LaneTriple const second = LaneTriple::pair(c.p10, c.p11);
  LaneTriple const third = LaneTriple::pair(c.p11, c.p01);
  LaneTriple const direction = LaneTriple::broadcast(beam.direction);
  LaneTriple const normal = (second - first).cross(third - first);
  Lanes const t = LaneTriple::broadcast(c.p00 - beam.origin).dot(normal) / direction.dot(normal);
  LaneTriple const planeHit = (LaneTriple::broadcast(beam.origin) + direction * t).stored();
  bool isInside[2];
  if constexpr (isWatertight) {
    BeamPoint const q00 = beam.space.project(c.p00);
    BeamPoint const q10 = beam.space.project(c.p10);
    BeamPoint const q11 = beam.space.project(c.p11);
    BeamPoint const q01 = beam.space.project(c.p01);
    // The diagonal's sign serves both triangles: p00 → p11 is p11 → p00 reversed.
    int const diagonal = getCrossSign(q11, q00);
    isInside[0] =
        getIsBeamInside(q00, q10, q11, getCrossSign(q00, q10), getCrossSign(q10, q11), diagonal);
    isInside[1] = !isInside[0] && getIsBeamInside(q00, q11, q01, diagonal == 2 ? 2 : -diagonal,
                                                  getCrossSign(q11, q01), getCrossSign(q01, q00));
  } else {
    auto const isInner = [&](LaneTriple const& a, LaneTriple const& b) {
      return normal.cross(b - a).dot(planeHit - a) > 0.0;
    };
    auto const inner = isInner(first, second) & isInner(second, third) & isInner(third, first);
    isInside[0] = inner[0] != 0;
    isInside[1] = inner[1] != 0;
  }
  int const k = isInside[0] ? 0 : 1;
  hit = planeHit.lane(k);
  if (!isInside[k] || data == nullptr)
    return isInside[k];
  double const distance = std::sqrt((hit - beam.origin).lSqr());
  if (distance < measuredDistanceCeiling) {
    Triple const n = normal.lane(k);
    double const angle =
        std::atan2(std::sqrt(n.cross(beam.direction).lSqr()), beam.sense * n.dot(beam.direction));
    Triple const centre = (c.p00 + ((c.p10 - c.p00) + (c.p01 - c.p00)) * 0.5).stored();
    *data = QuadIntersectionData(t[k] > 0.0 ? distance : -distance, angle, (hit - centre).lSqr());
  }
  return true;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
