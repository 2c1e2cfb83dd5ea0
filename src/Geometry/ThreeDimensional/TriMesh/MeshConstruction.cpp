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
// further entries in its list of moreFanLists) then hold, for each fan open at the boundary, the
// fan's first triangle (whose edge out of the vertex is a boundary edge); a closed fan may have no
// entry. Every boundary edge out of a vertex is thus the edge out of the vertex of one of its
// entries, so the triangles to glue a new triangle to are found without walking round the fans.
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
  if (std::vector<Triangle*> const* const more = getMoreFanEntries(v))
    for (Triangle* const t : *more)
      if (isWanted(t))
        return true;
  return false;
}

std::vector<Triangle*> const* Mesh::getMoreFanEntries(std::uint32_t v) const {
  if (v >= moreFanIndex.size() || moreFanIndex[v] == noFanList)
    return nullptr;
  return &moreFanLists[moreFanIndex[v]];
}

std::vector<Triangle*>* Mesh::getMoreFanEntries(std::uint32_t v) {
  return const_cast<std::vector<Triangle*>*>(static_cast<Mesh const*>(this)->getMoreFanEntries(v));
}

void Mesh::addFanEntry(std::uint32_t v, Triangle* triangle) {
  if (moreFanIndex.empty())
    moreFanIndex.assign(vertexTriangles.size(), noFanList);
  if (moreFanIndex[v] == noFanList) {
    moreFanIndex[v] = static_cast<std::uint32_t>(moreFanLists.size());
    moreFanLists.emplace_back();
  }
  moreFanLists[moreFanIndex[v]].push_back(triangle);
}

void Mesh::replaceFanEntry(std::uint32_t v, Triangle* old, Triangle* triangle) {
  if (vertexTriangles[v] == old)
    vertexTriangles[v] = triangle;
  if (std::vector<Triangle*>* const more = getMoreFanEntries(v))
    std::replace(more->begin(), more->end(), old, triangle);
}

void Mesh::removeFanEntry(std::uint32_t v, Triangle* triangle) {
  // A vertex always keeps one entry; the next one takes the anchor's place.
  std::vector<Triangle*>* const entries = getMoreFanEntries(v);
  if (entries == nullptr || entries->empty())
    return;
  std::vector<Triangle*>& more = *entries;
  if (vertexTriangles[v] == triangle) {
    vertexTriangles[v] = more.front();
    more.erase(more.begin());
  } else {
    auto const entry = std::find(more.begin(), more.end(), triangle);
    if (entry != more.end())
      more.erase(entry);
  }
}

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
  attachTriangle(edge, z, hasToOrg ? &toOrg : nullptr, hasFromDest ? &fromDest : nullptr);
  return true;
}

// The new triangle (d, o, z) lies across the boundary edge o->d of triangle t. It is also glued
// to the triangle holding the boundary edge z->o (P0) and to the one holding d->z (P1) where they
// exist. Round o, the new triangle comes first, before t; round d, after t and before P1; round z,
// after P1 and before P0. Where it joins two fans of a vertex, the entry that no longer starts a
// fan leaves the list; a fan it closes needs no entry, but a vertex always keeps one.
void Mesh::attachTriangle(Edge const& edge, std::uint32_t z, Edge const* toOrg,
                          Edge const* fromDest) {
  Triangle* const across = edge.getTriangle();
  std::uint32_t const o = edge.org();
  std::uint32_t const d = edge.dest();
  bool const floating = vertexTriangles[z] == nullptr;
  Triangle* const triangle = createTriangle(d, o, z);
  triangle->connect(2, across, edge.getTriangleEdgeIndex());
  if (toOrg != nullptr)
    triangle->connect(0, toOrg->getTriangle(), toOrg->getTriangleEdgeIndex());
  if (fromDest != nullptr)
    triangle->connect(1, fromDest->getTriangle(), fromDest->getTriangleEdgeIndex());

  if (toOrg != nullptr)
    removeFanEntry(o, across);
  else
    replaceFanEntry(o, across, triangle);
  if (fromDest != nullptr)
    removeFanEntry(d, fromDest->getTriangle());
  if (floating)
    vertexTriangles[z] = triangle;
  else if (toOrg != nullptr && fromDest != nullptr)
    removeFanEntry(z, toOrg->getTriangle());
  else if (toOrg != nullptr)
    replaceFanEntry(z, toOrg->getTriangle(), triangle);
  else if (fromDest == nullptr) {
    addFanEntry(z, triangle);
  }
}

