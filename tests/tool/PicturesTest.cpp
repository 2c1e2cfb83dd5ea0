// The tool's drawing pieces on synthetic data: colour maps, scales, ticks, the C-scan and
// flat-mesh pictures decoded pixel by pixel, and the report's base64.
#include <gtest/gtest.h>

#ifdef QARN_TOOL_PATH

#include "ToolTestSupport.h"

#include <CScanPictures.h>
#include <ColourMaps.h>
#include <FlatMeshPicture.h>
#include <HtmlReport.h>
#include <Plot.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace ToolTest {
namespace {

using qarn::ColourMap;
using qarn::Rgb;

std::uint32_t hex(Rgb c) {
  return (std::uint32_t{c.r} << 16) | (std::uint32_t{c.g} << 8) | c.b;
}

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

TEST(ColourMaps, TablesMatchThePublishedValuesAndMissColoursStandApart) {
  struct Pinned {
    char const* map;
    std::size_t entry;
    std::uint32_t colour;
  };
  // viridis: the published fractions times 255, rounded; jet and blue-red: their breakpoints
  // and stops sampled at entry / 255.
  for (Pinned const& pin :
       {Pinned{"viridis", 0, 0x440154}, Pinned{"viridis", 64, 0x3B528B},
        Pinned{"viridis", 128, 0x21918C}, Pinned{"viridis", 192, 0x5EC962},
        Pinned{"viridis", 255, 0xFDE725}, Pinned{"grey", 0, 0x000000}, Pinned{"grey", 77, 0x4D4D4D},
        Pinned{"grey", 255, 0xFFFFFF}, Pinned{"jet", 0, 0x000080}, Pinned{"jet", 64, 0x0081FF},
        Pinned{"jet", 128, 0x7DFF7A}, Pinned{"jet", 192, 0xFF9400}, Pinned{"jet", 255, 0x800000},
        Pinned{"blue-red", 0, 0x053061}, Pinned{"blue-red", 127, 0xF6F7F7},
        Pinned{"blue-red", 255, 0x67001F}})
    EXPECT_EQ(hex(ColourMap::get(pin.map).getEntry(pin.entry)), pin.colour)
        << pin.map << " entry " << pin.entry;

  for (std::string const& name : ColourMap::getNames()) {
    ColourMap const& map = ColourMap::get(name);
    EXPECT_EQ(map.getIsTwoSided(), name == "blue-red");
    for (std::size_t i = 0; i < 256; ++i)
      EXPECT_NE(map.getEntry(i), map.getMissColour()) << name << " entry " << i;
  }
  EXPECT_EQ(QARN::Test::messageOf<std::invalid_argument>([] { ColourMap::get("rainbow"); }),
            "unknown colour map 'rainbow': expected one of viridis, grey, jet, blue-red");
}

TEST(ColourMaps, PlaceOnTheMapPicksEntryFloorOf256TimesT) {
  ColourMap const& grey = ColourMap::get("grey");
  struct Case {
    double t;
    std::uint8_t entry;
  };
  for (Case const& c :
       {Case{-1.0, 0}, Case{0.0, 0}, Case{1.0 / 256 - 1e-12, 0}, Case{1.0 / 256, 1}, Case{0.5, 128},
        Case{255.0 / 256 - 1e-12, 254}, Case{255.0 / 256, 255}, Case{1.0, 255}, Case{7.0, 255}})
    EXPECT_EQ(grey.getColour(c.t).r, c.entry) << c.t;
  EXPECT_EQ(grey.getColour(std::nan("")), grey.getMissColour());
}

TEST(ColourMaps, ScalesSpanTheDataCentreTwoSidedMapsAndWidenSingleValues) {
  ColourMap const& grey = ColourMap::get("grey");
  ColourMap const& twoSided = ColourMap::get("blue-red");
  auto const rangeOf = [](std::vector<double> const& values) {
    qarn::ValueRange range;
    for (double value : values)
      range.add(value);
    return range;
  };
  struct Case {
    ColourMap const* map;
    std::vector<double> values;
    double low, high;
  };
  double const inf = std::numeric_limits<double>::infinity();
  for (Case const& c :
       {Case{&grey, {6.0, 2.0, std::nan(""), 3.0}, 2.0, 6.0}, Case{&grey, {5.0, inf}, 4.5, 5.5},
        Case{&grey, {}, 0.0, 1.0}, Case{&twoSided, {-1.0, 3.0}, -3.0, 3.0},
        Case{&twoSided, {-4.0, -2.0}, -4.0, 4.0}, Case{&twoSided, {0.0}, -0.5, 0.5}}) {
    qarn::ColourScale const scale(*c.map, rangeOf(c.values));
    EXPECT_EQ(scale.low, c.low) << c.map->getName() << ", " << c.values.size() << " values";
    EXPECT_EQ(scale.high, c.high) << c.map->getName() << ", " << c.values.size() << " values";
  }
  qarn::ColourScale const scale(grey, rangeOf({2.0, 6.0}));
  EXPECT_EQ(scale.getColour(2.0).r, 0);
  EXPECT_EQ(scale.getColour(4.0).r, 128);
  EXPECT_EQ(scale.getColour(6.0).r, 255);
  EXPECT_EQ(scale.getColour(std::nan("")), grey.getMissColour());
}

TEST(Plot, TicksAreRoundStepsInsideTheRangePrintedWithJustEnoughDecimals) {
  struct Case {
    double low, high;
    int count;
    std::vector<std::string> labels;
  };
  for (Case const& c :
       {Case{0.0,
             131.7,
             9,
             {"0", "10", "20", "30", "40", "50", "60", "70", "80", "90", "100", "110", "120",
              "130"}},
        Case{13.2, 24.68, 7, {"14", "16", "18", "20", "22", "24"}},
        Case{-0.05, 0.05, 4, {"-0.04", "-0.02", "0.00", "0.02", "0.04"}},
        Case{-6.0, 14.0, 8, {"-6", "-4", "-2", "0", "2", "4", "6", "8", "10", "12", "14"}},
        Case{0.0, 4e9, 4, {"0", "1e+09", "2e+09", "3e+09", "4e+09"}},
        Case{1e-7, 4e-7, 3, {"1e-07", "2e-07", "3e-07", "4e-07"}}, Case{1.0, 1.0, 4, {}},
        Case{0.0, std::nan(""), 4, {}}}) {
    qarn::Ticks const ticks(c.low, c.high, c.count);
    std::vector<std::string> labels;
    for (double value : ticks.values)
      labels.push_back(ticks.format(value));
    EXPECT_EQ(labels, c.labels) << c.low << " to " << c.high;
  }
  EXPECT_EQ(qarn::Ticks(-1.0, 1.0, 2).format(-1e-17), "0") << "no negative zero";
}

TEST(CScanPictures, CellRasterGivesAFewPixelsPerQuadAndBlocksForHugeGrids) {
  struct Case {
    std::uint32_t u, v;
    std::uint32_t cellsPerBlock, pixelsPerBlock, columns, rows;
  };
  for (Case const& c :
       {Case{128, 62, 1, 7, 128, 62}, Case{10, 5, 1, 80, 10, 5}, Case{3, 400, 1, 2, 3, 400},
        Case{799, 1, 1, 2, 799, 1}, Case{800, 3, 1, 1, 800, 3}, Case{4096, 10, 1, 1, 4096, 10},
        Case{4097, 10, 2, 1, 2049, 5}, Case{9000, 2, 3, 1, 3000, 1}}) {
    qarn::CellRaster const raster(c.u, c.v);
    EXPECT_EQ(raster.cellsPerBlock, c.cellsPerBlock) << c.u << " x " << c.v;
    EXPECT_EQ(raster.pixelsPerBlock, c.pixelsPerBlock) << c.u << " x " << c.v;
    EXPECT_EQ(raster.columns, c.columns) << c.u << " x " << c.v;
    EXPECT_EQ(raster.rows, c.rows) << c.u << " x " << c.v;
  }
}

/// A scan of a 10 × 5 grid from (−3, 2) with three quads hit: (0, 0) by mesh 0 at distance 10
/// and angle 0, (4, 2) by mesh 1 at 12.5 and 45 degrees, (9, 4) by mesh 1 at 15 and 90.
qarn::ScanResult syntheticScan() {
  qarn::ScanResult result;
  result.grid = QARN::Geometry::TwoDimensional::BoundingBoxAA<int>(
      QARN::Geometry::TwoDimensional::Point<int>(-3, 2),
      QARN::Geometry::TwoDimensional::Vector<int>(10, 5));
  result.cellDistance.assign(50, nan);
  result.cellAngle.assign(50, nan);
  result.cellMesh.assign(50, qarn::ScanResult::noMesh);
  struct Hit {
    int u, v;
    float distance, angle;
    std::uint32_t mesh;
  };
  for (Hit const& hit :
       {Hit{0, 0, 10.0f, 0.0f, 0}, Hit{4, 2, 12.5f, 45.0f, 1}, Hit{9, 4, 15.0f, 90.0f, 1}}) {
    std::size_t const cell = static_cast<std::size_t>(hit.v * 10 + hit.u);
    result.cellDistance[cell] = hit.distance;
    result.cellAngle[cell] = hit.angle;
    result.cellMesh[cell] = hit.mesh;
  }
  result.raster.countX = 20;
  result.raster.countY = 10;
  result.hits.resize(3);
  return result;
}

TEST(CScanPictures, EachQuadIsASquareBlockInItsValuesColourWithVUpwards) {
  ColourMap const& viridis = ColourMap::get("viridis");
  qarn::CScanPictures const pictures =
      qarn::drawCScanPictures(syntheticScan(), {"plate", "dish"}, 2.0, viridis);

  // 80 pixels a quad make the long side 800; the key is a colour bar and one legend entry.
  qarn::FigureLayout const layout(800, 400, true, {{viridis.getMissColour(), "no hit"}});
  qarn::PixelBox const& plot = layout.plot;
  std::uint32_t const miss = hex(viridis.getMissColour());
  std::uint32_t const low = hex(viridis.getEntry(0));
  std::uint32_t const middle = hex(viridis.getEntry(128));
  std::uint32_t const high = hex(viridis.getEntry(255));
  std::uint32_t const orange = 0xE69F00;
  std::uint32_t const skyBlue = 0x56B4E9;
  struct Expected {
    std::string const* png;
    std::uint32_t atOrigin, atMiddle, atCorner;
  };
  for (Expected const& e : {Expected{&pictures.distance, low, middle, high},
                            Expected{&pictures.angle, low, middle, high},
                            Expected{&pictures.mesh, orange, skyBlue, skyBlue}}) {
    Image const image = decodePng(*e.png);
    ASSERT_EQ(image.width, static_cast<std::uint32_t>(layout.width));
    ASSERT_GE(image.height, static_cast<std::uint32_t>(layout.plot.y + layout.plot.height));
    // Every pixel of a quad's block, first and last row and column included.
    auto const block = [&](int u, int v, std::uint32_t colour) {
      int const left = plot.x + u * 80;
      int const top = plot.y + (4 - v) * 80;
      for (int dy : {0, 40, 79})
        for (int dx : {0, 40, 79})
          EXPECT_EQ(image.at(left + dx, top + dy), colour) << u << ", " << v << " +" << dx << dy;
    };
    block(0, 0, e.atOrigin);
    block(4, 2, e.atMiddle);
    block(9, 4, e.atCorner);
    block(5, 2, miss);
    block(0, 4, miss);
    block(9, 0, miss);
    // The frame hugs the plot: black just outside it, never over the data.
    EXPECT_EQ(image.at(plot.x - 1, plot.y + 200), 0x000000u);
    EXPECT_EQ(image.at(plot.x + plot.width, plot.y + 200), 0x000000u);
    EXPECT_EQ(image.at(plot.x + 400, plot.y - 1), 0x000000u);
    EXPECT_EQ(image.at(plot.x + 400, plot.y + plot.height), 0x000000u);
  }

  Image const distance = decodePng(pictures.distance);
  // The colour bar runs from the first entry at its bottom to the last at its top.
  qarn::PixelBox const& bar = layout.colourBar;
  EXPECT_EQ(distance.at(bar.x + bar.width / 2, bar.y + bar.height - 1), low);
  EXPECT_EQ(distance.at(bar.x + bar.width / 2, bar.y), high);
  EXPECT_EQ(distance.at(bar.x - 1, bar.y + bar.height / 2), 0x000000u);
  qarn::PixelBox const& swatch = layout.swatches.at(0);
  EXPECT_EQ(distance.at(swatch.x + swatch.width / 2, swatch.y + swatch.height / 2), miss);

  // Axes in millimetres: u from −6 to 14 at 2 mm a quad puts the tick of 0 at 240 pixels,
  // pointing down out of the plot; the texts leave dark pixels in the title, under the axis
  // and beside the bar.
  EXPECT_EQ(distance.at(plot.x + 239, plot.y + plot.height + 3), 0x000000u);
  auto const darkPixels = [&](int left, int top, int width, int height) {
    int count = 0;
    for (int y = top; y < top + height; ++y)
      for (int x = left; x < left + width; ++x)
        count += (distance.at(x, y) & 0xFF) < 96 ? 1 : 0;
    return count;
  };
  EXPECT_GT(darkPixels(plot.x, 10, 300, 26), 100) << "title";
  EXPECT_GT(darkPixels(plot.x, plot.y + plot.height + 8, plot.width, 16), 50) << "tick labels";
  EXPECT_GT(darkPixels(plot.x + plot.width / 2 - 40, plot.y + plot.height + 30, 80, 20), 30)
      << "axis label";
  EXPECT_GT(darkPixels(bar.x + bar.width + 4, bar.y, 100, bar.height), 100) << "bar labels";
}

TEST(CScanPictures, ABlockOfHugeGridsShowsItsNearestHit) {
  qarn::ScanResult result;
  result.grid = QARN::Geometry::TwoDimensional::BoundingBoxAA<int>(
      QARN::Geometry::TwoDimensional::Point<int>(0, 0),
      QARN::Geometry::TwoDimensional::Vector<int>(9000, 2));
  result.cellDistance.assign(18000, nan);
  result.cellAngle.assign(18000, nan);
  result.cellMesh.assign(18000, qarn::ScanResult::noMesh);
  // Block 0 holds cells (0..2, 0..1): the nearer hit at (1, 1) stands for it.
  result.cellDistance[0] = 5.0f;
  result.cellDistance[9000 + 1] = 3.0f;
  result.cellDistance[8999] = 4.0f;
  ColourMap const& grey = ColourMap::get("grey");
  Image const image = decodePng(qarn::drawCScanPictures(result, {}, 1.0, grey).distance);
  qarn::PixelBox const plot = qarn::FigureLayout(3000, 1, true, {}).plot;
  EXPECT_EQ(image.width, static_cast<std::uint32_t>(qarn::FigureLayout(3000, 1, true, {}).width));
  EXPECT_EQ(image.at(plot.x, plot.y), 0x000000u) << "3 is the nearest of 3 and 5";
  EXPECT_EQ(image.at(plot.x + 1, plot.y), hex(grey.getMissColour()));
  EXPECT_EQ(image.at(plot.x + 2999, plot.y), 0x808080u) << "4 is the middle of 3 to 5";
}

TEST(FlatMeshPicture, TrianglesTakeTheirValuesColoursAtEqualScales) {
  ColourMap const& viridis = ColourMap::get("viridis");
  // A unit square of two triangles (values 1 and 3) and a third triangle beside it without a
  // value, over u from 0 to 2 and v from 0 to 1.
  std::vector<qarn::FlatTriangle> const triangles = {{{0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}},
                                                     {{1.0, 1.0, 0.0}, {0.0, 1.0, 1.0}},
                                                     {{1.0, 2.0, 1.0}, {0.0, 0.0, 1.0}}};
  std::string const png =
      qarn::drawFlatMeshPicture(triangles, {1.0, 3.0, std::nan("")},
                                {"Distortion", "3 triangles", "u", "v", "ratio"}, viridis);
  Image const image = decodePng(png);

  // A 2 % margin of the long side round the mesh: 2.08 × 1.08 units at 1000 / 2.08 pixels each.
  double const scale = 1000.0 / 2.08;
  qarn::FigureLayout const layout(1000, static_cast<int>(std::lround(1.08 * scale)), true,
                                  {{viridis.getMissColour(), "no value"}});
  ASSERT_EQ(image.width, static_cast<std::uint32_t>(layout.width));
  ASSERT_EQ(image.height, static_cast<std::uint32_t>(layout.height));
  auto const pixel = [&](double u, double v) {
    return image.at(layout.plot.x + static_cast<int>((u + 0.04) * scale),
                    layout.plot.y + static_cast<int>((1.04 - v) * scale));
  };
  EXPECT_EQ(pixel(1.0 / 3, 1.0 / 3), hex(viridis.getEntry(0)));
  EXPECT_EQ(pixel(2.0 / 3, 2.0 / 3), hex(viridis.getEntry(255)));
  EXPECT_EQ(pixel(4.0 / 3, 1.0 / 3), hex(viridis.getMissColour()));
  EXPECT_EQ(pixel(1.5, 0.9), 0xFFFFFFu) << "outside the mesh";
  qarn::PixelBox const& swatch = layout.swatches.at(0);
  EXPECT_EQ(image.at(swatch.x + 7, swatch.y + 7), hex(viridis.getMissColour()));

  EXPECT_EQ(QARN::Test::messageOf<std::invalid_argument>(
                [&] { qarn::drawFlatMeshPicture(triangles, {1.0}, {}, viridis); }),
            "drawFlatMeshPicture: 3 triangles and 1 values");
  Image const empty = decodePng(qarn::drawFlatMeshPicture({}, {}, {}, viridis));
  EXPECT_GT(empty.width, 0u);
}

TEST(HtmlReport, Base64FollowsTheStandardsTestVectors) {
  struct Case {
    char const* bytes;
    char const* base64;
  };
  for (Case const& c :
       {Case{"", ""}, Case{"f", "Zg=="}, Case{"fo", "Zm8="}, Case{"foo", "Zm9v"},
        Case{"foob", "Zm9vYg=="}, Case{"fooba", "Zm9vYmE="}, Case{"foobar", "Zm9vYmFy"}})
    EXPECT_EQ(qarn::encodeBase64(c.bytes), c.base64) << c.bytes;
  EXPECT_EQ(qarn::encodeBase64(std::string("\xFF\xFE\x00\x80", 4)), "//4AgA==");
}

} // namespace
} // namespace ToolTest

#endif
