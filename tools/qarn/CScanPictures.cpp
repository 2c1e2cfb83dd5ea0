#include "CScanPictures.h"

#include "Plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>

namespace qarn {

namespace {

constexpr std::uint32_t minLongSide = 800;
constexpr std::uint32_t maxLongSide = 4096;
constexpr std::size_t maxLegendMeshes = 12;

constexpr Rgb okabeIto[7] = {{230, 159, 0}, {86, 180, 233}, {0, 158, 115},  {240, 228, 66},
                             {0, 114, 178}, {213, 94, 0},   {204, 121, 167}};

/// Per block, row by row from the lowest v, the index of the cell with the nearest hit in it,
/// or -1 when no cell of the block was hit.
std::vector<std::int64_t> pickBlockCells(ScanResult const& result, CellRaster const& raster) {
  auto const width = static_cast<std::uint32_t>(result.grid.getd().getdU());
  auto const height = static_cast<std::uint32_t>(result.grid.getd().getdV());
  std::vector<std::int64_t> blocks(std::size_t{raster.columns} * raster.rows, -1);
  for (std::uint32_t v = 0; v < height; ++v) {
    for (std::uint32_t u = 0; u < width; ++u) {
      std::size_t const cell = std::size_t{v} * width + u;
      float const distance = result.cellDistance[cell];
      if (std::isnan(distance))
        continue;
      std::int64_t& block =
          blocks[std::size_t{v / raster.cellsPerBlock} * raster.columns + u / raster.cellsPerBlock];
      if (block < 0 || distance < result.cellDistance[static_cast<std::size_t>(block)])
        block = static_cast<std::int64_t>(cell);
    }
  }
  return blocks;
}

std::string format(char const* pattern, double value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, pattern, value);
  return buffer;
}

/// The parts the three pictures share: the grid, its axes and the subtitle.
struct Frame {
  CellRaster raster;
  std::vector<std::int64_t> blockCells;
  AxisRange x;
  AxisRange y;
  std::string subtitle;
  std::string xLabel;
  std::string yLabel;
};

Frame makeFrame(ScanResult const& result, double cellPitch) {
  auto const width = static_cast<std::uint32_t>(result.grid.getd().getdU());
  auto const height = static_cast<std::uint32_t>(result.grid.getd().getdV());
  Frame frame{CellRaster(width, height), {}, {}, {}, {}, {}, {}};
  frame.blockCells = pickBlockCells(result, frame.raster);

  bool const hasPitch = cellPitch > 0.0 && std::isfinite(cellPitch);
  double const pitch = hasPitch ? cellPitch : 1.0;
  double const shownU = static_cast<double>(frame.raster.columns) * frame.raster.cellsPerBlock;
  double const shownV = static_cast<double>(frame.raster.rows) * frame.raster.cellsPerBlock;
  frame.x = {result.grid.getp().getU() * pitch, (result.grid.getp().getU() + shownU) * pitch};
  frame.y = {result.grid.getp().getV() * pitch, (result.grid.getp().getV() + shownV) * pitch};
  frame.xLabel = hasPitch ? "u (mm)" : "u (quads)";
  frame.yLabel = hasPitch ? "v (mm)" : "v (quads)";

  std::size_t cellsHit = 0;
  for (float distance : result.cellDistance)
    cellsHit += std::isnan(distance) ? 0 : 1;
  frame.subtitle = std::to_string(width) + " \u00d7 " + std::to_string(height) + " quads";
  if (hasPitch)
    frame.subtitle += " of " + format("%.4g", cellPitch) + " mm";
  frame.subtitle += "; " + std::to_string(result.hits.size()) + " of " +
                    std::to_string(result.raster.getSize()) + " probe positions hit " +
                    std::to_string(cellsHit) + " quads";
  if (frame.raster.cellsPerBlock > 1) {
    std::string const side = std::to_string(frame.raster.cellsPerBlock);
    frame.subtitle += "; a pixel per " + side + " \u00d7 " + side + " quads, nearest hit shown";
  }
  return frame;
}

/// One picture: each block painted in colourOf(its cell), or in the miss colour.
std::string drawPicture(Frame const& frame, FigureText const& text, ColourScale const* scale,
                        std::vector<LegendEntry> const& legend, Rgb missColour,
                        std::function<Rgb(std::size_t)> const& colourOf) {
  CellRaster const& raster = frame.raster;
  int const side = static_cast<int>(raster.pixelsPerBlock);
  Figure figure(text, frame.x, frame.y, static_cast<int>(raster.columns) * side,
                static_cast<int>(raster.rows) * side, scale, legend);
  for (std::uint32_t row = 0; row < raster.rows; ++row) {
    for (std::uint32_t column = 0; column < raster.columns; ++column) {
      std::int64_t const cell = frame.blockCells[std::size_t{row} * raster.columns + column];
      Rgb const colour = cell < 0 ? missColour : colourOf(static_cast<std::size_t>(cell));
      // Rows of blocks count up from the lowest v; pixel rows count down from the top.
      figure.fillPlotPixels({static_cast<int>(column) * side,
                             static_cast<int>(raster.rows - 1 - row) * side, side, side},
                            colour);
    }
  }
  return figure.finish();
}

} // namespace

