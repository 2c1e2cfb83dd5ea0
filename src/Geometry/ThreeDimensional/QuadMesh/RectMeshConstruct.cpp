#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

#include <Geometry/ThreeDimensional/QuadMesh/GridIndex.h>
#include <Progress/ProgressStage.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;
using TriMesh::Triangle;

/// A position in the flat plane.
struct Flat {
  double u;
  double v;
};

Flat operator-(Flat const& a, Flat const& b) {
  return {a.u - b.u, a.v - b.v};
}

double det(Flat const& a, Flat const& b) {
  return a.u * b.v - a.v * b.u;
}

/// Which side of the directed line a → b a point lies on. The determinant is evaluated from the
/// lexicographically smaller end, so that the line b → a gives exactly its negation: of two
/// triangles sharing an edge, at least one finds a point of that edge on its inner side.
class LineSide {
public:
  LineSide(Flat const& a, Flat const& b)
      : isSwapped(b.u < a.u || (b.u == a.u && b.v < a.v)), low(isSwapped ? b : a),
        direction((isSwapped ? a : b) - low) {}

  /// q lies on the line or to its left.
  bool getIsOnOrLeft(Flat const& q) const {
    double const s = det(direction, q - low);
    return isSwapped ? s <= 0.0 : s >= 0.0;
  }

private:
  bool isSwapped;
  Flat low;
  Flat direction;
};

/// The closed segments a–b and c–d have a point in common.
bool getDoSegmentsMeet(Flat const& a, Flat const& b, Flat const& c, Flat const& d) {
  double const sa = det(d - c, a - c);
  double const sb = det(d - c, b - c);
  double const sc = det(b - a, c - a);
  double const sd = det(b - a, d - a);
  if (((sa > 0 && sb < 0) || (sa < 0 && sb > 0)) && ((sc > 0 && sd < 0) || (sc < 0 && sd > 0)))
    return true;
  // An end point on the other segment (this covers touching and collinear overlap).
  auto const isOn = [](Flat const& p, Flat const& q, Flat const& x, double s) {
    return s == 0 && std::min(p.u, q.u) <= x.u && x.u <= std::max(p.u, q.u) &&
           std::min(p.v, q.v) <= x.v && x.v <= std::max(p.v, q.v);
  };
  return isOn(c, d, a, sa) || isOn(c, d, b, sb) || isOn(a, b, c, sc) || isOn(a, b, d, sd);
}

/// The flat triangle mesh as construction reads it.
struct FlatMesh {
  /// Each vertex's flat point relative to the low corner of the flat box.
  std::vector<Flat> flat;
  /// The distinct triangles are [begin, end).
  std::vector<Triangle*> list;
  std::vector<Triangle*>::const_iterator begin;
  std::vector<Triangle*>::const_iterator end;
  /// Extent of the flat box.
  TwoDimensional::Vector<double> extent;
  /// Largest ratio of surface area to flat area.
  double maxRatio = 0.0;
  /// The boundary edges between two vertices of the cut seam, as vertex index pairs.
  std::vector<std::array<std::uint32_t, 2>> seamEdges;
};

std::array<std::uint32_t, 3> cornersOf(Triangle const* t) {
  std::array<std::uint32_t, 3> c;
  t->getVertexIndices(c[0], c[1], c[2]);
  return c;
}

bool isFinite(Point const& p) {
  return std::isfinite(p.getX()) && std::isfinite(p.getY()) && std::isfinite(p.getZ());
}

