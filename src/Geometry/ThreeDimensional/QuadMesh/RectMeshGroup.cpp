#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroup.h>

#include <Geometry/ThreeDimensional/QuadMesh/MoveToFrontSearch.h>

#include <utility>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

namespace {

/// The index box of a grid of extents (U, V) whose (0, 0) lies at offset.
TwoDimensional::BoundingBoxAA<int> getIndexBox(TwoDimensional::Vector<int> const& offset,
                                               std::uint32_t U, std::uint32_t V) {
  return TwoDimensional::BoundingBoxAA<int>(
      TwoDimensional::Point<int>(offset.getdU(), offset.getdV()),
      TwoDimensional::Vector<int>(static_cast<int>(U), static_cast<int>(V)));
}

} // namespace

RectMeshGroup::RectMeshGroup(RectMeshGroup const& source)
    : isLastIntersectionGood(source.isLastIntersectionGood) {
  for (RectMeshData const& member : source.meshes) {
    if (member.getIsOwned()) {
      RectMeshData copy = makeOwnedCopy(*member.quadMesh);
      copy.quadMesh->setOffset(member.quadMesh->getOffset());
      meshes.push_back(std::move(copy));
    } else {
      RectMeshData shared;
      shared.quadMesh = member.quadMesh;
      meshes.push_back(std::move(shared));
    }
  }
}

RectMeshGroup& RectMeshGroup::operator=(RectMeshGroup const& source) {
  set(source);
  return *this;
}

void RectMeshGroup::set(RectMeshGroup const& source) {
  if (&source == this)
    return;
  // The copies are made before the old members go, so a source that shares meshes with this
  // group is read intact and a failed copy leaves this group unchanged.
  mtf_list<RectMeshData> copies;
  for (RectMeshData const& member : source.meshes)
    copies.push_back(makeOwnedCopy(*member.quadMesh));
  meshes.swap(copies);
}

RectMeshGroup::RectMeshData RectMeshGroup::makeOwnedCopy(RectMesh const& source) {
  RectMeshData copy;
  copy.ownedMesh = std::make_unique<RectMesh>();
  *copy.ownedMesh = source;
  copy.quadMesh = copy.ownedMesh.get();
  return copy;
}

void RectMeshGroup::deleteMeshes() {
  meshes.clear();
}

void RectMeshGroup::checkLoad(std::vector<std::string> const& fileNames,
                              std::vector<TwoDimensional::Vector<int>> const& offsets) {
  if (fileNames.size() != offsets.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::load: number of "
                    "fileNames and offsets mismatch.");
}

void RectMeshGroup::load(std::vector<std::string> const& fileNames,
                         std::vector<TwoDimensional::Vector<int>> const& offsets) {
  checkLoad(fileNames, offsets);
  deleteMeshes();
  for (std::size_t i = 0; i < fileNames.size(); ++i) {
    RectMeshData member;
    member.ownedMesh = std::make_unique<RectMesh>();
    member.ownedMesh->load(fileNames[i].c_str());
    member.ownedMesh->setOffset(offsets[i]);
    member.quadMesh = member.ownedMesh.get();
    meshes.push_back(std::move(member));
  }
}

void RectMeshGroup::addQuadMesh(RectMesh* quadMesh) {
  RectMeshData member;
  member.quadMesh = quadMesh;
  meshes.push_back(std::move(member));
}

void RectMeshGroup::clear() {
  meshes.clear();
}

void RectMeshGroup::transform(Point const& origin, AffineMap const& map) {
  for (RectMeshData& member : meshes)
    member.quadMesh->transform(origin, map);
}

void RectMeshGroup::setPosition(std::uint32_t position) {
  for (RectMeshData& member : meshes)
    member.quadMesh->setPosition(position);
}

void RectMeshGroup::checkDoFlipNormals(std::vector<bool> const& doFlipNormals) const {
  if (doFlipNormals.size() != meshes.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::setDoFlipNormals::load: number of "
                    "doFlipNormals and quad meshes mismatch.");
}

void RectMeshGroup::checkActivePositionFlags(
    std::vector<std::uint32_t> const& activePositionFlags) const {
  if (activePositionFlags.size() != meshes.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::setActivePositionFlags::load: number "
                    "of activePositionFlags and quad meshes mismatch.");
}

void RectMeshGroup::checkDoFlipAxes(std::vector<bool> const& doFlipUAxes,
                                    std::vector<bool> const& doFlipVAxes) const {
  if (doFlipUAxes.size() != meshes.size() || doFlipVAxes.size() != meshes.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::setDoFlipAxes::load: number of "
                    "doFlipUAxes or doFlipVAxes and quad meshes mismatch.");
}

void RectMeshGroup::setDoFlipNormals(std::vector<bool> const& doFlipNormals) {
  checkDoFlipNormals(doFlipNormals);
  std::size_t i = 0;
  for (RectMeshData& member : meshes)
    member.quadMesh->setDoFlipNormals(doFlipNormals[i++]);
}

void RectMeshGroup::setActivePositionFlags(std::vector<std::uint32_t> const& activePositionFlags) {
  checkActivePositionFlags(activePositionFlags);
  std::size_t i = 0;
  for (RectMeshData& member : meshes)
    member.quadMesh->setActivePositionFlags(activePositionFlags[i++]);
}

void RectMeshGroup::setDoFlipAxes(std::vector<bool> const& doFlipUAxes,
                                  std::vector<bool> const& doFlipVAxes) {
  checkDoFlipAxes(doFlipUAxes, doFlipVAxes);
  std::size_t i = 0;
  for (RectMeshData& member : meshes) {
    member.quadMesh->setAxisFlipFlags(doFlipUAxes[i], doFlipVAxes[i]);
    ++i;
  }
}

QuadIndicesIntersectionStatus RectMeshGroup::getIntersectionStatus(Point const& position,
                                                                   Vector const& direction,
                                                                   bool doFullSearch) {
  return getBestIntersection(meshes, isLastIntersectionGood, [&](RectMeshData& member) {
    return member.quadMesh->getIntersectionStatus(position, direction, doFullSearch);
  });
}

RectMesh* RectMeshGroup::getLastIntersectedRectMesh() const {
  return meshes.empty() ? nullptr : meshes.front().quadMesh;
}

TwoDimensional::BoundingBoxAA<int> RectMeshGroup::getUVBoundingBox() const {
  TwoDimensional::BoundingBoxAA<int> box;
  for (RectMeshData const& member : meshes) {
    TwoDimensional::Vector<std::uint32_t> const extents = member.quadMesh->getExtents();
    box.expand(getIndexBox(member.quadMesh->getOffset(), extents.getdU(), extents.getdV()));
  }
  return box;
}

TwoDimensional::BoundingBoxAA<int>
RectMeshGroup::getUVBoundingBox(std::vector<std::string> const& fileNames,
                                std::vector<TwoDimensional::Vector<int>> const& offsets) {
  if (fileNames.size() != offsets.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::getUVBoundingBox: "
                    "number of fileNames and offsets mismatch.");
  TwoDimensional::BoundingBoxAA<int> box;
  for (std::size_t i = 0; i < fileNames.size(); ++i) {
    std::uint32_t U = 0;
    std::uint32_t V = 0;
    double meanArea = 0.0;
    double minArea = 0.0;
    double maxArea = 0.0;
    RectMesh::getFileHeaderItems(fileNames[i].c_str(), U, V, meanArea, minArea, maxArea);
    box.expand(getIndexBox(offsets[i], U, V));
  }
  return box;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
