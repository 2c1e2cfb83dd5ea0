#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include "Fan.h"

#include <QARN/Exception.h>

#include <utility>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

namespace {
constexpr std::uint32_t noIndex = 0xFFFFFFFFu;
}

Mesh::Mesh() {
  clear();
}

Mesh::~Mesh() = default;

std::uint32_t Mesh::getNumberOfVertices() const {
  return static_cast<std::uint32_t>(vertices.size());
}

Vertex& Mesh::getVertex(std::uint32_t i) {
  return const_cast<Vertex&>(static_cast<Mesh const*>(this)->getVertex(i));
}

Vertex const& Mesh::getVertex(std::uint32_t i) const {
  if (vertices.empty())
    throw Exception("Invalid vertex index");
  return vertices[i % vertices.size()];
}

bool Mesh::addVertex(Vertex const& vertex) {
  vertices.push_back(vertex);
  vertexTriangles.emplace_back(1, nullptr);
  return true;
}

bool Mesh::getIsVertexFloating(std::uint32_t i) const {
  return vertexTriangles[i % vertexTriangles.size()].back() == nullptr;
}

bool Mesh::getIsVertexAttached(std::uint32_t i) const {
  return i < vertexTriangles.size() && vertexTriangles[i][0] != nullptr;
}

Edge Mesh::getVertexArbitraryEdge(std::uint32_t i) const {
  Edge e;
  Triangle* const anchor = vertexTriangles[i % vertexTriangles.size()][0];
  if (anchor != nullptr)
    anchor->getEdgeFromVertexIndex(i % vertexTriangles.size(), &e);
  return e;
}

bool Mesh::getIsBoundaryVertex(std::uint32_t i) const {
  Edge const start = getVertexArbitraryEdge(i);
  if (start.getTriangle() == nullptr)
    return true;
  bool closed = false;
  walkFan(start, [&](Edge const& e) {
    closed = e.onext() == start;
    return false;
  });
  return !closed;
}

bool Mesh::getDoesEdgeExist(std::uint32_t a, std::uint32_t b, Edge* out) const {
  if (getIsVertexFloating(a))
    return false;
  a %= static_cast<std::uint32_t>(vertexTriangles.size());
  bool const boundary = getIsBoundaryVertex(a);
  for (Triangle* const t : vertexTriangles[a]) {
    Edge start;
    if (t == nullptr || !t->getEdgeFromVertexIndex(a, &start))
      continue;
    if (boundary)
      start = getFanStart(start);
    bool const found = walkFan(start, [&](Edge const& e) {
      if (e.dest() != b)
        return false;
      if (out != nullptr)
        *out = e;
      return true;
    });
    if (found)
      return true;
  }
  return false;
}

void Mesh::getTriangles(std::vector<Triangle*>& list, std::vector<Triangle*>::const_iterator& begin,
                        std::vector<Triangle*>::const_iterator& end) const {
  list.clear();
  std::vector<bool> seen(triangles.size(), false);
  std::size_t distinct = 0;
  for (std::uint32_t v = 0; v < vertexTriangles.size(); ++v) {
    Edge start = getVertexArbitraryEdge(v);
    if (start.getTriangle() == nullptr)
      continue;
    if (getIsBoundaryVertex(v))
      start = getFanStart(start);
    walkFan(start, [&](Edge const& e) {
      Triangle* const t = e.getTriangle();
      list.push_back(t);
      if (!seen[t->serial]) {
        seen[t->serial] = true;
        ++distinct;
      }
      return false;
    });
  }
  // The distinct triangles in creation order, as sorting by serial and dropping adjacent
  // duplicates would leave them; the rest of the list keeps its length.
  std::size_t next = 0;
  for (std::size_t s = 0; s < seen.size() && next < distinct; ++s)
    if (seen[s])
      list[next++] = triangles[s].get();
  begin = list.begin();
  end = list.begin() + static_cast<std::ptrdiff_t>(distinct);
}

void Mesh::clear() {
  vertexTriangles.clear();
  vertices.clear();
  triangles.clear();
}

void Mesh::clean() {
  std::uint32_t const n = getNumberOfVertices();
  std::vector<std::uint32_t> newIndex(n, noIndex);
  std::uint32_t kept = 0;
  for (std::uint32_t i = 0; i < n; ++i)
    if (getIsVertexAttached(i))
      newIndex[i] = kept++;
  if (kept == n)
    return;
  for (auto const& t : triangles)
    for (std::int32_t k = 0; k < 3; ++k)
      t->setAdjacentVertexIndex(k, newIndex[t->getAdjacentVertexIndex(k) % n]);
  std::vector<Vertex> keptVertices(kept);
  std::vector<std::vector<Triangle*>> keptLists(kept);
  for (std::uint32_t i = 0; i < n; ++i) {
    if (newIndex[i] == noIndex)
      continue;
    keptVertices[newIndex[i]] = vertices[i];
    keptLists[newIndex[i]] = std::move(vertexTriangles[i]);
  }
  vertices = std::move(keptVertices);
  vertexTriangles = std::move(keptLists);
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
