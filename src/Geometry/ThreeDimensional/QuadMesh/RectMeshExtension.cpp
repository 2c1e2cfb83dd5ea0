#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <Geometry/ThreeDimensional/QuadMesh/GridIndex.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;

constexpr auto& directions = GridIndex::neighbourOffsets;
constexpr int axisDirections = GridIndex::axisNeighbours;

/// Largest number of points a source may use, and the default.
constexpr std::uint32_t maxSupport = 4;
constexpr std::uint32_t defaultSupport = 3;

/// Row c − 1: the weights of n, n − d, n − 2d, n − 3d that continue the polynomial of degree
/// c − 1 through those points one step beyond n (binomial coefficients with alternating signs).
constexpr double extrapolationWeights[maxSupport][maxSupport] = {
    {1.0, 0.0, 0.0, 0.0}, {2.0, -1.0, 0.0, 0.0}, {3.0, -3.0, 1.0, 0.0}, {4.0, -6.0, 4.0, -1.0}};

/// A point of a new layer in 64-bit indices (it may lie outside the grid) and its position.
struct LayerPoint {
  std::int64_t u;
  std::int64_t v;
  Point position;
  bool isMarked;
};

/// Largest grid extent whose indices an int still addresses.
constexpr std::int64_t maxExtent = std::numeric_limits<int>::max() - 1;

} // namespace

void RectMesh::extendBoundary(BoundaryExtensionAlgorithm algorithm, std::uint32_t numberOfLayers,
                              std::uint32_t parameter) {
  if (algorithm != Basic)
    throw Exception("Unsupported boundary extension algorithm.");
  if (parameter > maxSupport)
    throw Exception("Unsupported boundary extension parameter.");
  ProgressListener* const listener = progressListener;
  if (listener != nullptr)
    listener->setStatusText("Extending quad-mesh boundary...");
  std::uint32_t last = std::numeric_limits<std::uint32_t>::max();
  for (std::uint32_t i = 0; i < numberOfLayers; ++i) {
    auto const percent = static_cast<std::uint32_t>(std::uint64_t{i} * 100 / numberOfLayers);
    if (listener != nullptr && percent != last) {
      last = percent;
      listener->setProgress(percent);
    }
    extendBoundaryBasic(parameter, numberOfLayers - i);
  }
  if (listener != nullptr)
    listener->setProgress(100);
  if (numberOfLayers > 0)
    finishDerivedGrid(searchPointBudget);
}

