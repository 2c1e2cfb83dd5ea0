#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include "Fan.h"
#include "MinBBAreaSearch.h"

#include <Progress/ProgressStage.h>
#include <QARN/Exception.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

namespace {

/// Twice the area times the unit normal of the triangle (a, b, c): (b - a) x (c - b).
Vector getAreaNormal(Vector const& ab, Vector const& bc) {
  return ab.cross(bc);
}

Vector getUnit(Vector const& sum) {
  double const length = std::sqrt(sum.lSqr());
  return length > 0.0 ? sum / length : Vector();
}

} // namespace

void Mesh::calculateVertexNormals() {
  std::uint32_t const n = getNumberOfVertices();
  // The triangles reach the vertices in no useful order: their points are read from a packed
  // copy, where vertices near one another share cache lines, and the sums go to a packed list.
  // Both hold the values the vectors would (floats widen exactly).
  std::vector<std::array<float, 3>> points(n);
  for (std::uint32_t v = 0; v < n; ++v) {
    Point const& p = vertices[v].getPoint3D();
    points[v] = {p.getX(), p.getY(), p.getZ()};
  }
  std::vector<std::array<double, 3>> sums(n, {0.0, 0.0, 0.0});
  // One pass over the triangles in creation order: each adds its normal, scaled by twice its
  // area, to its three corners, so a vertex sums the triangles around it.
  for (std::size_t s = 0; s < triangleCount; ++s) {
    std::uint32_t const* const corners = getTriangleBySerial(s)->vertexIndices;
    if (corners[0] >= n || corners[1] >= n || corners[2] >= n)
      continue;
    auto const difference = [&](std::uint32_t a, std::uint32_t b) {
      return Vector(double(points[a][0]) - double(points[b][0]),
                    double(points[a][1]) - double(points[b][1]),
                    double(points[a][2]) - double(points[b][2]));
    };
    Vector const normal =
        getAreaNormal(difference(corners[1], corners[0]), difference(corners[2], corners[1]));
    for (int k = 0; k < 3; ++k) {
      std::array<double, 3>& sum = sums[corners[k]];
      sum = {sum[0] + normal.getdX(), sum[1] + normal.getdY(), sum[2] + normal.getdZ()};
    }
  }
  for (std::uint32_t v = 0; v < n; ++v)
    vertices[v].setNormal3D(getUnit(Vector(sums[v][0], sums[v][1], sums[v][2])));
}

Vector Mesh::getVertexNormal(std::uint32_t i) const {
  if (vertices.empty())
    throw Exception("Invalid vertex index");
  Edge const start = getVertexArbitraryEdge(i % getNumberOfVertices());
  if (start.getTriangle() == nullptr)
    return Vector();
  // The fan's triangles in creation order, summed as calculateVertexNormals sums them.
  std::vector<Triangle const*> fan;
  walkFan(getFanStart(start), [&](Edge const& e) {
    fan.push_back(e.getTriangle());
    return false;
  });
  std::sort(fan.begin(), fan.end(),
            [](Triangle const* a, Triangle const* b) { return a->serial < b->serial; });
  Vector sum;
  for (Triangle const* t : fan) {
    Point const& a = vertices[t->vertexIndices[0]].getPoint3D();
    Point const& b = vertices[t->vertexIndices[1]].getPoint3D();
    Point const& c = vertices[t->vertexIndices[2]].getPoint3D();
    sum += getAreaNormal(b - a, c - b);
  }
  return getUnit(sum);
}

bool Mesh::transformMinBBArea2D() {
  ProgressStage stage(progressListener, "Starting C-scan orientation calculation...",
                      minBBAreaCandidates);
  std::vector<FlatPoint> points(vertices.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    TwoDimensional::Point<double> const p = vertices[i].getPoint2D();
    points[i] = {p.getU(), p.getV()};
  }
  turnToOrigin(points, getMinBBAreaAngle(searchMinBBAreaIndex(points, stage)));
  for (std::size_t i = 0; i < points.size(); ++i)
    vertices[i].setPoint2D(TwoDimensional::Point<double>(points[i].u, points[i].v));
  return true;
}

