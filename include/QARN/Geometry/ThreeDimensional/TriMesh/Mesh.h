#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MESH_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MESH_H

#include <QARN/Geometry/ThreeDimensional/TriMesh/CutEdgeIndex.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/CutMetric.h>
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

  // Cutting open (MeshCut.cpp).
  /// Cuts the mesh open along a path of edges that follows a plane from one boundary vertex to the
  /// next boundary vertex it reaches, so that two boundary loops become one (or, from a loop back
  /// to itself, one becomes two). First clears the cut pairs. The start is the boundary vertex
  /// with the smallest (`CutAtMinimum`) or largest coordinate axisA (0 = x, 1 = y, 2 = z, taken
  /// modulo 3), the first in index order on a tie; the plane holds the start point and the
  /// directions of axisA and axisB, its normal n = eA x (s eB) with s = -1 for `CutAtMinimum`,
  /// +1 for `CutAtMaximum`. From each path vertex the walk takes, among the edges of its fan that
  /// point forward (along n x N, N the normal of the start's boundary triangle), the one whose end
  /// lies nearest the plane, until it reaches a boundary vertex. The path's edges become boundary
  /// edges; each vertex on it is copied (the whole vertex: 3-D point, flat point and normal), the
  /// triangles on the left of the path taking the copies, those on the right keeping the
  /// originals, and the pairs (original, copy) are recorded in path order, the end vertex last:
  /// one pair per path edge plus one.
  ///
  /// Returns false, leaving vertices and triangles as they are, when:
  /// - the last vertex is not a boundary vertex (whichever vertex would start: callers order their
  ///   vertices so that the last lies on a boundary; a deliberate rule, kept);
  /// - no boundary vertex has an attached fan and a comparable coordinate;
  /// - a path vertex has no forward edge, or its best edge ends exactly on the plane (exact hits
  ///   are refused on purpose: a plane through a row of vertices is left to another plane);
  /// - the path is a single edge that is already a boundary edge (the plane runs along the border
  ///   from the start to its neighbour): there is nothing to cut open, and a border edge is never
  ///   cut again. Only a one-edge path can be a border edge, as every later edge leaves an inner
  ///   vertex;
  /// - the walk visits more vertices than the mesh has (it cannot, but rounding is not trusted).
  bool makeCut(CutMetric metric, std::uint32_t axisA, std::uint32_t axisB);
  /// The number of closed loops of boundary edges; 0 for a closed surface or an empty mesh.
  std::uint32_t getNumberOfBoundaryLoops() const;
  /// Cuts the mesh open with `makeCut`'s plane cuts until one boundary loop is left (a mesh with
  /// fewer than two loops is left as it is), as flattening needs. The cut pairs are cleared first
  /// and then hold the pairs of every cut made, in order. When the last vertex is not on a
  /// boundary, it first swaps places with the highest-indexed boundary vertex (`makeCut`'s rule;
  /// later copies are appended on a boundary). For each cut it tries the mesh as it lies, then
  /// turned so that the line between the centroids of two loops runs along z (twice, with two
  /// twists about that line), then a few fixed generic turns (a plane through a straight row of
  /// vertices is refused), each with both metrics and the six axis pairs, and applies the first
  /// path that joins two different loops; the points are never changed. Returns the number of
  /// cuts made. Throws "No plane cut joins two boundary loops" when every try fails; the cuts
  /// made before stay, with their pairs.
  std::uint32_t makeCuts();

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

  // Cutting (MeshCut.cpp).
  /// Per vertex whether it is a boundary vertex (getIsBoundaryVertex).
  std::vector<bool> getBoundaryVertexFlags() const;
  /// makeCut's walk, on the mesh's own 3-D points or on turned copies of them: the path from the
  /// start to a boundary vertex, or false.
  bool findCutPath(CutMetric metric, std::uint32_t axisA, std::uint32_t axisB,
                   std::vector<Point> const* turned, std::vector<bool> const& boundary,
                   std::vector<Edge>& path) const;
  /// makeCuts' search for a plane cut from one boundary loop to another (loopOf: per vertex its
  /// loop).
  bool findJoiningCutPath(std::vector<std::uint32_t> const& loopOf, std::uint32_t loops,
                          std::vector<bool> const& boundary, std::vector<Edge>& path) const;
  /// Cuts along a path found on this mesh and appends its pairs.
  void applyCut(std::vector<Edge> const& path);
  /// Per vertex the number of the first boundary loop through it (loops numbered from 0 in the
  /// order of their triangles' creation), or all bits set; loops receives their count.
  std::vector<std::uint32_t> getBoundaryLoopOfVertices(std::uint32_t& loops) const;

  // Construction (MeshConstruction.cpp).
  bool addFloatingTriangle(std::vector<std::uint32_t> const& indices);
  bool addBoundaryTriangle(Edge const& edge, std::int32_t vertexIndex);
  /// Creates the triangle (edge.dest(), edge.org(), z) across the boundary edge and glues it
  /// there and to the given boundary edges z->org and dest->z (null where there is none).
  void attachTriangle(Edge const& edge, std::uint32_t z, Edge const* toOrg, Edge const* fromDest);
  bool getBoundaryEdgeFromFans(std::uint32_t v, std::uint32_t w, Edge* out) const;
  /// The list of further fan entries of vertex v, or null.
  std::vector<Triangle*>* getMoreFanEntries(std::uint32_t v);
  std::vector<Triangle*> const* getMoreFanEntries(std::uint32_t v) const;
  void addFanEntry(std::uint32_t v, Triangle* triangle);
  void replaceFanEntry(std::uint32_t v, Triangle* old, Triangle* triangle);
  void removeFanEntry(std::uint32_t v, Triangle* triangle);
  /// Grows the connectivity from the first face across shared edges, in file order.
  void constructFromFaces(std::vector<Face> const& faces);
  /// The growth for any faces, keyed by directed edges.
  void growFromFaces(std::vector<Face> const& faces);
  /// The same growth where every face has three distinct corners below the vertex count and no
  /// directed edge occurs twice; false, having done nothing, for other faces.
  bool growAcrossOppositeEdges(std::vector<Face> const& faces);

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
  /// While a mesh is grown: the fans' first triangles after its anchor (see
  /// MeshConstruction.cpp), for the few vertices that have more than one fan. The list of vertex
  /// v is moreFanLists[moreFanIndex[v]] unless moreFanIndex has no such entry or it is
  /// noFanList; moreFanIndex is sized once some vertex has more than one fan.
  static constexpr std::uint32_t noFanList = 0xFFFFFFFFu;
  std::vector<std::uint32_t> moreFanIndex;
  std::vector<std::vector<Triangle*>> moreFanLists;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
