#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include "Fan.h"
#include "SlotSet.h"

#include <Progress/ProgressStage.h>
#include <QARN/Exception.h>

#include <algorithm>
#include <unordered_map>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

Triangle* Mesh::createTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  std::unique_ptr<Triangle> triangle(new Triangle(
      this, {a, b, c}, {nullptr, nullptr, nullptr},
      {Triangle::invalidEdgeIndex, Triangle::invalidEdgeIndex, Triangle::invalidEdgeIndex}));
  triangle->serial = triangles.size();
  triangles.push_back(std::move(triangle));
  return triangles.back().get();
}

bool Mesh::addFloatingTriangle(std::vector<std::uint32_t> const& indices) {
  if (indices.size() != 3)
    return false;
  for (std::uint32_t const v : indices)
    if (v >= getNumberOfVertices() || !getIsVertexFloating(v))
      return false;
  Triangle* const triangle = createTriangle(indices[0], indices[1], indices[2]);
  for (std::uint32_t const v : indices)
    vertexTriangles[v][0] = triangle;
  return true;
}

// The new triangle (d, o, z) lies across the boundary edge o->d. Besides that edge it is glued
// to a triangle holding z->o or d->z where one exists; such an edge must still be a boundary
// edge. While a mesh grows, a vertex may have several separate fans: its list then holds one
// triangle of each, so that the edge search reaches them all, and fans joined by the new
// triangle keep a single entry.
bool Mesh::addBoundaryTriangle(Edge const& edge, std::int32_t vertexIndex) {
  Triangle* const across = edge.getTriangle();
  if (across == nullptr || across->mesh != this || !edge.isBoundary())
    return false;
  std::uint32_t const o = edge.org();
  std::uint32_t const d = edge.dest();
  auto const z = static_cast<std::uint32_t>(vertexIndex);
  std::uint32_t const n = getNumberOfVertices();
  if (o >= n || d >= n || z >= n || o == d || z == o || z == d)
    return false;
  Edge toOrg;
  Edge fromDest;
  bool const hasToOrg = getDoesEdgeExist(z, o, &toOrg);
  bool const hasFromDest = getDoesEdgeExist(d, z, &fromDest);
  if ((hasToOrg && !toOrg.isBoundary()) || (hasFromDest && !fromDest.isBoundary()))
    return false;
  bool const floating = getIsVertexFloating(z);

  Triangle* const triangle = createTriangle(d, o, z);
  triangle->connect(2, across, edge.getTriangleEdgeIndex());
  if (hasToOrg)
    triangle->connect(0, toOrg.getTriangle(), toOrg.getTriangleEdgeIndex());
  if (hasFromDest)
    triangle->connect(1, fromDest.getTriangle(), fromDest.getTriangleEdgeIndex());

  if (floating)
    vertexTriangles[z][0] = triangle;
  else if (!hasToOrg && !hasFromDest)
    vertexTriangles[z].push_back(triangle);
  else if (hasToOrg && hasFromDest)
    removeMergedFanEntries(z, triangle);
  if (hasToOrg)
    removeMergedFanEntries(o, triangle);
  if (hasFromDest)
    removeMergedFanEntries(d, triangle);
  return true;
}

void Mesh::removeMergedFanEntries(std::uint32_t v, Triangle* triangle) {
  std::vector<Triangle*>& list = vertexTriangles[v];
  if (list.size() < 2)
    return;
  std::vector<bool> inFan(list.size(), false);
  Edge start;
  triangle->getEdgeFromVertexIndex(v, &start);
  walkFan(getFanStart(start), [&](Edge const& e) {
    for (std::size_t j = 0; j < list.size(); ++j)
      if (list[j] == e.getTriangle())
        inFan[j] = true;
    return false;
  });
  // Keep the first entry of the joined fan, so that the anchor (entry 0) never changes.
  bool kept = false;
  std::size_t next = 0;
  for (std::size_t j = 0; j < list.size(); ++j) {
    if (inFan[j] && kept)
      continue;
    kept = kept || inFan[j];
    list[next++] = list[j];
  }
  list.resize(next);
}

namespace {

constexpr std::uint32_t noSlot = 0xFFFFFFFFu;

} // namespace

