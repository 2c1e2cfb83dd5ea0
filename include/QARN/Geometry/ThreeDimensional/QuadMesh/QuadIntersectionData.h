#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADINTERSECTIONDATA_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADINTERSECTIONDATA_H

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// The measures of one beam-to-quad hit.
class QuadIntersectionData {
public:
  /// Measures a host flips the angle of: when set, the constructor stores π − angle. Never set
  /// by the library.
  static bool isEnableFlipAngle;

  /// All three measures 0.
  QuadIntersectionData() = default;
  /// distanceToObject is signed (negative behind the beam origin); angleToObjectNormal lies in
  /// [0, π], π meaning the beam runs exactly against the quad normal.
  QuadIntersectionData(double distanceToObject, double angleToObjectNormal,
                       double distanceSqrToQuadCentre)
      : distanceToObject(distanceToObject),
        angleToObjectNormal(isEnableFlipAngle ? getFlippedAngle(angleToObjectNormal)
                                              : angleToObjectNormal),
        distanceSqrToQuadCentre(distanceSqrToQuadCentre) {}
  QuadIntersectionData(QuadIntersectionData const&) = default;
  QuadIntersectionData& operator=(QuadIntersectionData const&) = default;
  virtual ~QuadIntersectionData() = default;

  double const& getDistanceToObject() const { return distanceToObject; }
  double const& getAngleToObjectNormal() const { return angleToObjectNormal; }
  double const& getDistanceSqrToQuadCentre() const { return distanceSqrToQuadCentre; }
  /// π − angle: 0 for a head-on hit against the normal, π for a beam along the normal.
  double getAngleError() const;

private:
  /// π − angle.
  static double getFlippedAngle(double angle);

  double distanceToObject = 0.0;
  double angleToObjectNormal = 0.0;
  double distanceSqrToQuadCentre = 0.0;
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
