#ifndef QARN_TOOLS_QARN_CSCANPICTURES_H
#define QARN_TOOLS_QARN_CSCANPICTURES_H

#include "ColourMaps.h"
#include "RasterScan.h"
#include "ScanPart.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qarn {

/// How the scan grid's cells become pixels. Blocks of cellsPerBlock × cellsPerBlock cells (one
/// cell, unless the grid's long side exceeds 4096 cells) are drawn as squares of pixelsPerBlock
/// pixels, the smallest number that gives the long side at least 800 pixels. Square cells keep
/// the scan plane's aspect ratio.
struct CellRaster {
  std::uint32_t cellsPerBlock = 1;
  std::uint32_t pixelsPerBlock = 1;
  /// Blocks along u and along v.
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;

  CellRaster(std::uint32_t cellsU, std::uint32_t cellsV);
};

/// The PNG files' bytes.
struct CScanPictures {
  std::string distance;
  std::string angle;
  std::string mesh;
};

/// The side of a square of the part's mean quad area, the means of the meshes weighted by their
/// quad counts: the size of one scan-grid cell in millimetres. 0 when no mesh stores a positive
/// mean quad area.
double getCellPitch(ScanPart const& part);

/// The colour of member meshIndex of count meshes: the seven colours of the Okabe-Ito
/// colour-blind-safe palette (without its black) for up to seven meshes, else count colours
/// spread evenly over map.
Rgb getMeshColour(std::size_t meshIndex, std::size_t count, ColourMap const& map);

/// The scales of the pictures and of the report: distances over the range of the cells' nearest
/// hits, angles from 0 to 90 degrees (ColourScale's rules for two-sided maps apply).
ColourScale getDistanceScale(ScanResult const& result, ColourMap const& map);
ColourScale getAngleScale(ColourMap const& map);

/// The C-scan pictures of a scan: the nearest hit's distance along the beam, its angle to the
/// surface normal (0 to 90 degrees) and the mesh hit, over the scan grid with u to the right and
/// v upwards, misses in the map's miss colour. Axes are in scan-plane millimetres, cell (u, v)
/// covering [u·s, (u + 1)·s] × [v·s, (v + 1)·s] for the pitch s, or in quads when the pitch is
/// 0. Where blocks of cells share a pixel, the cell with the nearest hit stands for the block.
/// meshNames holds the part's members' names in order, the indices of result.cellMesh.
CScanPictures drawCScanPictures(ScanResult const& result, std::vector<std::string> const& meshNames,
                                double cellPitch, ColourMap const& map);

} // namespace qarn

#endif