namespace {

constexpr std::uint32_t none = 0xFFFFFFFFu;

/// The cursor of the growth over the slots of the faces not yet added. It tries the faces as a
/// cursor cycling over the slots would try them, wrapping to 0, but stops only at the slots whose
/// face matches the front, a set the growth keeps up to date. The face in the last slot fills
/// each slot a face leaves.
class GrowthCursor {
public:
  explicit GrowthCursor(std::uint32_t slots) : matching(slots), remaining(slots) {}

  std::uint32_t getRemaining() const { return remaining; }
  /// The slots whose face matches the front.
  SlotSet& getMatching() { return matching; }
  /// The next slot whose face matches; throws when no remaining face touches the grown piece
  /// (a cursor would cycle forever).
  std::size_t next() const {
    std::size_t slot = matching.next(cursor);
    if (slot == SlotSet::none)
      slot = matching.next(0);
    if (slot == SlotSet::none)
      throw Exception("Mesh construction failure");
    return slot;
  }
  /// The face in slot was added: the face in the last slot moves into it, matching or not, and
  /// the cursor moves on. Returns the slot that face left, or SlotSet::none when slot was the
  /// last.
  std::size_t retire(std::size_t slot) {
    matching.erase(slot);
    --remaining;
    std::size_t left = SlotSet::none;
    if (slot != remaining) {
      left = remaining;
      if (matching.contains(left)) {
        matching.erase(left);
        matching.insert(slot);
      }
    }
    cursor = slot + 1 < remaining ? slot + 1 : 0;
    return left;
  }

private:
  SlotSet matching;
  std::uint32_t remaining;
  std::size_t cursor = 0;
};

/// The faces as the growth sees them. Face edge k runs from corner k to corner k+1; h = 3f + k
/// names edge k of face f. A face holding x->y matches the front edge y->x, whose key is
/// y + n*x, taken as (key mod n, key div n), the front edge's org and dest (y and x themselves
/// when both are below n); keys whose dest is n or more belong to no triangle edge. The face
/// edges matching one key form a cycle, and each of them holds the key's front triangle while the
/// key is in the front, so a face matches the front exactly when one of its edges holds one.
class GrowthFaces {
public:
  /// The last face takes the seed's slot 0; the others keep their own.
  GrowthFaces(std::vector<std::array<std::uint32_t, 3>> const& faces, std::uint32_t n);

  /// Per edge of face f: serial of the front triangle whose edge it matches, or none.
  std::uint32_t* fronts(std::uint32_t f) { return state[f].front; }
  std::uint32_t& front(std::uint32_t h) { return state[h / 3].front[h % 3]; }
  /// Slot of face f among the faces not yet added; none once added (the seed from the start).
  std::uint32_t& slot(std::uint32_t f) { return state[f].slot; }
  /// A face edge matching the key of a front edge running along face edge h, or none.
  std::uint32_t along(std::uint32_t h) const { return links[h / 3].along[h % 3]; }
  /// The next face edge matching the same key as face edge h (h itself when alone).
  std::uint32_t sameKey(std::uint32_t h) const { return links[h / 3].sameKey[h % 3]; }
  /// A face edge matching the key org + n*dest, or none, by a search through every face edge: for
  /// the triangles that are no rotation of their face, which only a first face repeating a corner
  /// gives rise to (at most three times).
  std::uint32_t find(std::uint32_t org, std::uint32_t dest) const;

private:
  struct Key {
    std::uint32_t org;
    std::uint64_t dest;
  };
  /// The key matched by face edge k of face f, without dividing when both corners are below n.
  Key getKey(std::uint32_t f, std::uint32_t k) const {
    std::uint32_t const x = faces[f][k];
    std::uint32_t const y = faces[f][(k + 1) % 3];
    if (x < n && y < n)
      return {y, x};
    std::uint64_t const key = y + std::uint64_t(n) * x;
    return {static_cast<std::uint32_t>(key % n), key / n};
  }

  /// Per face, what the growth changes and what it only reads, apart and packed: the faces met
  /// one after another lie far apart, and those near a met one are met soon after.
  struct State {
    std::uint32_t front[3];
    std::uint32_t slot;
  };
  struct Links {
    std::uint32_t along[3];
    std::uint32_t sameKey[3];
  };

