#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MESH_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MESH_H

#include <QARN/Geometry/ThreeDimensional/TriMesh/CutEdgeIndex.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Edge.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/FileContents.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Triangle.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Vertex.h>
#include <QARN/Progress/ProgressListener.h>
#include <QARN/Progress/ProgressTerminator.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace QARN::Geometry::ThreeDimensional {
namespace PointCloud {
class Cloud;
}
} // namespace QARN::Geometry::ThreeDimensional

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// A triangle mesh of an inspected surface. Connectivity lives in the triangles; they are reached
/// from the vertices through each vertex's anchor triangle (null marks a floating vertex). The
/// mesh owns its triangles. Walks around a vertex follow the fan rule: start at an edge leaving
/// the vertex, rewind with oprev to the first edge of the fan on a boundary vertex, then advance
/// with onext until back at the start or at the boundary.
class Mesh {
public:
  /// Element i of the first vector is a vertex on the cut, element i of the second its copy.
  using CutEdgeIndices = std::pair<std::vector<CutEdgeIndex>, std::vector<CutEdgeIndex>>;

  Mesh();
  Mesh(Mesh const&) = delete;
  Mesh& operator=(Mesh const&) = delete;
  virtual ~Mesh();

  // Vertices (normals: MeshOrientation.cpp).
  std::uint32_t getNumberOfVertices() const { return static_cast<std::uint32_t>(vertices.size()); }
  /// Vertex i modulo the vertex count; throws "Invalid vertex index" on an empty mesh.
  Vertex& getVertex(std::uint32_t i);
  Vertex const& getVertex(std::uint32_t i) const;
  /// Sets every vertex normal to the unit area-weighted normal of the triangles around it (the
  /// zero vector where that sum vanishes or the vertex has no triangle).
  void calculateVertexNormals();

  // Topology.
  /// Fills triangles with the triangles of every anchored vertex's fan, once per corner met, and
  /// sets [begin, end) to the distinct ones in creation order; the vector keeps its full length.
  void getTriangles(std::vector<Triangle*>& triangles,
                    std::vector<Triangle*>::const_iterator& begin,
                    std::vector<Triangle*>::const_iterator& end) const;

  // Files: the mesh text format and its "_cut_indices.txt" companion.
  /// Replaces the mesh's contents (cut pairs included) with the file's.
  FileContents load(char const* fileName);
  void save(char const* fileName, bool write2D, bool flatOnly) const;
  /// Base name (no directory, no extension) of the file last loaded.
  std::string const& getFileName() const { return fileName; }
  CutEdgeIndices const& getCutEdgeIndices() const { return cutEdgeIndices; }

  // Progress; the pointers are held, never owned.
  void setProgressListener(ProgressListener* listener) { progressListener = listener; }
  void setProgressTerminator(ProgressTerminator* terminator) { progressTerminator = terminator; }

  // Construction from a point cloud (MeshFromCloud.cpp).
  /// Replaces the mesh's contents (file name and cut pairs cleared) with a triangulation of a
  /// scan-like cloud: a height field over the points' best-fit plane. The points are projected
  /// onto that plane and triangulated there (Delaunay, on a grid of 2^24 steps across the
  /// larger extent: points that fall on one grid node keep only the first in cloud order).
  /// Triangles with a side longer than maxEdgeLength (in 3-D) are removed where they reach the
  /// outline, through one another, so that the limit carves the outline in but leaves no holes
  /// inside; of the pieces left, the one with the most triangles is kept (the first found on a
  /// tie). The result is one edge-connected piece with a single boundary loop, manifold and
  /// without vertices where two fans touch, ready for flattening. Its vertices are the points
  /// it uses, in cloud order; triangles turn counter-clockwise about the plane's normal, which
  /// is chosen with a positive Z component (else Y, else X); vertex normals are computed.
  /// +infinity means no limit (the convex hull). Throws QARN::Exception "Invalid edge length
  /// limit" (NaN or not positive), "Too few points" (fewer than three), "Point cloud holds a
  /// non-finite point", "Point cloud does not span a surface" (the points project onto a line)
  /// or "Edge length limit leaves no triangle"; the mesh is left empty then.
  void construct(PointCloud::Cloud const& cloud, double maxEdgeLength);

private:
  friend struct MeshTestAccess;

  using Face = std::array<std::uint32_t, 3>;

  // Topology queries (Mesh.cpp). Indices wrap modulo the vertex count where stated.
  bool addVertex(Vertex const& vertex);
  bool getIsVertexFloating(std::uint32_t i) const;
  bool getIsVertexAttached(std::uint32_t i) const;
  Edge getVertexArbitraryEdge(std::uint32_t i) const;
  bool getIsBoundaryVertex(std::uint32_t i) const;
  bool getDoesEdgeExist(std::uint32_t a, std::uint32_t b, Edge* out) const;
  /// Empties the vertex lists and deletes the triangles.
  void clear();
  /// Removes floating vertices, renumbering the others in their order.
  void clean();

  // Triangle storage (Mesh.cpp; creation: MeshConstruction.cpp).
  Triangle* getTriangleBySerial(std::size_t serial) const {
    return triangleBlocks[serial / trianglesPerBlock].get() + serial % trianglesPerBlock;
  }
  /// Builds the triangle (a, b, c) without neighbours.
  Triangle* createTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c);

  // Construction (MeshConstruction.cpp).
  bool addFloatingTriangle(std::vector<std::uint32_t> const& indices);
  bool addBoundaryTriangle(Edge const& edge, std::int32_t vertexIndex);
  bool getBoundaryEdgeFromFans(std::uint32_t v, std::uint32_t w, Edge* out) const;
  void replaceFanEntry(std::uint32_t v, Triangle* old, Triangle* triangle);
  void removeFanEntry(std::uint32_t v, Triangle* triangle);
  /// Grows the connectivity from the first face across shared edges, in file order.
  void constructFromFaces(std::vector<Face> const& faces);

  // Files (MeshFiles.cpp).
  std::string const getCutEdgeIndicesFileName(std::string const& baseName) const;
  void saveCutEdgeIndices(std::string const& path, CutEdgeIndices const& indices) const;
  void loadCutEdgeIndices(std::string const& path, CutEdgeIndices& indices);

  /// Frees the storage of a block of triangles whose triangles were destroyed.
  struct TriangleBlockDeleter {
    void operator()(Triangle* block) const;
  };
  static constexpr std::size_t trianglesPerBlock = 1024;

  /// The anchor triangle of each vertex: one that uses it, null while the vertex is floating.
  std::vector<Triangle*> vertexTriangles;
  std::vector<Vertex> vertices;
  std::string fileName;
  CutEdgeIndices cutEdgeIndices;
  ProgressListener* progressListener = nullptr;
  ProgressTerminator* progressTerminator = nullptr;
  /// Every triangle of the mesh in creation order (index = serial), built in place in blocks so
  /// that a triangle costs no allocation of its own.
  std::vector<std::unique_ptr<Triangle, TriangleBlockDeleter>> triangleBlocks;
  std::size_t triangleCount = 0;
  /// While a mesh is grown: per vertex, the fans' first triangles after its anchor (see
  /// MeshConstruction.cpp); sized only once some vertex has more than one fan.
  std::vector<std::vector<Triangle*>> moreFanEntries;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