/// Reads and checks the mesh: the flat box, the flat points, the area ratio and the seam.
FlatMesh readFlatMesh(TriMesh::Mesh const& mesh) {
  std::uint32_t const n = mesh.getNumberOfVertices();
  FlatMesh m;
  if (n > 0)
    mesh.getTriangles(m.list, m.begin, m.end);
  if (n == 0 || m.begin == m.end)
    throw Exception("Empty triangle mesh.");

  TwoDimensional::BoundingBoxAA<double> box;
  for (std::uint32_t i = 0; i < n; ++i) {
    TriMesh::Vertex const& vertex = mesh.getVertex(i);
    TwoDimensional::Point<double> const q = vertex.getPoint2D();
    if (!std::isfinite(q.getU()) || !std::isfinite(q.getV()) || !isFinite(vertex.getPoint3D()))
      throw Exception("Triangle mesh has non-finite coordinates.");
    if (i == 0)
      box = q.getBoundingBox();
    else
      box.expand(q.getBoundingBox());
  }
  m.extent = box.getd();
  m.flat.reserve(n);
  for (std::uint32_t i = 0; i < n; ++i) {
    TwoDimensional::Point<double> const q = mesh.getVertex(i).getPoint2D();
    m.flat.push_back({q.getU() - box.getp().getU(), q.getV() - box.getp().getV()});
  }

  // A pair of two equal indices (the (0, 0) that ends a loaded cut file) names no cut vertex.
  TriMesh::Mesh::CutEdgeIndices const& cut = mesh.getCutEdgeIndices();
  std::vector<bool> isCut(n, false);
  for (std::size_t i = 0; i < std::min(cut.first.size(), cut.second.size()); ++i) {
    std::uint32_t const a = cut.first[i].index;
    std::uint32_t const b = cut.second[i].index;
    if (a == b)
      continue;
    if (a >= n || b >= n)
      throw Exception("Invalid cut-edge vertex index.");
    isCut[a] = isCut[b] = true;
  }

  bool hasFlatArea = false;
  for (auto it = m.begin; it != m.end; ++it) {
    std::array<std::uint32_t, 3> const c = cornersOf(*it);
    double const flatArea = det(m.flat[c[1]] - m.flat[c[0]], m.flat[c[2]] - m.flat[c[0]]);
    if (flatArea > 0.0) {
      hasFlatArea = true;
      Point const& P0 = mesh.getVertex(c[0]).getPoint3D();
      Vector const normal =
          (mesh.getVertex(c[1]).getPoint3D() - P0).cross(mesh.getVertex(c[2]).getPoint3D() - P0);
      double const ratio = std::sqrt(normal.lSqr()) / flatArea;
      if (std::isfinite(ratio) && ratio > m.maxRatio)
        m.maxRatio = ratio;
    }
    // Edge k runs from corner k + 1 to corner k + 2.
    for (int k = 0; k < 3; ++k) {
      std::uint32_t const a = c[(k + 1) % 3];
      std::uint32_t const b = c[(k + 2) % 3];
      if ((*it)->getAdjacentTriangle(k) == nullptr && isCut[a] && isCut[b])
        m.seamEdges.push_back({a, b});
    }
  }
  if (!hasFlatArea)
    throw Exception("Triangle mesh is not flattened.");
  if (m.maxRatio <= 0.0)
    throw Exception("Triangle mesh has no surface area.");
  return m;
}

std::int64_t gridIndex(double x) {
  return GridIndex::saturatingCast<std::int64_t>(x);
}

/// Number of quads along an axis of flat extent d at spacing h: d / h + 1 rounded half up.
/// Throws when the grid's indices would not fit an int.
std::uint32_t getQuadCount(double d, double h) {
  double const count = GridIndex::roundHalfUp(d / h + 1.0);
  if (!(count <= std::numeric_limits<int>::max() - 1.0))
    throw Exception("Quad-mesh grid too large.");
  return static_cast<std::uint32_t>(count);
}

/// Samples every triangle of positive flat area, in order, at the grid points of its flat box
/// that lie inside it, edges and corners included.
void sampleTriangles(RectMesh& grid, TriMesh::Mesh const& mesh, FlatMesh const& m, double h,
                     ProgressListener* listener) {
  std::int64_t const U = grid.getExtents().getdU();
  std::int64_t const V = grid.getExtents().getdV();
  std::size_t const triangleCount = static_cast<std::size_t>(m.end - m.begin);
  ProgressStage stage(listener, "Constructing quad-mesh...", triangleCount);
  for (std::size_t t = 0; t < triangleCount; ++t) {
    std::array<std::uint32_t, 3> const c = cornersOf(m.begin[static_cast<std::ptrdiff_t>(t)]);
    Flat const& Q0 = m.flat[c[0]];
    Flat const& Q1 = m.flat[c[1]];
    Flat const& Q2 = m.flat[c[2]];
    double const flatArea = det(Q1 - Q0, Q2 - Q0);
    if (flatArea > 0.0) {
      std::int64_t const u0 =
          std::max<std::int64_t>(0, gridIndex(std::floor(std::min({Q0.u, Q1.u, Q2.u}) / h)));
      std::int64_t const v0 =
          std::max<std::int64_t>(0, gridIndex(std::floor(std::min({Q0.v, Q1.v, Q2.v}) / h)));
      std::int64_t const u1 =
          std::min<std::int64_t>(U, gridIndex(std::ceil(std::max({Q0.u, Q1.u, Q2.u}) / h)));
      std::int64_t const v1 =
          std::min<std::int64_t>(V, gridIndex(std::ceil(std::max({Q0.v, Q1.v, Q2.v}) / h)));
      Point const& P0 = mesh.getVertex(c[0]).getPoint3D();
      Point const& P1 = mesh.getVertex(c[1]).getPoint3D();
      Point const& P2 = mesh.getVertex(c[2]).getPoint3D();
      // Edge k runs from corner k + 1 to corner k + 2; they are tested from edge 0 on.
      LineSide const edges[3] = {{Q1, Q2}, {Q2, Q0}, {Q0, Q1}};
      for (std::int64_t j = v0; j <= v1; ++j)
        for (std::int64_t i = u0; i <= u1; ++i) {
          // Each grid point's flat position comes from its own indices, so that every triangle
          // tests the very same position.
          Flat const q{static_cast<double>(i) * h, static_cast<double>(j) * h};
          if (edges[0].getIsOnOrLeft(q) && edges[1].getIsOnOrLeft(q) && edges[2].getIsOnOrLeft(q)) {
            double const l1 = det(q - Q0, Q2 - Q0) / flatArea;
            double const l2 = det(Q1 - Q0, q - Q0) / flatArea;
            grid.setPoint(GridPoint(static_cast<int>(i), static_cast<int>(j)),
                          Utility::bary(P0, P1, P2, 1.0 - l1 - l2, l1, l2));
          }
        }
    }
    stage.step(t + 1);
  }
}