  std::vector<std::array<std::uint32_t, 3>> const& faces;
  std::uint32_t n;
  std::unique_ptr<State[]> state;
  std::unique_ptr<Links[]> links;
};

GrowthFaces::GrowthFaces(std::vector<std::array<std::uint32_t, 3>> const& faces, std::uint32_t n)
    : faces(faces), n(n), state(new State[faces.size()]), links(new Links[faces.size()]) {
  auto const faceCount = static_cast<std::uint32_t>(faces.size());
  for (std::uint32_t f = 0; f < faceCount; ++f)
    state[f] = State{{none, none, none}, f == 0 ? none : f == faceCount - 1 ? 0 : f};
  // The face edges are sorted by key: into a bucket per smaller end and direction,
  // 2*min + (org > dest), so that a key and its reverse lie in neighbouring buckets, then by the
  // larger end within a bucket.
  auto const bucket = [](Key const& key) {
    return key.org <= key.dest ? 2 * std::size_t(key.org) : 2 * key.dest + 1;
  };
  std::vector<std::uint32_t> start(2 * std::size_t(n) + 2, 0);
  for (std::uint32_t f = 0; f < faceCount; ++f)
    for (std::uint32_t k = 0; k < 3; ++k) {
      Key const key = getKey(f, k);
      if (key.dest < n)
        ++start[bucket(key) + 1];
    }
  for (std::size_t b = 1; b < start.size(); ++b)
    start[b] += start[b - 1];
  // Each entry as (larger end << 32) + face edge.
  std::unique_ptr<std::uint64_t[]> sorted(new std::uint64_t[start.back()]);
  {
    std::vector<std::uint32_t> next(start.begin(), start.end() - 1);
    for (std::uint32_t f = 0; f < faceCount; ++f)
      for (std::uint32_t k = 0; k < 3; ++k) {
        Key const key = getKey(f, k);
        if (key.dest < n) {
          sorted[next[bucket(key)]++] =
              std::max<std::uint64_t>(key.org, key.dest) << 32 | (3 * f + k);
        } else {
          links[f].along[k] = none;
          links[f].sameKey[k] = none;
        }
      }
  }
  auto const larger = [&](std::uint32_t i) { return sorted[i] >> 32; };
  auto const edge = [&](std::uint32_t i) { return static_cast<std::uint32_t>(sorted[i]); };
  // The run of entries from i sharing its larger end, within the bucket ending at last.
  auto const runEnd = [&](std::uint32_t i, std::uint32_t last) {
    std::uint32_t j = i + 1;
    while (j < last && larger(j) == larger(i))
      ++j;
    return j;
  };
  // A run's face edges match one key; along their edges runs the key of the run at reverse.
  auto const setRun = [&](std::uint32_t first, std::uint32_t last, std::uint32_t reverse) {
    for (std::uint32_t i = first; i < last; ++i) {
      std::uint32_t const h = edge(i);
      links[h / 3].sameKey[h % 3] = edge(i + 1 < last ? i + 1 : first);
      links[h / 3].along[h % 3] = reverse == none ? none : edge(reverse);
    }
  };
  for (std::uint32_t v = 0; v < n; ++v) {
    // Keys v->w with v <= w, then w->v with v < w; a run and its reverse share w.
    std::uint32_t i = start[2 * std::size_t(v)];
    std::uint32_t const endI = start[2 * std::size_t(v) + 1];
    std::uint32_t j = endI;
    std::uint32_t const endJ = start[2 * std::size_t(v) + 2];
    std::sort(sorted.get() + i, sorted.get() + endI);
    std::sort(sorted.get() + j, sorted.get() + endJ);
    while (i < endI || j < endJ) {
      bool const useI = i < endI && (j == endJ || larger(i) <= larger(j));
      bool const useJ = j < endJ && (i == endI || larger(j) <= larger(i));
      std::uint32_t const nextI = useI ? runEnd(i, endI) : i;
      std::uint32_t const nextJ = useJ ? runEnd(j, endJ) : j;
      if (useI)
        setRun(i, nextI, larger(i) == v ? i : useJ ? j : none);
      if (useJ)
        setRun(j, nextJ, useI ? i : none);
      i = nextI;
      j = nextJ;
    }
  }
}

std::uint32_t GrowthFaces::find(std::uint32_t org, std::uint32_t dest) const {
  for (std::uint32_t f = 0; f < faces.size(); ++f)
    for (std::uint32_t k = 0; k < 3; ++k) {
      Key const key = getKey(f, k);
      if (key.org == org && key.dest == dest)
        return 3 * f + k;
    }
  return none;
}

} // namespace

