#include "Plot.h"

#include <cairo.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace qarn {

namespace {

constexpr int marginLeft = 86;
constexpr int marginTop = 70;
constexpr int marginBottom = 60;
constexpr int keyGap = 28;
constexpr int keyWidth = 210;
constexpr int barWidth = 22;
constexpr int minBarHeight = 160;
constexpr int legendGap = 18;
constexpr int legendRow = 22;
constexpr int swatchSize = 14;
constexpr double tickLength = 5.0;
constexpr char const* fontFamily = "DejaVu Sans";
constexpr double quarterTurn = 1.57079632679489661923;

void setColour(cairo_t* cairo, Rgb colour) {
  cairo_set_source_rgb(cairo, colour.r / 255.0, colour.g / 255.0, colour.b / 255.0);
}

/// The longest start of text, cut at whole UTF-8 characters and ended by an ellipsis, that
/// is at most width wide in the current font; the text itself when it fits.
std::string fitText(cairo_t* cairo, std::string const& text, double width) {
  auto const measure = [cairo](std::string const& candidate) {
    cairo_text_extents_t extents;
    cairo_text_extents(cairo, candidate.c_str(), &extents);
    return extents.x_advance;
  };
  if (measure(text) <= width)
    return text;
  std::string cut = text;
  while (!cut.empty()) {
    cut.pop_back();
    while (!cut.empty() && (static_cast<unsigned char>(cut.back()) & 0xC0) == 0x80)
      cut.pop_back();
    if (!cut.empty() && (static_cast<unsigned char>(cut.back()) & 0x80) != 0)
      cut.pop_back();
    if (measure(cut + "\u2026") <= width)
      break;
  }
  return cut + "\u2026";
}

/// cairo and fontconfig keep their font caches until told to let them go; letting go at exit
/// gives memory checkers a clean end. Every figure is gone by then.
void releaseFontCaches() {
  cairo_debug_reset_static_data();
  FcFini();
}

cairo_status_t appendToString(void* closure, unsigned char const* data, unsigned int length) {
  try {
    static_cast<std::string*>(closure)->append(reinterpret_cast<char const*>(data), length);
  } catch (...) {
    return CAIRO_STATUS_NO_MEMORY;
  }
  return CAIRO_STATUS_SUCCESS;
}

} // namespace

FigureLayout::FigureLayout(int plotWidth, int plotHeight, bool hasColourBar,
                           std::vector<LegendEntry> const& legend)
    : plot{marginLeft, marginTop, plotWidth, plotHeight} {
  int const keyX = plot.x + plotWidth + keyGap;
  int const legendHeight = static_cast<int>(legend.size()) * legendRow;
  int legendTop = plot.y;
  if (hasColourBar) {
    int const room = plotHeight - (legend.empty() ? 0 : legendGap + legendHeight);
    colourBar = {keyX, plot.y, barWidth, std::max(minBarHeight, room)};
    legendTop = colourBar.y + colourBar.height + (legend.empty() ? 0 : legendGap);
  }
  for (std::size_t i = 0; i < legend.size(); ++i) {
    int const rowTop = legendTop + static_cast<int>(i) * legendRow;
    PixelBox swatch{keyX, rowTop + (legendRow - swatchSize) / 2, 0, 0};
    if (legend[i].hasSwatch)
      swatch.width = swatch.height = swatchSize;
    swatches.push_back(swatch);
  }
  int const keyBottom = std::max(colourBar.y + colourBar.height, legendTop + legendHeight);
  width = keyX + keyWidth;
  height = std::max(plot.y + plotHeight, keyBottom) + marginBottom;
}

Ticks::Ticks(double low, double high, int count) {
  if (!(high > low) || !std::isfinite(high - low) || count < 1)
    return;
  double const raw = (high - low) / count;
  double const magnitude = std::pow(10.0, std::floor(std::log10(raw)));
  double const ratio = raw / magnitude;
  double const step = (ratio < 1.5   ? 1.0
                       : ratio < 3.5 ? 2.0
                       : ratio < 7.5 ? 5.0
                                     : 10.0) *
                      magnitude;
  decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
  // A tick within a millionth of a step beyond an end still counts as on it.
  double const first = std::ceil(low / step - 1e-6);
  double const last = std::floor(high / step + 1e-6);
  for (double k = first; k <= last; ++k)
    values.push_back(k * step);
}

std::string Ticks::format(double value) const {
  char buffer[64];
  // Fixed decimals while they stay short, powers of ten beyond.
  if (decimals > 6 || std::fabs(value) >= 1e7)
    std::snprintf(buffer, sizeof buffer, "%.6g", value);
  else
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
  std::string text = buffer;
  // Never print "-0" for a tick that is zero up to rounding.
  if (text.find_first_not_of("-0.") == std::string::npos && text[0] == '-')
    text.erase(0, 1);
  return text;
}