// The faces are tried as a cursor cycling over the slots of the faces not yet added would try
// them: the last face fills each freed slot, and the cursor moves on to the next slot, wrapping
// to 0. Rather than testing every slot, the cursor jumps to the next slot whose face has an edge
// matching the front, a set kept up to date as edges enter and leave the front.
void Mesh::constructFromFaces(std::vector<Face>& faces) {
  ProgressStage stage(progressListener, "Constructing triangle mesh...", faces.size());
  if (faces.empty() || faces.size() >= noSlot ||
      !addFloatingTriangle({faces[0][0], faces[0][1], faces[0][2]}))
    throw Exception("Mesh construction failure");
  auto const faceCount = static_cast<std::uint32_t>(faces.size());
  std::uint64_t const n = getNumberOfVertices();
  auto const key = [n](std::uint64_t org, std::uint64_t dest) { return org + n * dest; };

  // A face holding the directed edge x->y matches the front edge y->x.
  std::vector<std::pair<std::uint64_t, std::uint32_t>> lookups;
  lookups.reserve(3 * std::size_t(faceCount - 1));
  for (std::uint32_t f = 1; f < faceCount; ++f)
    for (int k = 0; k < 3; ++k)
      lookups.emplace_back(key(faces[f][(k + 1) % 3], faces[f][k]), f);
  std::sort(lookups.begin(), lookups.end());

  // The last face takes the seed's slot 0; the others keep their own.
  std::vector<std::uint32_t> faceAt(faceCount - 1);
  std::vector<std::uint32_t> slotOf(faceCount, noSlot);
  for (std::uint32_t f = 1; f < faceCount; ++f) {
    std::uint32_t const slot = f == faceCount - 1 ? 0 : f;
    faceAt[slot] = f;
    slotOf[f] = slot;
  }
  std::vector<std::uint8_t> matchingEdges(faceCount, 0);
  SlotSet matching(faceCount - 1);
  std::unordered_map<std::uint64_t, Triangle*> front;

  auto const forEachLookup = [&](std::uint64_t k, auto visit) {
    auto it = std::lower_bound(lookups.begin(), lookups.end(), std::make_pair(k, std::uint32_t(0)));
    for (; it != lookups.end() && it->first == k; ++it)
      if (slotOf[it->second] != noSlot)
        visit(it->second);
  };
  auto const addToFront = [&](Edge const& e) {
    std::uint64_t const k = key(e.org(), e.dest());
    if (!front.emplace(k, e.getTriangle()).second)
      return;
    forEachLookup(k, [&](std::uint32_t f) {
      if (matchingEdges[f]++ == 0)
        matching.insert(slotOf[f]);
    });
  };
  auto const removeFromFront = [&](std::uint64_t k) {
    front.erase(k);
    forEachLookup(k, [&](std::uint32_t f) {
      if (--matchingEdges[f] == 0)
        matching.erase(slotOf[f]);
    });
  };

  Triangle* const seed = triangles.back().get();
  for (std::int32_t k = 0; k < 3; ++k)
    addToFront(seed->getEdge(k));

  std::uint32_t remaining = faceCount - 1;
  std::size_t cursor = 0;
  while (remaining > 0) {
    std::size_t slot = matching.next(cursor);
    if (slot == SlotSet::none)
      slot = matching.next(0);
    // No remaining face touches the grown piece: a cursor would cycle forever.
    if (slot == SlotSet::none)
      throw Exception("Mesh construction failure");
    std::uint32_t const f = faceAt[slot];
    Face const& face = faces[f];
    std::uint64_t matched = 0;
    Triangle* owner = nullptr;
    std::uint32_t y = 0;
    std::uint32_t z = 0;
    for (int k = 0; k < 3 && owner == nullptr; ++k) {
      y = face[(k + 1) % 3];
      z = face[(k + 2) % 3];
      matched = key(y, face[k]);
      auto const it = front.find(matched);
      if (it != front.end())
        owner = it->second;
    }
    matching.erase(slot);
    slotOf[f] = noSlot;

    Edge edge;
    if (!owner->getEdgeFromVertexIndex(y, &edge) ||
        !addBoundaryTriangle(edge, static_cast<std::int32_t>(z)))
      throw Exception("Mesh construction failure");
    Edge const glued = edge.sym();
    addToFront(glued.rot());
    addToFront(glued.rot().rot());
    removeFromFront(matched);

    --remaining;
    if (slot != remaining) {
      std::uint32_t const last = faceAt[remaining];
      faceAt[slot] = last;
      slotOf[last] = static_cast<std::uint32_t>(slot);
      if (matching.contains(remaining)) {
        matching.erase(remaining);
        matching.insert(slot);
      }
    }
    stage.step(faceCount - remaining - 1);
    cursor = slot + 1 < remaining ? slot + 1 : 0;
  }
  // The mesh is whole: each vertex keeps its anchor only.
  for (auto& list : vertexTriangles)
    list.resize(1);
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
