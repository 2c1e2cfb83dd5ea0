#ifndef QARN_TOOLS_QARN_COMMANDS_H
#define QARN_TOOLS_QARN_COMMANDS_H

#include "ProgressBar.h"
#include "RasterScan.h"

#include <chrono>
#include <string>
#include <vector>

namespace qarn {

struct DemoOptions {
  std::string out = "qarn-demo";
  ScanSettings scan;
  /// A name of ColourMap::getNames().
  std::string colourMap = "viridis";
};

struct InfoOptions {
  std::vector<std::string> files;
};

struct ScanOptions {
  std::vector<std::string> files;
  /// "U,V", one per file, or none for side-by-side placement.
  std::vector<std::string> offsets;
  /// 1-based file numbers whose u (v) axis is flipped.
  std::vector<int> flipU;
  std::vector<int> flipV;
  std::string out;
  ScanSettings scan;
  /// A name of ColourMap::getNames().
  std::string colourMap = "viridis";
  /// Also write report.html (the report command).
  bool doWriteReport = false;
};

struct ExportOptions {
  std::string file;
  std::string out;
};

// Each command writes its report to standard output and throws on failure (UsageError for
// requests that make no sense, anything else for failures while running). The progress bar
// may be null.
void runDemo(DemoOptions const& options, ProgressBar* bar);
void runInfo(InfoOptions const& options);
/// Also runs the report command: a scan with options.doWriteReport set.
void runScan(ScanOptions const& options, ProgressBar* bar);
void runExport(ExportOptions const& options, ProgressBar* bar);

/// Creates the folder and its parents when missing; throws std::runtime_error naming it.
void makeFolder(std::string const& folder);

/// Wall-clock seconds from start to now.
double secondsSince(std::chrono::steady_clock::time_point start);

} // namespace qarn

#endif
