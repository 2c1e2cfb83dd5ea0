#ifndef QARN_TOOLS_QARN_SCANOUTPUTS_H
#define QARN_TOOLS_QARN_SCANOUTPUTS_H

#include "ColourMaps.h"
#include "RasterScan.h"
#include "ScanPart.h"

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace qarn {

/// How the outputs of a scan are written.
struct OutputOptions {
  /// The colour map of the pictures and of the report's 3-D view.
  ColourMap const* colourMap = nullptr;
  /// Whether report.html is written too, and what it says about the run.
  bool doWriteReport = false;
  std::string command;
  ScanSettings settings;
  /// Named durations before the outputs (loading, scanning), in seconds.
  std::vector<std::pair<std::string, double>> timings;
};

/// Writes into folder (which must exist) the C-scan pictures cscan.png (distance), angle.png
/// and mesh.png (see drawCScanPictures), hits.csv (one row per hit) and, when asked,
/// report.html (see makeHtmlReport). Returns the paths written.
std::vector<std::string> writeScanOutputs(ScanPart const& part, ScanResult const& result,
                                          OutputOptions const& options, std::string const& folder);

/// The scan's summary: meshes, grid and raster sizes, hits, misses and query rate.
void printScanSummary(std::FILE* out, ScanPart const& part, ScanResult const& result,
                      ScanSettings const& settings);

/// The list of files written, one a line under the label "wrote:".
void printWritten(std::FILE* out, std::vector<std::string> const& fileNames);

} // namespace qarn

#endif