void Mesh::constructFromFaces(std::vector<Face> const& faces) {
  if (!growAcrossOppositeEdges(faces))
    growFromFaces(faces);
  // The mesh is whole: each vertex keeps its anchor only.
  moreFanIndex = std::vector<std::uint32_t>();
  moreFanLists = std::vector<std::vector<Triangle*>>();
}

// The faces are tried as a cursor cycling over the slots of the faces not yet added would try
// them: the last face fills each freed slot, and the cursor moves on to the next slot, wrapping
// to 0. Rather than testing every slot, the cursor jumps to the next slot whose face has an edge
// matching the front, a set kept up to date as edges enter and leave the front. Front edges that
// no face matches cannot affect the growth and are not kept.
void Mesh::growFromFaces(std::vector<Face> const& faces) {
  ProgressStage stage(progressListener, "Constructing triangle mesh...", faces.size());
  // Face edges are numbered in 32 bits.
  if (faces.empty() || faces.size() >= none / 3)
    throw Exception("Mesh construction failure");
  auto const faceCount = static_cast<std::uint32_t>(faces.size());
  if (!addFloatingTriangle({faces[0][0], faces[0][1], faces[0][2]}))
    throw Exception("Mesh construction failure");
  GrowthFaces growth(faces, getNumberOfVertices());
  std::vector<std::uint32_t> faceAt(faceCount - 1);
  for (std::uint32_t f = 1; f < faceCount; ++f)
    faceAt[growth.slot(f)] = f;
  GrowthCursor cursor(faceCount - 1);
  SlotSet& matching = cursor.getMatching();

  // Puts the key matched by face edge h into the front, unless it is there.
  auto const addToFront = [&](std::uint32_t h, Triangle const* t) {
    if (h == none || growth.front(h) != none)
      return;
    std::uint32_t i = h;
    do {
      std::uint32_t* const fronts = growth.fronts(i / 3);
      bool const wasMatching = fronts[0] != none || fronts[1] != none || fronts[2] != none;
      fronts[i % 3] = static_cast<std::uint32_t>(t->serial);
      if (!wasMatching && growth.slot(i / 3) != none)
        matching.insert(growth.slot(i / 3));
      i = growth.sameKey(i);
    } while (i != h);
  };
  auto const removeFromFront = [&](std::uint32_t h) {
    std::uint32_t i = h;
    do {
      std::uint32_t* const fronts = growth.fronts(i / 3);
      fronts[i % 3] = none;
      if (fronts[0] == none && fronts[1] == none && fronts[2] == none && growth.slot(i / 3) != none)
        matching.erase(growth.slot(i / 3));
      i = growth.sameKey(i);
    } while (i != h);
  };
  // The seed's edges 0, 1, 2 run along the first face's edges 1, 2, 0.
  Triangle const* const seed = getTriangleBySerial(triangleCount - 1);
  for (std::uint32_t k = 0; k < 3; ++k)
    addToFront(growth.along((k + 1) % 3), seed);

  while (cursor.getRemaining() > 0) {
    std::size_t const slot = cursor.next();
    std::uint32_t const f = faceAt[slot];
    Face const& face = faces[f];
    std::uint32_t const* const fronts = growth.fronts(f);
    // The first face edge x->y matching the front (one does, as the face's slot matches).
    std::uint32_t k = 0;
    while (fronts[k] == none)
      ++k;
    std::uint32_t const y = face[(k + 1) % 3];
    std::uint32_t const z = face[(k + 2) % 3];
    Triangle* const owner = getTriangleBySerial(fronts[k]);
    growth.slot(f) = none;

    Edge edge;
    if (!owner->getEdgeFromVertexIndex(y, &edge) ||
        !addBoundaryTriangle(edge, static_cast<std::int32_t>(z)))
      throw Exception("Mesh construction failure");
    // Its edges 0 and 1, y->z and z->x, run along face edges k+1 and k+2 when it is (x, y, z).
    Triangle const* const added = getTriangleBySerial(triangleCount - 1);
    bool const rotation = added->vertexIndices[0] == face[k];
    for (std::uint32_t e = 0; e < 2; ++e)
      addToFront(rotation ? growth.along(3 * f + (k + 1 + e) % 3)
                          : growth.find(added->vertexIndices[(e + 1) % 3],
                                        added->vertexIndices[(e + 2) % 3]),
                 added);
    removeFromFront(3 * f + k);

    std::size_t const left = cursor.retire(slot);
    if (left != SlotSet::none) {
      std::uint32_t const last = faceAt[left];
      faceAt[slot] = last;
      growth.slot(last) = static_cast<std::uint32_t>(slot);
    }
    stage.step(faceCount - cursor.getRemaining() - 1);
  }
}

