#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_VERTEX_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_VERTEX_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>
#include <QARN/Geometry/TwoDimensional/Point.h>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// A mesh vertex: its position on the surface, its position in the flattened plane and its unit
/// surface normal.
class Vertex {
public:
  Vertex() = default;
  explicit Vertex(Point const& point3D) : point3D(point3D) {}
  Vertex(Vertex const&) = default;
  virtual ~Vertex() = default;
  Vertex& operator=(Vertex const&) = default;

  Point const& getPoint3D() const { return point3D; }
  void setPoint3D(Point const& point) { point3D = point; }
  TwoDimensional::Point<double> getPoint2D() const { return point2D; }
  void setPoint2D(TwoDimensional::Point<double> const& point) { point2D = point; }
  Vector getNormal3D() const { return normal3D; }
  void setNormal3D(Vector const& normal) { normal3D = normal; }

protected:
  Point* getpPoint3D() { return &point3D; }

private:
  Point point3D;
  TwoDimensional::Point<double> point2D;
  Vector normal3D;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
