// Runs the qarn binary as a user would and checks its files, images, tables and exit statuses.
#include <gtest/gtest.h>

#ifdef QARN_TOOL_PATH

#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroup.h>

#include "ToolTestSupport.h"

#include <CScanPictures.h>
#include <ColourMaps.h>
#include <Plot.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace ToolTest {
namespace {

using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;
using QARN::Geometry::ThreeDimensional::QuadMesh::RectMeshGroup;
using Offset = QARN::Geometry::TwoDimensional::Vector<int>;

/// The number after "label" at the start of a summary line.
long long summaryNumber(std::string const& out, std::string const& label) {
  for (std::string const& line : lines(out))
    if (line.rfind(label, 0) == 0)
      return std::stoll(line.substr(label.size()));
  ADD_FAILURE() << "no line " << label << " in\n" << out;
  return -1;
}

/// The "offset U,V" of each mesh line of the summary, in order.
std::vector<Offset> summaryOffsets(std::string const& out) {
  std::vector<Offset> offsets;
  for (std::string const& line : lines(out)) {
    auto const at = line.find(", offset ");
    int u = 0, v = 0;
    if (at != std::string::npos && std::sscanf(line.c_str() + at + 9, "%d,%d", &u, &v) == 2)
      offsets.emplace_back(u, v);
  }
  return offsets;
}

TEST(Tool, DemoPicturesShowEachQuadsNearestHitAtItsPlaceInTheScanGrid) {
  Demo const& d = demo();
  ASSERT_EQ(d.run.status, 0) << d.run.err;
  EXPECT_EQ(d.run.err, "");
  for (char const* name :
       {"cylinder-arc.quads", "paraboloid.quads", "cylinder-arc.obj", "paraboloid.obj", "cscan.png",
        "angle.png", "mesh.png", "hits.csv", "report.html"})
    EXPECT_TRUE(fs::is_regular_file(d.folder / name)) << name;

  std::vector<CsvHit> const hits = readHits(d.folder / "hits.csv");
  long long const hitCount = summaryNumber(d.run.out, "hits:");
  EXPECT_EQ(static_cast<long long>(hits.size()), hitCount);
  EXPECT_GT(hitCount, 0);
  EXPECT_GT(summaryNumber(d.run.out, "misses:"), 0) << "the probes cover the gap between meshes";

  // Square blocks of a few pixels per quad of the group's (u, v) box, from the files' headers.
  std::vector<Offset> const offsets = summaryOffsets(d.run.out);
  ASSERT_EQ(offsets.size(), 2u);
  auto const box = RectMeshGroup::getUVBoundingBox({d.cylinder.string(), d.dish.string()}, offsets);
  int const width = box.getd().getdU();
  int const height = box.getd().getdV();
  qarn::CellRaster const raster(width, height);
  ASSERT_EQ(raster.cellsPerBlock, 1u);
  int const side = static_cast<int>(raster.pixelsPerBlock);
  EXPECT_GE(side, 2);
  qarn::PixelBox const plot = qarn::FigureLayout(width * side, height * side, true, {}).plot;
  EXPECT_GE(std::max(plot.width, plot.height), 800);
  Image const cscan = decodePngFile(d.folder / "cscan.png");
  Image const angle = decodePngFile(d.folder / "angle.png");
  Image const mesh = decodePngFile(d.folder / "mesh.png");
  for (Image const* image : {&cscan, &angle, &mesh}) {
    EXPECT_GE(static_cast<int>(image->width), plot.x + plot.width);
    EXPECT_GE(static_cast<int>(image->height), plot.y + plot.height);
  }
  EXPECT_EQ(std::make_pair(cscan.width, cscan.height), std::make_pair(angle.width, angle.height));

  for (CsvHit const& hit : hits)
    EXPECT_TRUE(hit.mesh == "cylinder-arc" || hit.mesh == "paraboloid") << hit.mesh;
  std::map<std::pair<int, int>, CsvHit> const nearest = nearestHits(hits);
  double low = nearest.begin()->second.distance;
  double high = low;
  for (auto const& cell : nearest) {
    low = std::min(low, cell.second.distance);
    high = std::max(high, cell.second.distance);
  }

  // At each quad's centre (v upwards): the viridis entry of its distance (give or take one, for
  // the table's rounding of distances) and its mesh's colour; every other quad is a miss.
  qarn::ColourMap const& viridis = qarn::ColourMap::get("viridis");
  auto const hex = [](qarn::Rgb c) { return (std::uint32_t{c.r} << 16) | (c.g << 8) | c.b; };
  std::uint32_t const missColour = hex(viridis.getMissColour());
  std::size_t coloured = 0;
  for (int v = 0; v < height; ++v) {
    for (int u = 0; u < width; ++u) {
      int const column = plot.x + u * side + side / 2;
      int const row = plot.y + (height - 1 - v) * side + side / 2;
      auto const cell = nearest.find({u + box.getp().getU(), v + box.getp().getV()});
      if (cell == nearest.end()) {
        EXPECT_EQ(cscan.at(column, row), missColour) << u << ", " << v;
        EXPECT_EQ(mesh.at(column, row), missColour) << u << ", " << v;
        continue;
      }
      ++coloured;
      double const t = (cell->second.distance - low) / (high - low);
      int const entry = std::min(255, static_cast<int>(std::floor(t * 256.0)));
      std::set<std::uint32_t> near;
      for (int k = std::max(0, entry - 1); k <= std::min(255, entry + 1); ++k)
        near.insert(hex(viridis.getEntry(static_cast<std::size_t>(k))));
      EXPECT_EQ(near.count(cscan.at(column, row)), 1u) << u << ", " << v << ": entry " << entry;
      std::size_t const meshIndex = cell->second.mesh == "cylinder-arc" ? 0 : 1;
      EXPECT_EQ(mesh.at(column, row), hex(qarn::getMeshColour(meshIndex, 2, viridis)));
    }
  }
  EXPECT_EQ(coloured, nearest.size());
}

TEST(Tool, ScanOfTheDemoFilesRepeatsTheDemoAndFlipsMirrorOneMesh) {
  Demo const& d = demo();
  ASSERT_EQ(d.run.status, 0) << d.run.err;
  std::vector<Offset> const offsets = summaryOffsets(d.run.out);
  ASSERT_EQ(offsets.size(), 2u);
  std::string const files = d.cylinder.string() + " " + d.dish.string() + " --offset 0,0" +
                            " --offset " + std::to_string(offsets[1].getdU()) + ",0 -q";

  Outcome const same = qarn("scan " + files + " -o " + (workFolder / "same").string());
  ASSERT_EQ(same.status, 0) << same.err;
  EXPECT_EQ(readFile(workFolder / "same" / "hits.csv"), readFile(d.folder / "hits.csv"));

  Outcome const flipped =
      qarn("scan " + files + " --flip-u 2 -o " + (workFolder / "flip").string());
  ASSERT_EQ(flipped.status, 0) << flipped.err;
  std::vector<CsvHit> const before = readHits(d.folder / "hits.csv");
  std::vector<CsvHit> const after = readHits(workFolder / "flip" / "hits.csv");
  ASSERT_EQ(after.size(), before.size());
  std::uint32_t U = 0, V = 0;
  double mean = 0, min = 0, max = 0;
  RectMesh::getFileHeaderItems(d.dish.c_str(), U, V, mean, min, max);
  int const first = offsets[1].getdU();
  for (std::size_t i = 0; i < before.size(); ++i) {
    int const expected = before[i].mesh == "paraboloid"
                             ? first + static_cast<int>(U) - 1 - (before[i].u - first)
                             : before[i].u;
    EXPECT_EQ(after[i].u, expected) << "row " << i + 1;
    EXPECT_EQ(after[i].v, before[i].v) << "row " << i + 1;
  }
}

TEST(Tool, InfoAndExportDescribeTheDemoCylinder) {
  Demo const& d = demo();
  ASSERT_EQ(d.run.status, 0) << d.run.err;
  std::uint32_t U = 0, V = 0;
  double mean = 0, min = 0, max = 0;
  RectMesh::getFileHeaderItems(d.cylinder.c_str(), U, V, mean, min, max);
  unsigned long long const points = (U + 1ull) * (V + 1ull);

  Outcome const info = qarn("info " + d.cylinder.string());
  ASSERT_EQ(info.status, 0) << info.err;
  std::string const grid = std::to_string(U) + " x " + std::to_string(V);
  EXPECT_NE(info.out.find("quads:          " + grid + "\n"), std::string::npos) << info.out;
  std::string const all = std::to_string(points) + " of " + std::to_string(points);
  EXPECT_NE(info.out.find("valid points:   " + all + "\n"), std::string::npos) << info.out;

  fs::path const obj = workFolder / "cylinder.obj";
  Outcome const exported = qarn("export " + d.cylinder.string() + " -o " + obj.string());
  ASSERT_EQ(exported.status, 0) << exported.err;
  std::size_t vertices = 0, faces = 0;
  for (std::string const& line : lines(readFile(obj))) {
    vertices += line.rfind("v ", 0) == 0 ? 1 : 0;
    faces += line.rfind("f ", 0) == 0 ? 1 : 0;
  }
  EXPECT_EQ(vertices, points);
  EXPECT_EQ(faces, std::size_t{U} * V);
}

TEST(Tool, ErrorsAreOneLineWithStatusOneForFailuresAndTwoForUsage) {
  std::string const missing = (workFolder / "missing.quads").string();
  Outcome const run = qarn("info " + missing);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "qarn: " + missing + ": Quad-mesh file open failure.\n");
  EXPECT_EQ(run.out, "");

  for (std::string const& usage :
       {std::string(""), std::string("demo --no-such-option"), std::string("scan a.quads"),
        std::string("demo --step -1"), std::string("demo --beam sideways"),
        std::string("demo --colour-map rainbow"), std::string("report a.quads"),
        "scan a.quads b.quads --offset 0,0 -o " + (workFolder / "x").string(),
        "scan a.quads --offset 0:0 -o " + (workFolder / "x").string(),
        "scan a.quads --flip-u 2 -o " + (workFolder / "x").string()}) {
    Outcome const bad = qarn(usage);
    EXPECT_EQ(bad.status, 2) << usage;
    EXPECT_EQ(bad.err.rfind("qarn: ", 0), 0u) << usage << ": " << bad.err;
    EXPECT_EQ(lines(bad.err).size(), 1u) << usage << ": " << bad.err;
  }
  EXPECT_FALSE(fs::exists(workFolder / "x")) << "usage errors are found before any output";
}

} // namespace
} // namespace ToolTest

#else

TEST(Tool, Skipped) {
  GTEST_SKIP() << "built without the qarn tool";
}

#endif
