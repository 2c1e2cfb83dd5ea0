#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_BINARYSPACEPARTITION_OBJECT_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_BINARYSPACEPARTITION_OBJECT_H

namespace QARN::Geometry::ThreeDimensional {

class BoundingBoxAA;
class Plane;
class Point;

namespace BinarySpacePartition {

/// An element of the space-partition tree: anything that can tell its side of a plane, its
/// distance range to a point or plane, and its bounding box.
class Object {
public:
  virtual ~Object() = default;

  /// Wholly on the side of the plane towards its normal (a point on the plane counts).
  virtual bool getIsAbove(Plane const& P) const = 0;
  /// Wholly on the side of the plane away from its normal.
  virtual bool getIsBelow(Plane const& P) const = 0;
  virtual double getMinMaxDistance(Point const& q) const = 0;
  virtual double getMinMaxDistance(Plane const& P) const = 0;
  virtual BoundingBoxAA getBoundingBox() const = 0;

protected:
  Object() = default;
  Object(Object const&) = default;
  Object& operator=(Object const&) = default;
};

} // namespace BinarySpacePartition
} // namespace QARN::Geometry::ThreeDimensional

#endif
