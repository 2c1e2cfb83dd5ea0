#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_TRIANGLE_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_TRIANGLE_H

#include <QARN/Geometry/ThreeDimensional/TriMesh/Edge.h>
#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

class Mesh;

/// A mesh triangle: three corner indices (counter-clockwise seen against the normal), and per
/// edge k (opposite corner k) the neighbour across it and the index of the same side inside that
/// neighbour; null and the invalid index where edge k lies on the boundary. Triangles are created
/// and owned by their mesh. Corner and edge indices outside 0..2 are reduced modulo 3.
class Triangle {
public:
  /// Copies the nine connectivity fields; the copy belongs to no mesh.
  Triangle(Triangle const& t);
  /// Copies the nine connectivity fields; the owning mesh is kept.
  Triangle& operator=(Triangle const& t);
  virtual ~Triangle() = default;

  std::uint32_t getAdjacentVertexIndex(std::int32_t k) const { return vertexIndices[mod3(k)]; }
  Triangle* getAdjacentTriangle(std::int32_t k) const { return adjacentTriangles[mod3(k)]; }
  std::uint32_t getAdjacentTriangleEdgeIndex(std::int32_t k) const {
    return adjacentEdgeIndices[mod3(k)];
  }
  void getVertexIndices(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c) const;

  /// The edge (this, k mod 3).
  Edge getEdge(std::int32_t k);
  /// Sets *out to the edge whose org() is the first corner holding v and returns true; false
  /// (leaving *out) when no corner holds v.
  inline bool getEdgeFromVertexIndex(std::uint32_t v, Edge* out);
  /// Writes through index the edge index of b->a (the reverse of a->b) when the corner after the
  /// first corner holding b holds a, else -1. Always returns true.
  bool getDoesContainEdgeCompliment(std::uint32_t a, std::uint32_t b, std::int32_t* index) const;

  /// Writes a six-line debugging dump to standard output.
  void print() const;

private:
  friend class Edge;
  friend class Mesh;
  friend struct MeshTestAccess;

  /// All bits set: no edge.
  static constexpr std::uint32_t invalidEdgeIndex = 0xFFFFFFFFu;

  Triangle(Mesh* mesh, std::array<std::uint32_t, 3> const& vertexIndices,
           std::array<Triangle*, 3> const& adjacentTriangles,
           std::array<std::uint32_t, 3> const& adjacentEdgeIndices)
      : vertexIndices{vertexIndices[0], vertexIndices[1], vertexIndices[2]},
        adjacentTriangles{adjacentTriangles[0], adjacentTriangles[1], adjacentTriangles[2]},
        adjacentEdgeIndices{adjacentEdgeIndices[0], adjacentEdgeIndices[1], adjacentEdgeIndices[2]},
        mesh(mesh) {}

  static std::uint32_t mod3(std::int32_t k) { return static_cast<std::uint32_t>(k) % 3; }

  void setAdjacentVertexIndex(std::int32_t k, std::uint32_t index) {
    vertexIndices[mod3(k)] = index;
  }
  /// Glues edge k of this to edge m of other. Refuses (false, nothing changed) when either slot
  /// already holds a triangle other than the one it is glued to; re-connecting the same pair of
  /// triangles is accepted, whatever edge indices the slots held.
  inline bool connect(std::int32_t k, Triangle* other, std::uint32_t m);
  /// Slot k becomes a boundary slot; the neighbour is not touched.
  void makeBoundary(std::int32_t k);
  /// Box of the three flattened corner points.
  TwoDimensional::BoundingBoxAA<double> getAABB2D() const;
  Mesh* getMesh() const { return mesh; }

  std::uint32_t vertexIndices[3];
  Triangle* adjacentTriangles[3];
  std::uint32_t adjacentEdgeIndices[3];
  Mesh* mesh;
  /// Creation order inside the owning mesh; orders triangle lists reproducibly.
  std::size_t serial = 0;
};

inline Edge::Edge() : triangle(nullptr), triangleEdgeIndex(Triangle::invalidEdgeIndex) {}

inline bool Triangle::getEdgeFromVertexIndex(std::uint32_t v, Edge* out) {
  for (std::uint32_t c = 0; c < 3; ++c) {
    if (vertexIndices[c] == v) {
      *out = Edge(this, (c + 2) % 3);
      return true;
    }
  }
  return false;
}

inline bool Triangle::connect(std::int32_t k, Triangle* other, std::uint32_t m) {
  std::uint32_t const kk = mod3(k);
  std::uint32_t const mm = m % 3;
  // A slot is free for the pair when it is empty or already holds the other triangle.
  if ((adjacentTriangles[kk] != nullptr && adjacentTriangles[kk] != other) ||
      (other->adjacentTriangles[mm] != nullptr && other->adjacentTriangles[mm] != this))
    return false;
  adjacentTriangles[kk] = other;
  adjacentEdgeIndices[kk] = mm;
  other->adjacentTriangles[mm] = this;
  other->adjacentEdgeIndices[mm] = kk;
  return true;
}

inline std::uint32_t Edge::org() const {
  return triangle->vertexIndices[(triangleEdgeIndex + 1) % 3];
}

inline std::uint32_t Edge::dest() const {
  return triangle->vertexIndices[(triangleEdgeIndex + 2) % 3];
}

inline Edge Edge::rot() const {
  return Edge(triangle, (triangleEdgeIndex + 1) % 3);
}

inline Edge Edge::sym() const {
  std::uint32_t const k = triangleEdgeIndex % 3;
  return Edge(triangle->adjacentTriangles[k], triangle->adjacentEdgeIndices[k]);
}

inline Edge Edge::onext() const {
  return rot().rot().sym();
}

inline Edge Edge::oprev() const {
  return sym().rot();
}

inline bool Edge::isBoundary() const {
  return triangle->adjacentTriangles[triangleEdgeIndex % 3] == nullptr;
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
