#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_INDEXEDFACESET_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_INDEXEDFACESET_H

#include <QARN/Geometry/ThreeDimensional/Point.h>

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// A triangle soup as mesh files hold it: points, and faces of three point indices each (0-based,
/// counter-clockwise seen against the face normal). It knows nothing of neighbours; it is what an
/// importer fills before a `Mesh` is built from it (`Mesh::construct`), with the repairs and
/// diagnoses an importer needs.
///
/// Terms used below:
/// - an edge is an unordered pair of distinct points joined by a side of some face; a face "uses"
///   it in the direction its corners run;
/// - a degenerate face repeats a point among its corners; it has no edges, belongs to no component
///   and is ignored by every diagnosis (`removeDegenerateFaces` drops it);
/// - a boundary edge is used by exactly one face, a non-manifold edge by three or more;
/// - a non-manifold vertex is a point whose faces fall into two or more fans, groups that are not
///   joined through edges at the point (two cones touching at their tips, a bow tie);
/// - two faces are edge-connected when a chain of faces sharing edges joins them.
///
/// Every operation except the plain accessors first checks the set as `validate` does and throws
/// its message, so that no operation reads outside the points. Repairs keep the order of what they
/// keep (points and faces), so that their results are reproducible; each returns how much it
/// changed, for a one-line report.
class IndexedFaceSet {
public:
  using Face = std::array<std::uint32_t, 3>;

  IndexedFaceSet() = default;
  IndexedFaceSet(std::vector<Point> points, std::vector<Face> faces)
      : points(std::move(points)), faces(std::move(faces)) {}
  IndexedFaceSet(IndexedFaceSet const&) = default;
  IndexedFaceSet(IndexedFaceSet&&) = default;
  virtual ~IndexedFaceSet() = default;
  IndexedFaceSet& operator=(IndexedFaceSet const&) = default;
  IndexedFaceSet& operator=(IndexedFaceSet&&) = default;

  std::vector<Point> const& getPoints() const { return points; }
  std::vector<Face> const& getFaces() const { return faces; }
  std::uint32_t getNumberOfPoints() const { return static_cast<std::uint32_t>(points.size()); }
  std::uint32_t getNumberOfFaces() const { return static_cast<std::uint32_t>(faces.size()); }
  /// Appends a point and returns its index.
  std::uint32_t addPoint(Point const& point);
  /// Appends the face (a, b, c); nothing is checked until the next operation.
  void addFace(std::uint32_t a, std::uint32_t b, std::uint32_t c) { faces.push_back({a, b, c}); }

  /// Throws `QARN::Exception` naming the first fault: "Point 7 has a non-finite coordinate."
  /// (points are checked first, in order), "Face 12 refers to point 40, but there are 30 points."
  /// (faces in order, corners in order); "Too many points." or "Too many faces." when 32-bit
  /// indices cannot number them (with the sides of the faces).
  void validate() const;

  // Repairs.
  /// Merges points that coincide: with tolerance 0 those with equal coordinates (0 and -0 are
  /// equal); otherwise those within the Euclidean distance `tolerance` of a kept point. Points are
  /// taken in index order: each is merged into the lowest-indexed kept point within reach (the kept
  /// points are never moved, so a cluster never chains beyond `tolerance`), or kept. Faces are
  /// renumbered; kept points keep their order. Returns the number of points removed. A negative or
  /// non-finite tolerance throws "Invalid merge tolerance.". Faces may become degenerate.
  std::uint32_t mergeCoincidentPoints(double tolerance = 0.0);
  /// Removes degenerate faces and, when `zeroArea` is set, faces whose corners are collinear (the
  /// cross product of two sides, computed in double from the float coordinates, is zero). Returns
  /// the number of faces removed.
  std::uint32_t removeDegenerateFaces(bool zeroArea = false);
  /// Removes every face whose three points are those of an earlier face, in either winding.
  /// Returns the number of faces removed.
  std::uint32_t removeDuplicateFaces();
  /// Removes the points no face refers to and renumbers the faces. Returns the number removed.
  std::uint32_t removeUnusedPoints();
  /// Flips faces (swapping their last two corners) so that every edge used by exactly two faces is
  /// used in opposite directions. Per component the orientation that needs fewer flips wins (on a
  /// tie, the component's first face keeps its winding). Non-manifold edges impose nothing. Throws
  /// "Surface is not orientable." without changing anything when no flips achieve it (a Möbius
  /// strip). Returns the number of faces flipped.
  std::uint32_t orientConsistently();
  /// Keeps only the faces of the component with the most faces (on a tie, the one holding the
  /// lowest face index); degenerate faces go too. Points stay (see `removeUnusedPoints`). Returns
  /// the number of faces removed.
  std::uint32_t keepLargestComponent();

  // Diagnoses.
  /// What an importer reports about a set, one figure a line, found in one pass over its edges.
  struct Diagnosis {
    /// Points no face refers to.
    std::uint32_t unusedPoints = 0;
    std::uint32_t degenerateFaces = 0;
    std::uint32_t boundaryEdges = 0;
    std::uint32_t nonManifoldEdges = 0;
    std::uint32_t nonManifoldVertices = 0;
    /// Edges used by exactly two faces in the same direction.
    std::uint32_t inconsistentEdges = 0;
    /// Whether `orientConsistently` would succeed.
    bool orientable = true;
    /// Face counts of the edge-connected components, ordered by each one's lowest face index.
    std::vector<std::uint32_t> componentSizes;
    /// The number of independent cycles formed by the boundary edges: E - V + C over the graph of
    /// boundary edges (E edges, V points, C connected pieces). On a manifold surface it is the
    /// number of boundary loops (0 for a closed surface, 1 for a disc, 2 for a tube); two loops
    /// touching at a point count as two.
    std::uint32_t boundaryLoops = 0;
  };
  Diagnosis getDiagnosis() const;
  /// Throws `QARN::Exception` with the first reason why the set is not one consistently oriented,
  /// edge-connected manifold surface, checked in this order: `validate`'s faults, "Indexed face set
  /// has no faces.", "Face 3 repeats point 5.", "Edge (4, 7) is used by 3 faces." (the edge with
  /// the smallest points), "Point 9 is a non-manifold vertex." (the lowest), "Faces 3 and 8 use
  /// edge (4, 7) in the same direction.", "Face 12 is not edge-connected to face 0." (the lowest
  /// face outside face 0's component).
  void validateSurface() const;

private:
  std::vector<Point> points;
  std::vector<Face> faces;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
