#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADDUALBASIS_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADDUALBASIS_H

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// The dual basis of a quad's edge vectors (a, b) in their plane: the dot product of an offset
/// in the plane with aDual (bDual) is its coordinate along a (b), in quad units. V is Vector or
/// its plain twin Triple; both give the same bits.
template <typename V>
struct QuadDualBasis {
  QuadDualBasis(V const& a, V const& b) {
    double const aa = a.dot(a);
    double const ab = a.dot(b);
    double const bb = b.dot(b);
    det = aa * bb - ab * ab;
    aDual = (a * bb - b * ab) / det;
    bDual = (b * aa - a * ab) / det;
  }

  /// The Gram determinant |a|²·|b|² − (a·b)², the squared length of a × b.
  double det = 0.0;
  V aDual;
  V bDual;
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
