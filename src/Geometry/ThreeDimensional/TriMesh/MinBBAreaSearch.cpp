#include "MinBBAreaSearch.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::uint32_t K = minBBAreaCandidates;
constexpr double pi = 3.14159265358979323846;
/// The unit roundoff of double.
constexpr double roundoff = 0x1p-53;

struct Rotation {
  explicit Rotation(double angle) : c(std::cos(angle)), s(std::sin(angle)) {}
  explicit Rotation(std::uint32_t j) : Rotation(getMinBBAreaAngle(j)) {}
  double c;
  double s;
  double u(FlatPoint const& p) const { return p.u * c + p.v * s; }
  double v(FlatPoint const& p) const { return p.u * -s + p.v * c; }
};

struct Extent {
  double du;
  double dv;
};

/// The extents of the box grown over the turned points as the exhaustive search grows it: the
/// far corner is recovered as low corner plus extent at every step.
Extent getExtent(std::vector<FlatPoint> const& points, Rotation const& r) {
  double loU = r.u(points[0]);
  double loV = r.v(points[0]);
  double dU = 0.0;
  double dV = 0.0;
  for (std::size_t i = 1; i < points.size(); ++i) {
    double const u = r.u(points[i]);
    double const v = r.v(points[i]);
    double hiU = loU + dU;
    double hiV = loV + dV;
    if (u > hiU)
      hiU = u;
    if (v > hiV)
      hiV = v;
    if (u < loU)
      loU = u;
    if (v < loV)
      loV = v;
    dU = hiU - loU;
    dV = hiV - loV;
  }
  return {dU, dV};
}

/// The exhaustive loop's choice among the candidates offered to it in ascending order.
class Selection {
public:
  void offer(std::uint32_t j, Extent const& e) {
    double const area = std::fabs(e.du * e.dv);
    if (area < best || !offered) {
      best = area;
      index = std::fabs(e.dv) >= std::fabs(e.du) ? j + K : j;
    }
    offered = true;
  }
  std::uint32_t getIndex() const { return index; }

private:
  double best = 1e21;
  std::uint32_t index = 0;
  bool offered = false;
};

std::uint32_t searchExhaustively(std::vector<FlatPoint> const& points, ProgressStage& stage) {
  Selection selection;
  for (std::uint32_t j = 0; j < K; ++j) {
    selection.offer(j, getExtent(points, Rotation(j)));
    stage.step(j);
  }
  return selection.getIndex();
}

double cross(FlatPoint const& o, FlatPoint const& a, FlatPoint const& b) {
  return (a.u - o.u) * (b.v - o.v) - (a.v - o.v) * (b.u - o.u);
}