void RectMesh::extendBoundaryBasic(std::uint32_t parameter, std::uint32_t margin) {
  std::uint32_t const support = parameter == 0 ? defaultSupport : parameter;
  std::uint32_t const minimumSupport = std::min<std::uint32_t>(support, 2);

  // The candidates: the invalid 8-neighbours of the border points, each once; a point of the
  // grid with a ring of one point around it is numbered (v + 1)·(U + 3) + u + 1.
  std::uint64_t const stride = std::uint64_t{extents.getdU()} + 3;
  std::vector<bool> isCandidate(stride * (std::uint64_t{extents.getdV()} + 3), false);
  std::vector<std::pair<std::int64_t, std::int64_t>> candidates;
  for (Edge const& e : getBorderEdges()) {
    GridPoint const o = e.org();
    for (auto const& d : directions) {
      std::int64_t const u = std::int64_t{o.getU()} + d[0];
      std::int64_t const v = std::int64_t{o.getV()} + d[1];
      std::uint64_t const key =
          static_cast<std::uint64_t>(v + 1) * stride + static_cast<std::uint64_t>(u + 1);
      if (!getIsValidAt(u, v) && !isCandidate[key]) {
        isCandidate[key] = true;
        candidates.emplace_back(u, v);
      }
    }
  }

  // Two steps: first the points with a source along a grid axis, from the points valid before
  // the layer; then the others (the corners of the layer), which may use the first step's
  // points. Within a step every position is computed before any is stored, so that the order
  // of the candidates does not matter.
  auto const isMarkedAt = [&](std::int64_t u, std::int64_t v) {
    return getIsValidAt(u, v) && (getStoredFlags(getStorageIndex(u, v)) & (1 << Marked)) != 0;
  };
  std::int64_t shift = 0;
  for (bool const isAxisStep : {true, false}) {
    std::vector<LayerPoint> layer;
    bool isPastRim = false;
    for (auto const& [cu, cv] : candidates) {
      std::int64_t const u = cu + shift;
      std::int64_t const v = cv + shift;
      if (getIsValidAt(u, v))
        continue;
      // Support of each direction: the number of consecutive valid points behind p, 0 when the
      // direction gives no source.
      std::uint32_t supports[8];
      for (int k = 0; k < 8; ++k) {
        std::int64_t const du = directions[k][0];
        std::int64_t const dv = directions[k][1];
        std::uint32_t c = 0;
        if (!isMarkedAt(u - du, v - dv))
          while (c < support && getIsValidAt(u - (c + 1) * du, v - (c + 1) * dv))
            ++c;
        supports[k] = c < minimumSupport ? 0 : c;
      }
      std::uint32_t const best =
          *std::max_element(supports, supports + (isAxisStep ? axisDirections : 8));
      if (best == 0)
        continue;
      bool const hasAxisSource =
          std::find(supports, supports + axisDirections, best) != supports + axisDirections;
      // The stored points are continued, so that a derived mesh reports the new points
      // transformed like the old ones.
      double sum[3] = {0.0, 0.0, 0.0};
      int sources = 0;
      int const first = hasAxisSource ? 0 : axisDirections;
      int const end = hasAxisSource ? axisDirections : 8;
      for (int k = first; k < end; ++k) {
        if (supports[k] != best)
          continue;
        for (std::uint32_t j = 0; j < best; ++j) {
          std::int64_t const behind = j + 1;
          Point const x = getStoredPoint(
              getStorageIndex(u - behind * directions[k][0], v - behind * directions[k][1]));
          for (std::uint32_t i = 0; i < 3; ++i)
            sum[i] += extrapolationWeights[best - 1][j] * x.get(i);
        }
        ++sources;
      }
      bool const isMarked = isMarkedAt(u + 1, v) || isMarkedAt(u - 1, v) || isMarkedAt(u, v + 1) ||
                            isMarkedAt(u, v - 1);
      layer.push_back(
          {u, v, Point(sum[0] / sources, sum[1] / sources, sum[2] / sources), isMarked});
      isPastRim = isPastRim || !getIsInBounds(u, v);
    }
    // A layer grows the grid at most once: after that every candidate lies inside.
    if (isPastRim) {
      enlargeDomain(margin);
      shift = margin;
    }
    for (LayerPoint const& x : layer) {
      GridPoint const p(static_cast<int>(x.u + (isPastRim ? margin : 0)),
                        static_cast<int>(x.v + (isPastRim ? margin : 0)));
      setPoint(p, x.position);
      if (x.isMarked)
        setPointFlag(p, Marked, true);
    }
  }
}

void RectMesh::enlargeDomain(std::uint32_t margin) {
  std::int64_t const U = std::int64_t{extents.getdU()} + 2 * std::int64_t{margin};
  std::int64_t const V = std::int64_t{extents.getdV()} + 2 * std::int64_t{margin};
  if (U > maxExtent || V > maxExtent)
    throw Exception("Insufficient memory to initialise quad-mesh.");
  RectMesh grown = makeScratch();
  grown.init(TwoDimensional::Vector<std::uint32_t>(static_cast<std::uint32_t>(U),
                                                   static_cast<std::uint32_t>(V)));
  std::size_t const columns = static_cast<std::size_t>(extents.getdU()) + 1;
  std::size_t const rows = getHasStorage() ? static_cast<std::size_t>(extents.getdV()) + 1 : 0;
  for (std::size_t v = 0; v < rows; ++v) {
    std::size_t const from = getStorageIndex(0, static_cast<std::int64_t>(v));
    std::size_t const to = grown.getStorageIndex(margin, static_cast<std::int64_t>(v + margin));
    std::copy_n(&coordinates[3 * from], 3 * columns, &grown.coordinates[3 * to]);
    std::copy_n(&flagBytes[from], columns, &grown.flagBytes[to]);
  }
  swapGrid(grown);
  finishDerivedGrid(searchPointBudget);
}

