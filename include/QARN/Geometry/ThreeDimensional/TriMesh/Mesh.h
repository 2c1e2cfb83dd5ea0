#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MESH_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MESH_H

#include <QARN/Geometry/ThreeDimensional/TriMesh/CutEdgeIndex.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Edge.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/FileContents.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/IndexedFaceSet.h>
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
  /// The normal `calculateVertexNormals` gives vertex i (i modulo the vertex count), found from
  /// its fan alone and not stored: the same bits for a vertex whose triangles form one fan.
  /// Throws "Invalid vertex index" on an empty mesh.
  Vector getVertexNormal(std::uint32_t i) const;

  // Planar orientation of the flat points (MeshOrientation.cpp). Only the 2-D points change.
  /// Turns the flat points about the origin so that their principal axis (the direction of the
  /// largest second moment of the flat triangles' area) runs along u, by the smallest turn that
  /// does so (at most a quarter turn either way; none when the moments are equal in every
  /// direction), then moves the low corner of their box to the origin. Returns false, changing
  /// nothing, when the flat triangles have no area or a non-finite moment.
  bool transformPCA2D();
  /// Indices of the boundary vertices with the smallest u, the largest u, the smallest v and the
  /// largest v of their flat points, in that order (the lowest index on a tie). Throws "No boundary
  /// found" when no vertex lies on a boundary.
  std::array<std::uint32_t, 4> getExtremeBoundaryVertexIndices() const;
  /// Fills corners[0..3] with the 3-D points of the boundary vertices whose flat points lie nearest
  /// to the corners of the flat box (low u and low v, high u and low v, high u and high v, low u
  /// and high v; the lowest index on a tie): where the corners of the scan plane lie on the part.
  /// The array must hold four points. Throws "No boundary found" when no vertex lies on a
  /// boundary.
  void getCorners(Point* corners) const;
  /// Moves every flat point to the nearest multiple of step in u and in v (halves go up, as
  /// `QuadMesh::RectMesh` rounds), so that noise below the scan resolution leaves the flat
  /// coordinates. Throws "Invalid rounding step" unless step is positive and finite.
  void round(double step);

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

  // Building from and exporting to a triangle soup (MeshFaceSet.cpp).
  /// Replaces the mesh's contents with the faces of set, grown as `load` grows a file's faces, so
  /// that the result equals loading the same points and faces: triangles in the order the growth
  /// creates them, points no face uses removed (the others keep their order), vertex normals
  /// computed. The file name and the cut pairs are cleared. The set must be one consistently
  /// oriented, edge-connected manifold surface: otherwise throws the message of
  /// `IndexedFaceSet::validateSurface` and leaves the mesh empty.
  void construct(IndexedFaceSet const& set);
  /// The vertices' 3-D points in index order (floating vertices included) and the distinct
  /// triangles' corners in creation order, the order `save` writes them.
  IndexedFaceSet getIndexedFaceSet() const;

  // Progress; the pointers are held, never owned.
  void setProgressListener(ProgressListener* listener) { progressListener = listener; }
  void setProgressTerminator(ProgressTerminator* terminator) { progressTerminator = terminator; }

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
  /// Renumbers the vertices: old vertex i becomes vertex newIndexOfOld[i], taking its anchor with
  /// it; triangle corners and both vectors of the cut pairs are rewritten so that they name the
  /// same points (cut entries beyond the vertex count are left alone). newIndexOfOld must be a
  /// permutation of 0 .. n-1 (otherwise throws "Invalid vertex permutation" and changes nothing).
  /// Not for use while a mesh grows.
  void permuteVertices(std::vector<std::uint32_t> const& newIndexOfOld);

  // Triangle storage (Mesh.cpp; creation: MeshConstruction.cpp).
  Triangle* getTriangleBySerial(std::size_t serial) const {
    return triangleBlocks[serial / trianglesPerBlock].get() + serial % trianglesPerBlock;
  }
  /// Builds the triangle (a, b, c) without neighbours.
  Triangle* createTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c);

  // Planar orientation (MeshOrientation.cpp).
  /// Turns the flat points by the one of 4096 angles j·(π/2)/4096 (or that angle plus a quarter
  /// turn) that gives their axis-aligned box the smallest area with its u-extent the longer, as
  /// an exhaustive search would choose it with its rounding and ties (the earlier angle), then
  /// moves the box's low corner to the origin. Status "Starting C-scan orientation
  /// calculation..." and the percentages of the 4096 steps. Always returns true.
  bool transformMinBBArea2D();

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