/// The convex hull of the points that are not NaN (the first is not), counter-clockwise, without
/// collinear vertices; largest is the largest |u| + |v| among them. Points well inside the
/// octagon of the extremes along eight directions are dropped first (they can be no hull
/// vertex), then the rest go through the monotone chain.
std::vector<FlatPoint> getConvexHull(std::vector<FlatPoint> const& points, double largest) {
  // The extremes along 0, 45, .., 315 degrees, in that (counter-clockwise) order: the largest u,
  // u + v, v and v - u, then the smallest.
  std::array<FlatPoint, 8> octagon;
  octagon.fill(points[0]);
  FlatPoint const& first = points[0];
  double high[4] = {first.u, first.u + first.v, first.v, first.v - first.u};
  double low[4] = {high[0], high[1], high[2], high[3]};
  for (FlatPoint const& p : points) {
    double const along[4] = {p.u, p.u + p.v, p.v, p.v - p.u};
    for (int k = 0; k < 4; ++k) {
      if (along[k] > high[k]) {
        high[k] = along[k];
        octagon[k] = p;
      }
      if (along[k] < low[k]) {
        low[k] = along[k];
        octagon[k + 4] = p;
      }
    }
  }
  // A point is dropped when it lies left of every side of the octagon by more than the rounding
  // of the test, or strictly inside the box that the octagon's vertices bound from each side,
  // which lies within the octagon (it rules out most points with four comparisons).
  struct Side {
    FlatPoint a;
    FlatPoint along;
    double margin;
  };
  std::vector<Side> sides;
  double area = 0.0;
  for (int k = 0; k < 8; ++k) {
    FlatPoint const& a = octagon[k];
    FlatPoint const& b = octagon[(k + 1) % 8];
    area += cross(octagon[0], a, b);
    if (a.u != b.u || a.v != b.v)
      sides.push_back({a,
                       {b.u - a.u, b.v - a.v},
                       64.0 * roundoff * largest * (std::fabs(b.u - a.u) + std::fabs(b.v - a.v))});
  }
  double const boxLowU = std::max({octagon[3].u, octagon[4].u, octagon[5].u});
  double const boxHighU = std::min({octagon[7].u, octagon[0].u, octagon[1].u});
  double const boxLowV = std::max({octagon[5].v, octagon[6].v, octagon[7].v});
  double const boxHighV = std::min({octagon[1].v, octagon[2].v, octagon[3].v});
  std::vector<FlatPoint> finite;
  for (FlatPoint const& p : points) {
    if (p.u > boxLowU && p.u < boxHighU && p.v > boxLowV && p.v < boxHighV)
      continue;
    if (std::isnan(p.u) || std::isnan(p.v))
      continue;
    bool inside = area > 0.0;
    for (std::size_t k = 0; k < sides.size() && inside; ++k) {
      Side const& side = sides[k];
      inside = side.along.u * (p.v - side.a.v) - side.along.v * (p.u - side.a.u) > side.margin;
    }
    if (!inside)
      finite.push_back(p);
  }
  std::sort(finite.begin(), finite.end(), [](FlatPoint const& a, FlatPoint const& b) {
    return a.u != b.u ? a.u < b.u : a.v < b.v;
  });
  // Monotone chain: the lower hull left to right, then the upper hull right to left.
  std::vector<FlatPoint> hull(2 * finite.size() + 1);
  std::size_t size = 0;
  for (int pass = 0; pass < 2; ++pass) {
    std::size_t const start = size;
    for (std::size_t i = 0; i < finite.size(); ++i) {
      FlatPoint const& p = finite[pass == 0 ? i : finite.size() - 1 - i];
      while (size >= start + 2 && cross(hull[size - 2], hull[size - 1], p) <= 0.0)
        --size;
      hull[size++] = p;
    }
    --size; // each chain's last point starts the other chain
  }
  hull.resize(std::max<std::size_t>(size, 1));
  return hull;
}

/// Per candidate, the extreme turned values over the hull (low and high u, low and high v) by
/// rotating calipers: as the angle grows, each extreme vertex moves forward round the hull. A
/// pointer moves on while the next hull edge still points along its direction; rounding can stop
/// it early or late only across edges nearly square to the direction, which costs at most a few
/// roundings of the hull's perimeter.
class Calipers {
public:
  explicit Calipers(std::vector<FlatPoint> const& hull) : hull(hull) {
    Rotation const r(0u);
    for (std::size_t k = 0; k < hull.size(); ++k) {
      if (r.u(hull[k]) < r.u(hull[at[0]]))
        at[0] = k;
      if (r.u(hull[k]) > r.u(hull[at[1]]))
        at[1] = k;
      if (r.v(hull[k]) < r.v(hull[at[2]]))
        at[2] = k;
      if (r.v(hull[k]) > r.v(hull[at[3]]))
        at[3] = k;
    }
  }

