#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <Geometry/ThreeDimensional/Utility/PointSets.h>
#include <Geometry/TwoDimensional/DelaunayTriangulation.h>
#include <Progress/ProgressStage.h>

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/PointCloud/Cloud.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

namespace {

using TwoDimensional::DelaunayTriangulation;
constexpr std::uint32_t none = DelaunayTriangulation::none;

/// The plane's axes (u, v, normal) as the columns of a rotation, the normal turned to point
/// along +Z (else +Y, else +X) with v turned with it.
LinearMap planeAxes(LinearMap axes) {
  Vector const normal(axes.get(0, 2), axes.get(1, 2), axes.get(2, 2));
  double const sign = normal.getdZ() != 0.0   ? normal.getdZ()
                      : normal.getdY() != 0.0 ? normal.getdY()
                                              : normal.getdX();
  if (sign < 0.0)
    for (std::uint32_t r = 0; r < 3; ++r) {
      axes.set(r, 1, -axes.get(r, 1));
      axes.set(r, 2, -axes.get(r, 2));
    }
  return axes;
}

/// Labels the triangles reached from the seeds through neighbours that pass, with label.
template <typename Passes>
void flood(std::vector<DelaunayTriangulation::Triangle> const& neighbours,
           std::vector<std::uint32_t>& queue, std::vector<std::uint32_t>& labels,
           std::uint32_t label, Passes passes) {
  for (std::size_t i = 0; i < queue.size(); ++i)
    for (std::uint32_t const n : neighbours[queue[i]])
      if (n != none && labels[n] == none && passes(n)) {
        labels[n] = label;
        queue.push_back(n);
      }
}

} // namespace

void Mesh::construct(PointCloud::Cloud const& cloud, double maxEdgeLength) {
  clear();
  fileName.clear();
  cutEdgeIndices = CutEdgeIndices();
  if (!(maxEdgeLength > 0.0))
    throw Exception("Invalid edge length limit");
  PointSets::check(cloud, 3);
  ProgressStage const stage(progressListener, "Triangulating point cloud...", 0);

  // The points on the best-fit plane, on the integer grid of the triangulation.
  PointSets::Principal const principal = PointSets::getPrincipal(cloud);
  LinearMap const toPlane = planeAxes(principal.axes).transpose();
  std::uint32_t const n = cloud.getNumberOfPoints();
  std::vector<double> u(n);
  std::vector<double> v(n);
  Point const origin;
  for (std::uint32_t i = 0; i < n; ++i) {
    Vector const onPlane = toPlane * ((cloud.getPoint(i) - origin) - principal.centroid);
    u[i] = onPlane.getdX();
    v[i] = onPlane.getdY();
  }
  auto const [uLow, uHigh] = std::minmax_element(u.begin(), u.end());
  auto const [vLow, vHigh] = std::minmax_element(v.begin(), v.end());
  double const extent = std::max(*uHigh - *uLow, *vHigh - *vLow);
  if (!(extent > 0.0))
    throw Exception("Point cloud does not span a surface");
  double const scale = DelaunayTriangulation::maxCoordinate / extent;
  auto const grid = [&](double x, double low) {
    return static_cast<std::int32_t>(std::clamp(std::round((x - low) * scale), 0.0,
                                                double(DelaunayTriangulation::maxCoordinate)));
  };
  std::vector<DelaunayTriangulation::Coordinates> nodes(n);
  for (std::uint32_t i = 0; i < n; ++i)
    nodes[i] = {grid(u[i], *uLow), grid(v[i], *vLow)};
  // One point per node, the first in cloud order.
  std::vector<std::uint32_t> order(n);
  std::iota(order.begin(), order.end(), 0u);
  std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
    return nodes[a] < nodes[b] || (nodes[a] == nodes[b] && a < b);
  });
  std::vector<std::uint32_t> pointOf;
  std::vector<DelaunayTriangulation::Coordinates> distinct;
  for (std::uint32_t i = 0; i < n; ++i)
    if (i == 0 || nodes[order[i]] != nodes[order[i - 1]]) {
      pointOf.push_back(order[i]);
      distinct.push_back(nodes[order[i]]);
    }
  DelaunayTriangulation const triangulation(distinct);
  auto const& triangles = triangulation.getTriangles();
  auto const& neighbours = triangulation.getNeighbours();
  if (triangles.empty())
    throw Exception("Point cloud does not span a surface");

  // Triangles too long, reached from the outline through one another, are removed.
  auto const count = static_cast<std::uint32_t>(triangles.size());
  auto const isLong = [&](std::uint32_t t) {
    for (std::uint32_t k = 0; k < 3; ++k)
      if (cloud.getPoint(pointOf[triangles[t][k]])
              .getMinMaxDistance(cloud.getPoint(pointOf[triangles[t][(k + 1) % 3]])) >
          maxEdgeLength)
        return true;
    return false;
  };
  constexpr std::uint32_t removed = 0xFFFFFFFEu;
  std::vector<std::uint32_t> labels(count, none);
  std::vector<std::uint32_t> queue;
  for (std::uint32_t t = 0; t < count; ++t) {
    auto const& nb = neighbours[t];
    if ((nb[0] == none || nb[1] == none || nb[2] == none) && isLong(t)) {
      labels[t] = removed;
      queue.push_back(t);
    }
  }
  flood(neighbours, queue, labels, removed, isLong);
  // The pieces left, labelled in order; the largest is kept.
  std::uint32_t pieces = 0;
  std::uint32_t largest = none;
  std::size_t largestSize = 0;
  for (std::uint32_t t = 0; t < count; ++t) {
    if (labels[t] != none)
      continue;
    labels[t] = pieces;
    queue.assign(1, t);
    flood(neighbours, queue, labels, pieces, [](std::uint32_t) { return true; });
    if (queue.size() > largestSize) {
      largestSize = queue.size();
      largest = pieces;
    }
    ++pieces;
  }
  if (largest == none)
    throw Exception("Edge length limit leaves no triangle");

  // The kept piece's points in cloud order become the vertices.
  std::vector<std::uint32_t> vertexOf(distinct.size(), none);
  for (std::uint32_t t = 0; t < count; ++t)
    if (labels[t] == largest)
      for (std::uint32_t const d : triangles[t])
        vertexOf[d] = 0;
  std::vector<std::uint32_t> used;
  for (std::uint32_t d = 0; d < distinct.size(); ++d)
    if (vertexOf[d] == 0)
      used.push_back(d);
  std::sort(used.begin(), used.end(),
            [&](std::uint32_t a, std::uint32_t b) { return pointOf[a] < pointOf[b]; });
  for (std::uint32_t i = 0; i < used.size(); ++i) {
    vertexOf[used[i]] = i;
    addVertex(Vertex(cloud.getPoint(pointOf[used[i]])));
  }
  std::vector<Face> faces;
  faces.reserve(largestSize);
  for (std::uint32_t t = 0; t < count; ++t)
    if (labels[t] == largest)
      faces.push_back(
          {vertexOf[triangles[t][0]], vertexOf[triangles[t][1]], vertexOf[triangles[t][2]]});
  constructFromFaces(faces);
  calculateVertexNormals();
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
