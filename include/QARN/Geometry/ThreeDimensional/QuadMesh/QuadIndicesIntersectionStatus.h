#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADINDICESINTERSECTIONSTATUS_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADINDICESINTERSECTIONSTATUS_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIntersectionData.h>
#include <QARN/Geometry/TwoDimensional/Point.h>

#include <cstdint>
#include <string>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

class RectMesh;

/// The answer of a quad-mesh search: which mesh and quad the beam met, where, and how well.
/// An invalid record is the ordinary answer when nothing was hit.
class QuadIndicesIntersectionStatus {
public:
  /// How two answers are ranked, process-wide.
  enum IntersectionQualityMode : std::uint32_t {
    /// Facing (angle error < π/2) beats not facing, otherwise the nearer wins; good = facing.
    FacingThenNearest = 0,
    /// The smaller signed distance wins; good = valid.
    Nearest = 1,
    /// The smaller angle error wins; good = valid.
    BestAngle = 2
  };

  /// The mode every ranking reads; FacingThenNearest initially.
  static IntersectionQualityMode intersectionQualityMode;

  /// No mesh, point (0, 0, 0), indices (0, 0), not valid, zero measures, empty file name.
  QuadIndicesIntersectionStatus() = default;
  QuadIndicesIntersectionStatus(RectMesh* quadMesh, Point const& quadPoint,
                                TwoDimensional::Point<int> const& indices, bool isValid,
                                QuadIntersectionData const& data, std::string const& fileName)
      : quadMesh(quadMesh), quadPoint(quadPoint), indices(indices), isValid(isValid),
        intersectionData(data), fileName(fileName) {}
  QuadIndicesIntersectionStatus(QuadIndicesIntersectionStatus const&) = default;
  QuadIndicesIntersectionStatus& operator=(QuadIndicesIntersectionStatus const&) = default;

  bool getIsValid() const { return isValid; }
  /// The searched mesh; throws QARN::Exception for a record that names no mesh.
  RectMesh const& getQuadMesh() const;
  Point const& getQuadPoint() const { return quadPoint; }
  /// (u, v) of the quad hit, already flipped and offset into the caller's scan grid.
  TwoDimensional::Point<int> const& getIndices() const { return indices; }
  QuadIntersectionData const& getIntersectionData() const { return intersectionData; }
  std::string getFileName() const { return fileName; }

  /// Valid, and in mode FacingThenNearest also facing.
  bool getIsGoodIntersection() const;
  /// other is a better answer than this one under the current mode; ties keep this one.
  bool getIsBetterIntersection(QuadIndicesIntersectionStatus const& other) const;

  /// Any value is stored; values outside the enumeration rank nothing as better.
  static void setIntersectionQualityMode(IntersectionQualityMode mode);
  static IntersectionQualityMode getIntersectionQualityMode();

protected:
  void setQuadIntersectionData(QuadIntersectionData const& data);

private:
  RectMesh* quadMesh = nullptr;
  Point quadPoint;
  TwoDimensional::Point<int> indices;
  bool isValid = false;
  QuadIntersectionData intersectionData;
  std::string fileName;
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