  /// Low u, high u, low v, high v of candidate r.
  std::array<double, 4> get(Rotation const& r) {
    // Edge directions along -u, +u, -v, +v.
    auto const ahead = [&](int which, FlatPoint const& e) {
      double const along = which < 2 ? r.u(e) : r.v(e);
      return which % 2 == 0 ? along < 0.0 : along > 0.0;
    };
    std::array<double, 4> extremes;
    for (int which = 0; which < 4; ++which) {
      std::size_t& k = at[which];
      for (std::size_t steps = 0; steps < hull.size(); ++steps) {
        FlatPoint const& a = hull[k];
        FlatPoint const& b = hull[(k + 1) % hull.size()];
        if (!ahead(which, FlatPoint{b.u - a.u, b.v - a.v}))
          break;
        k = (k + 1) % hull.size();
      }
      extremes[which] = which < 2 ? r.u(hull[k]) : r.v(hull[k]);
    }
    return extremes;
  }

private:
  std::vector<FlatPoint> const& hull;
  std::array<std::size_t, 4> at{};
};

} // namespace

double getMinBBAreaAngle(std::uint32_t j) {
  return j * (pi / 2) / K;
}

void turnToOrigin(std::vector<FlatPoint>& points, double angle) {
  if (points.empty())
    return;
  // The low corner first, then each point turned again and moved: one pass of stores.
  Rotation const r(angle);
  FlatPoint low{r.u(points[0]), r.v(points[0])};
  for (FlatPoint const& p : points) {
    double const u = r.u(p);
    double const v = r.v(p);
    if (u < low.u)
      low.u = u;
    if (v < low.v)
      low.v = v;
  }
  for (FlatPoint& p : points)
    p = FlatPoint{r.u(p) - low.u, r.v(p) - low.v};
}

std::uint32_t searchMinBBAreaIndex(std::vector<FlatPoint> const& points, ProgressStage& stage) {
  std::size_t const n = points.size();
  // The largest |u| + |v| over the points without a NaN (a NaN sum never wins); infinite when a
  // coordinate is, or the sum overflows.
  double largest = 0.0;
  for (FlatPoint const& p : points)
    largest = std::max(largest, std::fabs(p.u) + std::fabs(p.v));
  if (std::isinf(largest))
    return searchExhaustively(points, stage);
  // Answers known without a search, after the stage's percentages: no points, nothing to turn;
  // a NaN first point makes every box, so every area, NaN, and the first candidate is kept as it
  // is; one point, or points all equal (NaN points aside), make every box empty, and the first
  // candidate is kept and turned a quarter.
  auto const known = [&](std::uint32_t index) {
    for (std::uint32_t j = 0; j < K; ++j)
      stage.step(j);
    return index;
  };
  if (n == 0)
    return known(0);
  if (std::isnan(points[0].u) || std::isnan(points[0].v))
    return known(n == 1 ? K : 0);
  std::vector<FlatPoint> const hull = getConvexHull(points, largest);
  if (hull.size() == 1)
    return known(K);

  // Bounds on each candidate's area. The box's extents differ from the exact spread of the
  // turned points by the drift of its far corner (a few roundings of `largest` per point), and
  // that spread from the spread over the hull by the hull's and the turns' roundings.
  Calipers calipers(hull);
  double const slack = 32.0 * (double(n) + 4.0) * roundoff * largest;
  std::vector<double> lower(K);
  double smallestUpper = INFINITY;
  for (std::uint32_t j = 0; j < K; ++j) {
    std::array<double, 4> const e = calipers.get(Rotation(j));
    double const du = e[1] - e[0];
    double const dv = e[3] - e[2];
    lower[j] = std::max(0.0, du - slack) * std::max(0.0, dv - slack) * (1.0 - 8.0 * roundoff);
    double const upper = (du + slack) * (dv + slack) * (1.0 + 8.0 * roundoff);
    smallestUpper = std::min(smallestUpper, upper);
    stage.step(j);
  }
  // The smallest area lies among the candidates whose lower bound reaches the smallest upper
  // bound; evaluated exactly in ascending order they choose as the full loop does.
  Selection selection;
  for (std::uint32_t j = 0; j < K; ++j)
    if (lower[j] <= smallestUpper)
      selection.offer(j, getExtent(points, Rotation(j)));
  return selection.getIndex();
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
