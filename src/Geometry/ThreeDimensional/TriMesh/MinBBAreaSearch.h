#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MINBBAREASEARCH_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MINBBAREASEARCH_H

#include <Progress/ProgressStage.h>

#include <cstdint>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// The orientation search tries the angles j·(π/2)/K for j = 0 .. K-1.
constexpr std::uint32_t minBBAreaCandidates = 4096;

/// A flat point, packed.
struct FlatPoint {
  double u;
  double v;
};

/// The angle of candidate index j (an index K or more stands for the angle plus a quarter turn).
double getMinBBAreaAngle(std::uint32_t j);

/// The candidate index that the exhaustive search chooses for the points, bit for bit: for each
/// candidate j in turn, every point is turned clockwise by the angle, (u cos + v sin,
/// u (-sin) + v cos); the box of the first turned point is expanded by the others in order, with
/// the rounding of `TwoDimensional::BoundingBoxAA<double>::expand` at every step; its area
/// |du dv| is kept when smaller than the best so far (or at j = 0), with index j + K when
/// |dv| >= |du|, else j. Sends progress j·100/K + 1 to the stage as that loop would.
///
/// It does not turn every point K times: the extremes of the turned points over their convex hull
/// (rotating calipers) bound each candidate's area within a margin that covers every rounding of
/// the exhaustive loop (the turns, the hull and the drift of the box's far corner, which grows
/// with the point count); only the candidates whose lower bound does not exceed the smallest upper
/// bound are evaluated exactly, over all points in order. Points with an infinite coordinate fall
/// back to the exhaustive loop; a NaN point never widens a box and is left out of the hull.
/// Cost: O(n) for the hull filter plus one exact pass per near-tied candidate (a symmetric shape
/// ties at each of its symmetries; a million points on a circle tie everywhere and cost the
/// exhaustive K passes).
std::uint32_t searchMinBBAreaIndex(std::vector<FlatPoint> const& points, ProgressStage& stage);

/// Turns the points clockwise by `angle` as the search turns them, then subtracts the low corner
/// of their box (the smallest u and the smallest v; the first point wins a tie, so the sign of a
/// zero is the first point's) from each, so that the box starts at the origin.
void turnToOrigin(std::vector<FlatPoint>& points, double angle);

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
