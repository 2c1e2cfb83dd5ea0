#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADINDICESELLIPSEINTERSECTIONINFO_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADINDICESELLIPSEINTERSECTIONINFO_H

#include <QARN/Geometry/TwoDimensional/Point.h>
#include <QARN/Geometry/TwoDimensional/Vector.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// The grid footprint of a cone: an ellipse given by its centre quad and the index offsets to
/// the ends of its two axes on either side, in units of 1/unity of a quad.
class QuadIndicesEllipseIntersectionInfo {
public:
  QuadIndicesEllipseIntersectionInfo() = default;
  QuadIndicesEllipseIntersectionInfo(TwoDimensional::Point<int> const& centre,
                                     TwoDimensional::Vector<int> const& axisA1,
                                     TwoDimensional::Vector<int> const& axisB1,
                                     TwoDimensional::Vector<int> const& axisA2,
                                     TwoDimensional::Vector<int> const& axisB2, int unity)
      : centre(centre), axisA1(axisA1), axisB1(axisB1), axisA2(axisA2), axisB2(axisB2),
        unity(unity) {}
  QuadIndicesEllipseIntersectionInfo(QuadIndicesEllipseIntersectionInfo const&) = default;
  QuadIndicesEllipseIntersectionInfo&
  operator=(QuadIndicesEllipseIntersectionInfo const&) = default;
  virtual ~QuadIndicesEllipseIntersectionInfo() = default;

  TwoDimensional::Point<int> const& getCentre() const { return centre; }
  TwoDimensional::Vector<int> const& getAxisA1() const { return axisA1; }
  TwoDimensional::Vector<int> const& getAxisB1() const { return axisB1; }
  TwoDimensional::Vector<int> const& getAxisA2() const { return axisA2; }
  TwoDimensional::Vector<int> const& getAxisB2() const { return axisB2; }
  int getUnity() const { return unity; }

private:
  TwoDimensional::Point<int> centre;
  TwoDimensional::Vector<int> axisA1;
  TwoDimensional::Vector<int> axisB1;
  TwoDimensional::Vector<int> axisA2;
  TwoDimensional::Vector<int> axisB2;
  int unity = 0;
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