CellRaster::CellRaster(std::uint32_t cellsU, std::uint32_t cellsV) {
  std::uint32_t const longSide = std::max({cellsU, cellsV, std::uint32_t{1}});
  cellsPerBlock = (longSide + maxLongSide - 1) / maxLongSide;
  columns = (cellsU + cellsPerBlock - 1) / cellsPerBlock;
  rows = (cellsV + cellsPerBlock - 1) / cellsPerBlock;
  std::uint32_t const blocks = std::max({columns, rows, std::uint32_t{1}});
  pixelsPerBlock = std::max<std::uint32_t>(1, (minLongSide + blocks - 1) / blocks);
}

double getCellPitch(ScanPart const& part) {
  double area = 0.0;
  double quads = 0.0;
  for (ScanPart::Member const& member : part.getMembers()) {
    double const mean = member.mesh->getMeanQuadArea();
    auto const extents = member.mesh->getExtents();
    double const count = static_cast<double>(extents.getdU()) * extents.getdV();
    if (mean > 0.0 && std::isfinite(mean) && count > 0.0) {
      area += mean * count;
      quads += count;
    }
  }
  return quads > 0.0 ? std::sqrt(area / quads) : 0.0;
}

Rgb getMeshColour(std::size_t meshIndex, std::size_t count, ColourMap const& map) {
  if (count <= 7)
    return okabeIto[meshIndex % 7];
  return map.getColour((static_cast<double>(meshIndex) + 0.5) / static_cast<double>(count));
}

ColourScale getDistanceScale(ScanResult const& result, ColourMap const& map) {
  ValueRange distances;
  for (float distance : result.cellDistance)
    distances.add(distance);
  return ColourScale(map, distances);
}

ColourScale getAngleScale(ColourMap const& map) {
  ValueRange angles;
  angles.add(0.0);
  angles.add(90.0);
  return ColourScale(map, angles);
}

CScanPictures drawCScanPictures(ScanResult const& result, std::vector<std::string> const& meshNames,
                                double cellPitch, ColourMap const& map) {
  Frame const frame = makeFrame(result, cellPitch);
  Rgb const miss = map.getMissColour();
  std::vector<LegendEntry> const noHit = {{miss, "no hit", true}};
  CScanPictures pictures;

  ColourScale const distanceScale = getDistanceScale(result, map);
  pictures.distance = drawPicture(frame,
                                  {"C-scan: distance along the beam", frame.subtitle, frame.xLabel,
                                   frame.yLabel, "distance (mm)"},
                                  &distanceScale, noHit, miss, [&](std::size_t cell) {
                                    return distanceScale.getColour(result.cellDistance[cell]);
                                  });

  ColourScale const angleScale = getAngleScale(map);
  pictures.angle = drawPicture(frame,
                               {"C-scan: angle between beam and surface normal", frame.subtitle,
                                frame.xLabel, frame.yLabel, "angle (degrees)"},
                               &angleScale, noHit, miss, [&](std::size_t cell) {
                                 return angleScale.getColour(result.cellAngle[cell]);
                               });

  std::vector<LegendEntry> meshes;
  std::size_t const count = meshNames.size();
  for (std::size_t i = 0; i < count; ++i) {
    if (i == maxLegendMeshes - 1 && count > maxLegendMeshes) {
      meshes.push_back({{}, "\u2026 and " + std::to_string(count - i) + " more", false});
      break;
    }
    meshes.push_back({getMeshColour(i, count, map), std::to_string(i + 1) + ": " + meshNames[i]});
  }
  meshes.push_back(noHit.front());
  pictures.mesh =
      drawPicture(frame, {"C-scan: mesh hit", frame.subtitle, frame.xLabel, frame.yLabel, ""},
                  nullptr, meshes, miss, [&](std::size_t cell) {
                    std::uint32_t const mesh = result.cellMesh[cell];
                    return mesh < count ? getMeshColour(mesh, count, map) : miss;
                  });
  return pictures;
}

} // namespace qarn
