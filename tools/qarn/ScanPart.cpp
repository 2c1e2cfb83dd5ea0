#include "ScanPart.h"

#include "Errors.h"

#include <cmath>
#include <cstdint>
#include <stdexcept>

namespace qarn {

namespace G2 = QARN::Geometry::TwoDimensional;
namespace G3 = QARN::Geometry::ThreeDimensional;

namespace {

bool hasValidPoint(G3::QuadMesh::RectMesh const& mesh) {
  auto const extents = mesh.getExtents();
  for (std::uint32_t v = 0; v <= extents.getdV(); ++v)
    for (std::uint32_t u = 0; u <= extents.getdU(); ++u)
      if (mesh.getIsPointValid(G2::Point<int>(static_cast<int>(u), static_cast<int>(v))))
        return true;
  return false;
}

} // namespace

ScanPart::ScanPart(std::vector<std::string> const& fileNames,
                   std::vector<G2::Vector<int>> const& offsets, std::vector<bool> const& doFlipU,
                   std::vector<bool> const& doFlipV, QARN::ProgressListener* listener) {
  std::size_t const n = fileNames.size();
  if ((!offsets.empty() && offsets.size() != n) || doFlipU.size() != n || doFlipV.size() != n)
    throw std::invalid_argument("ScanPart: one offset (or none) and one flip flag per file");

  if (listener != nullptr)
    listener->setStatusText("Loading quad meshes...");
  members.reserve(n);
  std::uint32_t lastPercent = 0;
  for (std::size_t i = 0; i < n; ++i) {
    auto const percent = static_cast<std::uint32_t>(i * 100 / n + 1);
    if (listener != nullptr && percent != lastPercent)
      listener->setProgress(percent);
    lastPercent = percent;
    Member member{fileNames[i], std::make_unique<RectMesh>(), doFlipU[i], doFlipV[i]};
    withFileName(fileNames[i], [&] { member.mesh->load(fileNames[i].c_str()); });
    members.push_back(std::move(member));
  }

  G2::Vector<int> next;
  for (std::size_t i = 0; i < n; ++i) {
    RectMesh& mesh = *members[i].mesh;
    if (offsets.empty()) {
      mesh.setOffset(next);
      next = next + G2::Vector<int>(static_cast<int>(mesh.getExtents().getdU()), 0);
    } else {
      mesh.setOffset(offsets[i]);
    }
    group.addQuadMesh(&mesh);
  }
  group.setDoFlipAxes(doFlipU, doFlipV);
}

ScanPart::Member const& ScanPart::getMember(RectMesh const& mesh) const {
  return members[getMemberIndex(mesh)];
}

std::size_t ScanPart::getMemberIndex(RectMesh const& mesh) const {
  for (std::size_t i = 0; i < members.size(); ++i)
    if (members[i].mesh.get() == &mesh)
      return i;
  throw std::logic_error("ScanPart: the mesh belongs to another part");
}

G2::BoundingBoxAA<int> ScanPart::getScanGrid() {
  return group.getUVBoundingBox();
}

G3::BoundingBoxAA ScanPart::getBoundingBox() const {
  bool any = false;
  G3::BoundingBoxAA box;
  for (Member const& member : members) {
    if (!hasValidPoint(*member.mesh))
      continue;
    if (any)
      box.expand(member.mesh->getBoundingBoxAA());
    else
      box = member.mesh->getBoundingBoxAA();
    any = true;
  }
  if (!any)
    throw std::runtime_error("the meshes have no valid points to scan");
  return box;
}

double ScanPart::getFinestQuadSide() const {
  double finest = 0.0;
  for (Member const& member : members) {
    double const area = member.mesh->getMeanQuadArea();
    if (area > 0.0 && std::isfinite(area) && (finest == 0.0 || std::sqrt(area) < finest))
      finest = std::sqrt(area);
  }
  return finest;
}

} // namespace qarn
