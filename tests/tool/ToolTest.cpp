// Runs the qarn binary as a user would and checks its files, images, tables and exit statuses.
#include <gtest/gtest.h>

#ifdef QARN_TOOL_PATH

#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroup.h>

#include <common/Support.h>

#include <png.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;
using QARN::Geometry::ThreeDimensional::QuadMesh::RectMeshGroup;
using QARN::Test::readFile;
using Offset = QARN::Geometry::TwoDimensional::Vector<int>;

// Each test process works in its own folder: CTest runs the cases in parallel.
fs::path const workFolder = [] {
  char const* dir = std::getenv("QARN_TEST_TMPDIR");
  fs::path const folder =
      fs::path(dir != nullptr ? dir : testing::TempDir()) / ("tool-" + std::to_string(getpid()));
  fs::remove_all(folder);
  fs::create_directories(folder);
  return folder;
}();

std::vector<std::string> lines(std::string const& text) {
  std::vector<std::string> result;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    result.push_back(line);
  return result;
}

struct Outcome {
  int status = -1;
  std::string out, err;
};

Outcome qarn(std::string const& arguments) {
  fs::path const out = workFolder / "stdout.txt";
  fs::path const err = workFolder / "stderr.txt";
  std::string const command =
      std::string(QARN_TOOL_PATH) + " " + arguments + " >" + out.string() + " 2>" + err.string();
  int const raw = std::system(command.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(out), readFile(err)};
}

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

struct Image {
  std::uint32_t width = 0, height = 0;
  std::vector<std::uint8_t> rgb;

  bool isBlack(std::uint32_t column, std::uint32_t row) const {
    std::uint8_t const* p = &rgb[3 * (std::size_t{row} * width + column)];
    return p[0] == 0 && p[1] == 0 && p[2] == 0;
  }
};

Image decodePng(fs::path const& path) {
  png_image png;
  std::memset(&png, 0, sizeof png);
  png.version = PNG_IMAGE_VERSION;
  Image image;
  if (png_image_begin_read_from_file(&png, path.c_str()) == 0) {
    ADD_FAILURE() << path << ": " << png.message;
    return image;
  }
  png.format = PNG_FORMAT_RGB;
  image.width = png.width;
  image.height = png.height;
  image.rgb.resize(PNG_IMAGE_SIZE(png));
  EXPECT_NE(png_image_finish_read(&png, nullptr, image.rgb.data(), 0, nullptr), 0) << path;
  return image;
}

struct CsvHit {
  std::string mesh;
  int u = 0, v = 0;
};

/// The rows of hits.csv after checking its header line.
std::vector<CsvHit> readHits(fs::path const& path) {
  std::vector<std::string> const rows = lines(readFile(path));
  EXPECT_FALSE(rows.empty());
  EXPECT_EQ(rows.at(0), "x,y,z,mesh,u,v,distance,angle");
  std::vector<CsvHit> hits;
  for (std::size_t i = 1; i < rows.size(); ++i) {
    std::vector<std::string> fields;
    std::istringstream in(rows[i]);
    for (std::string field; std::getline(in, field, ',');)
      fields.push_back(field);
    EXPECT_EQ(fields.size(), 8u) << rows[i];
    if (fields.size() == 8)
      hits.push_back({fields[3], std::stoi(fields[4]), std::stoi(fields[5])});
  }
  return hits;
}

/// The demo, run once per test process.
struct Demo {
  fs::path folder = workFolder / "demo";
  Outcome run = qarn("demo --quiet --out " + folder.string());
  fs::path cylinder = folder / "cylinder-arc.quads";
  fs::path dish = folder / "paraboloid.quads";
};

Demo const& demo() {
  static Demo const instance;
  return instance;
}

TEST(Tool, DemoImagesAndHitsAgreeWithTheSummaryAndTheScanGrid) {
  Demo const& d = demo();
  ASSERT_EQ(d.run.status, 0) << d.run.err;
  EXPECT_EQ(d.run.err, "");
  for (char const* name : {"cylinder-arc.quads", "paraboloid.quads", "cylinder-arc.obj",
                           "paraboloid.obj", "cscan.png", "angle.png", "hits.csv"})
    EXPECT_TRUE(fs::is_regular_file(d.folder / name)) << name;

  // One pixel per quad of the group's (u, v) box, as computed from the files' headers.
  std::vector<Offset> const offsets = summaryOffsets(d.run.out);
  ASSERT_EQ(offsets.size(), 2u);
  auto const box = RectMeshGroup::getUVBoundingBox({d.cylinder.string(), d.dish.string()}, offsets);
  auto const width = static_cast<std::uint32_t>(box.getd().getdU());
  auto const height = static_cast<std::uint32_t>(box.getd().getdV());
  Image const cscan = decodePng(d.folder / "cscan.png");
  Image const angle = decodePng(d.folder / "angle.png");
  for (Image const* image : {&cscan, &angle})
    EXPECT_EQ(std::make_pair(width, height), std::make_pair(image->width, image->height));
  ASSERT_EQ(cscan.rgb.size(), std::size_t{3} * width * height);

  std::vector<CsvHit> const hits = readHits(d.folder / "hits.csv");
  long long const hitCount = summaryNumber(d.run.out, "hits:");
  EXPECT_EQ(static_cast<long long>(hits.size()), hitCount);
  EXPECT_GT(hitCount, 0);
  EXPECT_GT(summaryNumber(d.run.out, "misses:"), 0) << "the probes cover the gap between meshes";

  // The quads hit are exactly the coloured pixels, v growing upwards.
  std::set<std::pair<int, int>> cells;
  for (CsvHit const& hit : hits) {
    EXPECT_TRUE(hit.mesh == "cylinder-arc" || hit.mesh == "paraboloid") << hit.mesh;
    int const column = hit.u - box.getp().getU();
    int const row = static_cast<int>(height) - 1 - (hit.v - box.getp().getV());
    ASSERT_TRUE(column >= 0 && row >= 0 && column < static_cast<int>(width) &&
                row < static_cast<int>(height));
    EXPECT_FALSE(cscan.isBlack(column, row));
    cells.emplace(hit.u, hit.v);
  }
  std::size_t coloured = 0;
  for (std::uint32_t row = 0; row < height; ++row)
    for (std::uint32_t column = 0; column < width; ++column)
      coloured += cscan.isBlack(column, row) ? 0 : 1;
  EXPECT_EQ(coloured, cells.size());
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

#else

TEST(Tool, Skipped) {
  GTEST_SKIP() << "built without the qarn tool";
}

#endif
