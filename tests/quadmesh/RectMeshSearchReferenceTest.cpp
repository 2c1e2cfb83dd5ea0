#include "QuadMeshTestSupport.h"
#include "ReferenceSearch.h"

#include <QARN/Geometry/ThreeDimensional/QuadMesh/LinearScaleRectMesh.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace QuadMeshTest {
namespace {

using namespace QARN::Geometry::ThreeDimensional::QuadMesh;
using Status = QuadIndicesIntersectionStatus;

struct AllQuads : QuadValidityGenerator {
  bool getValidity(GridPoint const&) override { return true; }
};

/// The meshes the search is compared on: plain meshes, a derived mesh that only adds
/// construction, one that reports scaled points, holes and invalid rims.
std::vector<std::unique_ptr<RectMesh>> comparisonMeshes() {
  std::vector<std::unique_ptr<RectMesh>> meshes;
  meshes.push_back(std::make_unique<GridMesh>(60, 50, [](int u, int v) {
    return Point(u, v, 6.0 * std::sin(u / 11.0) * std::cos(v / 13.0) + 0.01 * u * v);
  }));
  auto paraboloid = std::make_unique<RectMesh>();
  paraboloid->setAsParaboloid(Point(3, -2, 1), Vector(1, 0, 0), Vector(0, 1, 0), 0.02, 0.03, 20.0,
                              1.0, 100);
  meshes.push_back(std::move(paraboloid));
  auto cylinder = std::make_unique<RectMesh>();
  cylinder->setAsCylinderArc(40.0, 2.0, 60.0, 1.0, 100);
  meshes.push_back(std::move(cylinder));
  // A tilted, sheared plate with two holes.
  auto plate = std::make_unique<RectMesh>();
  AllQuads all;
  plate->setAsPlane(Extents(70, 40), 0.75, Point(-5, 2, 3), Vector(1, 0.1, 0.3),
                    Vector(-0.2, 1, 0.1), all);
  for (int v = 10; v < 20; ++v)
    for (int u = 15; u < 30; ++u)
      plate->setPointValidity(GridPoint(u, v), false);
  for (int v = 25; v < 41; ++v)
    plate->setPointValidity(GridPoint(50, v), false);
  meshes.push_back(std::move(plate));
  auto scaled = std::make_unique<LinearScaleRectMesh>();
  scaled->setAsHeightField();
  scaled->setScale(0.05);
  meshes.push_back(std::move(scaled));
  return meshes;
}

/// A probe looking at the surface of mesh near the real grid position (gu, gv) of a valid quad:
/// it stands height along the point normal and looks back along it, tilted; false when the quad
/// there is not valid.
bool probeAt(RectMesh const& mesh, double gu, double gv, double height, Vector const& tilt,
             Point& P, Vector& d) {
  GridPoint const q(static_cast<int>(std::floor(gu)), static_cast<int>(std::floor(gv)));
  if (!mesh.getIsQuadValid(q))
    return false;
  double const fu = gu - q.getU(), fv = gv - q.getV();
  Point const p00 = mesh.getPoint(q);
  Vector const along = (mesh.getPoint(q + Offset(1, 0)) - p00) * fu;
  Vector const across = (mesh.getPoint(q + Offset(0, 1)) - p00) * fv;
  Vector const n = mesh.getPointUnitNormalVector(q);
  P = p00 + along + across + n * height;
  d = n * -1.0 + tilt;
  return true;
}

/// Runs the library's search and the reference side by side over a long probe sequence on mesh,
/// with the quality modes, flips, offsets and active positions changing along the way, and
/// compares every record and the search state after each query.
void compareAlongScan(RectMesh& mesh, std::uint32_t seed) {
  ReferenceSearch reference(mesh);
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  double const U = mesh.getExtents().getdU(), V = mesh.getExtents().getdV();
  mesh.setOffset(Offset(seed % 3 == 0 ? -7 : 12, 5));
  mesh.setAxisFlipFlags(seed % 2 == 0, seed % 3 == 1);
  mesh.setActivePositionFlags(0xFFFFFFFEu);
  double gu = 0.5, gv = 0.5, stepU = 0.37;
  int queries = 0;
  for (int i = 0; i < 6000; ++i) {
    Status::setIntersectionQualityMode(static_cast<Status::IntersectionQualityMode>(i / 97 % 3));
    mesh.setDoFlipNormals(i / 211 % 2 == 1);
    mesh.setPosition(i / 53 % 40);
    // Boustrophedon raster with every seventh line on grid lines, and random jumps.
    gu += stepU;
    if (gu < 0 || gu > U) {
      stepU = -stepU;
      gu += stepU;
      gv += i % 7 == 0 ? 1.0 - (gv - std::floor(gv)) : 0.61;
      if (gv > V)
        gv = 0.25;
    }
    double u = gu, v = gv;
    if (unit(random) < 0.03) {
      u = unit(random) * U;
      v = unit(random) * V;
    }
    Vector const tilt(0.3 * (unit(random) - 0.5), 0.3 * (unit(random) - 0.5), 0.0);
    double const height = unit(random) < 0.1 ? -4.0 : 5.0 + 20.0 * unit(random);
    Point P;
    Vector d;
    if (!probeAt(mesh, u, v, height, tilt, P, d)) {
      P = Point(u, v, 30.0);
      d = Vector(0, 0, -1);
    }
    bool const full = unit(random) < 0.05;
    bool const retrying = unit(random) < 0.3;
    Status const mine =
        retrying ? mesh.getIntersection(P, d) : mesh.getIntersectionStatus(P, d, full);
    Status const theirs =
        retrying ? reference.getIntersection(P, d) : reference.getIntersectionStatus(P, d, full);
    ASSERT_TRUE(sameRecord(mine, theirs)) << "query " << i << " seed " << seed;
    ASSERT_EQ(reference.isSearchReset, mesh.*get(IsSearchReset{})) << "query " << i;
    ASSERT_EQ(reference.lastSearchIndices, mesh.*get(LastSearchIndices{})) << "query " << i;
    queries += mine.getIsValid() ? 1 : 0;
  }
  EXPECT_GT(queries, 3000) << "seed " << seed;
}

struct SearchReference : ::testing::Test {
  void TearDown() override {
    Status::setIntersectionQualityMode(Status::FacingThenNearest);
    RectMesh::maxDoNMoreTimes = 0;
    RectMesh::searchDivideByNTimes = 4;
  }
};

TEST_F(SearchReference, SearchReproducesThePlainFormulationBitForBit) {
  std::uint32_t seed = 1;
  for (std::uint32_t samples : {4u, 9u})
    for (std::uint32_t passes : {0u, 2u}) {
      RectMesh::searchDivideByNTimes = samples;
      RectMesh::maxDoNMoreTimes = passes;
      for (auto& mesh : comparisonMeshes())
        compareAlongScan(*mesh, seed++);
    }
}

TEST_F(SearchReference, QuadTestReproducesThePlainFormulationBitForBit) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (auto& mesh : comparisonMeshes()) {
    ReferenceSearch const reference(*mesh);
    double const U = mesh->getExtents().getdU(), V = mesh->getExtents().getdV();
    for (int i = 0; i < 4000; ++i) {
      mesh->setDoFlipNormals(i % 2 == 1);
      Point P;
      Vector d;
      double const u = std::floor(unit(random) * U) + (i % 4 == 0 ? 0.0 : unit(random));
      double const v = std::floor(unit(random) * V) + (i % 5 == 0 ? 0.5 : unit(random));
      if (!probeAt(*mesh, u, v, 10.0 * unit(random) - 2.0, Vector(0.2 * unit(random), 0, 0), P, d))
        continue;
      GridPoint const q(static_cast<int>(u) + (i % 3) - 1, static_cast<int>(v));
      Point mine(9, 9, 9), theirs(9, 9, 9);
      QuadIntersectionData a, b;
      ASSERT_EQ(reference.getDoesIntersectQuad(q, P, d, theirs, &b),
                mesh->getDoesIntersectQuad(q, P, d, mine, &a));
      ASSERT_TRUE(mine == theirs || (std::isnan(mine.getX()) && std::isnan(theirs.getX())));
      ASSERT_TRUE(sameRecord(Status(nullptr, mine, q, true, a, ""),
                             Status(nullptr, theirs, q, true, b, "")));
    }
  }
}

} // namespace
} // namespace QuadMeshTest
