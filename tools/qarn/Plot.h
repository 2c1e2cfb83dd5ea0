#ifndef QARN_TOOLS_QARN_PLOT_H
#define QARN_TOOLS_QARN_PLOT_H

#include "ColourMaps.h"

#include <string>
#include <vector>

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;

namespace qarn {

/// A rectangle of pixels, x to the right and y downwards from the image's top-left corner.
struct PixelBox {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

/// One line of a figure's key: a colour swatch and its text, or a note without a swatch.
struct LegendEntry {
  Rgb colour;
  std::string text;
  bool hasSwatch = true;
};

/// Where a figure puts its parts. The margins round the plot are fixed, so the plot's pixels
/// can be found from the plot's size alone; the key (a colour bar above legend entries) sits to
/// the right of the plot, and the image grows downwards when the key is taller than the plot.
struct FigureLayout {
  int width = 0;
  int height = 0;
  PixelBox plot;
  /// Zero-sized when the figure has no colour bar.
  PixelBox colourBar;
  /// One per legend entry, in order; zero-sized for notes.
  std::vector<PixelBox> swatches;

  FigureLayout(int plotWidth, int plotHeight, bool hasColourBar,
               std::vector<LegendEntry> const& legend);
};

/// The texts of a figure; the subtitle and the colour bar's label may be empty.
struct FigureText {
  std::string title;
  std::string subtitle;
  std::string xLabel;
  std::string yLabel;
  std::string colourBarLabel;
};

/// The data range shown across the plot: low at the left (bottom) edge, high at the right (top).
struct AxisRange {
  double low = 0.0;
  double high = 1.0;
};

/// A figure drawn with cairo: a plot of data with axes and ticks, a title, and a key made of an
/// optional colour bar and legend entries. The caller paints the data first (cells as plot
/// pixels, or triangles in data coordinates), then finish() draws the frame, ticks, texts and
/// key over it and returns the PNG file's bytes. Texts are set in DejaVu Sans.
class Figure {
public:
  /// A white figure whose plot is plotWidth × plotHeight pixels (both at least 1) showing x
  /// and y (y upwards). scale is null for a figure without a colour bar; it must outlive the
  /// figure. Throws std::runtime_error when cairo cannot make the image.
  Figure(FigureText text, AxisRange x, AxisRange y, int plotWidth, int plotHeight,
         ColourScale const* scale, std::vector<LegendEntry> legend);
  Figure(Figure const&) = delete;
  Figure& operator=(Figure const&) = delete;
  ~Figure();

  FigureLayout const& getLayout() const { return layout; }
  /// Sets the pixels of box, given in plot pixels from the plot's top-left corner, to colour;
  /// the part outside the plot is ignored.
  void fillPlotPixels(PixelBox const& box, Rgb colour);
  /// Fills the triangle with corners (x[k], y[k]) in data coordinates, without anti-aliasing so
  /// that triangles sharing an edge leave no seam between them; clipped to the plot.
  void fillTriangle(double const (&x)[3], double const (&y)[3], Rgb colour);
  /// Draws the frame, ticks, texts and key over the data and returns the figure as PNG bytes.
  /// Call once.
  std::string finish();

private:
  /// Sets the pixels of box that lie in clip, both in image pixels.
  void fillPixels(PixelBox const& box, PixelBox const& clip, Rgb colour);
  void beginPixelAccess();
  void endPixelAccess();
  void drawAxes();
  void drawKey();
  void drawText(std::string const& text, double x, double y, double size, bool isBold,
                double alignX, double alignY, bool isVertical = false);
  double dataToPixelX(double x) const;
  double dataToPixelY(double y) const;

  FigureText text;
  AxisRange xRange;
  AxisRange yRange;
  ColourScale const* scale;
  std::vector<LegendEntry> legend;
  FigureLayout layout;
  cairo_surface_t* surface = nullptr;
  cairo_t* cairo = nullptr;
  bool isPixelAccessOpen = false;
};

/// Evenly spaced round values (steps of 1, 2 or 5 times a power of ten) inside [low, high],
/// about count of them, and the number of decimals that prints them exactly. Labels use those
/// decimals, or six significant digits with an exponent for values of 10^7 and more or steps
/// below 10^-6.
struct Ticks {
  std::vector<double> values;
  int decimals = 0;

  Ticks(double low, double high, int count);
  std::string format(double value) const;
};

} // namespace qarn

#endif
