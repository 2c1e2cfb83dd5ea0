#ifndef QARN_TOOLS_QARN_COLOURMAPS_H
#define QARN_TOOLS_QARN_COLOURMAPS_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace qarn {

struct Rgb {
  std::uint8_t r = 0;
  std::uint8_t g = 0;
  std::uint8_t b = 0;

  bool operator==(Rgb const& other) const { return r == other.r && g == other.g && b == other.b; }
  bool operator!=(Rgb const& other) const { return !(*this == other); }
};

/// A colour map of 256 entries, from entry 0 for the lowest value to entry 255 for the highest,
/// and a miss colour for places without a value, chosen to stand apart from every entry.
///
/// The maps: "viridis" (the default: perceptually uniform, readable in grey and by most
/// colour-blind viewers; the published 256-entry table), "grey" (black to white), "jet" (dark
/// blue, cyan, yellow, dark red; the classic rainbow, not perceptually uniform), and "blue-red"
/// (two-sided, for signed quantities: dark blue, near white in the middle, dark red; the
/// published 11-class red-blue diverging scheme interpolated).
class ColourMap {
public:
  /// The map of that name; std::invalid_argument listing the names for any other.
  static ColourMap const& get(std::string const& name);
  static std::vector<std::string> const& getNames();

  std::string const& getName() const { return name; }
  /// Two-sided maps put zero in the middle (see ColourScale).
  bool getIsTwoSided() const { return isTwoSided; }
  Rgb getEntry(std::size_t index) const { return entries[index]; }
  /// Entry floor(t·256), clamped to 0..255, so that t = 1 gives the last entry; NaN gives the
  /// miss colour.
  Rgb getColour(double t) const;
  Rgb getMissColour() const { return missColour; }

private:
  ColourMap(std::string name, std::array<Rgb, 256> const& entries, Rgb missColour, bool isTwoSided);

  std::string name;
  std::array<Rgb, 256> entries;
  Rgb missColour;
  bool isTwoSided;
};

/// The smallest and largest of the finite values added; NaN while there is none.
struct ValueRange {
  double min;
  double max;

  ValueRange();
  void add(double value);
  bool getIsEmpty() const;
};

/// Values mapped linearly onto a colour map: low to t = 0, high to t = 1, clamped beyond.
struct ColourScale {
  ColourMap const* map = nullptr;
  double low = 0.0;
  double high = 1.0;

  /// The scale that shows values from data.min to data.max. A two-sided map gets the range
  /// [−m, m], m the largest magnitude, so that zero sits in its middle. A single value v gets
  /// [v − 0.5, v + 0.5] (its colour is the middle one); no value at all gets [0, 1].
  ColourScale(ColourMap const& map, ValueRange const& data);
  /// The colour of value; NaN gives the map's miss colour.
  Rgb getColour(double value) const;
};

} // namespace qarn

#endif
