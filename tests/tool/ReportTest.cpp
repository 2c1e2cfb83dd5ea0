// Opens the demo's report.html from disk in headless Chromium, as an inspector would, and looks
// at the console and at a screenshot.
#include <gtest/gtest.h>

#ifdef QARN_TOOL_PATH

#include "ToolTestSupport.h"

#include <algorithm>
#include <set>
#include <string>

namespace {

using namespace QARN::Test::Tool;
using QARN::Test::readFile;

/// Chromium as installed by Debian's chromium package, or the binary QARN_CHROMIUM names.
std::string chromiumPath() {
  char const* path = std::getenv("QARN_CHROMIUM");
  return path != nullptr ? path : "/usr/bin/chromium";
}

/// Loads url in a new headless browser with an empty profile, logging the console to stderr
/// and saving a 1280 × 900 screenshot. WebGL runs on the SwiftShader software renderer.
Outcome openInChromium(std::string const& url, fs::path const& screenshot) {
  static int runs = 0;
  fs::path const profile = workFolder() / ("chromium-profile-" + std::to_string(++runs));
  fs::remove_all(profile);
  fs::create_directories(profile);
  return run("timeout 180 " + chromiumPath() +
             " --headless --no-sandbox --disable-gpu --disable-quic --no-first-run"
             " --disable-background-networking --disable-component-update --disable-sync"
             " --use-gl=angle --use-angle=swiftshader --enable-unsafe-swiftshader"
             " --enable-logging=stderr --v=0 --user-data-dir=" +
             profile.string() + " --window-size=1280,900 --screenshot=" + screenshot.string() +
             " '" + url + "'");
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
  fs::path const blankShot = workFolder() / "blank.png";
  Outcome const blank = openInChromium("about:blank", blankShot);
  if (!fs::exists(blankShot))
    GTEST_SKIP() << "Chromium cannot be started here (status " << blank.status
                 << "), its log ends:\n"
                 << blank.err.substr(blank.err.size() > 2000 ? blank.err.size() - 2000 : 0);

  fs::path const shot = workFolder() / "report.png";
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

} // namespace

#endif
