#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_RECTMESHGROUP_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_RECTMESHGROUP_H

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>
#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/TwoDimensional/Vector.h>
#include <QARN/mtf_list.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// The quad meshes (patches) of one inspected part, each placed in a common (u, v) index space by
/// its offset, queried as one surface.
///
/// Members are kept in move-to-front order: the mesh that gave the last answer is asked first.
/// Every per-member setter addresses members in this current order, not in load order.
///
/// Ownership: meshes created by `load` or by copying belong to the group and are deleted with it
/// (or by `load`, `clear` and assignment); meshes given to `addQuadMesh` stay the caller's. The
/// group never leaks: `clear` deletes the owned meshes too, and a mesh whose file fails to load is
/// freed before the exception leaves `load`.
///
/// Copies:
/// - Assignment (`operator=`, `set`) is deep: every member of the source, in its current order,
///   becomes a new plain `RectMesh` owned by this group and assigned from the source mesh, so it
///   takes what `RectMesh::operator=` copies (points, flags, search state, axis and normal flips,
///   file name) but keeps a fresh mesh's offset (0, 0), active position flags and position. A
///   derived mesh (e.g. a scaled one) is copied as its stored points. The last-hit flag is not
///   copied. Self-assignment does nothing.
/// - The copy constructor keeps the source's order and last-hit flag and shares the meshes the
///   source does not own. A mesh the source owns is not shared (both groups would delete it) but
///   copied as by assignment and then given the source mesh's offset, so the copy answers in the
///   source's (u, v) frame and outlives the source safely. Its other settings are a fresh mesh's,
///   as under assignment (all positions active, position 0) until the group's setters change them.
class RectMeshGroup {
public:
  RectMeshGroup() = default;
  RectMeshGroup(RectMeshGroup const& source);
  RectMeshGroup& operator=(RectMeshGroup const& source);
  virtual ~RectMeshGroup() = default;

  void set(RectMeshGroup const& source);

  /// Replaces the members by the meshes of the files, the i-th placed at offsets[i]. The sizes are
  /// checked before anything changes. A file that fails to load throws; the group then holds the
  /// meshes loaded before it, and the mesh of the failed file is freed.
  void load(std::vector<std::string> const& fileNames,
            std::vector<TwoDimensional::Vector<int>> const& offsets);
  /// Appends a mesh that stays the caller's.
  void addQuadMesh(RectMesh* quadMesh);
  /// Forgets every member. Meshes the group owns are deleted (so that they cannot leak), the
  /// caller's are left alone.
  void clear();

  /// `RectMesh::transform(origin, map)` on every member.
  void transform(Point const& origin, AffineMap const& map);
  void setPosition(std::uint32_t position);
  /// Element i goes to the i-th member in the current order; a vector whose size is not the
  /// number of members is refused before any member changes.
  void setDoFlipNormals(std::vector<bool> const& doFlipNormals);
  void setActivePositionFlags(std::vector<std::uint32_t> const& activePositionFlags);
  void setDoFlipAxes(std::vector<bool> const& doFlipUAxes, std::vector<bool> const& doFlipVAxes);

  /// Asks the members from the front and keeps the best answer by the current quality mode; the
  /// winning member moves to the front. In mode 0, after a good answer, the next query stops at
  /// the first member that answers at all. An empty group or a miss gives an invalid record.
  QuadIndicesIntersectionStatus getIntersectionStatus(Point const& position,
                                                      Vector const& direction, bool doFullSearch);
  /// The front member's mesh, or null for an empty group.
  RectMesh* getLastIntersectedRectMesh() const;

  /// The union of the members' index boxes (corner at the offset, extent the mesh's extents),
  /// grown from the default box, so it always holds (0, 0).
  TwoDimensional::BoundingBoxAA<int> getUVBoundingBox() const;
  /// The same union read from the files' headers without loading their points.
  static TwoDimensional::BoundingBoxAA<int>
  getUVBoundingBox(std::vector<std::string> const& fileNames,
                   std::vector<TwoDimensional::Vector<int>> const& offsets);

protected:
  /// A member: quadMesh is the mesh; ownedMesh holds it when the group created it.
  struct RectMeshData {
    RectMesh* quadMesh = nullptr;
    std::unique_ptr<RectMesh> ownedMesh;

    bool getIsOwned() const { return ownedMesh != nullptr; }
  };

  /// Deletes the owned meshes and empties the list.
  void deleteMeshes();

  mtf_list<RectMeshData> meshes;
  bool isLastIntersectionGood = false;

private:
  friend class RectMeshGroups;

  /// A new owned plain mesh assigned from source.
  static RectMeshData makeOwnedCopy(RectMesh const& source);

  // Size checks of the per-member setters, also run by RectMeshGroups before it changes a group.
  void checkDoFlipNormals(std::vector<bool> const& doFlipNormals) const;
  void checkActivePositionFlags(std::vector<std::uint32_t> const& activePositionFlags) const;
  void checkDoFlipAxes(std::vector<bool> const& doFlipUAxes,
                       std::vector<bool> const& doFlipVAxes) const;
  static void checkLoad(std::vector<std::string> const& fileNames,
                        std::vector<TwoDimensional::Vector<int>> const& offsets);
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
