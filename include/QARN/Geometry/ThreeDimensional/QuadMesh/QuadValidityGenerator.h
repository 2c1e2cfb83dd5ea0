#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADVALIDITYGENERATOR_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADVALIDITYGENERATOR_H

#include <QARN/Geometry/TwoDimensional/Point.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// A validity rule over quad indices, supplied from outside a mesh. The base rule answers
/// false for every quad.
class QuadValidityGenerator {
public:
  QuadValidityGenerator() = default;
  QuadValidityGenerator(QuadValidityGenerator const&) = default;
  QuadValidityGenerator& operator=(QuadValidityGenerator const&) = default;
  virtual ~QuadValidityGenerator() = default;

  virtual bool getValidity(TwoDimensional::Point<int> const& indices);
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
