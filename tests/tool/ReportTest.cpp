// Opens the demo's report.html from disk in headless Chromium, as an inspector would, and looks
// at the console and at a screenshot.
#include <gtest/gtest.h>

#ifdef QARN_TOOL_PATH

#include "ToolTestSupport.h"

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <Plot.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace ToolTest {
namespace {

/// Chromium as installed by Debian's chromium package, or the binary QARN_CHROMIUM names.
std::string chromiumPath() {
  char const* path = std::getenv("QARN_CHROMIUM");
  return path != nullptr ? path : "/usr/bin/chromium";
}

/// Loads url in a new headless browser with an empty profile, logging the console to stderr
/// and saving a 1280 × 900 screenshot. WebGL runs on the SwiftShader software renderer.
Outcome openInChromium(std::string const& url, fs::path const& screenshot) {
  static int runs = 0;
  fs::path const profile = workFolder / ("chromium-profile-" + std::to_string(++runs));
  fs::remove_all(profile);
  fs::create_directories(profile);
  fs::path const log = workFolder / "chromium.log";
  std::string const command =
      "timeout 180 " + chromiumPath() +
      " --headless --no-sandbox --disable-gpu --disable-quic --no-first-run"
      " --disable-background-networking --disable-component-update --disable-sync"
      " --use-gl=angle --use-angle=swiftshader --enable-unsafe-swiftshader"
      " --enable-logging=stderr --v=0 --user-data-dir=" +
      profile.string() + " --window-size=1280,900 --screenshot=" + screenshot.string() + " '" +
      url + "' >/dev/null 2>" + log.string();
  int const raw = std::system(command.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, "", readFile(log)};
}

/// The text between `"key":"` and the next quote, after the first occurrence of from.
std::string jsonText(std::string const& html, std::string const& from, std::string const& key) {
  std::size_t const start = html.find(from);
  std::size_t const at = html.find("\"" + key + "\":", start);
  if (start == std::string::npos || at == std::string::npos) {
    ADD_FAILURE() << "no " << key << " after " << from;
    return "";
  }
  std::size_t const begin = at + key.size() + 3;
  std::size_t const end = html.find_first_of("\",}", begin + 1);
  return html.substr(html[begin] == '"' ? begin + 1 : begin,
                     end - begin - (html[begin] == '"' ? 1 : 0));
}

/// Little-endian 32-bit words from base64.
std::vector<std::uint32_t> wordsOfBase64(std::string const& text) {
  std::string bytes;
  std::uint32_t bits = 0;
  int count = 0;
  for (char c : text) {
    char const* const alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    char const* at = c == '=' ? nullptr : std::strchr(alphabet, c);
    if (at == nullptr)
      break;
    bits = (bits << 6) | static_cast<std::uint32_t>(at - alphabet);
    count += 6;
    if (count >= 8) {
      count -= 8;
      bytes.push_back(static_cast<char>((bits >> count) & 0xFF));
    }
  }
  std::vector<std::uint32_t> words(bytes.size() / 4);
  for (std::size_t i = 0; i < words.size(); ++i)
    for (int k = 3; k >= 0; --k)
      words[i] = (words[i] << 8) | static_cast<unsigned char>(bytes[4 * i + k]);
  return words;
}

TEST(Report, TheViewDrapesEachQuadsNearestHitOnItsOwnMeshAlsoWhenFlipped) {
  // A plate of 40 × 20 quads of 1 mm rising along u (z = x / 4), so that a wrong flip shows.
  namespace G3 = QARN::Geometry::ThreeDimensional;
  G3::QuadMesh::RectMesh plate;
  ASSERT_TRUE(plate.setAsPlane(QARN::Geometry::TwoDimensional::Vector<double>(40.0, 20.0), 1.0,
                               false, 256));
  G3::LinearMap const rise(G3::Vector(1.0, 0.0, 0.25), G3::Vector(0.0, 1.0, 0.0),
                           G3::Vector(0.0, 0.0, 1.0));
  plate.transform(G3::Point(0.0, 0.0, 0.0), G3::AffineMap(rise, G3::Vector(0.0, 0.0, 0.0)));
  fs::path const file = workFolder / "ramp.quads";
  plate.save(file.c_str());
  fs::path const folder = workFolder / "ramp";
  Outcome const made =
      qarn("report -q " + file.string() + " --step 0.37 --flip-u 1 -o " + folder.string());
  ASSERT_EQ(made.status, 0) << made.err;
  std::string const html = readFile(folder / "report.html");
  std::map<std::pair<int, int>, CsvHit> const nearest = nearestHits(readHits(folder / "hits.csv"));
  ASSERT_GT(nearest.size(), 400u);

  std::string const ramp = "\"name\":\"ramp\"";
  std::uint32_t const nu = std::stoul(jsonText(html, ramp, "nu"));
  ASSERT_EQ(nu, 41u) << "every grid line drawn";
  std::vector<std::uint32_t> const quads = wordsOfBase64(jsonText(html, ramp, "quads"));
  std::vector<std::uint32_t> const distances = wordsOfBase64(jsonText(html, ramp, "distance"));
  ASSERT_EQ(quads.size(), 800u);
  ASSERT_EQ(distances.size(), quads.size());
  std::size_t draped = 0;
  for (std::size_t i = 0; i < quads.size(); ++i) {
    // The mesh's own quad (u, v) sits at (39 − u, v) in the scan grid.
    int const u = static_cast<int>(quads[i] % nu);
    int const v = static_cast<int>(quads[i] / nu);
    float distance = 0.0f;
    std::memcpy(&distance, &distances[i], sizeof distance);
    auto const cell = nearest.find({39 - u, v});
    if (cell == nearest.end()) {
      EXPECT_TRUE(std::isnan(distance)) << u << ", " << v;
      continue;
    }
    ++draped;
    EXPECT_NEAR(distance, cell->second.distance, 1e-5 * cell->second.distance) << u << ", " << v;
  }
  EXPECT_EQ(draped, nearest.size());
}

TEST(Report, NeedsNothingBesideItself) {
  Demo const& d = demo();
  ASSERT_EQ(d.run.status, 0) << d.run.err;
  std::string const html = readFile(d.folder / "report.html");
  ASSERT_FALSE(html.empty());
  EXPECT_EQ(html.find("<script src"), std::string::npos);
  EXPECT_EQ(html.find("<link"), std::string::npos);
  EXPECT_EQ(html.find("<iframe"), std::string::npos);
  std::size_t images = 0;
  for (std::size_t at = html.find("<img src=\""); at != std::string::npos;
       at = html.find("<img src=\"", at + 1), ++images)
    EXPECT_EQ(html.compare(at + 10, 22, "data:image/png;base64,"), 0) << html.substr(at, 60);
  EXPECT_EQ(images, 3u) << "the distance, angle and mesh pictures";
  EXPECT_NE(html.find("REVISION=\"111\""), std::string::npos) << "three.js inlined";
  EXPECT_NE(html.find("OrbitControls"), std::string::npos);
}

TEST(Report, OpensInChromiumWithoutConsoleMessagesAndDrawsThePart) {
  Demo const& d = demo();
  ASSERT_EQ(d.run.status, 0) << d.run.err;
  if (access(chromiumPath().c_str(), X_OK) != 0)
    GTEST_SKIP() << "Chromium is not installed at " << chromiumPath()
                 << " (Debian package chromium; QARN_CHROMIUM may name another binary)";
  fs::path const blankShot = workFolder / "blank.png";
  Outcome const blank = openInChromium("about:blank", blankShot);
  if (!fs::exists(blankShot))
    GTEST_SKIP() << "Chromium cannot be started here (status " << blank.status
                 << "), its log ends:\n"
                 << blank.err.substr(blank.err.size() > 2000 ? blank.err.size() - 2000 : 0);

  fs::path const shot = workFolder / "report.png";
  Outcome const opened =
      openInChromium("file://" + fs::absolute(d.folder / "report.html").string(), shot);
  ASSERT_TRUE(fs::exists(shot)) << "status " << opened.status << "\n" << opened.err;

  // The page writes nothing to the console; the only lines allowed are the software WebGL
  // driver's own performance notes.
  for (std::string const& line : lines(opened.err))
    if (line.find(":CONSOLE") != std::string::npos &&
        line.find("GL Driver Message") == std::string::npos)
      ADD_FAILURE() << "console: " << line;

  // The 3-D view is the box of pixels in its background colour; inside it the part, the
  // raster and the beams draw many other colours.
  Image const image = decodePngFile(shot);
  ASSERT_EQ(image.width, 1280u);
  std::uint32_t const background = 0xF4F5F7;
  std::int64_t left = image.width, right = -1, top = image.height, bottom = -1;
  for (std::int64_t y = 0; y < image.height; ++y) {
    for (std::int64_t x = 0; x < image.width; ++x) {
      if (image.at(x, y) != background)
        continue;
      left = std::min(left, x);
      right = std::max(right, x);
      top = std::min(top, y);
      bottom = std::max(bottom, y);
    }
  }
  ASSERT_GE(right, left) << "no 3-D view on the screenshot";
  EXPECT_GT((right - left) * (bottom - top), std::int64_t{image.width} * image.height / 4)
      << "the view's box: " << left << ", " << top << " to " << right << ", " << bottom;
  std::set<std::uint32_t> colours;
  std::int64_t drawn = 0;
  for (std::int64_t y = top; y <= bottom; ++y) {
    for (std::int64_t x = left; x <= right; ++x) {
      std::uint32_t const colour = image.at(x, y);
      colours.insert(colour);
      drawn += colour != background ? 1 : 0;
    }
  }
  EXPECT_GT(drawn, (right - left) * (bottom - top) / 20) << "the canvas is nearly blank";
  EXPECT_GT(colours.size(), 200u) << "the shaded, coloured surfaces are missing";
}

TEST(Report, LargeMeshesAreDrawnOnFewerGridLinesAndTheReportSaysSo) {
  // 400 × 400 quads of 0.25 mm: 160 801 points, over the 150 000 the view draws.
  QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh plate;
  ASSERT_TRUE(plate.setAsPlane(QARN::Geometry::TwoDimensional::Vector<double>(100.0, 100.0), 0.25,
                               false, 256));
  fs::path const file = workFolder / "plate.quads";
  plate.save(file.c_str());
  fs::path const folder = workFolder / "plate";
  Outcome const made = qarn("report -q " + file.string() + " --step 2.1 -o " + folder.string());
  ASSERT_EQ(made.status, 0) << made.err;
  std::string const html = readFile(folder / "report.html");
  EXPECT_NE(html.find("one grid line in 2 drawn"), std::string::npos);
  // 201 × 201 points and 200 × 200 quads drawn, each quad a corner index and two values.
  EXPECT_NE(html.find("40000 quads, each coloured by the nearest hit"), std::string::npos);
  EXPECT_NE(html.find("\"nu\":201,\"nv\":201"), std::string::npos);
  EXPECT_LT(html.size(), std::size_t{6} << 20);
  Image const cscan = decodePngFile(folder / "cscan.png");
  EXPECT_EQ(cscan.width, static_cast<std::uint32_t>(qarn::FigureLayout(800, 800, true, {}).width));
}

} // namespace
} // namespace ToolTest

#endif