bool Mesh::transformPCA2D() {
  // Second moments of the flat triangles' area: over a triangle (a, b, c) of area A,
  // the integral of x x^T is A/12 (a a^T + b b^T + c c^T + s s^T) with s = a + b + c.
  double area = 0.0;
  double first[2] = {0.0, 0.0};
  double second[3] = {0.0, 0.0, 0.0}; // uu, uv, vv
  for (std::size_t s = 0; s < triangleCount; ++s) {
    std::uint32_t const* const corners = getTriangleBySerial(s)->vertexIndices;
    TwoDimensional::Point<double> p[3];
    for (int k = 0; k < 3; ++k)
      p[k] = vertices[corners[k]].getPoint2D();
    double const a = 0.5 * std::fabs((p[1] - p[0]).det(p[2] - p[0]));
    double const su = p[0].getU() + p[1].getU() + p[2].getU();
    double const sv = p[0].getV() + p[1].getV() + p[2].getV();
    area += a;
    first[0] += a * su / 3.0;
    first[1] += a * sv / 3.0;
    double uu = su * su;
    double uv = su * sv;
    double vv = sv * sv;
    for (int k = 0; k < 3; ++k) {
      uu += p[k].getU() * p[k].getU();
      uv += p[k].getU() * p[k].getV();
      vv += p[k].getV() * p[k].getV();
    }
    second[0] += a / 12.0 * uu;
    second[1] += a / 12.0 * uv;
    second[2] += a / 12.0 * vv;
  }
  if (!(area > 0.0))
    return false;
  double const gu = first[0] / area;
  double const gv = first[1] / area;
  double const cuu = second[0] / area - gu * gu;
  double const cuv = second[1] / area - gu * gv;
  double const cvv = second[2] / area - gv * gv;
  if (!std::isfinite(cuu) || !std::isfinite(cuv) || !std::isfinite(cvv))
    return false;
  // The axis of the largest moment makes the angle phi with u, in (-pi/2, pi/2]; turning
  // clockwise by phi lays it on u.
  double const phi = 0.5 * std::atan2(2.0 * cuv, cuu - cvv);
  std::vector<FlatPoint> points(vertices.size());
  for (std::size_t i = 0; i < points.size(); ++i)
    points[i] = {vertices[i].getPoint2D().getU(), vertices[i].getPoint2D().getV()};
  turnToOrigin(points, phi);
  for (std::size_t i = 0; i < points.size(); ++i)
    vertices[i].setPoint2D(TwoDimensional::Point<double>(points[i].u, points[i].v));
  return true;
}

std::array<std::uint32_t, 4> Mesh::getExtremeBoundaryVertexIndices() const {
  std::array<std::uint32_t, 4> extremes{};
  bool found = false;
  for (std::uint32_t v = 0; v < getNumberOfVertices(); ++v) {
    if (!getIsVertexAttached(v) || !getIsBoundaryVertex(v))
      continue;
    TwoDimensional::Point<double> const p = vertices[v].getPoint2D();
    auto const flat = [&](std::uint32_t w) { return vertices[w].getPoint2D(); };
    if (!found || p.getU() < flat(extremes[0]).getU())
      extremes[0] = v;
    if (!found || p.getU() > flat(extremes[1]).getU())
      extremes[1] = v;
    if (!found || p.getV() < flat(extremes[2]).getV())
      extremes[2] = v;
    if (!found || p.getV() > flat(extremes[3]).getV())
      extremes[3] = v;
    found = true;
  }
  if (!found)
    throw Exception("No boundary found");
  return extremes;
}

void Mesh::getCorners(Point* corners) const {
  std::array<std::uint32_t, 4> const extremes = getExtremeBoundaryVertexIndices();
  // The flat box of all vertices.
  TwoDimensional::Point<double> low = vertices[0].getPoint2D();
  TwoDimensional::Point<double> high = low;
  for (Vertex const& v : vertices) {
    low.setMin(v.getPoint2D());
    high.setMax(v.getPoint2D());
  }
  TwoDimensional::Point<double> const boxCorners[4] = {
      low, {high.getU(), low.getV()}, high, {low.getU(), high.getV()}};
  std::array<std::uint32_t, 4> nearest;
  nearest.fill(extremes[0]);
  std::array<double, 4> best;
  best.fill(std::numeric_limits<double>::infinity());
  for (std::uint32_t v = 0; v < getNumberOfVertices(); ++v) {
    if (!getIsVertexAttached(v) || !getIsBoundaryVertex(v))
      continue;
    for (int k = 0; k < 4; ++k) {
      double const d = (vertices[v].getPoint2D() - boxCorners[k]).lSqr();
      if (d < best[k]) {
        best[k] = d;
        nearest[k] = v;
      }
    }
  }
  for (int k = 0; k < 4; ++k)
    corners[k] = vertices[nearest[k]].getPoint3D();
}

void Mesh::round(double step) {
  if (!(step > 0.0) || !std::isfinite(step))
    throw Exception("Invalid rounding step");
  auto const snap = [step](double x) {
    double const q = x / step;
    double const down = std::floor(q);
    return (q - down >= 0.5 ? down + 1.0 : down) * step;
  };
  for (Vertex& v : vertices)
    v.setPoint2D(
        TwoDimensional::Point<double>(snap(v.getPoint2D().getU()), snap(v.getPoint2D().getV())));
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
