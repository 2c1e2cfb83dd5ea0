#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include "Fan.h"

#include <QARN/Exception.h>

#include <memory>
#include <new>
#include <utility>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::uint32_t noIndex = 0xFFFFFFFFu;

/// i modulo a count that is not 0; the division only where it changes i.
std::size_t wrap(std::uint32_t i, std::size_t count) {
  return i < count ? i : i % count;
}

} // namespace

Mesh::Mesh() {
  clear();
}

Mesh::~Mesh() {
  clear();
}

void Mesh::TriangleBlockDeleter::operator()(Triangle* block) const {
  std::allocator<Triangle>().deallocate(block, trianglesPerBlock);
}

Vertex& Mesh::getVertex(std::uint32_t i) {
  return const_cast<Vertex&>(static_cast<Mesh const*>(this)->getVertex(i));
}

Vertex const& Mesh::getVertex(std::uint32_t i) const {
  if (vertices.empty())
    throw Exception("Invalid vertex index");
  return vertices[wrap(i, vertices.size())];
}

bool Mesh::addVertex(Vertex const& vertex) {
  vertices.push_back(vertex);
  vertexTriangles.push_back(nullptr);
  return true;
}

bool Mesh::getIsVertexFloating(std::uint32_t i) const {
  return vertexTriangles[wrap(i, vertexTriangles.size())] == nullptr;
}

bool Mesh::getIsVertexAttached(std::uint32_t i) const {
  return i < vertexTriangles.size() && vertexTriangles[i] != nullptr;
}

Edge Mesh::getVertexArbitraryEdge(std::uint32_t i) const {
  Edge e;
  std::size_t const v = wrap(i, vertexTriangles.size());
  if (vertexTriangles[v] != nullptr)
    vertexTriangles[v]->getEdgeFromVertexIndex(static_cast<std::uint32_t>(v), &e);
  return e;
}

bool Mesh::getIsBoundaryVertex(std::uint32_t i) const {
  Edge const start = getVertexArbitraryEdge(i);
  if (start.getTriangle() == nullptr)
    return true;
  return walkFan(start, [](Edge const&) { return false; }) == FanWalkEnd::Boundary;
}

bool Mesh::getDoesEdgeExist(std::uint32_t a, std::uint32_t b, Edge* out) const {
  if (getIsVertexFloating(a))
    return false;
  a %= static_cast<std::uint32_t>(vertexTriangles.size());
  Edge start = getVertexArbitraryEdge(a);
  if (getIsBoundaryVertex(a))
    start = getFanStart(start);
  return walkFan(start, [&](Edge const& e) {
           if (e.dest() != b)
             return false;
           if (out != nullptr)
             *out = e;
           return true;
         }) == FanWalkEnd::Stopped;
}

void Mesh::getTriangles(std::vector<Triangle*>& list, std::vector<Triangle*>::const_iterator& begin,
                        std::vector<Triangle*>::const_iterator& end) const {
  list.clear();
  std::vector<bool> seen(triangleCount, false);
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
      list[next++] = getTriangleBySerial(s);
  begin = list.begin();
  end = list.begin() + static_cast<std::ptrdiff_t>(distinct);
}

void Mesh::clear() {
  vertexTriangles.clear();
  moreFanIndex.clear();
  moreFanLists.clear();
  vertices.clear();
  for (std::size_t s = 0; s < triangleCount; ++s)
    getTriangleBySerial(s)->~Triangle();
  triangleBlocks.clear();
  triangleCount = 0;
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
  for (std::size_t s = 0; s < triangleCount; ++s) {
    Triangle* const t = getTriangleBySerial(s);
    for (std::int32_t k = 0; k < 3; ++k)
      t->setAdjacentVertexIndex(k, newIndex[t->getAdjacentVertexIndex(k) % n]);
  }
  std::vector<Vertex> keptVertices;
  std::vector<Triangle*> keptAnchors;
  keptVertices.reserve(kept);
  keptAnchors.reserve(kept);
  for (std::uint32_t i = 0; i < n; ++i) {
    if (newIndex[i] == noIndex)
      continue;
    keptVertices.push_back(vertices[i]);
    keptAnchors.push_back(vertexTriangles[i]);
  }
  vertices = std::move(keptVertices);
  vertexTriangles = std::move(keptAnchors);
}

void Mesh::permuteVertices(std::vector<std::uint32_t> const& newIndexOfOld) {
  std::uint32_t const n = getNumberOfVertices();
  std::vector<std::uint32_t> oldIndexOfNew(n, noIndex);
  if (newIndexOfOld.size() != n)
    throw Exception("Invalid vertex permutation");
  for (std::uint32_t i = 0; i < n; ++i) {
    std::uint32_t const j = newIndexOfOld[i];
    if (j >= n || oldIndexOfNew[j] != noIndex)
      throw Exception("Invalid vertex permutation");
    oldIndexOfNew[j] = i;
  }
  std::vector<Vertex> movedVertices;
  std::vector<Triangle*> movedAnchors;
  movedVertices.reserve(n);
  movedAnchors.reserve(n);
  for (std::uint32_t const i : oldIndexOfNew) {
    movedVertices.push_back(vertices[i]);
    movedAnchors.push_back(vertexTriangles[i]);
  }
  vertices = std::move(movedVertices);
  vertexTriangles = std::move(movedAnchors);
  for (std::size_t s = 0; s < triangleCount; ++s)
    for (std::uint32_t& corner : getTriangleBySerial(s)->vertexIndices)
      if (corner < n)
        corner = newIndexOfOld[corner];
  for (auto* cut : {&cutEdgeIndices.first, &cutEdgeIndices.second})
    for (CutEdgeIndex& entry : *cut)
      if (entry.index < n)
        entry.index = newIndexOfOld[entry.index];
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
