#include "ColourRamp.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qarn {

namespace {

// Nine evenly spaced stops of the viridis map, interpolated linearly.
constexpr std::uint8_t stops[9][3] = {{68, 1, 84},    {71, 45, 123},  {59, 82, 139},
                                      {44, 114, 142}, {33, 144, 140}, {39, 173, 129},
                                      {93, 200, 99},  {170, 220, 50}, {253, 231, 37}};

} // namespace

void rampColour(double t, std::uint8_t (&rgb)[3]) {
  if (!(t > 0.0))
    t = 0.0;
  if (t > 1.0)
    t = 1.0;
  double const x = t * 8.0;
  std::size_t const i = std::min<std::size_t>(static_cast<std::size_t>(x), 7);
  double const f = x - static_cast<double>(i);
  for (std::size_t c = 0; c < 3; ++c) {
    double const value = stops[i][c] + f * (stops[i + 1][c] - stops[i][c]);
    rgb[c] = static_cast<std::uint8_t>(std::lround(value));
  }
}

} // namespace qarn