Figure::Figure(FigureText text, AxisRange x, AxisRange y, int plotWidth, int plotHeight,
               ColourScale const* scale, std::vector<LegendEntry> legend)
    : text(std::move(text)), xRange(x), yRange(y), scale(scale), legend(std::move(legend)),
      layout(std::max(1, plotWidth), std::max(1, plotHeight), scale != nullptr, this->legend) {
  static bool const isReleaseRegistered = std::atexit(releaseFontCaches) == 0;
  static_cast<void>(isReleaseRegistered);
  surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, layout.width, layout.height);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    std::string const reason = cairo_status_to_string(cairo_surface_status(surface));
    cairo_surface_destroy(surface);
    throw std::runtime_error("cannot make a picture of " + std::to_string(layout.width) + " x " +
                             std::to_string(layout.height) + " pixels: " + reason);
  }
  cairo = cairo_create(surface);
  cairo_set_source_rgb(cairo, 1.0, 1.0, 1.0);
  cairo_paint(cairo);
}

Figure::~Figure() {
  cairo_destroy(cairo);
  cairo_surface_destroy(surface);
}

void Figure::beginPixelAccess() {
  if (!isPixelAccessOpen)
    cairo_surface_flush(surface);
  isPixelAccessOpen = true;
}

void Figure::endPixelAccess() {
  if (isPixelAccessOpen)
    cairo_surface_mark_dirty(surface);
  isPixelAccessOpen = false;
}

void Figure::fillPixels(PixelBox const& box, PixelBox const& clip, Rgb colour) {
  int const left = std::max(clip.x, box.x);
  int const top = std::max(clip.y, box.y);
  int const right = std::min(clip.x + clip.width, box.x + box.width);
  int const bottom = std::min(clip.y + clip.height, box.y + box.height);
  if (left >= right || top >= bottom)
    return;
  beginPixelAccess();
  unsigned char* const data = cairo_image_surface_get_data(surface);
  int const stride = cairo_image_surface_get_stride(surface);
  std::uint32_t const pixel =
      (std::uint32_t{colour.r} << 16) | (std::uint32_t{colour.g} << 8) | std::uint32_t{colour.b};
  for (int row = top; row < bottom; ++row) {
    auto* const line = reinterpret_cast<std::uint32_t*>(data + std::ptrdiff_t{row} * stride);
    std::fill(line + left, line + right, pixel);
  }
}

void Figure::fillPlotPixels(PixelBox const& box, Rgb colour) {
  PixelBox const& plot = layout.plot;
  fillPixels({plot.x + box.x, plot.y + box.y, box.width, box.height}, plot, colour);
}

double Figure::dataToPixelX(double x) const {
  return layout.plot.x + (x - xRange.low) / (xRange.high - xRange.low) * layout.plot.width;
}

double Figure::dataToPixelY(double y) const {
  return layout.plot.y + (yRange.high - y) / (yRange.high - yRange.low) * layout.plot.height;
}

void Figure::fillTriangle(double const (&x)[3], double const (&y)[3], Rgb colour) {
  endPixelAccess();
  cairo_save(cairo);
  cairo_rectangle(cairo, layout.plot.x, layout.plot.y, layout.plot.width, layout.plot.height);
  cairo_clip(cairo);
  cairo_set_antialias(cairo, CAIRO_ANTIALIAS_NONE);
  cairo_move_to(cairo, dataToPixelX(x[0]), dataToPixelY(y[0]));
  cairo_line_to(cairo, dataToPixelX(x[1]), dataToPixelY(y[1]));
  cairo_line_to(cairo, dataToPixelX(x[2]), dataToPixelY(y[2]));
  cairo_close_path(cairo);
  setColour(cairo, colour);
  cairo_fill(cairo);
  cairo_restore(cairo);
}

void Figure::drawText(std::string const& line, double x, double y, double size, bool isBold,
                      double alignX, double alignY, bool isVertical) {
  cairo_save(cairo);
  cairo_select_font_face(cairo, fontFamily, CAIRO_FONT_SLANT_NORMAL,
                         isBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cairo, size);
  cairo_translate(cairo, x, y);
  if (isVertical)
    cairo_rotate(cairo, -quarterTurn);
  // Place the ink box so that (x, y) sits at (alignX, alignY) of it; the vertical extent is
  // the font's, so that texts aligned on one line share a baseline.
  cairo_text_extents_t extents;
  cairo_text_extents(cairo, line.c_str(), &extents);
  cairo_font_extents_t font;
  cairo_font_extents(cairo, &font);
  double const inkHeight = font.ascent + font.descent;
  cairo_move_to(cairo, -alignX * extents.x_advance, font.ascent - alignY * inkHeight);
  cairo_show_text(cairo, line.c_str());
  cairo_restore(cairo);
}

