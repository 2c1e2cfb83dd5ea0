#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include "Fan.h"

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/LinearMap.h>

#include <array>
#include <cmath>
#include <limits>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::uint32_t noLoop = 0xFFFFFFFFu;

/// The boundary edge that follows the boundary edge e round its loop (the surface on the left):
/// the boundary edge leaving e.dest() in the fan of e's triangle, found by turning away from e.
Edge getNextBoundaryEdge(Edge const& e) {
  Edge g = e.rot();
  while (!g.isBoundary())
    g = g.oprev();
  return g;
}

/// The single-edge path along the border: nothing to cut open.
bool isBorderOnly(std::vector<Edge> const& path) {
  return path.size() == 1 && path[0].isBoundary();
}

/// An orthonormal frame: a point's coordinates in it are its dot products with the three axes.
using Frame = std::array<Vector, 3>;

Vector getUnit(Vector const& v) {
  return v / std::sqrt(v.lSqr());
}

/// A frame whose third axis runs along d, turned by twist about it.
Frame getFrameAlong(Vector const& d, double twist) {
  Vector const z = getUnit(d);
  // The coordinate axis least aligned with z, made square to it.
  std::uint32_t least = 0;
  for (std::uint32_t i = 1; i < 3; ++i)
    if (std::fabs(z.get(i)) < std::fabs(z.get(least)))
      least = i;
  Vector const helper(least, 1.0);
  Vector const x0 = getUnit(helper - z * helper.dot(z));
  Vector const y0 = z.cross(x0);
  Vector const x = x0 * std::cos(twist) + y0 * std::sin(twist);
  return {x, z.cross(x), z};
}

} // namespace

std::vector<bool> Mesh::getBoundaryVertexFlags() const {
  // Candidates from one pass over the triangles: the ends of boundary edges (only a vertex with
  // one of them in its fan can be a boundary vertex), confirmed by walking their fans.
  std::uint32_t const n = getNumberOfVertices();
  std::vector<bool> boundary(n, false);
  for (std::size_t s = 0; s < triangleCount; ++s) {
    Triangle const* const t = getTriangleBySerial(s);
    for (std::uint32_t k = 0; k < 3; ++k)
      if (t->adjacentTriangles[k] == nullptr)
        for (std::uint32_t const corner : {(k + 1) % 3, (k + 2) % 3})
          if (t->vertexIndices[corner] < n)
            boundary[t->vertexIndices[corner]] = true;
  }
  for (std::uint32_t v = 0; v < n; ++v)
    boundary[v] = vertexTriangles[v] == nullptr || (boundary[v] && getIsBoundaryVertex(v));
  return boundary;
}

bool Mesh::findCutPath(CutMetric metric, std::uint32_t axisA, std::uint32_t axisB,
                       std::vector<Point> const* turned, std::vector<bool> const& boundary,
                       std::vector<Edge>& path) const {
  path.clear();
  std::uint32_t const n = getNumberOfVertices();
  if (n == 0 || !boundary[n - 1])
    return false;
  auto const point = [&](std::uint32_t v) -> Point const& {
    return turned != nullptr ? (*turned)[v] : vertices[v].getPoint3D();
  };
  // The start: the first boundary vertex with the extreme coordinate (a floating vertex has no
  // fan to start from).
  bool const atMinimum = metric == CutAtMinimum;
  double best =
      atMinimum ? std::numeric_limits<double>::max() : -std::numeric_limits<double>::max();
  std::uint32_t start = 0;
  for (std::uint32_t i = 0; i < n; ++i) {
    if (!boundary[i] || vertexTriangles[i] == nullptr)
      continue;
    double const c = point(i).get(axisA);
    if (atMinimum ? c < best : c > best) {
      best = c;
      start = i;
    }
  }
  if (!boundary[start] || vertexTriangles[start] == nullptr)
    return false;
  // The normal of the start's boundary triangle, as Edge::N forms it, fixes the walking direction.
  Edge const first = getFanStart(getVertexArbitraryEdge(start));
  Vector const side = point(first.dest()) - point(first.org());
  Vector const next = point(first.rot().dest()) - point(first.rot().org());
  Vector const area = side.cross(next);
  Vector const N = area / std::sqrt(area.dot(area));
  Vector eA;
  eA.set(axisA, 1.0);
  Vector eB;
  eB.set(axisB, metric == CutAtMaximum ? 1.0 : -1.0);
  Vector const planeNormal = eA.cross(eB);
  Vector const cutDir = planeNormal.cross(N);
  Point const p0 = point(start);

  std::uint32_t current = start;
  do {
    Edge fan = getVertexArbitraryEdge(current);
    if (boundary[current])
      fan = getFanStart(fan);
    double bestDist = std::numeric_limits<double>::max();
    Edge bestEdge = fan;
    walkFan(fan, [&](Edge const& f) {
      double const d = (point(f.dest()) - p0).dot(planeNormal);
      if (d * d < bestDist && (point(f.dest()) - point(f.org())).dot(cutDir) > 0.0) {
        bestEdge = f;
        bestDist = d * d;
      }
      return false;
    });
    // No edge leads forward, or the nearest ends exactly on the plane.
    if (bestDist == std::numeric_limits<double>::max() || bestDist == 0.0)
      return false;
    path.push_back(bestEdge);
    if (path.size() > n)
      return false;
    current = bestEdge.dest();
  } while (!boundary[current]);
  return true;
}

