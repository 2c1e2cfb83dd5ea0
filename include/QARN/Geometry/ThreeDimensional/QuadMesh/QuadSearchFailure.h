#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADSEARCHFAILURE_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADSEARCHFAILURE_H

#include <exception>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// A quad-mesh search that cannot proceed; what() is "QuadSearchFailure". The library's own
/// searches answer a miss with an invalid record instead of throwing it.
class QuadSearchFailure : public std::exception {
public:
  QuadSearchFailure() = default;
  QuadSearchFailure(QuadSearchFailure const&) = default;
  QuadSearchFailure& operator=(QuadSearchFailure const&) = default;
  ~QuadSearchFailure() override = default;

  char const* what() const noexcept override;
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
