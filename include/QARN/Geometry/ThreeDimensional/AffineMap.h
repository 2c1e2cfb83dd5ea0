#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_AFFINEMAP_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_AFFINEMAP_H

#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

namespace QARN::Geometry::ThreeDimensional {

/// v ↦ L·v + t. Points are mapped through their position vectors by the callers.
class AffineMap {
public:
  /// Zero L, zero t.
  AffineMap() = default;
  AffineMap(LinearMap const& L, Vector const& t) : L(L), t(t) {}
  AffineMap(AffineMap const&) = default;
  virtual ~AffineMap() = default;
  AffineMap& operator=(AffineMap const&) = default;

  LinearMap const& getLinearMap() const { return L; }
  Vector const& getTranslation() const { return t; }
  void setLinearMap(LinearMap const& M) { L = M; }
  void setTranslation(Vector const& w) { t = w; }
  void set(AffineMap const& A) { *this = A; }

  /// L·v + t.
  Vector operator()(Vector const& v) const;
  /// L' = L⁻¹, t' = L'·(−t); a singular L is not detected.
  AffineMap inverse() const;
  /// Composition: (this·B)(v) = this(B(v)), i.e. L = this.L·B.L, t = this.L·B.t + this.t.
  AffineMap operator*(AffineMap const& B) const;

private:
  LinearMap L;
  Vector t;
};

} // namespace QARN::Geometry::ThreeDimensional

#endif
