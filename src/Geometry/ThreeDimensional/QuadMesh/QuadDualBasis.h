#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADDUALBASIS_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADDUALBASIS_H

#include <QARN/Geometry/ThreeDimensional/Vector.h>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// The dual basis of a quad's edge vectors (a, b) in their plane: the dot product of an offset
/// in the plane with aDual (bDual) is its coordinate along a (b), in quad units.
struct QuadDualBasis {
  QuadDualBasis(Vector const& a, Vector const& b) {
    double const aa = a.dot(a);
    double const ab = a.dot(b);
    double const bb = b.dot(b);
    det = aa * bb - ab * ab;
    aDual = (a * bb - b * ab) / det;
    bDual = (b * aa - a * ab) / det;
  }

  /// The Gram determinant |a|²·|b|² − (a·b)², the squared length of a × b.
  double det = 0.0;
  Vector aDual;
  Vector bDual;
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
