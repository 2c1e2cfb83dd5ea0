#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_RECTMESHGROUPS_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_RECTMESHGROUPS_H

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroup.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>
#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/TwoDimensional/Vector.h>
#include <QARN/mtf_list.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// Groups of meshes queried as one, one level above `RectMeshGroup`: the groups are kept in
/// move-to-front order and always owned.
///
/// Every setter and `load` checks the outer size and then every group's own sizes before it
/// changes anything, so a refused call leaves all groups as they were.
///
/// Copies: assignment (`operator=`, `set`) gives new groups assigned from the source's groups
/// (deep, see `RectMeshGroup`); self-assignment does nothing. The copy constructor gives new groups
/// made by `RectMeshGroup`'s copy constructor (owned meshes copied, borrowed ones shared), keeping
/// the order and the last-hit flags, so the copy may outlive its source.
class RectMeshGroups {
public:
  RectMeshGroups() = default;
  RectMeshGroups(RectMeshGroups const& source);
  RectMeshGroups& operator=(RectMeshGroups const& source);
  virtual ~RectMeshGroups() = default;

  void set(RectMeshGroups const& source);

  /// Replaces the groups: group i loads groupFileNames[i] at groupOffsets[i]. A file that fails to
  /// load throws; the groups loaded before it stay, and the group being loaded is freed with the
  /// meshes it had read.
  void load(std::vector<std::vector<std::string>> const& groupFileNames,
            std::vector<std::vector<TwoDimensional::Vector<int>>> const& groupOffsets);

  /// Element i goes to the i-th group in the current order (origins and maps both).
  void transform(std::vector<Point> const& groupOrigins, std::vector<AffineMap> const& groupMaps);
  void setPosition(std::uint32_t position);
  void setDoFlipNormals(std::vector<std::vector<bool>> const& groupDoFlipNormals);
  void
  setActivePositionFlags(std::vector<std::vector<std::uint32_t>> const& groupPositionActiveFlags);
  void setDoFlipAxes(std::vector<std::vector<bool>> const& groupDoFlipUAxes,
                     std::vector<std::vector<bool>> const& groupDoFlipVAxes);

  /// As `RectMeshGroup::getIntersectionStatus`, with groups in place of meshes.
  QuadIndicesIntersectionStatus getIntersectionStatus(Point const& position,
                                                      Vector const& direction, bool doFullSearch);
  /// The front group's last intersected mesh, or null when there is no group.
  RectMesh* getLastIntersectedRectMesh() const;

  /// The union of the groups' index boxes, grown from the default box (it holds (0, 0)).
  TwoDimensional::BoundingBoxAA<int> getUVBoundingBox() const;
  static TwoDimensional::BoundingBoxAA<int>
  getUVBoundingBox(std::vector<std::vector<std::string>> const& groupFileNames,
                   std::vector<std::vector<TwoDimensional::Vector<int>>> const& groupOffsets);
  /// The upper corner of `getUVBoundingBox()`: the size of the scan plane.
  TwoDimensional::Vector<std::uint32_t> getExtents() const;

  /// Quad-area figures from the files' headers: the smallest minimum, the largest maximum, the
  /// total area (each file's mean area times its quad count) and the mean area per quad. The
  /// quad counts are summed exactly; with no quad at all the mean is not finite. Returns false
  /// only when groupFileNames is empty.
  static bool getQuadAreaInfos(std::vector<std::vector<std::string>> const& groupFileNames,
                               double& minArea, double& meanArea, double& maxArea,
                               double& totalArea);

private:
  /// Deletes every group and empties the list.
  void deleteGroups();

  mtf_list<std::unique_ptr<RectMeshGroup>> groups;
  bool isLastIntersectionGood = false;
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