Edge RectMesh::getBoundaryEdge() {
  std::int64_t const U = std::min<std::int64_t>(extents.getdU(), maxExtent);
  // Rows at or beyond V hold no valid quad, so stopping there changes nothing.
  std::int64_t const lastRow = std::min<std::int64_t>(U, extents.getdV());
  for (std::int64_t v = 0; v <= lastRow; ++v)
    for (std::int64_t u = 0; u <= U; ++u) {
      // Each edge tried has this quad on its left: an invalid quad offers none.
      if (!getIsQuadValidAt(u, v))
        continue;
      Edge e = getVertexArbitraryEdge(GridPoint(static_cast<int>(u), static_cast<int>(v)));
      for (int i = 0; i < 4; ++i) {
        e = e.rot();
        if (e.isBoundary())
          return e;
      }
    }
  throw Exception("No boundary found");
}

Edge RectMesh::getVertexArbitraryEdge(TwoDimensional::Point<int> const& p) {
  return Edge(this, p, Edge::PositiveU);
}

std::vector<Edge> RectMesh::getBorderEdges() {
  Edge const first = getBoundaryEdge();
  std::size_t const columns = static_cast<std::size_t>(extents.getdU()) + 1;
  // Bit d of entry v·(U + 1) + u: the edge from (u, v) with orientation d has been walked.
  std::vector<std::uint8_t> walked(columns * (static_cast<std::size_t>(extents.getdV()) + 1), 0);
  auto const bit = [&](Edge const& e) -> std::uint8_t& {
    return walked[static_cast<std::size_t>(e.org().getV()) * columns +
                  static_cast<std::size_t>(e.org().getU())];
  };
  std::vector<Edge> edges;
  auto const walkLoop = [&](Edge const& start) {
    Edge e = start;
    do {
      bit(e) |= static_cast<std::uint8_t>(1u << e.orientation);
      edges.push_back(e);
      // The next border edge from e's end, trying left, straight on, then right: one of them
      // is a border edge, since e's left quad is valid and its right quad invalid.
      Edge next = e.sym().oprev();
      for (int turn = 0; turn < 2 && !next.isBoundary(); ++turn)
        next = next.oprev();
      e = next;
    } while (e != start);
  };
  walkLoop(first);
  // Only a valid point with an invalid point among its 8 neighbours (outside the grid counts as
  // invalid) starts border edges.
  std::int64_t const U = std::min<std::int64_t>(extents.getdU(), maxExtent);
  std::int64_t const V = std::min<std::int64_t>(extents.getdV(), maxExtent);
  for (std::int64_t v = 0; v <= V; ++v) {
    signed char const* const row = &flagBytes[getStorageIndex(0, v)];
    signed char const* const below = v > 0 ? row - columns : nullptr;
    signed char const* const above = v < V ? row + columns : nullptr;
    for (std::int64_t u = 0; u <= U; ++u) {
      if ((row[u] & 1) == 0)
        continue;
      if (below != nullptr && above != nullptr && u > 0 && u < U &&
          (below[u - 1] & below[u] & below[u + 1] & row[u - 1] & row[u + 1] & above[u - 1] &
           above[u] & above[u + 1] & 1) != 0)
        continue;
      for (std::uint32_t d = 0; d < 4; ++d) {
        Edge const e(this, GridPoint(static_cast<int>(u), static_cast<int>(v)),
                     static_cast<Edge::Orientation>(d));
        if ((bit(e) & (1u << d)) == 0 && e.isBoundary())
          walkLoop(e);
      }
    }
  }
  return edges;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
