#include "ScanOutputs.h"

#include "CScanPictures.h"
#include "HtmlReport.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace qarn {

namespace G3 = QARN::Geometry::ThreeDimensional;

namespace {

void writeBytes(std::string const& fileName, std::string const& bytes) {
  std::FILE* file = std::fopen(fileName.c_str(), "wb");
  if (file == nullptr)
    throw std::runtime_error("cannot write " + fileName + ": " + std::strerror(errno));
  bool const failed = std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size();
  if (std::fclose(file) != 0 || failed)
    throw std::runtime_error("cannot write " + fileName + ": " + std::strerror(errno));
}

/// The name as one CSV field: quoted, with doubled quotes, when it holds a comma or a quote.
std::string csvField(std::string const& text) {
  if (text.find_first_of(",\"\n") == std::string::npos)
    return text;
  std::string quoted = "\"";
  for (char c : text) {
    if (c == '"')
      quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

void writeHitsCsv(ScanResult const& result, std::string const& fileName) {
  std::FILE* file = std::fopen(fileName.c_str(), "w");
  if (file == nullptr)
    throw std::runtime_error("cannot write " + fileName + ": " + std::strerror(errno));
  std::fputs("x,y,z,mesh,u,v,distance,angle\n", file);
  G3::QuadMesh::RectMesh const* lastMesh = nullptr;
  std::string meshField;
  for (ScanHit const& hit : result.hits) {
    if (hit.mesh != lastMesh) {
      lastMesh = hit.mesh;
      meshField = csvField(hit.mesh->getShortFileName());
    }
    G3::Point const probe = result.raster.getPosition(hit.i, hit.j);
    std::fprintf(file, "%.7g,%.7g,%.7g,%s,%d,%d,%.7g,%.5g\n", probe.getX(), probe.getY(),
                 probe.getZ(), meshField.c_str(), hit.indices.getU(), hit.indices.getV(),
                 hit.distance, hit.angle);
  }
  bool const failed = std::ferror(file) != 0;
  if (std::fclose(file) != 0 || failed)
    throw std::runtime_error("cannot write " + fileName + ": " + std::strerror(errno));
}

} // namespace

std::vector<std::string> writeScanOutputs(ScanPart const& part, ScanResult const& result,
                                          OutputOptions const& options, std::string const& folder) {
  std::filesystem::path const dir(folder);
  std::vector<std::string> written = {(dir / "cscan.png").string(), (dir / "angle.png").string(),
                                      (dir / "mesh.png").string(), (dir / "hits.csv").string()};
  auto const start = std::chrono::steady_clock::now();
  std::vector<std::string> names;
  for (ScanPart::Member const& member : part.getMembers())
    names.push_back(member.mesh->getShortFileName());
  CScanPictures const pictures =
      drawCScanPictures(result, names, getCellPitch(part), *options.colourMap);
  writeBytes(written[0], pictures.distance);
  writeBytes(written[1], pictures.angle);
  writeBytes(written[2], pictures.mesh);
  writeHitsCsv(result, written[3]);
  if (options.doWriteReport) {
    ReportContext context{options.command, options.settings, options.timings};
    context.timings.emplace_back(
        "pictures and hits table",
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    written.push_back((dir / "report.html").string());
    writeBytes(written.back(), makeHtmlReport(part, result, pictures, *options.colourMap, context));
  }
  return written;
}

void printScanSummary(std::FILE* out, ScanPart const& part, ScanResult const& result,
                      ScanSettings const& settings) {
  std::fprintf(out, "meshes:          %zu\n", part.getMembers().size());
  for (ScanPart::Member const& member : part.getMembers()) {
    auto const extents = member.mesh->getExtents();
    auto const offset = member.mesh->getOffset();
    std::fprintf(out, "  %-14s %u x %u quads, offset %d,%d%s%s\n",
                 member.mesh->getShortFileName().c_str(), extents.getdU(), extents.getdV(),
                 offset.getdU(), offset.getdV(), member.doFlipU ? ", u flipped" : "",
                 member.doFlipV ? ", v flipped" : "");
  }
  auto const& grid = result.grid;
  std::fprintf(out, "scan grid:       %d x %d cells from (%d, %d)\n", grid.getd().getdU(),
               grid.getd().getdV(), grid.getp().getU(), grid.getp().getV());
  ProbeRaster const& raster = result.raster;
  std::fprintf(out, "probe positions: %u x %u = %llu, step %g, on the plane z = %g\n",
               raster.countX, raster.countY, static_cast<unsigned long long>(raster.getSize()),
               raster.step, raster.z);
  std::fprintf(out, "beam:            %s, quality mode %u\n",
               settings.beam == Beam::Normal ? "along the surface normal" : "vertical",
               static_cast<unsigned>(settings.mode));
  std::fprintf(out, "hits:            %zu\n", result.hits.size());
  std::fprintf(out, "misses:          %llu\n", static_cast<unsigned long long>(result.misses));
  double const rate =
      result.seconds > 0.0 ? static_cast<double>(result.queries) / result.seconds : 0.0;
  std::fprintf(out, "queries/s:       %.0f (%llu queries in %.3f s)\n", rate,
               static_cast<unsigned long long>(result.queries), result.seconds);
}

void printWritten(std::FILE* out, std::vector<std::string> const& fileNames) {
  for (std::size_t i = 0; i < fileNames.size(); ++i)
    std::fprintf(out, "%s%s\n", i == 0 ? "wrote:           " : "                 ",
                 fileNames[i].c_str());
}

} // namespace qarn
