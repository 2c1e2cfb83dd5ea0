#include "Commands.h"

#include "Errors.h"
#include "ScanOutputs.h"
#include "ScanPart.h"

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace qarn {

namespace G2 = QARN::Geometry::TwoDimensional;
namespace G3 = QARN::Geometry::ThreeDimensional;
using G3::QuadMesh::RectMesh;

namespace {

// The test piece, in millimetres: a cylinder arc and an elliptic dish side by side, both
// sampled at the same spacing and facing +z with their highest points at z = 0.
constexpr double spacing = 1.0;
constexpr double cylinderRadius = 40.0;
constexpr double cylinderArcAngle = 3.14159265358979323846 / 2.0;
constexpr double cylinderLength = 60.0;
constexpr double dishCurvatureU = 0.02;
constexpr double dishCurvatureV = 0.04;
constexpr double dishDepth = 10.0;
constexpr double gapInSpace = 10.0;
constexpr int gapInScanGrid = 4;
constexpr std::uint32_t maxMB = 256;

void translate(RectMesh& mesh, G3::Vector const& shift) {
  G3::LinearMap identity;
  identity.setAsIdentity();
  mesh.transform(G3::Point(0.0, 0.0, 0.0), G3::AffineMap(identity, shift));
}

/// The arc with its axis along x, its crest up at z = 0 and its arc across y.
void buildCylinder(RectMesh& mesh) {
  if (!mesh.setAsCylinderArc(cylinderRadius, cylinderArcAngle, cylinderLength, spacing, maxMB))
    throw std::runtime_error("the cylinder arc of the demo piece could not be built");
  // The builder's axis is z and its arc is centred on +x: turn x to z, z to x and y to -y,
  // a proper rotation that keeps the quads' normals pointing away from the axis, now up.
  G3::LinearMap const turn(G3::Vector(0.0, 0.0, 1.0), G3::Vector(0.0, -1.0, 0.0),
                           G3::Vector(1.0, 0.0, 0.0));
  mesh.transform(G3::Point(0.0, 0.0, 0.0),
                 G3::AffineMap(turn, G3::Vector(0.0, 0.0, -cylinderRadius)));
}

/// The dish opening upwards, its rim at z = 0, placed beyond the cylinder's +x end.
void buildDish(RectMesh& mesh, G3::BoundingBoxAA const& cylinderBox) {
  if (!mesh.setAsParaboloid(G3::Point(0.0, 0.0, 0.0), G3::Vector(1.0, 0.0, 0.0),
                            G3::Vector(0.0, 1.0, 0.0), dishCurvatureU, dishCurvatureV, dishDepth,
                            spacing, maxMB))
    throw std::runtime_error("the paraboloid of the demo piece could not be built");
  G3::BoundingBoxAA const box = mesh.getBoundingBoxAA();
  double const left = cylinderBox.getp().getX() + cylinderBox.getd().getdX() + gapInSpace;
  translate(mesh, G3::Vector(left - box.getp().getX(), 0.0, -dishDepth));
}

void save(RectMesh& mesh, std::string const& fileName, ProgressBar* bar) {
  mesh.setProgressListener(bar);
  withFileName(fileName, [&] { mesh.save(fileName.c_str()); });
  mesh.setProgressListener(nullptr);
}

} // namespace

void runDemo(DemoOptions const& options, ProgressBar* bar) {
  OutputOptions outputs;
  outputs.colourMap = &ColourMap::get(options.colourMap);
  outputs.doWriteReport = true;
  outputs.command = "qarn demo";
  outputs.settings = options.scan;

  makeFolder(options.out);
  auto const start = std::chrono::steady_clock::now();
  std::filesystem::path const folder(options.out);
  std::vector<std::string> const files = {(folder / "cylinder-arc.quads").string(),
                                          (folder / "paraboloid.quads").string()};
  std::vector<std::string> written = files;

  // Build and save the two meshes, then read them back as the host would.
  G2::Vector<int> dishOffset;
  {
    RectMesh cylinder;
    buildCylinder(cylinder);
    RectMesh dish;
    buildDish(dish, cylinder.getBoundingBoxAA());
    save(cylinder, files[0], bar);
    save(dish, files[1], bar);
    dishOffset =
        G2::Vector<int>(static_cast<int>(cylinder.getExtents().getdU()) + gapInScanGrid, 0);
  }
  ScanPart part(files, {G2::Vector<int>(0, 0), dishOffset}, {false, false}, {false, false}, bar);
  outputs.timings.emplace_back("building and loading", secondsSince(start));
  for (ScanPart::Member const& member : part.getMembers()) {
    std::string const obj =
        std::filesystem::path(member.fileName).replace_extension(".obj").string();
    withFileName(obj, [&] { member.mesh->saveAsOBJ(obj.c_str()); });
    written.push_back(obj);
  }

  ScanResult const result = runRasterScan(part, options.scan, bar);
  outputs.timings.emplace_back("scanning", result.seconds);
  for (std::string const& name : writeScanOutputs(part, result, outputs, options.out))
    written.push_back(name);
  if (bar != nullptr)
    bar->finish();

  std::printf("demo piece:      cylinder arc (radius %g, %g degrees, length %g) and paraboloid "
              "(curvatures %g, %g, depth %g), spacing %g\n",
              cylinderRadius, cylinderArcAngle * 180.0 / 3.14159265358979323846, cylinderLength,
              dishCurvatureU, dishCurvatureV, dishDepth, spacing);
  printScanSummary(stdout, part, result, options.scan);
  printWritten(stdout, written);
}

} // namespace qarn