namespace {

using Corners = std::array<std::uint32_t, 3>;

/// Corner k + 1 and k + 2 of a face, for k from 0 to 2.
constexpr std::uint32_t after[5] = {1, 2, 0, 1, 2};
/// Marks a triangle's serial among face edge numbers, which stay below it.
constexpr std::uint32_t triangleBit = 0x80000000u;
/// Face edge k of face f is numbered 4f + k, below triangleBit.
constexpr std::size_t maxOppositeFaces = triangleBit / 4;

/// A face as the growth along opposite edges keeps it, two to a cache line: its corners; per
/// edge k (corner k to corner k + 1) the face edge running the other way along it, or
/// triangleBit + serial of that face's triangle once there is one, or none; its slot among the
/// faces not yet added, none once added. Once face f is added, or when it is the seed, occupant
/// names the face now in slot f (in slot 0 for the seed); until then slot f holds f itself.
struct alignas(32) OppositeFace {
  Corners corners;
  std::uint32_t across[3];
  std::uint32_t slot;
  std::uint32_t occupant;

  static bool isTriangle(std::uint32_t link) { return link != none && link >= triangleBit; }
  bool touchesTriangle() const {
    return isTriangle(across[0]) || isTriangle(across[1]) || isTriangle(across[2]);
  }
};

/// Links every face edge x->y to the face edge y->x. False when a face repeats a corner or
/// names one at or beyond n, or a directed edge occurs in two faces.
bool linkOppositeEdges(std::vector<OppositeFace>& faces, std::uint32_t n) {
  auto const faceCount = static_cast<std::uint32_t>(faces.size());
  // The face edges in lists by their smaller end, chained through their across entries.
  std::vector<std::uint32_t> first(n, none);
  for (std::uint32_t f = 0; f < faceCount; ++f)
    for (std::uint32_t k = 0; k < 3; ++k) {
      std::uint32_t const x = faces[f].corners[k];
      std::uint32_t const y = faces[f].corners[after[k]];
      if (x >= n || y >= n || x == y)
        return false;
      std::uint32_t& head = first[std::min(x, y)];
      faces[f].across[k] = head;
      head = 4 * f + k;
    }
  // In a list, an edge and its reverse share the larger end w and differ in direction. While
  // the list of v is walked, seen[w] holds v and the first edge met with larger end w, its
  // direction in the top bit, or all bits set once that edge has found its reverse.
  constexpr std::uint32_t fromLarger = 0x80000000u;
  std::vector<std::uint64_t> seen(n, ~std::uint64_t(0));
  for (std::uint32_t v = 0; v < n; ++v)
    for (std::uint32_t h = first[v]; h != none;) {
      OppositeFace& face = faces[h / 4];
      std::uint32_t const x = face.corners[h % 4];
      std::uint32_t const y = face.corners[after[h % 4]];
      std::uint32_t const next = face.across[h % 4];
      std::uint32_t const direction = x > y ? fromLarger : 0;
      std::uint64_t& mark = seen[std::max(x, y)];
      face.across[h % 4] = none;
      if (mark >> 32 != v) {
        mark = std::uint64_t(v) << 32 | direction | h;
      } else {
        // A third edge between v and w, or a second in the same direction, repeats an edge.
        auto const other = static_cast<std::uint32_t>(mark);
        if (other == ~std::uint32_t(0) || (other & fromLarger) == direction)
          return false;
        face.across[h % 4] = other & ~fromLarger;
        faces[(other & ~fromLarger) / 4].across[other % 4] = h;
        mark |= ~std::uint32_t(0);
      }
      h = next;
    }
  return true;
}

} // namespace

