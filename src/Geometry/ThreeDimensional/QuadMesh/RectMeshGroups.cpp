#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroups.h>

#include <Geometry/ThreeDimensional/QuadMesh/MoveToFrontSearch.h>

#include <utility>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

RectMeshGroups::RectMeshGroups(RectMeshGroups const& source)
    : isLastIntersectionGood(source.isLastIntersectionGood) {
  for (std::unique_ptr<RectMeshGroup> const& group : source.groups)
    groups.push_back(std::make_unique<RectMeshGroup>(*group));
}

RectMeshGroups& RectMeshGroups::operator=(RectMeshGroups const& source) {
  set(source);
  return *this;
}

void RectMeshGroups::set(RectMeshGroups const& source) {
  if (&source == this)
    return;
  mtf_list<std::unique_ptr<RectMeshGroup>> copies;
  for (std::unique_ptr<RectMeshGroup> const& group : source.groups) {
    copies.push_back(std::make_unique<RectMeshGroup>());
    copies.back()->set(*group);
  }
  groups.swap(copies);
}

void RectMeshGroups::deleteGroups() {
  groups.clear();
}

void RectMeshGroups::load(
    std::vector<std::vector<std::string>> const& groupFileNames,
    std::vector<std::vector<TwoDimensional::Vector<int>>> const& groupOffsets) {
  if (groupFileNames.size() != groupOffsets.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::RectMeshGroups::load: number of "
                    "groupFileNames and groupOffsets mismatch.");
  for (std::size_t i = 0; i < groupFileNames.size(); ++i)
    RectMeshGroup::checkLoad(groupFileNames[i], groupOffsets[i]);
  deleteGroups();
  for (std::size_t i = 0; i < groupFileNames.size(); ++i) {
    auto group = std::make_unique<RectMeshGroup>();
    group->load(groupFileNames[i], groupOffsets[i]);
    groups.push_back(std::move(group));
  }
}

void RectMeshGroups::transform(std::vector<Point> const& groupOrigins,
                               std::vector<AffineMap> const& groupMaps) {
  if (groupOrigins.size() != groups.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::transform: "
                    "groupOrigins size mismatch.");
  if (groupMaps.size() != groups.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::transform: groupMaps "
                    "size mismatch.");
  std::size_t i = 0;
  for (std::unique_ptr<RectMeshGroup>& group : groups) {
    group->transform(groupOrigins[i], groupMaps[i]);
    ++i;
  }
}

void RectMeshGroups::setPosition(std::uint32_t position) {
  for (std::unique_ptr<RectMeshGroup>& group : groups)
    group->setPosition(position);
}

void RectMeshGroups::setDoFlipNormals(std::vector<std::vector<bool>> const& groupDoFlipNormals) {
  if (groupDoFlipNormals.size() != groups.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::setDoFlipNormals: "
                    "groupDoFlipNormals size mismatch.");
  std::size_t i = 0;
  for (std::unique_ptr<RectMeshGroup> const& group : groups)
    group->checkDoFlipNormals(groupDoFlipNormals[i++]);
  i = 0;
  for (std::unique_ptr<RectMeshGroup>& group : groups)
    group->setDoFlipNormals(groupDoFlipNormals[i++]);
}

void RectMeshGroups::setActivePositionFlags(
    std::vector<std::vector<std::uint32_t>> const& groupPositionActiveFlags) {
  if (groupPositionActiveFlags.size() != groups.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::setActivePositionFlags: "
                    "groupPositionActiveFlags size mismatch.");
  std::size_t i = 0;
  for (std::unique_ptr<RectMeshGroup> const& group : groups)
    group->checkActivePositionFlags(groupPositionActiveFlags[i++]);
  i = 0;
  for (std::unique_ptr<RectMeshGroup>& group : groups)
    group->setActivePositionFlags(groupPositionActiveFlags[i++]);
}

