#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_BEAMSPACE_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_BEAMSPACE_H

#include <Geometry/ThreeDimensional/QuadMesh/Triple.h>

#include <cmath>

// The watertight triangle test: corners seen from a beam, in 2-D, with exact edge signs and a
// fixed tie-break for beams exactly on an edge or a corner.
namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// A point across the beam: the beam itself passes through (0, 0).
struct BeamPoint {
  double x;
  double y;
};

/// The space of one beam: positions relative to the beam origin, with the axis along which the
/// beam runs furthest as depth and the other two sheared along the beam, so that the beam's own
/// points all project to (0, 0). The two cross axes are the cyclic successors of the depth axis,
/// swapped when the beam runs towards negative depth, so that a triangle's winding as seen along
/// the beam is its orientation in this space. A point's projection depends only on that point
/// and the beam, so triangles sharing a corner see the same 2-D corner.
class BeamSpace {
public:
  /// The space of the beam from the origin along +z.
  BeamSpace() = default;
  BeamSpace(Triple const& origin, Triple const& direction) : origin(origin) {
    double const d[3] = {direction.x, direction.y, direction.z};
    int kz = 2;
    if (std::fabs(d[0]) >= std::fabs(d[1]) && std::fabs(d[0]) >= std::fabs(d[2]))
      kz = 0;
    else if (std::fabs(d[1]) >= std::fabs(d[2]))
      kz = 1;
    int kx = (kz + 1) % 3;
    int ky = (kz + 2) % 3;
    if (d[kz] < 0.0) {
      int const swap = kx;
      kx = ky;
      ky = swap;
    }
    axes = static_cast<Axes>(3 * kx + ky);
    sx = d[kx] / d[kz];
    sy = d[ky] / d[kz];
  }

  BeamPoint project(Triple const& p) const {
    double const x = p.x - origin.x;
    double const y = p.y - origin.y;
    double const z = p.z - origin.z;
    // (c[kx] − sx·c[kz], c[ky] − sy·c[kz]) for the beam's axes.
    switch (axes) {
    case Axes::YZ:
      return {y - sx * x, z - sy * x};
    case Axes::ZY:
      return {z - sx * x, y - sy * x};
    case Axes::ZX:
      return {z - sx * y, x - sy * y};
    case Axes::XZ:
      return {x - sx * y, z - sy * y};
    case Axes::XY:
      return {x - sx * z, y - sy * z};
    default:
      return {y - sx * z, x - sy * z};
    }
  }

private:
  /// The cross axes (kx, ky) as 3·kx + ky; depth is the remaining axis.
  enum class Axes : int { YZ = 5, ZY = 7, ZX = 6, XZ = 2, XY = 1, YX = 3 };

  Triple origin{0.0, 0.0, 0.0};
  Axes axes = Axes::XY;
  double sx = 0.0;
  double sy = 0.0;
};

/// The sign of a × b = a.x·b.y − a.y·b.x, exact for the given coordinates: 1 when the beam lies
/// left of the directed line through a and b, −1 right of it, 0 on it, 2 when there is no sign
/// (a NaN, or equal infinite products). Rounding is monotonic, so two rounded products that differ
/// are ordered as the exact ones; equal rounded products are ordered by their rounding errors,
/// which a fused multiply-add gives exactly. b × a is always the exact opposite.
inline int getCrossSign(BeamPoint const& a, BeamPoint const& b) {
  double const p = a.x * b.y;
  double const q = a.y * b.x;
  if (p > q)
    return 1;
  if (p < q)
    return -1;
  double const pError = std::fma(a.x, b.y, -p);
  double const qError = std::fma(a.y, b.x, -q);
  if (pError > qError)
    return 1;
  if (pError < qError)
    return -1;
  return pError == qError ? 0 : 2;
}

/// Whether a triangle of the given orientation (1: counter-clockwise in beam space) owns its edge
/// a → b when the beam lies exactly on it: the edge, directed with the triangle on its left,
/// points towards negative y, or along positive x. The two triangles on either side of an edge
/// see it in opposite directions, so exactly one of them owns it. It is the beam shifted by an
/// infinitesimal step along x and a far smaller one along y, so at a corner shared by a fan of
/// triangles it picks exactly one of them as well.
inline bool getOwnsEdge(BeamPoint const& a, BeamPoint const& b, int orientation) {
  double const dx = orientation > 0 ? b.x - a.x : a.x - b.x;
  double const dy = orientation > 0 ? b.y - a.y : a.y - b.y;
  return dy < 0.0 || (dy == 0.0 && dx > 0.0);
}

/// Whether the beam passes through triangle abc, given the cross signs of its edges a → b,
/// b → c and c → a: on the inner side of every edge, or exactly on edges that the triangle
/// owns. Triangles seen edge-on (all three signs 0) and signs of 2 give false.
inline bool getIsBeamInside(BeamPoint const& a, BeamPoint const& b, BeamPoint const& c, int ab,
                            int bc, int ca) {
  int const signs[3] = {ab, bc, ca};
  int orientation = 0;
  for (int s : signs) {
    if (s == 2 || (s != 0 && orientation != 0 && s != orientation))
      return false;
    if (s != 0)
      orientation = s;
  }
  if (orientation == 0)
    return false;
  return (ab != 0 || getOwnsEdge(a, b, orientation)) &&
         (bc != 0 || getOwnsEdge(b, c, orientation)) && (ca != 0 || getOwnsEdge(c, a, orientation));
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
