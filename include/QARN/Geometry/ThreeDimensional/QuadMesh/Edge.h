#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_EDGE_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_EDGE_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>
#include <QARN/Geometry/TwoDimensional/Point.h>

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

class RectMesh;

/// A directed unit edge of a quad-mesh grid, walked with the quad-edge algebra: rot turns to
/// the next edge counter-clockwise around the quad on the edge's left, sym reverses the edge,
/// onext and oprev turn about the origin. Edges are made by the mesh; a default edge has no
/// mesh, for which every point reads as (0, 0, 0) and every validity test is false.
class Edge {
public:
  /// Direction of the edge from its origin; any other stored value points like PositiveU.
  enum Orientation : std::uint32_t {
    PositiveU = 0, ///< (+1, 0)
    PositiveV = 1, ///< (0, +1)
    NegativeU = 2, ///< (−1, 0)
    NegativeV = 3  ///< (0, −1)
  };

  /// No mesh, origin (0, 0), PositiveU.
  Edge() = default;
  Edge(Edge const&) = default;
  Edge& operator=(Edge const&) = default;
  virtual ~Edge() = default;

  void set(Edge const& e) { *this = e; }

  TwoDimensional::Point<int> org() const { return origin; }
  TwoDimensional::Point<int> dest() const;
  Edge rot() const;
  Edge sym() const;
  Edge onext() const;
  Edge oprev() const;

  Point vphiorg3() const;
  Point vphidest3() const;
  /// vphidest3() − vphiorg3().
  Vector vphi3() const;

  /// Both end points are valid.
  bool isValid() const;
  /// The quad on the edge's left is valid.
  bool isQuadValid() const;
  /// The quad on the left is valid and the one on the left of oprev() is not.
  bool isBoundary() const;

  /// Same mesh, orientation and origin.
  bool operator==(Edge const& e) const;
  bool operator!=(Edge const& e) const;

private:
  friend class RectMesh;

  Edge(RectMesh* mesh, TwoDimensional::Point<int> origin, Orientation orientation)
      : mesh(mesh), origin(origin), orientation(orientation) {}

  RectMesh* mesh = nullptr;
  TwoDimensional::Point<int> origin;
  Orientation orientation = PositiveU;
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
