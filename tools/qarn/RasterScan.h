#ifndef QARN_TOOLS_QARN_RASTERSCAN_H
#define QARN_TOOLS_QARN_RASTERSCAN_H

#include "ScanPart.h"

#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>
#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/TwoDimensional/Point.h>
#include <QARN/Progress/ProgressListener.h>

#include <cstdint>
#include <vector>

namespace qarn {

/// Which way the probe's beam points: straight down, or along the surface normal found under
/// the probe by a first, straight-down query.
enum class Beam : std::uint32_t { Vertical, Normal };

struct ScanSettings {
  /// Probe spacing in x and y; 0 picks half the side of the finest mean quad.
  double step = 0.0;
  Beam beam = Beam::Vertical;
  QARN::Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus::IntersectionQualityMode
      mode = QARN::Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus::
          FacingThenNearest;
};

/// countX × countY probe positions (x0 + i·step, y0 + j·step, z) on a plane above the part.
struct ProbeRaster {
  double x0 = 0.0;
  double y0 = 0.0;
  double z = 0.0;
  double step = 0.0;
  std::uint32_t countX = 0;
  std::uint32_t countY = 0;

  QARN::Geometry::ThreeDimensional::Point getPosition(std::uint32_t i, std::uint32_t j) const;
  std::uint64_t getSize() const { return std::uint64_t{countX} * countY; }
};

struct ScanHit {
  /// The probe position in the raster.
  std::uint32_t i = 0;
  std::uint32_t j = 0;
  QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh const* mesh = nullptr;
  /// The quad hit, in the scan grid.
  QARN::Geometry::TwoDimensional::Point<int> indices;
  /// Signed distance along the beam.
  double distance = 0.0;
  /// Between the beam and the surface normal, in degrees: 0 head-on.
  double angle = 0.0;
};

/// One probe position's beam, kept for drawing.
struct SampleBeam {
  QARN::Geometry::ThreeDimensional::Point origin;
  /// Unit direction.
  QARN::Geometry::ThreeDimensional::Vector direction;
  /// Along the beam to the hit; NaN for a miss.
  double distance = 0.0;
};

struct ScanResult {
  /// The value of cellMesh where no probe hit the quad.
  static constexpr std::uint32_t noMesh = 0xFFFFFFFFu;

  ProbeRaster raster;
  /// The group's (u, v) box: one cell per quad.
  QARN::Geometry::TwoDimensional::BoundingBoxAA<int> grid;
  /// Per cell, row by row from the grid's lowest v: the distance and angle of the nearest hit
  /// on that quad, NaN where no probe hit it.
  std::vector<float> cellDistance;
  std::vector<float> cellAngle;
  /// The index in the part's members of the mesh of that hit, noMesh where nothing was hit.
  std::vector<std::uint32_t> cellMesh;
  std::vector<ScanHit> hits;
  /// The beams of up to sampleBeamsPerSide × sampleBeamsPerSide probe positions spread evenly
  /// over the raster, in scan order.
  std::vector<SampleBeam> sampleBeams;
  static constexpr std::uint32_t sampleBeamsPerSide = 5;
  std::uint64_t misses = 0;
  std::uint64_t queries = 0;
  /// Time spent in the probe loop.
  double seconds = 0.0;
};

/// Moves the probe over the part row by row, in alternating directions so that consecutive
/// positions stay close (the library's search starts from its last hit), and records every
/// hit. Sets the process-wide quality mode. Throws std::runtime_error when the part's size,
/// the step or the scan grid make no sensible scan.
ScanResult runRasterScan(ScanPart& part, ScanSettings const& settings,
                         QARN::ProgressListener* listener);

} // namespace qarn

#endif
