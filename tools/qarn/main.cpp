// qarn: runs the library's main job from the command line: probe raster scans over quad
// meshes, with C-scan pictures, a table of hits and an HTML report in 3-D, plus mesh file
// information and OBJ export.
#include "ColourMaps.h"
#include "Commands.h"
#include "Errors.h"
#include "ProgressBar.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace {

using Mode = QARN::Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus::
    IntersectionQualityMode;

/// The probe and picture options shared by demo, scan and report, as typed.
struct ScanArguments {
  double step = 0.0;
  std::string beam = "vertical";
  int mode = 0;
  std::string colourMap = "viridis";

  void addTo(CLI::App& command) {
    CLI::Validator const positive(
        [](std::string& text) {
          double const value = std::strtod(text.c_str(), nullptr);
          return value > 0.0 && std::isfinite(value) ? std::string()
                                                     : "expected a positive number, got " + text;
        },
        "POSITIVE");
    command.add_option("--step", step, "probe spacing (default: half the finest quad side)")
        ->check(positive);
    command
        .add_option("--beam", beam, "vertical, or normal: along the surface normal under the probe")
        ->check(CLI::IsMember({"vertical", "normal"}))
        ->capture_default_str();
    command
        .add_option("--mode", mode, "hit ranking: 0 facing then nearest, 1 nearest, 2 best angle")
        ->check(CLI::IsMember({0, 1, 2}))
        ->capture_default_str();
    command
        .add_option("--colour-map", colourMap,
                    "colours of the pictures and the report: viridis (perceptually uniform), "
                    "grey, jet (rainbow) or blue-red (two-sided, centred on zero)")
        ->check(CLI::IsMember(qarn::ColourMap::getNames()))
        ->capture_default_str();
  }

  qarn::ScanSettings getSettings() const {
    qarn::ScanSettings settings;
    settings.step = step;
    settings.beam = beam == "normal" ? qarn::Beam::Normal : qarn::Beam::Vertical;
    settings.mode = static_cast<Mode>(mode);
    return settings;
  }
};

/// The inputs of scan and report: the files and their placement in the scan grid.
void addScanInputs(CLI::App& command, qarn::ScanOptions& scan) {
  command.add_option("files", scan.files, ".quads files, one mesh each")->required();
  command
      .add_option("--offset", scan.offsets,
                  "U,V: scan-grid offset of a file's mesh, once per file in file order "
                  "(default: side by side along u)")
      ->allow_extra_args(false);
  command.add_option("--flip-u", scan.flipU, "flip the u axis of file number N (1-based)")
      ->allow_extra_args(false)
      ->delimiter(',');
  command.add_option("--flip-v", scan.flipV, "flip the v axis of file number N (1-based)")
      ->allow_extra_args(false)
      ->delimiter(',');
  command.add_option("-o,--out", scan.out, "output folder")->required();
}

int fail(std::string const& message, int status) {
  std::fprintf(stderr, "qarn: %s\n", message.c_str());
  return status;
}

} // namespace

int main(int argc, char** argv) {
  CLI::App app("Probe raster scans over quad meshes (.quads files)", "qarn");
  app.require_subcommand(1);
  app.fallthrough();
  bool quiet = false;
  app.add_flag("-q,--quiet", quiet, "no progress bar on standard error");

  qarn::DemoOptions demo;
  CLI::App* demoCommand = app.add_subcommand(
      "demo", "build an analytic test piece, scan it and write the meshes, pictures, hits and "
              "report");
  demoCommand->add_option("-o,--out", demo.out, "output folder")->capture_default_str();
  ScanArguments demoProbe;
  demoProbe.addTo(*demoCommand);

  qarn::InfoOptions info;
  CLI::App* infoCommand = app.add_subcommand("info", "describe .quads files");
  infoCommand->add_option("files", info.files, ".quads files")->required();

  qarn::ScanOptions scan;
  CLI::App* scanCommand =
      app.add_subcommand("scan", "scan the part made of .quads files, write pictures and hits");
  addScanInputs(*scanCommand, scan);
  ScanArguments scanProbe;
  scanProbe.addTo(*scanCommand);

  qarn::ScanOptions report;
  report.doWriteReport = true;
  CLI::App* reportCommand = app.add_subcommand(
      "report",
      "scan the part like scan and also write report.html: the scan on the part in 3-D, the "
      "pictures and a summary, in one file that opens offline");
  addScanInputs(*reportCommand, report);
  ScanArguments reportProbe;
  reportProbe.addTo(*reportCommand);

  qarn::ExportOptions exportOptions;
  CLI::App* exportCommand = app.add_subcommand("export", "write a .quads file as OBJ");
  exportCommand->add_option("file", exportOptions.file, ".quads file")->required();
  exportCommand->add_option("-o,--out", exportOptions.out, "OBJ file")->required();

  try {
    app.parse(argc, argv);
  } catch (CLI::Success const& e) {
    return app.exit(e);
  } catch (CLI::ParseError const& e) {
    return fail(std::string(e.what()) + " (see qarn --help)", 2);
  }

  try {
    auto bar = qarn::ProgressBar::createForStderr(quiet);
    if (*demoCommand) {
      demo.scan = demoProbe.getSettings();
      demo.colourMap = demoProbe.colourMap;
      qarn::runDemo(demo, bar.get());
    } else if (*infoCommand) {
      qarn::runInfo(info);
    } else if (*scanCommand) {
      scan.scan = scanProbe.getSettings();
      scan.colourMap = scanProbe.colourMap;
      qarn::runScan(scan, bar.get());
    } else if (*reportCommand) {
      report.scan = reportProbe.getSettings();
      report.colourMap = reportProbe.colourMap;
      qarn::runScan(report, bar.get());
    } else {
      qarn::runExport(exportOptions, bar.get());
    }
  } catch (qarn::UsageError const& e) {
    return fail(std::string(e.what()) + " (see qarn --help)", 2);
  } catch (std::exception const& e) {
    return fail(e.what(), 1);
  }
  return 0;
}