void Figure::drawAxes() {
  PixelBox const& plot = layout.plot;
  cairo_set_source_rgb(cairo, 0.0, 0.0, 0.0);
  cairo_set_line_width(cairo, 1.0);
  cairo_rectangle(cairo, plot.x - 0.5, plot.y - 0.5, plot.width + 1.0, plot.height + 1.0);
  cairo_stroke(cairo);

  // Ticks about every hundred pixels, pointing out of the plot so that they hide no data.
  Ticks const xTicks(xRange.low, xRange.high, std::max(2, plot.width / 100));
  for (double value : xTicks.values) {
    double const x = std::round(dataToPixelX(value)) - 0.5;
    cairo_move_to(cairo, x, plot.y + plot.height + 0.5);
    cairo_line_to(cairo, x, plot.y + plot.height + 0.5 + tickLength);
    cairo_stroke(cairo);
    drawText(xTicks.format(value), x, plot.y + plot.height + 9.0, 12.0, false, 0.5, 0.0);
  }
  Ticks const yTicks(yRange.low, yRange.high, std::max(2, plot.height / 100));
  for (double value : yTicks.values) {
    double const y = std::round(dataToPixelY(value)) - 0.5;
    cairo_move_to(cairo, plot.x - 0.5, y);
    cairo_line_to(cairo, plot.x - 0.5 - tickLength, y);
    cairo_stroke(cairo);
    drawText(yTicks.format(value), plot.x - 9.0, y, 12.0, false, 1.0, 0.5);
  }

  drawText(text.xLabel, plot.x + plot.width / 2.0, plot.y + plot.height + 32.0, 14.0, false, 0.5,
           0.0);
  drawText(text.yLabel, plot.x - 70.0, plot.y + plot.height / 2.0, 14.0, false, 0.5, 0.0, true);
  drawText(text.title, plot.x, 14.0, 18.0, true, 0.0, 0.0);
  cairo_set_source_rgb(cairo, 0.3, 0.3, 0.3);
  drawText(text.subtitle, plot.x, 42.0, 13.0, false, 0.0, 0.0);
}

void Figure::drawKey() {
  PixelBox const& bar = layout.colourBar;
  if (scale != nullptr) {
    // Row r of the bar shows t at the row's centre, counted from the bottom.
    for (int row = 0; row < bar.height; ++row) {
      double const t = (bar.height - row - 0.5) / bar.height;
      fillPixels({bar.x, bar.y + row, bar.width, 1}, bar, scale->map->getColour(t));
    }
  }
  endPixelAccess();
  cairo_set_source_rgb(cairo, 0.0, 0.0, 0.0);
  cairo_set_line_width(cairo, 1.0);
  if (scale != nullptr) {
    cairo_rectangle(cairo, bar.x - 0.5, bar.y - 0.5, bar.width + 1.0, bar.height + 1.0);
    cairo_stroke(cairo);
    Ticks const ticks(scale->low, scale->high, std::max(2, bar.height / 70));
    double widest = 0.0;
    cairo_select_font_face(cairo, fontFamily, CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo, 12.0);
    for (double value : ticks.values) {
      double const t = (value - scale->low) / (scale->high - scale->low);
      double const y = std::round(bar.y + (1.0 - t) * bar.height) - 0.5;
      cairo_move_to(cairo, bar.x + bar.width + 0.5, y);
      cairo_line_to(cairo, bar.x + bar.width + 0.5 + tickLength, y);
      cairo_stroke(cairo);
      std::string const label = ticks.format(value);
      cairo_text_extents_t extents;
      cairo_text_extents(cairo, label.c_str(), &extents);
      widest = std::max(widest, extents.x_advance);
      drawText(label, bar.x + bar.width + 9.0, y, 12.0, false, 0.0, 0.5);
    }
    drawText(text.colourBarLabel, bar.x + bar.width + 16.0 + widest, bar.y + bar.height / 2.0, 14.0,
             false, 0.5, 0.0, true);
  }
  for (std::size_t i = 0; i < legend.size(); ++i) {
    PixelBox const& swatch = layout.swatches[i];
    double const middle = swatch.y + swatchSize / 2.0;
    if (legend[i].hasSwatch) {
      cairo_rectangle(cairo, swatch.x + 0.5, swatch.y + 0.5, swatch.width - 1.0,
                      swatch.height - 1.0);
      setColour(cairo, legend[i].colour);
      cairo_fill_preserve(cairo);
      cairo_set_source_rgb(cairo, 0.0, 0.0, 0.0);
      cairo_stroke(cairo);
    }
    cairo_set_source_rgb(cairo, 0.0, 0.0, 0.0);
    double const textX = swatch.x + (legend[i].hasSwatch ? swatchSize + 8.0 : 0.0);
    cairo_select_font_face(cairo, fontFamily, CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo, 13.0);
    std::string const fitted = fitText(cairo, legend[i].text, layout.width - textX - 8.0);
    drawText(fitted, textX, middle, 13.0, false, 0.0, 0.5);
  }
}

std::string Figure::finish() {
  drawKey();
  drawAxes();
  cairo_surface_flush(surface);
  if (cairo_status(cairo) != CAIRO_STATUS_SUCCESS)
    throw std::runtime_error(std::string("cannot draw the picture: ") +
                             cairo_status_to_string(cairo_status(cairo)));
  std::string png;
  cairo_status_t const status = cairo_surface_write_to_png_stream(surface, appendToString, &png);
  if (status != CAIRO_STATUS_SUCCESS)
    throw std::runtime_error(std::string("cannot encode the picture as PNG: ") +
                             cairo_status_to_string(status));
  return png;
}

} // namespace qarn