bool Mesh::makeCut(CutMetric metric, std::uint32_t axisA, std::uint32_t axisB) {
  cutEdgeIndices = CutEdgeIndices();
  std::vector<Edge> path;
  if (!findCutPath(metric, axisA, axisB, nullptr, getBoundaryVertexFlags(), path) ||
      isBorderOnly(path))
    return false;
  applyCut(path);
  return true;
}

// Each path edge o -> d is unglued; o gets a copy, which the triangles met turning from the edge
// about o with onext take: those on the left of the path, up to the border (at the start) or to
// the previous path edge, already cut. The end vertex's copy goes to the triangles met turning
// from the last edge's triangle about it the other way, with oprev, up to the border. The
// originals stay in the triangles on the right and are anchored there.
void Mesh::applyCut(std::vector<Edge> const& path) {
  auto const copyOf = [&](std::uint32_t v) {
    Vertex const copy = vertices[v];
    addVertex(copy);
    cutEdgeIndices.first.push_back(CutEdgeIndex{v});
    cutEdgeIndices.second.push_back(CutEdgeIndex{getNumberOfVertices() - 1});
    return getNumberOfVertices() - 1;
  };
  auto const setOrg = [](Edge const& e, std::uint32_t v) {
    e.getTriangle()->vertexIndices[(e.getTriangleEdgeIndex() + 1) % 3] = v;
  };
  Triangle* right = nullptr;
  for (Edge const& e : path) {
    right = e.sym().getTriangle();
    std::uint32_t const o = e.org();
    e.makeBoundary();
    std::uint32_t const k = copyOf(o);
    for (Edge f = e; f.getTriangle() != nullptr; f = f.onext())
      setOrg(f, k);
    vertexTriangles[k] = e.getTriangle();
    vertexTriangles[o] = right;
  }
  Edge const last = path.back();
  std::uint32_t const end = last.dest();
  std::uint32_t const k = copyOf(end);
  for (Edge f = last.rot();; f = f.oprev()) {
    setOrg(f, k);
    if (f.isBoundary())
      break;
  }
  vertexTriangles[k] = last.getTriangle();
  vertexTriangles[end] = right;
}

std::vector<std::uint32_t> Mesh::getBoundaryLoopOfVertices(std::uint32_t& loops) const {
  std::vector<std::uint32_t> loopOf(getNumberOfVertices(), noLoop);
  std::vector<bool> visited(3 * triangleCount, false);
  auto const slot = [](Edge const& e) {
    return 3 * e.getTriangle()->serial + e.getTriangleEdgeIndex();
  };
  loops = 0;
  for (std::size_t s = 0; s < triangleCount; ++s)
    for (std::uint32_t k = 0; k < 3; ++k) {
      Edge e(getTriangleBySerial(s), k);
      if (!e.isBoundary() || visited[slot(e)])
        continue;
      do {
        visited[slot(e)] = true;
        if (loopOf[e.org()] == noLoop)
          loopOf[e.org()] = loops;
        e = getNextBoundaryEdge(e);
      } while (!visited[slot(e)]);
      ++loops;
    }
  return loopOf;
}

std::uint32_t Mesh::getNumberOfBoundaryLoops() const {
  std::uint32_t loops = 0;
  getBoundaryLoopOfVertices(loops);
  return loops;
}