// Where every face has three distinct corners and no directed edge occurs twice, the front is
// known without keys: a face edge matches the front exactly when the face across it has its
// triangle, which is a rotation of that face. Each face then keeps the triangles across its
// edges, and the gluing needs no search round the fans. Faces are tried in the same order as by
// the general growth.
// The whole growth is inlined into one function: its steps are small and run a million times.
[[gnu::flatten]] bool Mesh::growAcrossOppositeEdges(std::vector<Face> const& faces) {
  if (faces.empty() || faces.size() > maxOppositeFaces)
    return false;
  auto const faceCount = static_cast<std::uint32_t>(faces.size());
  // The last face takes the seed's slot 0; the others keep their own.
  std::vector<OppositeFace> growth;
  growth.reserve(faceCount);
  for (std::uint32_t f = 0; f < faceCount; ++f)
    growth.push_back(OppositeFace{faces[f],
                                  {none, none, none},
                                  f == 0               ? none
                                  : f == faceCount - 1 ? 0
                                                       : f,
                                  faceCount - 1});
  if (!linkOppositeEdges(growth, getNumberOfVertices()))
    return false;

  ProgressStage stage(progressListener, "Constructing triangle mesh...", faceCount);
  if (!addFloatingTriangle({faces[0][0], faces[0][1], faces[0][2]}))
    throw Exception("Mesh construction failure");
  GrowthCursor cursor(faceCount - 1);
  SlotSet& matching = cursor.getMatching();
  // The triangle of the given serial now lies across face edge h: its face matches the front.
  auto const reach = [&](std::uint32_t h, std::size_t serial) {
    if (h == none || OppositeFace::isTriangle(h))
      return;
    OppositeFace& face = growth[h / 4];
    if (!face.touchesTriangle())
      matching.insert(face.slot);
    face.across[h % 4] = triangleBit + static_cast<std::uint32_t>(serial);
  };
  for (std::uint32_t const h : growth[0].across)
    reach(h, 0);

  // The faces added one after another lie far apart in memory: the records of the slots a few
  // matching slots ahead of the cursor are fetched early.
  constexpr int lookahead = 8;
  std::size_t ahead = SlotSet::none;
  auto const occupantOf = [&](std::size_t slot) {
    OppositeFace const& home = growth[slot];
    return home.slot == slot ? static_cast<std::uint32_t>(slot) : home.occupant;
  };
  while (cursor.getRemaining() > 0) {
    std::size_t const slot = cursor.next();
    for (int steps = ahead == SlotSet::none || ahead <= slot ? lookahead : 1; steps > 0; --steps) {
      ahead = matching.next(ahead == SlotSet::none || ahead < slot ? slot + 1 : ahead + 1);
      if (ahead == SlotSet::none)
        break;
      __builtin_prefetch(&growth[ahead]);
    }
    std::uint32_t const f = occupantOf(slot);
    OppositeFace& face = growth[f];
    face.slot = none;
    // Across its first edge x->y that has a triangle, the face becomes (x, y, z); its other
    // sides y->z and z->x meet the edges z->y and x->z of the triangles across them, if any.
    std::uint32_t k = 0;
    while (!OppositeFace::isTriangle(face.across[k]))
      ++k;
    std::uint32_t const x = face.corners[k];
    std::uint32_t const y = face.corners[after[k]];
    std::uint32_t const z = face.corners[after[k + 1]];
    auto const edgeFrom = [&](std::uint32_t link, std::uint32_t org, Edge& edge) {
      if (!OppositeFace::isTriangle(link))
        return false;
      getTriangleBySerial(link - triangleBit)->getEdgeFromVertexIndex(org, &edge);
      return true;
    };
    Edge edge;
    Edge toOrg;
    Edge fromDest;
    edgeFrom(face.across[k], y, edge);
    bool const hasToOrg = edgeFrom(face.across[after[k]], z, toOrg);
    bool const hasFromDest = edgeFrom(face.across[after[k + 1]], x, fromDest);
    attachTriangle(edge, z, hasToOrg ? &toOrg : nullptr, hasFromDest ? &fromDest : nullptr);
    reach(face.across[after[k]], triangleCount - 1);
    reach(face.across[after[k + 1]], triangleCount - 1);

    std::size_t const left = cursor.retire(slot);
    if (left != SlotSet::none) {
      std::uint32_t const last = occupantOf(left);
      growth[slot].occupant = last;
      growth[last].slot = static_cast<std::uint32_t>(slot);
    }
    stage.step(faceCount - cursor.getRemaining() - 1);
  }
  return true;
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
