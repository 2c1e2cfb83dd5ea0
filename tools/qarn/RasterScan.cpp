#include "RasterScan.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <stdexcept>
#include <string>

namespace qarn {

namespace G2 = QARN::Geometry::TwoDimensional;
namespace G3 = QARN::Geometry::ThreeDimensional;
using G3::QuadMesh::QuadIndicesIntersectionStatus;
using G3::QuadMesh::RectMesh;

namespace {

constexpr std::uint64_t maxProbePositions = std::uint64_t{1} << 22;
constexpr std::uint64_t maxGridCells = std::uint64_t{1} << 25;
constexpr double degreesPerRadian = 180.0 / 3.14159265358979323846;

bool isFinite(G3::BoundingBoxAA const& box) {
  for (std::uint32_t i = 0; i < 3; ++i)
    if (!std::isfinite(box.getp().get(i)) || !std::isfinite(box.getd().get(i)))
      return false;
  return true;
}

ProbeRaster makeRaster(G3::BoundingBoxAA const& box, double step) {
  G3::Vector const size = box.getd();
  double const longest = box.getLongestAxisSize();
  if (step <= 0.0)
    step = longest > 0.0 ? longest / 512.0 : 1.0;
  // Probes at the centres of step × step cells covering the part: a raster that starts on
  // the part's edge would put whole rows of beams on grid lines of meshes sampled at a round
  // spacing, and a beam through a quad edge meets neither quad.
  double const countX = std::max(1.0, std::ceil(size.getdX() / step));
  double const countY = std::max(1.0, std::ceil(size.getdY() / step));
  if (!(countX * countY <= static_cast<double>(maxProbePositions))) {
    char message[160];
    std::snprintf(message, sizeof message,
                  "a step of %g gives %.0f probe positions, more than %llu: choose a larger step",
                  step, countX * countY, static_cast<unsigned long long>(maxProbePositions));
    throw std::runtime_error(message);
  }
  ProbeRaster raster;
  raster.step = step;
  raster.countX = static_cast<std::uint32_t>(countX);
  raster.countY = static_cast<std::uint32_t>(countY);
  raster.x0 = box.getp().getX() + 0.5 * (size.getdX() - (countX - 1.0) * step);
  raster.y0 = box.getp().getY() + 0.5 * (size.getdY() - (countY - 1.0) * step);
  // The probe plane lies a tenth of the part's size above it.
  raster.z = box.getp().getZ() + size.getdZ() + std::max(step, 0.1 * longest);
  return raster;
}

/// The beam along the normal of the quad that a first query hit, pointing into the surface as
/// seen from above; straight down when that normal is horizontal or undefined.
G3::Vector getNormalBeam(ScanPart const& part, QuadIndicesIntersectionStatus const& status,
                         G3::Vector const& down) {
  RectMesh const& mesh = status.getQuadMesh();
  ScanPart::Member const& member = part.getMember(mesh);
  // Back from the scan grid to the mesh's own quad indices.
  G2::Point<int> const local = status.getIndices() - mesh.getOffset();
  auto const extents = mesh.getExtents();
  int const u =
      member.doFlipU ? static_cast<int>(extents.getdU()) - 1 - local.getU() : local.getU();
  int const v =
      member.doFlipV ? static_cast<int>(extents.getdV()) - 1 - local.getV() : local.getV();
  G2::Point<int> const quad(u, v);
  G3::Vector const n = mesh.getQuadNormalVector(quad, true) + mesh.getQuadNormalVector(quad, false);
  double const length = std::sqrt(n.lSqr());
  if (!(length > 0.0) || !std::isfinite(length) || n.getdZ() == 0.0)
    return down;
  return n.getdZ() > 0.0 ? n / -length : n / length;
}

/// Flags the count positions out of size that sit at the centres of count equal stretches.
std::vector<bool> spreadEvenly(std::uint32_t size, std::uint32_t count) {
  std::vector<bool> flags(size, false);
  for (std::uint32_t k = 0; k < count; ++k)
    flags[(std::uint64_t{2} * k + 1) * size / (std::uint64_t{2} * count)] = true;
  return flags;
}

} // namespace

G3::Point ProbeRaster::getPosition(std::uint32_t i, std::uint32_t j) const {
  return G3::Point(x0 + i * step, y0 + j * step, z);
}

ScanResult runRasterScan(ScanPart& part, ScanSettings const& settings,
                         QARN::ProgressListener* listener) {
  // The group computes its (u, v) box in int: measure the spread of the offsets in 64 bits
  // first, so that far-apart meshes are refused instead of wrapping round.
  std::int64_t spanU[2] = {0, 0};
  std::int64_t spanV[2] = {0, 0};
  for (ScanPart::Member const& member : part.getMembers()) {
    auto const offset = member.mesh->getOffset();
    auto const extents = member.mesh->getExtents();
    spanU[0] = std::min<std::int64_t>(spanU[0], offset.getdU());
    spanV[0] = std::min<std::int64_t>(spanV[0], offset.getdV());
    spanU[1] = std::max<std::int64_t>(spanU[1], std::int64_t{offset.getdU()} + extents.getdU());
    spanV[1] = std::max<std::int64_t>(spanV[1], std::int64_t{offset.getdV()} + extents.getdV());
  }
  std::int64_t const spreadU = spanU[1] - spanU[0];
  std::int64_t const spreadV = spanV[1] - spanV[0];
  if (spreadU > std::int64_t{1} << 31 || spreadV > std::int64_t{1} << 31 ||
      static_cast<std::uint64_t>(spreadU * spreadV) > maxGridCells)
    throw std::runtime_error("the scan grid of " + std::to_string(spreadU) + " x " +
                             std::to_string(spreadV) + " cells is too large for an image");

  ScanResult result;
  result.grid = part.getScanGrid();
  std::int64_t const width = result.grid.getd().getdU();
  std::int64_t const height = result.grid.getd().getdV();
  if (width <= 0 || height <= 0)
    throw std::runtime_error("the scan grid is empty: the meshes have no quads");

  G3::BoundingBoxAA const box = part.getBoundingBox();
  if (!isFinite(box))
    throw std::runtime_error("the meshes hold points that are not finite");
  double const step = settings.step > 0.0 ? settings.step : 0.5 * part.getFinestQuadSide();
  result.raster = makeRaster(box, step);
  ProbeRaster const& raster = result.raster;

  auto const cells = static_cast<std::size_t>(width * height);
  result.cellDistance.assign(cells, std::numeric_limits<float>::quiet_NaN());
  result.cellAngle.assign(cells, std::numeric_limits<float>::quiet_NaN());
  result.cellMesh.assign(cells, ScanResult::noMesh);
  std::vector<bool> const sampleColumns =
      spreadEvenly(raster.countX, std::min(raster.countX, ScanResult::sampleBeamsPerSide));
  std::vector<bool> const sampleRows =
      spreadEvenly(raster.countY, std::min(raster.countY, ScanResult::sampleBeamsPerSide));
  RectMesh const* lastMesh = nullptr;
  std::uint32_t lastMeshIndex = 0;
  result.hits.reserve(raster.getSize());

  QuadIndicesIntersectionStatus::setIntersectionQualityMode(settings.mode);
  auto& group = part.getGroup();
  G3::Vector const down(0.0, 0.0, -1.0);
  G2::Point<int> const& corner = result.grid.getp();
  if (listener != nullptr)
    listener->setStatusText("Scanning probe positions...");
  std::uint32_t lastPercent = 0;

  auto const start = std::chrono::steady_clock::now();
  for (std::uint32_t j = 0; j < raster.countY; ++j) {
    for (std::uint32_t k = 0; k < raster.countX; ++k) {
      std::uint32_t const i = j % 2 == 0 ? k : raster.countX - 1 - k;
      G3::Point const position = raster.getPosition(i, j);
      QuadIndicesIntersectionStatus status = group.getIntersectionStatus(position, down, false);
      ++result.queries;
      G3::Vector beam = down;
      if (settings.beam == Beam::Normal && status.getIsValid()) {
        beam = getNormalBeam(part, status, down);
        status = group.getIntersectionStatus(position, beam, false);
        ++result.queries;
      }
      if (sampleColumns[i] && sampleRows[j])
        result.sampleBeams.push_back({position, beam,
                                      status.getIsValid()
                                          ? status.getIntersectionData().getDistanceToObject()
                                          : std::numeric_limits<double>::quiet_NaN()});
      if (!status.getIsValid()) {
        ++result.misses;
        continue;
      }
      ScanHit hit;
      hit.i = i;
      hit.j = j;
      hit.mesh = &status.getQuadMesh();
      hit.indices = status.getIndices();
      hit.distance = status.getIntersectionData().getDistanceToObject();
      hit.angle = status.getIntersectionData().getAngleError() * degreesPerRadian;
      result.hits.push_back(hit);

      std::int64_t const cu = std::int64_t{hit.indices.getU()} - corner.getU();
      std::int64_t const cv = std::int64_t{hit.indices.getV()} - corner.getV();
      if (cu < 0 || cv < 0 || cu >= width || cv >= height)
        continue;
      auto const cell = static_cast<std::size_t>(cv * width + cu);
      if (!(result.cellDistance[cell] <= hit.distance)) {
        if (hit.mesh != lastMesh) {
          lastMesh = hit.mesh;
          lastMeshIndex = static_cast<std::uint32_t>(part.getMemberIndex(*hit.mesh));
        }
        result.cellDistance[cell] = static_cast<float>(hit.distance);
        result.cellAngle[cell] = static_cast<float>(hit.angle);
        result.cellMesh[cell] = lastMeshIndex;
      }
    }
    auto const percent = static_cast<std::uint32_t>(std::uint64_t{j} * 100 / raster.countY + 1);
    if (listener != nullptr && percent != lastPercent)
      listener->setProgress(percent);
    lastPercent = percent;
  }
  result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return result;
}

} // namespace qarn