void RectMeshGroups::setDoFlipAxes(std::vector<std::vector<bool>> const& groupDoFlipUAxes,
                                   std::vector<std::vector<bool>> const& groupDoFlipVAxes) {
  if (groupDoFlipUAxes.size() != groups.size() || groupDoFlipVAxes.size() != groups.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::setDoFlipAxes: "
                    "groupDoFlipUAxes or groupDoFlipVAxes size mismatch.");
  std::size_t i = 0;
  for (std::unique_ptr<RectMeshGroup> const& group : groups) {
    group->checkDoFlipAxes(groupDoFlipUAxes[i], groupDoFlipVAxes[i]);
    ++i;
  }
  i = 0;
  for (std::unique_ptr<RectMeshGroup>& group : groups) {
    group->setDoFlipAxes(groupDoFlipUAxes[i], groupDoFlipVAxes[i]);
    ++i;
  }
}

QuadIndicesIntersectionStatus RectMeshGroups::getIntersectionStatus(Point const& position,
                                                                    Vector const& direction,
                                                                    bool doFullSearch) {
  return getBestIntersection(
      groups, isLastIntersectionGood, [&](std::unique_ptr<RectMeshGroup>& group) {
        return group->getIntersectionStatus(position, direction, doFullSearch);
      });
}

RectMesh* RectMeshGroups::getLastIntersectedRectMesh() const {
  return groups.empty() ? nullptr : groups.front()->getLastIntersectedRectMesh();
}

TwoDimensional::BoundingBoxAA<int> RectMeshGroups::getUVBoundingBox() const {
  TwoDimensional::BoundingBoxAA<int> box;
  for (std::unique_ptr<RectMeshGroup> const& group : groups)
    box.expand(group->getUVBoundingBox());
  return box;
}

TwoDimensional::BoundingBoxAA<int> RectMeshGroups::getUVBoundingBox(
    std::vector<std::vector<std::string>> const& groupFileNames,
    std::vector<std::vector<TwoDimensional::Vector<int>>> const& groupOffsets) {
  if (groupFileNames.size() != groupOffsets.size())
    throw Exception("Geometry::ThreeDimensional::QuadMesh::RectMeshGroups::getUVBoundingBox: "
                    "number of groupFileNames and groupOffsets mismatch.");
  TwoDimensional::BoundingBoxAA<int> box;
  for (std::size_t i = 0; i < groupFileNames.size(); ++i)
    box.expand(RectMeshGroup::getUVBoundingBox(groupFileNames[i], groupOffsets[i]));
  return box;
}

TwoDimensional::Vector<std::uint32_t> RectMeshGroups::getExtents() const {
  TwoDimensional::Point<int> const upper = getUVBoundingBox().getp1();
  return TwoDimensional::Vector<std::uint32_t>(static_cast<std::uint32_t>(upper.getU()),
                                               static_cast<std::uint32_t>(upper.getV()));
}

bool RectMeshGroups::getQuadAreaInfos(std::vector<std::vector<std::string>> const& groupFileNames,
                                      double& minArea, double& meanArea, double& maxArea,
                                      double& totalArea) {
  minArea = 1e20;
  maxArea = 0.0;
  totalArea = 0.0;
  std::uint64_t count = 0;
  bool any = false;
  for (std::vector<std::string> const& fileNames : groupFileNames) {
    for (std::string const& fileName : fileNames) {
      std::uint32_t U = 0;
      std::uint32_t V = 0;
      double fileMean = 0.0;
      double fileMin = 0.0;
      double fileMax = 0.0;
      RectMesh::getFileHeaderItems(fileName.c_str(), U, V, fileMean, fileMin, fileMax);
      if (fileMin < minArea)
        minArea = fileMin;
      if (fileMax > maxArea)
        maxArea = fileMax;
      std::uint64_t const quads = std::uint64_t(U) * V;
      totalArea += static_cast<double>(quads) * fileMean;
      count += quads;
    }
    any = true;
  }
  meanArea = totalArea / static_cast<double>(count);
  return any;
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
