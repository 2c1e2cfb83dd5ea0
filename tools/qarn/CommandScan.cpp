#include "Commands.h"

#include "Errors.h"
#include "ScanOutputs.h"
#include "ScanPart.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace qarn {

namespace G2 = QARN::Geometry::TwoDimensional;

namespace {

bool parseInt(char const* text, char const** end, int& value) {
  errno = 0;
  char* stop = nullptr;
  long const parsed = std::strtol(text, &stop, 10);
  if (stop == text || errno != 0 || parsed < std::numeric_limits<int>::min() ||
      parsed > std::numeric_limits<int>::max())
    return false;
  value = static_cast<int>(parsed);
  *end = stop;
  return true;
}

G2::Vector<int> parseOffset(std::string const& text) {
  int u = 0;
  int v = 0;
  char const* rest = nullptr;
  if (!parseInt(text.c_str(), &rest, u) || *rest != ',' || !parseInt(rest + 1, &rest, v) ||
      *rest != '\0')
    throw UsageError("invalid --offset '" + text + "': expected two integers U,V");
  return G2::Vector<int>(u, v);
}

std::vector<bool> flagsOfFiles(std::vector<int> const& numbers, std::size_t fileCount,
                               char const* option) {
  std::vector<bool> flags(fileCount, false);
  for (int number : numbers) {
    if (number < 1 || static_cast<std::size_t>(number) > fileCount)
      throw UsageError(std::string(option) + " " + std::to_string(number) +
                       ": expected a file number from 1 to " + std::to_string(fileCount));
    flags[static_cast<std::size_t>(number) - 1] = true;
  }
  return flags;
}

} // namespace

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void makeFolder(std::string const& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error)
    throw std::runtime_error("cannot create the folder " + folder + ": " + error.message());
}

void runScan(ScanOptions const& options, ProgressBar* bar) {
  std::vector<G2::Vector<int>> offsets;
  for (std::string const& text : options.offsets)
    offsets.push_back(parseOffset(text));
  std::size_t const n = options.files.size();
  if (!offsets.empty() && offsets.size() != n)
    throw UsageError(std::to_string(n) + " files need " + std::to_string(n) +
                     " --offset values, or none; got " + std::to_string(offsets.size()));
  std::vector<bool> const flipU = flagsOfFiles(options.flipU, n, "--flip-u");
  std::vector<bool> const flipV = flagsOfFiles(options.flipV, n, "--flip-v");

  OutputOptions outputs;
  outputs.colourMap = &ColourMap::get(options.colourMap);
  outputs.doWriteReport = options.doWriteReport;
  outputs.command = options.doWriteReport ? "qarn report" : "qarn scan";
  outputs.settings = options.scan;

  makeFolder(options.out);
  auto const start = std::chrono::steady_clock::now();
  ScanPart part(options.files, offsets, flipU, flipV, bar);
  outputs.timings.emplace_back("loading", secondsSince(start));
  ScanResult const result = runRasterScan(part, options.scan, bar);
  outputs.timings.emplace_back("scanning", result.seconds);
  std::vector<std::string> const written = writeScanOutputs(part, result, outputs, options.out);
  if (bar != nullptr)
    bar->finish();

  printScanSummary(stdout, part, result, options.scan);
  printWritten(stdout, written);
}

} // namespace qarn
