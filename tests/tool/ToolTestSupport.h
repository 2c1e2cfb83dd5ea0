#ifndef QARN_TESTS_TOOL_TOOLTESTSUPPORT_H
#define QARN_TESTS_TOOL_TOOLTESTSUPPORT_H

#include <common/Support.h>

#include <gtest/gtest.h>
#include <png.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace ToolTest {

namespace fs = std::filesystem;
using QARN::Test::readFile;
using QARN::Test::writeFile;

/// This test process's own folder: CTest runs the cases in parallel.
inline fs::path const workFolder = [] {
  char const* dir = std::getenv("QARN_TEST_TMPDIR");
  fs::path const folder =
      fs::path(dir != nullptr ? dir : testing::TempDir()) / ("tool-" + std::to_string(getpid()));
  fs::remove_all(folder);
  fs::create_directories(folder);
  return folder;
}();

inline std::vector<std::string> lines(std::string const& text) {
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

/// Runs qarn with the arguments (shell syntax) and collects its exit status and output.
inline Outcome qarn(std::string const& arguments) {
  fs::path const out = workFolder / "stdout.txt";
  fs::path const err = workFolder / "stderr.txt";
  std::string const command =
      std::string(QARN_TOOL_PATH) + " " + arguments + " >" + out.string() + " 2>" + err.string();
  int const raw = std::system(command.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(out), readFile(err)};
}

/// The demo, run once per test process.
struct Demo {
  fs::path folder = workFolder / "demo";
  Outcome run = qarn("demo --quiet --out " + folder.string());
  fs::path cylinder = folder / "cylinder-arc.quads";
  fs::path dish = folder / "paraboloid.quads";
};

inline Demo const& demo() {
  static Demo const instance;
  return instance;
}

/// A decoded 8-bit RGB picture.
struct Image {
  std::uint32_t width = 0, height = 0;
  std::vector<std::uint8_t> rgb;

  /// The pixel as 0xRRGGBB.
  std::uint32_t at(std::int64_t column, std::int64_t row) const {
    std::uint8_t const* p = &rgb.at(3 * (static_cast<std::size_t>(row) * width + column));
    return (std::uint32_t{p[0]} << 16) | (std::uint32_t{p[1]} << 8) | p[2];
  }
};

inline Image decodePng(std::string const& bytes) {
  png_image png;
  std::memset(&png, 0, sizeof png);
  png.version = PNG_IMAGE_VERSION;
  Image image;
  if (png_image_begin_read_from_memory(&png, bytes.data(), bytes.size()) == 0) {
    ADD_FAILURE() << "not a PNG: " << png.message;
    return image;
  }
  png.format = PNG_FORMAT_RGB;
  image.width = png.width;
  image.height = png.height;
  image.rgb.resize(PNG_IMAGE_SIZE(png));
  EXPECT_NE(png_image_finish_read(&png, nullptr, image.rgb.data(), 0, nullptr), 0);
  return image;
}

inline Image decodePngFile(fs::path const& path) {
  return decodePng(readFile(path));
}

struct CsvHit {
  std::string mesh;
  int u = 0, v = 0;
  double distance = 0.0;
};

/// The rows of hits.csv after checking its header line.
inline std::vector<CsvHit> readHits(fs::path const& path) {
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
      hits.push_back({fields[3], std::stoi(fields[4]), std::stoi(fields[5]), std::stod(fields[6])});
  }
  return hits;
}

/// Per scan-grid cell (u, v) hit, its nearest hit.
inline std::map<std::pair<int, int>, CsvHit> nearestHits(std::vector<CsvHit> const& hits) {
  std::map<std::pair<int, int>, CsvHit> nearest;
  for (CsvHit const& hit : hits) {
    auto const found = nearest.emplace(std::make_pair(hit.u, hit.v), hit);
    if (hit.distance < found.first->second.distance)
      found.first->second = hit;
  }
  return nearest;
}

} // namespace ToolTest

#endif
