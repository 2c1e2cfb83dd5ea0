#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include "Fan.h"
#include "SlotSet.h"

#include <Progress/ProgressStage.h>
#include <QARN/Exception.h>

#include <algorithm>
#include <memory>
#include <new>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

Triangle* Mesh::createTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  if (triangleCount == triangleBlocks.size() * trianglesPerBlock) {
    std::unique_ptr<Triangle, TriangleBlockDeleter> block(
        std::allocator<Triangle>().allocate(trianglesPerBlock));
    triangleBlocks.push_back(std::move(block));
  }
  auto* const triangle = new (getTriangleBySerial(triangleCount)) Triangle(
      this, {a, b, c}, {nullptr, nullptr, nullptr},
      {Triangle::invalidEdgeIndex, Triangle::invalidEdgeIndex, Triangle::invalidEdgeIndex});
  triangle->serial = triangleCount++;
  return triangle;
}

bool Mesh::addFloatingTriangle(std::vector<std::uint32_t> const& indices) {
  if (indices.size() != 3)
    return false;
  for (std::uint32_t const v : indices)
    if (v >= getNumberOfVertices() || !getIsVertexFloating(v))
      return false;
  Triangle* const triangle = createTriangle(indices[0], indices[1], indices[2]);
  for (std::uint32_t const v : indices)
    vertexTriangles[v] = triangle;
  return true;
}

// While a mesh grows, a vertex may have several separate fans. Its entries (its anchor, then its
// further entries in moreFanEntries) then hold, for each fan open at the boundary, the fan's first
// triangle (whose edge out of the vertex is a boundary edge); a closed fan may have no entry.
// Every boundary edge out of a vertex is thus the edge out of the vertex of one of its entries,
// so the triangles to glue a new triangle to are found without walking round the fans.
bool Mesh::getBoundaryEdgeFromFans(std::uint32_t v, std::uint32_t w, Edge* out) const {
  auto const isWanted = [&](Triangle* t) {
    Edge e;
    if (t == nullptr || !t->getEdgeFromVertexIndex(v, &e) || !e.isBoundary() || e.dest() != w)
      return false;
    *out = e;
    return true;
  };
  if (isWanted(vertexTriangles[v]))
    return true;
  if (v < moreFanEntries.size())
    for (Triangle* const t : moreFanEntries[v])
      if (isWanted(t))
        return true;
  return false;
}

void Mesh::replaceFanEntry(std::uint32_t v, Triangle* old, Triangle* triangle) {
  if (vertexTriangles[v] == old)
    vertexTriangles[v] = triangle;
  if (v < moreFanEntries.size())
    std::replace(moreFanEntries[v].begin(), moreFanEntries[v].end(), old, triangle);
}

void Mesh::removeFanEntry(std::uint32_t v, Triangle* triangle) {
  // A vertex always keeps one entry; the next one takes the anchor's place.
  if (v >= moreFanEntries.size() || moreFanEntries[v].empty())
    return;
  std::vector<Triangle*>& more = moreFanEntries[v];
  if (vertexTriangles[v] == triangle) {
    vertexTriangles[v] = more.front();
    more.erase(more.begin());
  } else {
    auto const entry = std::find(more.begin(), more.end(), triangle);
    if (entry != more.end())
      more.erase(entry);
  }
}

// The new triangle (d, o, z) lies across the boundary edge o->d of triangle t. It is also glued
// to the triangle holding the boundary edge z->o (P0) and to the one holding d->z (P1) where they
// exist. Round o, the new triangle comes first, before t; round d, after t and before P1; round z,
// after P1 and before P0. Where it joins two fans of a vertex, the entry that no longer starts a
// fan leaves the list; a fan it closes needs no entry, but a vertex always keeps one.
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
  bool const floating = vertexTriangles[z] == nullptr;
  Edge toOrg;
  Edge fromDest;
  bool const hasToOrg = !floating && getBoundaryEdgeFromFans(z, o, &toOrg);
  bool const hasFromDest = !floating && getBoundaryEdgeFromFans(d, z, &fromDest);

  Triangle* const triangle = createTriangle(d, o, z);
  triangle->connect(2, across, edge.getTriangleEdgeIndex());
  if (hasToOrg)
    triangle->connect(0, toOrg.getTriangle(), toOrg.getTriangleEdgeIndex());
  if (hasFromDest)
    triangle->connect(1, fromDest.getTriangle(), fromDest.getTriangleEdgeIndex());

  if (hasToOrg)
    removeFanEntry(o, across);
  else
    replaceFanEntry(o, across, triangle);
  if (hasFromDest)
    removeFanEntry(d, fromDest.getTriangle());
  if (floating)
    vertexTriangles[z] = triangle;
  else if (hasToOrg && hasFromDest)
    removeFanEntry(z, toOrg.getTriangle());
  else if (hasToOrg)
    replaceFanEntry(z, toOrg.getTriangle(), triangle);
  else if (!hasFromDest) {
    moreFanEntries.resize(std::max(moreFanEntries.size(), vertexTriangles.size()));
    moreFanEntries[z].push_back(triangle);
  }
  return true;
}

