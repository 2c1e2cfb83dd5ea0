#include "FlatMeshPicture.h"

#include "Plot.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace qarn {

namespace {

constexpr double plotLongSide = 1000.0;

bool isFinite(FlatTriangle const& triangle) {
  for (int k = 0; k < 3; ++k)
    if (!std::isfinite(triangle.u[k]) || !std::isfinite(triangle.v[k]))
      return false;
  return true;
}

} // namespace

std::string drawFlatMeshPicture(std::vector<FlatTriangle> const& triangles,
                                std::vector<double> const& values, FlatMeshPictureText const& text,
                                ColourMap const& map) {
  if (values.size() != triangles.size())
    throw std::invalid_argument("drawFlatMeshPicture: " + std::to_string(triangles.size()) +
                                " triangles and " + std::to_string(values.size()) + " values");
  ValueRange u;
  ValueRange v;
  ValueRange data;
  bool hasMissing = false;
  for (std::size_t i = 0; i < triangles.size(); ++i) {
    if (!isFinite(triangles[i]))
      continue;
    for (int k = 0; k < 3; ++k) {
      u.add(triangles[i].u[k]);
      v.add(triangles[i].v[k]);
    }
    data.add(values[i]);
    hasMissing = hasMissing || std::isnan(values[i]);
  }
  if (u.getIsEmpty()) {
    u.add(0.0);
    u.add(1.0);
    v.add(0.0);
    v.add(1.0);
  }
  // A margin of 2 % of the long side round the mesh, and equal scales on both axes.
  double const longSide = std::max({u.max - u.min, v.max - v.min, 1e-300});
  double const margin = 0.02 * longSide;
  AxisRange const uRange{u.min - margin, u.max + margin};
  AxisRange const vRange{v.min - margin, v.max + margin};
  double const pixelsPerUnit = plotLongSide / (longSide + 2.0 * margin);
  int const width =
      std::max(1, static_cast<int>(std::lround((uRange.high - uRange.low) * pixelsPerUnit)));
  int const height =
      std::max(1, static_cast<int>(std::lround((vRange.high - vRange.low) * pixelsPerUnit)));

  ColourScale const scale(map, data);
  std::vector<LegendEntry> legend;
  if (hasMissing)
    legend.push_back({map.getMissColour(), "no value"});
  Figure figure({text.title, text.subtitle, text.uLabel, text.vLabel, text.valueLabel}, uRange,
                vRange, width, height, &scale, legend);
  for (std::size_t i = 0; i < triangles.size(); ++i)
    if (isFinite(triangles[i]))
      figure.fillTriangle(triangles[i].u, triangles[i].v, scale.getColour(values[i]));
  return figure.finish();
}

} // namespace qarn
