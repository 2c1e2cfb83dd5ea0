#include "FlatMeshSupport.h"

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/Edge.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/LinearScaleRectMesh.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

namespace QuadMeshTest {

using QARN::Geometry::ThreeDimensional::QuadMesh::Edge;
QARN_PRIVATE_MEMBER(EnlargeDomain, void (RectMesh::*)(std::uint32_t), RectMesh::enlargeDomain);
QARN_PRIVATE_MEMBER(GetBoundaryEdge, Edge (RectMesh::*)(), RectMesh::getBoundaryEdge);

namespace {

using QARN::Geometry::ThreeDimensional::QuadMesh::Basic;
using QARN::Geometry::ThreeDimensional::QuadMesh::BoundaryExtensionAlgorithm;

/// Invalidates every point outside the index window [low, high] × [low, high].
void keepWindow(RectMesh& m, int low, int high) {
  for (int v = 0; v <= int(m.getExtents().getdV()); ++v)
    for (int u = 0; u <= int(m.getExtents().getdU()); ++u)
      if (std::max(u, v) > high || std::min(u, v) < low)
        m.setPointValidity(GridPoint(u, v), false);
}

/// Same extents, flag bytes and valid points.
bool isSameGrid(RectMesh const& a, RectMesh const& b) {
  if (a.getExtents() != b.getExtents())
    return false;
  for (int v = 0; v <= int(a.getExtents().getdV()); ++v)
    for (int u = 0; u <= int(a.getExtents().getdU()); ++u) {
      GridPoint const p(u, v);
      if (a.getPointFlags(p) != b.getPointFlags(p) ||
          (a.getIsPointValid(p) && a.getPoint(p) != b.getPoint(p)))
        return false;
    }
  return true;
}

std::string extensionError(RectMesh& m, std::uint32_t algorithm, std::uint32_t parameter) {
  return messageOf<QARN::Exception>(
      [&] { m.extendBoundary(static_cast<BoundaryExtensionAlgorithm>(algorithm), 2, parameter); });
}

TEST(RectMeshExtension, ProgressRefusalsAndZeroLayers) {
  GridMesh m = flatGrid(12, 12);
  keepWindow(m, 4, 8);
  RectMesh const before(m);
  QARN::Test::ProgressLog log;
  m.setProgressListener(&log);
  EXPECT_EQ(extensionError(m, 1, 0), "Unsupported boundary extension algorithm.");
  EXPECT_EQ(extensionError(m, 0, 5), "Unsupported boundary extension parameter.");
  EXPECT_EQ(log.log, "");
  m.extendBoundary(Basic, 0, 3);
  EXPECT_EQ(log.log, "Extending quad-mesh boundary... 100 ");
  EXPECT_TRUE(isSameGrid(m, before));

  log.log.clear();
  m.extendBoundary(Basic, 3, 3);
  EXPECT_EQ(log.log, "Extending quad-mesh boundary... 0 33 66 100 ");
  EXPECT_TRUE(m.getIsPointValid(GridPoint(1, 1)));
  EXPECT_FALSE(m.getIsPointValid(GridPoint(0, 0)));

  // No valid quad: an empty mesh, and a checkerboard of valid points.
  RectMesh empty;
  EXPECT_EQ(extensionError(empty, 0, 0), "No boundary found");
  GridMesh board = flatGrid(5, 5);
  for (int v = 0; v <= 5; ++v)
    for (int u = 0; u <= 5; ++u)
      board.setPointValidity(GridPoint(u, v), (u + v) % 2 == 0);
  EXPECT_EQ(extensionError(board, 0, 0), "No boundary found");
}

TEST(RectMeshExtension, BoundaryEdgeScanAndItsRowBound) {
  GridMesh full = flatGrid(3, 3);
  Edge const e = (full.*get(GetBoundaryEdge()))();
  EXPECT_EQ(e.org(), GridPoint(0, 1));
  EXPECT_EQ(e.dest(), GridPoint(0, 0));

  // Rows are scanned up to U only: a 2 × 6 grid valid from row 3 up has no edge found, while
  // the same region lying along u (6 × 2, valid from column 3) has.
  GridMesh tall = flatGrid(2, 6);
  for (int v = 0; v < 3; ++v)
    for (int u = 0; u <= 2; ++u)
      tall.setPointValidity(GridPoint(u, v), false);
  EXPECT_EQ(messageOf<QARN::Exception>([&] { (tall.*get(GetBoundaryEdge()))(); }),
            "No boundary found");
  GridMesh wide = flatGrid(6, 2);
  for (int v = 0; v <= 2; ++v)
    for (int u = 0; u < 3; ++u)
      wide.setPointValidity(GridPoint(u, v), false);
  EXPECT_EQ((wide.*get(GetBoundaryEdge()))().org(), GridPoint(3, 1));
}

TEST(RectMeshExtension, EnlargeDomainMovesPointsAndFlagsByTheMargin) {
  GridMesh m(3, 2, [](int u, int v) { return Point(u, v * v, 0.0); });
  m.setPointFlag(GridPoint(0, 0), RectMesh::Marked, true);
  m.setPointValidity(GridPoint(3, 2), false);
  (m.*get(EnlargeDomain()))(2);
  ASSERT_EQ(m.getExtents(), Extents(7, 6));
  for (int v = 0; v <= 6; ++v)
    for (int u = 0; u <= 7; ++u) {
      GridPoint const p(u, v);
      bool const isOld = u >= 2 && u <= 5 && v >= 2 && v <= 4 && !(u == 5 && v == 4);
      EXPECT_EQ(m.getIsPointValid(p), isOld) << u << ", " << v;
      if (isOld) {
        EXPECT_EQ(m.getPoint(p), Point(u - 2, (v - 2) * (v - 2), 0.0));
      }
    }
  EXPECT_EQ(m.getPointFlags(GridPoint(2, 2)), 1 | 1 << RectMesh::Marked);
  EXPECT_EQ(m.getOffset(), Offset(0, 0));
  EXPECT_GT(m.getMeanQuadArea(), 0.0);
}

TEST(RectMeshExtension, APlaneStaysExactlyAPlane) {
  for (std::uint32_t parameter : {0u, 2u, 3u, 4u}) {
    GridMesh m = flatGrid(20, 20);
    keepWindow(m, 6, 13);
    m.extendBoundary(Basic, 3, parameter);
    ASSERT_EQ(m.getExtents(), Extents(20, 20));
    for (int v = 0; v <= 20; ++v)
      for (int u = 0; u <= 20; ++u) {
        GridPoint const p(u, v);
        bool const isGrown = std::min(u, v) >= 3 && std::max(u, v) <= 16;
        ASSERT_EQ(m.getIsPointValid(p), isGrown) << parameter << ": " << u << ", " << v;
        if (!isGrown)
          continue;
        EXPECT_EQ(m.getPoint(p), Point(u, v, 0.0)) << parameter << ": " << u << ", " << v;
        bool const isNew = std::min(u, v) < 6 || std::max(u, v) > 13;
        if (isNew) {
          EXPECT_EQ(m.getPointFlags(p), 1);
        }
      }
  }

  // A scaled mesh continues its stored points, so the new ones are reported scaled too.
  QARN::Geometry::ThreeDimensional::QuadMesh::LinearScaleRectMesh scaled;
  GridMesh window = flatGrid(8, 8);
  keepWindow(window, 2, 6);
  static_cast<RectMesh&>(scaled) = window;
  scaled.setScale(2.0);
  scaled.extendBoundary(Basic, 1, 0);
  EXPECT_EQ(scaled.getPoint(GridPoint(1, 1)), Point(2, 2, 0));
  EXPECT_EQ(scaled.getPoint(GridPoint(7, 4)), Point(14, 8, 0));

  // A tilted plane of irregular spacing: new points stay on it up to the float rounding of
  // the stored points, amplified by the continuation.
  auto const tilted = [](int u, int v) {
    double const x = 0.37 * u + 0.05 * u * u;
    double const y = 0.41 * v + 0.11 * u;
    return Point(x, y, 0.3 * x - 0.7 * y + 2.0);
  };
  GridMesh m(16, 16, tilted);
  keepWindow(m, 5, 10);
  m.extendBoundary(Basic, 4, 3);
  for (int v = 1; v <= 14; ++v)
    for (int u = 1; u <= 14; ++u) {
      Point const x = m.getPoint(GridPoint(u, v));
      ASSERT_TRUE(m.getIsPointValid(GridPoint(u, v)));
      EXPECT_NEAR(x.getZ(), 0.3 * x.getX() - 0.7 * x.getY() + 2.0, 5e-4) << u << ", " << v;
    }
}

TEST(RectMeshExtension, GridGrowsPastItsRimAndHolesAreFilled) {
  // A full grid reaches the rim at once: it grows by the three layers on every side.
  GridMesh m = flatGrid(4, 4);
  m.extendBoundary(Basic, 3, 0);
  ASSERT_EQ(m.getExtents(), Extents(10, 10));
  for (int v = 0; v <= 10; ++v)
    for (int u = 0; u <= 10; ++u)
      EXPECT_EQ(m.getPoint(GridPoint(u, v)), Point(u - 3, v - 3, 0.0)) << u << ", " << v;
  EXPECT_EQ(m.getOffset(), Offset(0, 0));

  // A hole is a border loop of its own; the outer border grows the grid by 2 meanwhile.
  GridMesh holed = flatGrid(12, 12);
  for (int v = 4; v <= 7; ++v)
    for (int u = 4; u <= 7; ++u)
      holed.setPointValidity(GridPoint(u, v), false);
  holed.extendBoundary(Basic, 2, 0);
  for (int v = 4; v <= 7; ++v)
    for (int u = 4; u <= 7; ++u)
      EXPECT_EQ(holed.getPoint(GridPoint(u + 2, v + 2)), Point(u, v, 0.0)) << u << ", " << v;
}

TEST(RectMeshExtension, MarkedSeamIsNotCrossedAndContinuesThroughTheLayers) {
  // Valid region [4, 12] × [3, 8] whose column 4 is a seam.
  GridMesh m = flatGrid(20, 12);
  for (int v = 0; v <= 12; ++v)
    for (int u = 0; u <= 20; ++u) {
      GridPoint const p(u, v);
      m.setPointValidity(p, u >= 4 && u <= 12 && v >= 3 && v <= 8);
      m.setPointFlag(p, RectMesh::Marked, u == 4 && v >= 3 && v <= 8);
    }
  m.extendBoundary(Basic, 3, 0);
  for (int v = 0; v <= 11; ++v)
    for (int u = 0; u <= 15; ++u) {
      GridPoint const p(u, v);
      EXPECT_EQ(m.getIsPointValid(p), u >= 4) << u << ", " << v;
      EXPECT_EQ(m.getPointFlag(p, RectMesh::Marked), u == 4) << u << ", " << v;
      if (u >= 4) {
        EXPECT_EQ(m.getPoint(p), Point(u, v, 0.0)) << u << ", " << v;
      }
    }
}

/// Largest distance from the surface, per layer k = 1..layers, of the points a window
/// [low, high]² of mesh gains when extended with parameter.
template <typename Distance>
std::vector<double> extensionErrors(RectMesh const& mesh, int low, int high, int layers,
                                    std::uint32_t parameter, Distance distance) {
  RectMesh m(mesh);
  keepWindow(m, low, high);
  m.extendBoundary(Basic, layers, parameter);
  std::vector<double> errors(layers, 0.0);
  for (int v = low - layers; v <= high + layers; ++v)
    for (int u = low - layers; u <= high + layers; ++u) {
      int const k = std::max({low - u, u - high, low - v, v - high});
      if (k > 0)
        errors[k - 1] = std::max(errors[k - 1], distance(m.getPoint(GridPoint(u, v))));
    }
  return errors;
}

TEST(RectMeshExtension, CylinderAndSphereContinueCloseToTheirSurfaces) {
  // Radius 50, unit spacing: one quadratic step errs by about h³ / R² = 4e-4, k steps by
  // k(k + 1)(k + 2)/6 times that. Ten layers show that the corners do not diverge.
  RectMesh cylinder;
  ASSERT_TRUE(cylinder.setAsCylinderArc(50.0, 1.2, 60.0, 1.0, 100));
  auto const offCylinder = [](Point const& x) {
    return std::abs(std::hypot(x.getX(), x.getY()) - 50.0);
  };
  std::vector<double> const cylinderErrors = extensionErrors(cylinder, 20, 39, 10, 0, offCylinder);
  RectMesh sphere;
  ASSERT_TRUE(sphere.setAsSphereArcStereographic(50.0, 1.0, 1.0, 100));
  int const pole = int(sphere.getExtents().getdU()) / 2;
  auto const offSphere = [](Point const& x) {
    return std::abs(std::hypot(std::hypot(x.getX(), x.getY()), x.getZ()) - 50.0);
  };
  std::vector<double> const sphereErrors =
      extensionErrors(sphere, pole - 10, pole + 10, 10, 0, offSphere);
  for (int k = 1; k <= 10; ++k) {
    double const bound = k * (k + 1) * (k + 2) / 6.0 * 4e-4 + 1e-5;
    EXPECT_LT(cylinderErrors[k - 1], bound) << "cylinder layer " << k;
    EXPECT_LT(sphereErrors[k - 1], bound) << "sphere layer " << k;
  }
}

TEST(RectMeshExtension, ConstructedCylinderIsNotExtendedAcrossItsSeam) {
  Mesh mesh;
  loadFlatMesh(mesh, cutCylinderStrip(), "strip");
  RectMesh m;
  m.construct(mesh, 0.04);
  int const lastU = lastValidIndices(m).getU();

  m.extendBoundary(Basic, 3, 0);
  // The grid grew by three on every side; the seam columns are now 3 and lastU + 3.
  int extended = 0;
  for (int v = 0; v <= int(m.getExtents().getdV()); ++v)
    for (int u = 0; u <= int(m.getExtents().getdU()); ++u) {
      GridPoint const p(u, v);
      if (!m.getIsPointValid(p) || m.getIsInteriorNonExtendedPoint(p))
        continue;
      ++extended;
      EXPECT_TRUE(u >= 3 && u <= lastU + 3) << u << ", " << v;
      if (u == 3 || u == lastU + 3) {
        EXPECT_TRUE(m.getPointFlag(p, RectMesh::Marked)) << u << ", " << v;
      }
    }
  EXPECT_EQ(extended, 6 * (lastU + 1));
}

} // namespace
} // namespace QuadMeshTest
