#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_EDGE_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_EDGE_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>
#include <QARN/Geometry/TwoDimensional/Point.h>
#include <QARN/Geometry/TwoDimensional/Vector.h>

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

class Mesh;
class Triangle;

/// A half-edge: side k of a triangle, the side opposite corner k, running from corner k+1 to
/// corner k+2 (mod 3). The same side seen from the neighbouring triangle is a different edge, its
/// `sym`. All mesh traversals are written with this algebra. An edge that names nothing is
/// (null, invalid index); the default edge is that one.
class Edge {
public:
  inline Edge();
  Edge(Triangle* triangle, std::uint32_t triangleEdgeIndex)
      : triangle(triangle), triangleEdgeIndex(triangleEdgeIndex) {}
  Edge(Edge const&) = default;
  virtual ~Edge() = default;
  Edge& operator=(Edge const&) = default;

  bool operator==(Edge const& e) const {
    return triangle == e.triangle && triangleEdgeIndex == e.triangleEdgeIndex;
  }
  bool operator!=(Edge const& e) const { return !(*this == e); }

  Triangle* getTriangle() const { return triangle; }
  void set(Edge const& e) { *this = e; }

  /// Vertex index at which the edge starts.
  inline std::uint32_t org() const;
  /// Vertex index at which the edge ends.
  inline std::uint32_t dest() const;
  /// The next edge of the same triangle, starting where this one ends.
  inline Edge rot() const;
  /// The same side seen from the neighbour; (null, invalid index) on the boundary.
  inline Edge sym() const;
  /// The next edge out of org() turning about it into the neighbouring triangle; its triangle is
  /// null when the turn crosses the boundary.
  inline Edge onext() const;
  /// The inverse turn of onext(); only defined when sym() names a triangle.
  inline Edge oprev() const;
  inline bool isBoundary() const;

  Point vphiorg3() const;
  Point vphidest3() const;
  Vector vphi3() const;
  TwoDimensional::Point<double> vphiorg2() const;
  TwoDimensional::Point<double> vphidest2() const;
  TwoDimensional::Vector<double> vphi2() const;
  /// Unit normal of the triangle (counter-clockwise corners seen against it).
  Vector N() const;
  /// In the triangle's plane, perpendicular to the edge, pointing into the triangle, of the edge's
  /// length.
  Vector perp3() const;

private:
  friend class Mesh;
  friend struct MeshTestAccess;

  std::uint32_t getTriangleEdgeIndex() const { return triangleEdgeIndex; }
  /// Unglues the two triangles along this edge; the caller ensures it is not a boundary edge.
  void makeBoundary() const;

  Triangle* triangle;
  std::uint32_t triangleEdgeIndex;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

// The inline edge algebra needs the complete Triangle.
#include <QARN/Geometry/ThreeDimensional/TriMesh/Triangle.h>

#endif