bool Mesh::findJoiningCutPath(std::vector<std::uint32_t> const& loopOf, std::uint32_t loops,
                              std::vector<bool> const& boundary, std::vector<Edge>& path) const {
  std::uint32_t const n = getNumberOfVertices();
  // The frames: the mesh as it lies (no frame), the line between two loops' centroids along z,
  // then fixed generic turns.
  std::vector<Frame> frames;
  std::uint32_t const paired = std::min<std::uint32_t>(loops, 6);
  std::vector<Vector> centroid(paired);
  std::vector<double> count(paired, 0.0);
  for (std::uint32_t v = 0; v < n; ++v)
    if (loopOf[v] < paired) {
      centroid[loopOf[v]] += vertices[v].getPoint3D() - Point();
      count[loopOf[v]] += 1.0;
    }
  for (std::uint32_t i = 0; i < paired; ++i)
    for (std::uint32_t j = i + 1; j < paired; ++j) {
      Vector const d = centroid[j] / count[j] - centroid[i] / count[i];
      if (d.lSqr() > 0.0 && std::isfinite(d.lSqr()))
        for (double const twist : {0.37, 1.91})
          frames.push_back(getFrameAlong(d, twist));
    }
  LinearMap::RotationAxis const axes[3] = {LinearMap::X, LinearMap::Y, LinearMap::Z};
  for (Vector const& angles : {Vector(0.41, 0.73, 1.13), Vector(1.37, 0.29, 2.03),
                               Vector(2.51, 1.07, 0.61), Vector(0.83, 2.39, 1.71)}) {
    LinearMap const turn(axes, angles);
    frames.push_back({Vector(turn.get(0, 0), turn.get(0, 1), turn.get(0, 2)),
                      Vector(turn.get(1, 0), turn.get(1, 1), turn.get(1, 2)),
                      Vector(turn.get(2, 0), turn.get(2, 1), turn.get(2, 2))});
  }

  std::vector<Point> turned;
  for (std::size_t f = 0; f <= frames.size(); ++f) {
    if (f > 0) {
      turned.resize(n);
      for (std::uint32_t v = 0; v < n; ++v) {
        Vector const p = vertices[v].getPoint3D() - Point();
        turned[v] =
            Point(p.dot(frames[f - 1][0]), p.dot(frames[f - 1][1]), p.dot(frames[f - 1][2]));
      }
    }
    for (CutMetric const metric : {CutAtMinimum, CutAtMaximum})
      for (std::uint32_t a = 0; a < 3; ++a)
        for (std::uint32_t b = 0; b < 3; ++b)
          if (a != b && findCutPath(metric, a, b, f > 0 ? &turned : nullptr, boundary, path) &&
              !isBorderOnly(path) && loopOf[path.front().org()] != loopOf[path.back().dest()])
            return true;
  }
  return false;
}

std::uint32_t Mesh::makeCuts() {
  cutEdgeIndices = CutEdgeIndices();
  std::uint32_t loops = 0;
  std::vector<std::uint32_t> loopOf = getBoundaryLoopOfVertices(loops);
  if (loops < 2)
    return 0;
  std::vector<bool> boundary = getBoundaryVertexFlags();
  std::uint32_t const n = getNumberOfVertices();
  if (!boundary[n - 1]) {
    // makeCut's rule: the last vertex must lie on a boundary.
    std::uint32_t b = n - 1;
    while (!boundary[b] || vertexTriangles[b] == nullptr)
      --b;
    std::vector<std::uint32_t> swap(n);
    for (std::uint32_t v = 0; v < n; ++v)
      swap[v] = v == b ? n - 1 : v == n - 1 ? b : v;
    permuteVertices(swap);
    loopOf = getBoundaryLoopOfVertices(loops);
    boundary = getBoundaryVertexFlags();
  }
  CutEdgeIndices made;
  std::uint32_t cuts = 0;
  while (loops >= 2) {
    std::vector<Edge> path;
    if (!findJoiningCutPath(loopOf, loops, boundary, path)) {
      cutEdgeIndices = std::move(made);
      throw Exception("No plane cut joins two boundary loops");
    }
    cutEdgeIndices = CutEdgeIndices();
    applyCut(path);
    made.first.insert(made.first.end(), cutEdgeIndices.first.begin(), cutEdgeIndices.first.end());
    made.second.insert(made.second.end(), cutEdgeIndices.second.begin(),
                       cutEdgeIndices.second.end());
    ++cuts;
    std::uint32_t after = 0;
    loopOf = getBoundaryLoopOfVertices(after);
    if (after + 1 != loops) {
      cutEdgeIndices = std::move(made);
      throw Exception("Mesh cut did not join two boundary loops");
    }
    loops = after;
    boundary = getBoundaryVertexFlags();
  }
  cutEdgeIndices = std::move(made);
  return cuts;
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
