#ifndef QARN_TOOLS_QARN_HTMLREPORT_H
#define QARN_TOOLS_QARN_HTMLREPORT_H

#include "CScanPictures.h"
#include "ColourMaps.h"
#include "RasterScan.h"
#include "ScanPart.h"

#include <string>
#include <utility>
#include <vector>

namespace qarn {

/// What the report says beside the scan itself.
struct ReportContext {
  /// The command that made it, for the title ("qarn demo").
  std::string command;
  ScanSettings settings;
  /// Named durations in seconds, in the order shown.
  std::vector<std::pair<std::string, double>> timings;
};

/// A single self-contained HTML page: the part's quad meshes in 3-D with the C-scan draped on
/// them as colours (distance, angle or mesh, chosen on the page), the probe raster (a dot per
/// position, dark where it hit and red where it missed) and the sample beams, orbit controls,
/// the C-scan pictures inlined as PNG, and a summary table. three.js and every datum are inside
/// the page: it opens offline from disk. To keep the page small, the 3-D view draws every k-th
/// grid line of the meshes when they hold more than maxDrawnPoints points (the page says so),
/// each drawn quad coloured by the nearest hit among the quads it covers.
std::string makeHtmlReport(ScanPart const& part, ScanResult const& result,
                           CScanPictures const& pictures, ColourMap const& map,
                           ReportContext const& context);

/// Points drawn in the 3-D view at most (the meshes' grid points, before subsampling).
constexpr std::uint64_t maxDrawnPoints = 150000;

/// RFC 4648 base64 with padding.
std::string encodeBase64(std::string const& bytes);

} // namespace qarn

#endif
