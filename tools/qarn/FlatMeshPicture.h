#ifndef QARN_TOOLS_QARN_FLATMESHPICTURE_H
#define QARN_TOOLS_QARN_FLATMESHPICTURE_H

#include "ColourMaps.h"

#include <string>
#include <vector>

namespace qarn {

/// A triangle of a flat (2-D) mesh: corner k at (u[k], v[k]).
struct FlatTriangle {
  double u[3];
  double v[3];
};

/// The texts of a flat-mesh picture, for example {"Flattening: conformal distortion",
/// "12345 triangles", "u (mm)", "v (mm)", "\u03c3\u2081 / \u03c3\u2082"}.
struct FlatMeshPictureText {
  std::string title;
  std::string subtitle;
  std::string uLabel;
  std::string vLabel;
  std::string valueLabel;
};

/// A picture of a flat triangle mesh, each triangle filled with the colour of its value on a
/// colour bar spanning the values' range, drawn in the same style as the C-scan pictures (axes
/// with ticks, title, colour bar, legend): v upwards, equal scales on both axes, the long side of
/// the plot 1000 pixels. A NaN value paints its triangle in the map's miss colour, listed as
/// "no value"; triangles with non-finite corners are left out. values holds one value per
/// triangle (std::invalid_argument otherwise); an empty mesh gives an empty plot. Returns the
/// PNG file's bytes; std::runtime_error when cairo fails.
std::string drawFlatMeshPicture(std::vector<FlatTriangle> const& triangles,
                                std::vector<double> const& values, FlatMeshPictureText const& text,
                                ColourMap const& map);

} // namespace qarn

#endif