/// Marks the Boundary points whose segment to an invalid 8-neighbour meets a seam edge.
void markSeam(RectMesh& grid, FlatMesh const& m, double h) {
  std::int64_t const U = grid.getExtents().getdU();
  std::int64_t const V = grid.getExtents().getdV();
  for (auto const& [a, b] : m.seamEdges) {
    // The edge in grid units.
    Flat const A{m.flat[a].u / h, m.flat[a].v / h};
    Flat const B{m.flat[b].u / h, m.flat[b].v / h};
    std::int64_t const iLow =
        std::max<std::int64_t>(0, gridIndex(std::floor(std::min(A.u, B.u))) - 1);
    std::int64_t const jLow =
        std::max<std::int64_t>(0, gridIndex(std::floor(std::min(A.v, B.v))) - 1);
    std::int64_t const iHigh =
        std::min<std::int64_t>(U, gridIndex(std::ceil(std::max(A.u, B.u))) + 1);
    std::int64_t const jHigh =
        std::min<std::int64_t>(V, gridIndex(std::ceil(std::max(A.v, B.v))) + 1);
    for (std::int64_t j = jLow; j <= jHigh; ++j)
      for (std::int64_t i = iLow; i <= iHigh; ++i) {
        GridPoint const p(static_cast<int>(i), static_cast<int>(j));
        if (!grid.getPointFlag(p, RectMesh::Boundary))
          continue;
        Flat const n{static_cast<double>(i), static_cast<double>(j)};
        for (auto const& d : GridIndex::neighbourOffsets) {
          Flat const o{n.u + d[0], n.v + d[1]};
          if (!grid.getIsPointValid(GridPoint(p.getU() + d[0], p.getV() + d[1])) &&
              getDoSegmentsMeet(n, o, A, B)) {
            grid.setPointFlag(p, RectMesh::Marked, true);
            break;
          }
        }
      }
  }
}

} // namespace

void RectMesh::construct(TriMesh::Mesh const& mesh, double maxQuadArea, std::uint32_t maxMB) {
  if (!std::isfinite(maxQuadArea) || maxQuadArea <= 0.0)
    throw Exception("Invalid maximum quad area.");
  FlatMesh const m = readFlatMesh(mesh);
  double const h = std::sqrt(maxQuadArea / m.maxRatio);
  if (!std::isfinite(h))
    throw Exception("Invalid maximum quad area.");
  std::uint32_t const U = getQuadCount(m.extent.getdU(), h);
  std::uint32_t const V = getQuadCount(m.extent.getdV(), h);
  if (getNumberOfMBs(U, V) > maxMB)
    throw Exception("Quad-mesh grid too large.");
  init(TwoDimensional::Vector<std::uint32_t>(U, V));

  sampleTriangles(*this, mesh, m, h, progressListener);

  // Border loops and lone points.
  std::vector<Edge> border;
  try {
    border = getBorderEdges();
  } catch (Exception const&) {
    clear();
    throw;
  }
  for (Edge const& e : border)
    setPointFlag(e.org(), Boundary, true);

  markSeam(*this, m, h);

  // Interior: valid points on a valid quad that are not on the border; a valid point on no
  // valid quad is a border point of its own.
  for (std::int64_t v = 0; v <= V; ++v)
    for (std::int64_t u = 0; u <= U; ++u) {
      GridPoint const p(static_cast<int>(u), static_cast<int>(v));
      char const flags = getPointFlags(p);
      if (!getFlag(flags, Valid) || getFlag(flags, Boundary))
        continue;
      bool const isOnQuad = getIsQuadValidAt(u, v) || getIsQuadValidAt(u - 1, v) ||
                            getIsQuadValidAt(u, v - 1) || getIsQuadValidAt(u - 1, v - 1);
      setPointFlags(p, setFlag(flags, isOnQuad ? Interior : Boundary, true));
    }

  finishDerivedGrid(searchPointBudget);
  if (!mesh.getFileName().empty()) {
    meshName = mesh.getFileName();
    fileName = meshName + ".quads";
  }
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