namespace {

constexpr std::uint32_t none = 0xFFFFFFFFu;

/// The directed edges of the faces still to be added, found by the key of the front edge that
/// matches them: a face holding x->y matches the front edge y->x, whose key is y + n*x. A key is
/// split into (key mod n, key div n): one bucket per vertex, sorted by the second part. Keys
/// whose second part is n or more belong to no triangle edge and are left out. The first entry
/// of a key also records the front triangle of that edge while the edge is in the front; front
/// edges that no face looks up cannot affect the growth and are not kept.
class FaceEdgeTable {
public:
  FaceEdgeTable(std::vector<std::array<std::uint32_t, 3>> const& faces, std::uint32_t n)
      : n(n), start(std::size_t(n) + 1, 0) {
    auto const forEachEdge = [&](auto use) {
      for (std::uint32_t f = 1; f < faces.size(); ++f)
        for (int k = 0; k < 3; ++k) {
          auto const [bucket, second] = split(faces[f][(k + 1) % 3], faces[f][k]);
          if (second < n)
            use(bucket, second, f);
        }
    };
    forEachEdge([&](std::uint32_t bucket, std::uint32_t, std::uint32_t) { ++start[bucket + 1]; });
    for (std::uint32_t b = 0; b < n; ++b)
      start[b + 1] += start[b];
    entries.resize(start[n]);
    std::vector<std::uint32_t> next(start.begin(), start.end() - 1);
    forEachEdge([&](std::uint32_t bucket, std::uint32_t second, std::uint32_t f) {
      entries[next[bucket]++] = Entry{second, f, none};
    });
    for (std::uint32_t b = 0; b < n; ++b)
      std::sort(entries.begin() + start[b], entries.begin() + start[b + 1]);
  }

  /// The entries [first, last) holding the key org + n*dest; empty when no face holds it.
  std::pair<std::uint32_t, std::uint32_t> find(std::uint32_t org, std::uint32_t dest) const {
    auto const [bucket, second] = split(org, dest);
    if (second >= n)
      return {0, 0};
    auto const first = entries.begin() + start[bucket];
    auto const last = entries.begin() + start[bucket + 1];
    auto const from =
        std::lower_bound(first, last, Entry{static_cast<std::uint32_t>(second), 0, 0});
    auto to = from;
    while (to != last && to->second == second)
      ++to;
    return {static_cast<std::uint32_t>(from - entries.begin()),
            static_cast<std::uint32_t>(to - entries.begin())};
  }
  std::uint32_t face(std::uint32_t i) const { return entries[i].face; }
  /// Serial of the front triangle holding the edge of the key of first entry i, or none.
  std::uint32_t& front(std::uint32_t i) { return entries[i].front; }

private:
  struct Entry {
    std::uint32_t second;
    std::uint32_t face;
    std::uint32_t front;
    bool operator<(Entry const& e) const {
      return second < e.second || (second == e.second && face < e.face);
    }
  };

  /// (key mod n, key div n) of the key org + n*dest, without dividing when org is below n.
  std::pair<std::uint32_t, std::uint64_t> split(std::uint32_t org, std::uint32_t dest) const {
    if (org < n)
      return {org, dest};
    std::uint64_t const key = org + std::uint64_t(n) * dest;
    return {static_cast<std::uint32_t>(key % n), key / n};
  }

  std::uint32_t n;
  std::vector<std::uint32_t> start;
  std::vector<Entry> entries;
};

} // namespace

// The faces are tried as a cursor cycling over the slots of the faces not yet added would try
// them: the last face fills each freed slot, and the cursor moves on to the next slot, wrapping
// to 0. Rather than testing every slot, the cursor jumps to the next slot whose face has an edge
// matching the front, a set kept up to date as edges enter and leave the front.
void Mesh::constructFromFaces(std::vector<Face> const& faces) {
  ProgressStage stage(progressListener, "Constructing triangle mesh...", faces.size());
  // Table positions are 32-bit: three per face.
  if (faces.empty() || faces.size() >= none / 3)
    throw Exception("Mesh construction failure");
  auto const faceCount = static_cast<std::uint32_t>(faces.size());
  if (!addFloatingTriangle({faces[0][0], faces[0][1], faces[0][2]}))
    throw Exception("Mesh construction failure");
  FaceEdgeTable table(faces, getNumberOfVertices());

  // The last face takes the seed's slot 0; the others keep their own.
  std::vector<std::uint32_t> faceAt(faceCount - 1);
  std::vector<std::uint32_t> slotOf(faceCount, none);
  for (std::uint32_t f = 1; f < faceCount; ++f) {
    std::uint32_t const slot = f == faceCount - 1 ? 0 : f;
    faceAt[slot] = f;
    slotOf[f] = slot;
  }
  std::vector<std::uint8_t> matchingEdges(faceCount, 0);
  SlotSet matching(faceCount - 1);

  auto const addToFront = [&](Edge const& e) {
    auto const [first, last] = table.find(e.org(), e.dest());
    if (first == last || table.front(first) != none)
      return;
    table.front(first) = static_cast<std::uint32_t>(e.getTriangle()->serial);
    for (std::uint32_t i = first; i < last; ++i) {
      std::uint32_t const f = table.face(i);
      if (slotOf[f] != none && matchingEdges[f]++ == 0)
        matching.insert(slotOf[f]);
    }
  };
  auto const removeFromFront = [&](std::pair<std::uint32_t, std::uint32_t> entries) {
    table.front(entries.first) = none;
    for (std::uint32_t i = entries.first; i < entries.second; ++i) {
      std::uint32_t const f = table.face(i);
      if (slotOf[f] != none && --matchingEdges[f] == 0)
        matching.erase(slotOf[f]);
    }
  };

  Triangle* const seed = getTriangleBySerial(triangleCount - 1);
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
    std::pair<std::uint32_t, std::uint32_t> matched;
    Triangle* owner = nullptr;
    std::uint32_t y = 0;
    std::uint32_t z = 0;
    for (int k = 0; k < 3 && owner == nullptr; ++k) {
      y = face[(k + 1) % 3];
      z = face[(k + 2) % 3];
      matched = table.find(y, face[k]);
      if (matched.first != matched.second && table.front(matched.first) != none)
        owner = getTriangleBySerial(table.front(matched.first));
    }
    matching.erase(slot);
    slotOf[f] = none;

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
  moreFanEntries = std::vector<std::vector<Triangle*>>();
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
