#ifndef QARN_TOOLS_QARN_SCANPART_H
#define QARN_TOOLS_QARN_SCANPART_H

#include <QARN/Geometry/ThreeDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroup.h>
#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/TwoDimensional/Vector.h>
#include <QARN/Progress/ProgressListener.h>

#include <memory>
#include <string>
#include <vector>

namespace qarn {

/// The quad meshes of one inspected part, loaded from .quads files, each placed in the common
/// scan grid by its (u, v) offset and axis flips, and gathered in one group for the probe
/// queries. The part owns the meshes; the group refers to them.
class ScanPart {
public:
  using RectMesh = QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;

  struct Member {
    std::string fileName;
    std::unique_ptr<RectMesh> mesh;
    bool doFlipU = false;
    bool doFlipV = false;
  };

  /// Loads every file (a failure names its file). Without offsets the meshes are placed side
  /// by side along u in file order; otherwise there is one offset per file. doFlipU and doFlipV
  /// hold one flag per file (std::invalid_argument otherwise).
  ScanPart(std::vector<std::string> const& fileNames,
           std::vector<QARN::Geometry::TwoDimensional::Vector<int>> const& offsets,
           std::vector<bool> const& doFlipU, std::vector<bool> const& doFlipV,
           QARN::ProgressListener* listener);
  ScanPart(ScanPart const&) = delete;
  ScanPart& operator=(ScanPart const&) = delete;

  QARN::Geometry::ThreeDimensional::QuadMesh::RectMeshGroup& getGroup() { return group; }
  std::vector<Member> const& getMembers() const { return members; }
  /// The member that owns mesh (std::logic_error for a mesh of another part).
  Member const& getMember(RectMesh const& mesh) const;
  /// The position of that member in getMembers().
  std::size_t getMemberIndex(RectMesh const& mesh) const;
  /// The group's (u, v) box: one cell per quad.
  QARN::Geometry::TwoDimensional::BoundingBoxAA<int> getScanGrid();
  /// The box of every valid point; throws when the part has none.
  QARN::Geometry::ThreeDimensional::BoundingBoxAA getBoundingBox() const;
  /// The side of the finest stored mean quad area, or 0 when no mesh stores one.
  double getFinestQuadSide() const;

private:
  std::vector<Member> members;
  QARN::Geometry::ThreeDimensional::QuadMesh::RectMeshGroup group;
};

} // namespace qarn

#endif
