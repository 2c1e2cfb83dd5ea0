#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_POINTCLOUD_REGISTRATION_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_POINTCLOUD_REGISTRATION_H

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/PointCloud/Cloud.h>
#include <QARN/Geometry/ThreeDimensional/PointCloud/RegistrationResult.h>
#include <QARN/Geometry/ThreeDimensional/PointCloud/RegistrationSettings.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

#include <memory>

namespace QARN::Geometry::ThreeDimensional {

namespace TriMesh {
class Mesh;
}

namespace PointCloud {

/// Rigid alignment of measured clouds onto one reference, a cloud or a triangle mesh, by
/// trimmed iterative closest points. The reference is copied and indexed once, when the
/// registration is made; align may then be called for any number of clouds, from several
/// threads at once.
///
/// One step: map every measured point by the current map; pair it with the nearest point of the
/// reference (of its triangles, for a mesh); drop pairs farther apart than maxDistance; keep the
/// overlap share of the closest; fit the rigid map between the kept pairs
/// (Utility::getRigidBodyMap) and compose it onto the current map. Plain steps slide slowly
/// along smooth surfaces, so they are accelerated (Anderson acceleration of the step as a
/// fixed-point map, as in AA-ICP, on the rigid map's quaternion and the move of the cloud's
/// centroid); an accelerated step that raises the RMS distance is replaced by the plain one.
/// The alignment stops when a step no longer lowers the RMS distance of the kept pairs by the
/// tolerance, after maxIterations steps, or when fewer than three pairs are left; the result
/// holds the map under which its RMS distance was measured (the map before the last step when
/// that step raised the RMS distance, which trimming can do).
///
/// Nearest points on a mesh are exact: the triangles are sampled (the vertices, and on
/// triangles much longer than the mesh's typical edge a finer lattice) so that every point of a
/// triangle lies within a known reach h of one of its samples; a query takes the samples nearest
/// it from a space-partition tree in order, measures their triangles, and stops at the first
/// sample farther than the best distance found plus h.
class Registration {
public:
  /// Onto a reference cloud (copied). Throws QARN::Exception "Empty point cloud" or "Point
  /// cloud holds a non-finite point".
  explicit Registration(Cloud const& reference);
  /// Onto the triangles of a mesh (copied; its 2-D points and normals are not used). Throws
  /// QARN::Exception "Mesh has no triangles" or "Mesh holds a non-finite vertex".
  explicit Registration(TriMesh::Mesh const& reference);
  Registration(Registration&&) noexcept;
  Registration& operator=(Registration&&) noexcept;
  Registration(Registration const&) = delete;
  Registration& operator=(Registration const&) = delete;
  virtual ~Registration();

  /// Aligns measured onto the reference. Throws QARN::Exception "Too few points" (fewer than
  /// three), "Point cloud holds a non-finite point", or "Invalid registration settings" (overlap
  /// outside (0, 1], maxDistance not positive, tolerance negative or NaN, or an initial map with
  /// a non-finite entry).
  RegistrationResult align(Cloud const& measured,
                           RegistrationSettings const& settings = RegistrationSettings()) const;

  /// The point of the reference nearest p (a position) and, when distance is not null, its
  /// distance from p.
  Vector getClosestPoint(Point const& p, double* distance = nullptr) const;

private:
  class Reference;
  std::unique_ptr<Reference> reference;
};

} // namespace PointCloud
} // namespace QARN::Geometry::ThreeDimensional

#endif
