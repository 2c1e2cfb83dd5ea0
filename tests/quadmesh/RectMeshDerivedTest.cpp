#include "QuadMeshTestSupport.h"

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace QuadMeshTest {

using QARN::Geometry::ThreeDimensional::QuadMesh::CanonicalAxis;

QARN_PRIVATE_MEMBER(AreaDistribution,
                    void (RectMesh::*)(double, double, std::uint32_t, std::uint32_t*,
                                       std::uint32_t*) const,
                    RectMesh::getQuadAreaDistribution);

namespace {

namespace QM = QARN::Geometry::ThreeDimensional::QuadMesh;
using QARN::Geometry::ThreeDimensional::AffineMap;
using QARN::Geometry::ThreeDimensional::BoundingBoxAA;
using QARN::Geometry::ThreeDimensional::LinearMap;
using IndexBox = QARN::Geometry::TwoDimensional::BoundingBoxAA<int>;
using IndexVector = QARN::Geometry::TwoDimensional::Vector<int>;
using Stripes = RectMesh::GridRanges;
using Counts = std::vector<std::uint32_t>;
using Areas = std::vector<double>;

void expectThrows(std::function<void()> const& f, std::string const& message) {
  EXPECT_EQ(message, messageOf<QARN::Exception>(f));
}

bool near(Point const& expected, Point const& actual) {
  return (expected - actual).lSqr() < 1e-10;
}

// Flat grids put point (u, v) at (u, v, 0), so every copied point tells its source indices.

TEST(RectMeshDerived, SubSamplingStepsAndIndices) {
  GridMesh big = flatGrid(100, 100);
  RectMesh target;
  big.getSubSampled(RectMesh::MaxNumberOfQuads, 9999, target);
  EXPECT_EQ(Extents(50, 50), target.getExtents());
  big.getSubSampled(RectMesh::MaxNumberOfQuads, 600, target); // f = 8
  EXPECT_EQ(Point(96, 96, 0), target.getPoint(GridPoint(12, 12)));

  GridMesh mesh = flatGrid(5, 3);
  mesh.setPointFlag(GridPoint(4, 2), RectMesh::Marked, true);
  mesh.setPointValidity(GridPoint(4, 0), false);
  mesh.getSubSampled(RectMesh::SampleStep, 2, target);
  EXPECT_EQ(Extents(2, 1), target.getExtents()); // column u = 5 and row v = 3 are dropped
  EXPECT_EQ(Point(4, 2, 0), target.getPoint(GridPoint(2, 1)));
  EXPECT_EQ(mesh.getPointFlags(GridPoint(4, 2)), target.getPointFlags(GridPoint(2, 1)));
  EXPECT_FALSE(target.getIsPointValid(GridPoint(2, 0)));
  EXPECT_EQ(mesh.getFileName(), target.getFileName());
  EXPECT_DOUBLE_EQ(4.0, target.getMaxQuadArea());
  expectThrows([&] { mesh.getSubSampled(RectMesh::SampleStep, 0, target); },
               "Invalid sub-sampling step.");
  RectMesh const before;
  mesh.getSubSampled(RectMesh::SampleStep, 2, mesh);
  EXPECT_EQ(Point(4, 2, 0), mesh.getPoint(GridPoint(2, 1)));
  RectMesh const after; // the grid built on the side takes no default-name number
  EXPECT_EQ(std::stoi(before.getFileName().substr(7)) + 1,
            std::stoi(after.getFileName().substr(7)));
}

TEST(RectMeshDerived, IndexAndSpatialBoxes) {
  GridMesh mesh = flatGrid(4, 3);
  RectMesh target;
  mesh.getRestrictedToAABB(IndexBox(GridPoint(1, 1), IndexVector(2, 1)), target);
  EXPECT_EQ(Extents(2, 1), target.getExtents());
  EXPECT_EQ(Point(3, 2, 0), target.getPoint(GridPoint(2, 1))); // far corner of the last quad
  EXPECT_DOUBLE_EQ(1.0, target.getMeanQuadArea());

  mesh.getRestrictedToAABB(IndexBox(GridPoint(-1, 2), IndexVector(6, 2)), target);
  EXPECT_FALSE(target.getIsPointValid(GridPoint(0, 0)));
  EXPECT_EQ(Point(0, 2, 0), target.getPoint(GridPoint(1, 0)));
  EXPECT_FALSE(target.getIsPointValid(GridPoint(6, 1)));
  expectThrows(
      [&] { mesh.getRestrictedToAABB(IndexBox(GridPoint(0, 0), IndexVector(1, -1)), target); },
      "Invalid restriction box.");

  mesh.setPoint(GridPoint(2, 2), Point(2, 2, 5)); // the spatial box crops to its points' window
  mesh.getRestrictedToAABB(BoundingBoxAA(Point(1, 1, -1), Vector(1, 1, 2)), target);
  EXPECT_EQ(Extents(1, 1), target.getExtents());
  EXPECT_EQ(Point(1, 2, 0), target.getPoint(GridPoint(0, 1))); // on the closed box's face
  EXPECT_FALSE(target.getIsPointValid(GridPoint(1, 1)));
  mesh.getRestrictedToAABB(BoundingBoxAA(Point(9, 9, 9), Vector(1, 1, 1)), mesh);
  EXPECT_EQ(Extents(0, 0), mesh.getExtents());
  EXPECT_FALSE(mesh.getIsPointValid(GridPoint(0, 0)));
}

TEST(RectMeshDerived, FlatteningAndNormalising) {
  GridMesh curved(2, 1, [](int u, int v) { return Point(2 * u, 2 * v, u * u); });
  curved.setPointFlag(GridPoint(1, 1), RectMesh::Boundary, true);
  RectMesh mesh;
  curved.getFlattened(mesh); // a hand-built grid has no statistics yet
  EXPECT_EQ(Point(0, 0, 0), mesh.getPoint(GridPoint(2, 1)));
  curved.getSubSampled(RectMesh::SampleStep, 1, mesh);
  mesh.setPointValidity(GridPoint(0, 1), false);
  double const s = std::sqrt(mesh.getMeanQuadArea());
  mesh.getFlattened(mesh);
  EXPECT_TRUE(near(Point(2 * s, s, 0), mesh.getPoint(GridPoint(2, 1))));
  EXPECT_TRUE(mesh.getPointFlag(GridPoint(1, 1), RectMesh::Boundary));
  EXPECT_FALSE(mesh.getIsPointValid(GridPoint(0, 1)));

  GridMesh shifted(2, 2, [](int u, int v) { return Point(10 + u, 20 + v, 0); });
  shifted.getNormalised(3.0, mesh);
  EXPECT_EQ(Point(3, 0, 0), mesh.getPoint(GridPoint(2, 1)));
  EXPECT_DOUBLE_EQ(9.0, mesh.getMeanQuadArea());
  shifted.getNormalised(0.5, Vector(1, 2, 3), shifted);
  EXPECT_EQ(Point(1.5, 2, 3), shifted.getPoint(GridPoint(2, 1)));
  GridMesh lone(1, 1, [](int u, int v) { return Point(u, v, 4); });
  lone.setPointValidity(GridPoint(1, 1), false); // no valid quad: moved only
  lone.getNormalised(5.0, mesh);
  EXPECT_TRUE(near(Point(2.0 / 3, -1.0 / 3, 0), mesh.getPoint(GridPoint(1, 0))));
  expectThrows([&] { lone.getNormalised(std::nan(""), mesh); }, "Invalid normalisation quad size.");
}

TEST(RectMeshDerived, TransformMovesValidPointsAboutTheCentre) {
  GridMesh mesh(1, 0, [](int u, int) { return Point(1 + u, 0, 0); });
  mesh.setPointValidity(GridPoint(0, 0), false);
  LinearMap L;
  L.setRotation(LinearMap::Z, std::acos(0.0));
  mesh.transform(Point(1, 0, 0), AffineMap(L, Vector(0, 0, 1)));
  EXPECT_TRUE(near(Point(1, 1, 1), mesh.getPoint(GridPoint(1, 0))));
  EXPECT_EQ(Point(1, 0, 0), mesh.getPoint(GridPoint(0, 0)));
}

TEST(RectMeshDerived, MirrorKeepsNormalsAndFlagsFollowTheirPoints) {
  GridMesh mesh(2, 1, [](int u, int v) { return Point(u, v, u * v); });
  mesh.setPointFlag(GridPoint(0, 1), RectMesh::Marked, true);
  mesh.mirror(QM::X, Point(), QM::U); // (u, v) <- reflected (2 - u, v)
  EXPECT_EQ(Point(-2, 1, 2), mesh.getPoint(GridPoint(0, 1)));
  EXPECT_EQ(1, mesh.getPointFlags(GridPoint(0, 1)));
  EXPECT_TRUE(mesh.getPointFlag(GridPoint(2, 1), RectMesh::Marked));
  EXPECT_GT(mesh.getQuadNormalVector(GridPoint(1, 0), true).getdZ(), 0.0);
  mesh.mirror(QM::X, Point(), QM::U);
  EXPECT_EQ(Point(2, 1, 2), mesh.getPoint(GridPoint(2, 1)));

  mesh.mirror(QM::Z, Point(0, 0, 1), QM::V); // (u, v) <- reflected (u, 1 - v)
  EXPECT_EQ(Point(2, 1, 0), mesh.getPoint(GridPoint(2, 0)));
  EXPECT_EQ(Point(2, 0, 2), mesh.getPoint(GridPoint(2, 1)));
  EXPECT_TRUE(mesh.getPointFlag(GridPoint(0, 0), RectMesh::Marked));

  expectThrows([&] { mesh.mirror(QM::Y, Point(), static_cast<CanonicalAxis>(2)); },
               "Invalid scan flip axis");
  expectThrows([&] { mesh.mirror(static_cast<QM::CanonicalPlane>(3), Point(), QM::U); },
               "Invalid mirror plane.");
  EXPECT_EQ(Point(2, 1, 0), mesh.getPoint(GridPoint(2, 0)));

  // Every point moves with its flag byte, on grids of even and odd numbers of rows and columns.
  for (auto const& [U, V] : {std::pair<int, int>{3, 2}, {4, 3}}) {
    GridMesh grid = flatGrid(U, V);
    auto const tag = [&](int u, int v) { return static_cast<char>(((u + (U + 1) * v) << 3) | 1); };
    for (int v = 0; v <= V; ++v)
      for (int u = 0; u <= U; ++u)
        grid.setPointFlags(GridPoint(u, v), tag(u, v));
    grid.mirror(QM::X, Point(), QM::U);
    grid.mirror(QM::Y, Point(), QM::V);
    for (int v = 0; v <= V; ++v)
      for (int u = 0; u <= U; ++u) {
        EXPECT_EQ(tag(U - u, V - v), grid.getPointFlags(GridPoint(u, v))) << u << "," << v;
        EXPECT_EQ(Point(-(U - u), -(V - v), 0), grid.getPoint(GridPoint(u, v)));
      }
  }

  // The start candidates follow the flip: the valid quads move from u ≥ 8 to u < 12.
  GridMesh half = flatGrid(20, 20);
  for (int v = 0; v <= 20; ++v)
    for (int u = 0; u <= 7; ++u)
      half.setPointValidity(GridPoint(u, v), false);
  half.setNumberOfSearchPoints(1, 1);
  half.mirror(QM::X, Point(), QM::U);
  ASSERT_FALSE(half.getSearchPoints().empty());
  for (GridPoint const& p : half.getSearchPoints())
    EXPECT_TRUE(half.getIsQuadValid(p)) << p.getU() << "," << p.getV();
}

TEST(RectMeshDerived, StatisticsAndAreaHistogram) {
  Areas const x = {0, 1, 3, 6}; // quad areas 1, 2 and 3
  GridMesh mesh(3, 1, [&](int u, int v) { return Point(x[u], v, 0); });
  RectMesh copy;
  mesh.getSubSampled(RectMesh::SampleStep, 1, copy);
  auto statistics = [&] {
    return Areas({copy.getMaxQuadArea(), copy.getMeanQuadArea(), copy.getMinQuadArea()});
  };
  EXPECT_EQ(Areas({3, 2, 1}), statistics());

  auto histogram = [&](double min, double max, Counts counts) {
    std::uint32_t total = 99;
    (mesh.*get(AreaDistribution()))(min, max, static_cast<std::uint32_t>(counts.size()),
                                    counts.data(), &total);
    counts.push_back(total);
    return counts;
  };
  EXPECT_EQ(Counts({1, 0, 1, 1, 3}), histogram(1.0, 3.0, Counts(4, 7))); // area 3 clamps
  EXPECT_EQ(Counts({1, 2, 3}), histogram(1.5, 2.5, Counts(2)));          // areas 1 and 3 clamp
  EXPECT_EQ(Counts({3, 0, 3}), histogram(2.0, 2.0, Counts(2)));
  EXPECT_EQ(Counts({0}), histogram(1.0, 3.0, Counts()));
  mesh.setPoint(GridPoint(3, 1), Point(std::nan(""), 1, 0)); // quad 2 gets a NaN area
  EXPECT_EQ(Counts({1, 1, 2}), histogram(1.0, 3.0, Counts(2)));

  mesh.setPointValidity(GridPoint(3, 0), false); // invalid quads do not count
  mesh.getSubSampled(RectMesh::SampleStep, 1, copy);
  EXPECT_EQ(Areas({2, 1.5, 1}), statistics());
  mesh.setPointValidity(GridPoint(1, 1), false);
  mesh.getSubSampled(RectMesh::SampleStep, 1, copy);
  EXPECT_EQ(Areas({0, 0, 0}), statistics()); // no valid quad left
}

TEST(RectMeshDerived, StatisticsMatchThePlainSumOfQuadAreasBitForBit) {
  GridMesh mesh(40, 30, [](int u, int v) {
    return Point(u + 0.3 * std::sin(v), v + 0.1 * u * u / 7.0,
                 5 * std::cos(0.3 * u) * std::sin(0.2 * v));
  });
  for (int k = 0; k < 60; ++k)
    mesh.setPointValidity(GridPoint((k * 37) % 41, (k * 11) % 31), false);
  double largest = 0, smallest = 0, sum = 0;
  int count = 0;
  for (int v = 0; v < 30; ++v)
    for (int u = 0; u < 40; ++u) {
      GridPoint const p(u, v);
      if (!mesh.getIsQuadValid(p))
        continue;
      double const area = 0.5 * std::sqrt(mesh.getQuadNormalVector(p, true).lSqr()) +
                          0.5 * std::sqrt(mesh.getQuadNormalVector(p, false).lSqr());
      EXPECT_EQ(mesh.getQuadArea(p), area);
      largest = count == 0 ? area : std::max(largest, area);
      smallest = count == 0 ? area : std::min(smallest, area);
      sum += area;
      ++count;
    }
  RectMesh copy;
  mesh.getSubSampled(RectMesh::SampleStep, 1, copy);
  EXPECT_EQ(Areas({largest, sum / count, smallest}),
            Areas({copy.getMaxQuadArea(), copy.getMeanQuadArea(), copy.getMinQuadArea()}));
}

TEST(RectMeshDerived, ArrayStripes) {
  GridMesh mesh = flatGrid(4, 3);
  mesh.setPoint(GridPoint(1, 1), Point(1, 1, 0.5));
  mesh.setPointValidity(GridPoint(3, 2), false);
  std::uint32_t tested = 0, passed = 0;
  Stripes stripes(1);
  mesh.testArrayStripes(2, 0.1, 2, tested, passed, stripes);
  EXPECT_EQ(8u, tested);
  EXPECT_EQ(6u, passed);
  // Stripe 0 loses row 1 (bump) and leaves the single row 0 out; stripe 1 loses row 2.
  EXPECT_EQ(Stripes({{GridPoint(0, 2), GridPoint(2, 3)}, {GridPoint(2, 0), GridPoint(4, 1)}}),
            stripes);
  expectThrows([&] { mesh.testArrayStripes(2, 0.1, 0, tested, passed, stripes); },
               "Invalid array stripe step.");
}

} // namespace

} // namespace QuadMeshTest
