#ifndef QARN_TOOLS_QARN_SCANOUTPUTS_H
#define QARN_TOOLS_QARN_SCANOUTPUTS_H

#include "RasterScan.h"
#include "ScanPart.h"

#include <cstdio>
#include <string>
#include <vector>

namespace qarn {

/// Writes into folder (which must exist): cscan.png and angle.png, one pixel per scan-grid
/// cell with v growing upwards, coloured by the nearest hit's distance (yellow nearest, violet
/// farthest) and by its angle (violet head-on, yellow at 90 degrees or more), black where
/// nothing was hit; and hits.csv, one row per hit. Returns the paths written.
std::vector<std::string> writeScanOutputs(ScanResult const& result, std::string const& folder);

/// The scan's summary: meshes, grid and raster sizes, hits, misses and query rate.
void printScanSummary(std::FILE* out, ScanPart const& part, ScanResult const& result,
                      ScanSettings const& settings);

/// The list of files written, one a line under the label "wrote:".
void printWritten(std::FILE* out, std::vector<std::string> const& fileNames);

} // namespace qarn

#endif
