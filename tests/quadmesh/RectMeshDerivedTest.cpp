#include "QuadMeshTestSupport.h"

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/LinearScaleRectMesh.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace QuadMeshTest {

using QARN::Geometry::ThreeDimensional::QuadMesh::CanonicalAxis;

QARN_PRIVATE_MEMBER(FlipWinding, void (RectMesh::*)(CanonicalAxis), RectMesh::flipWinding);
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
using Stripes = std::vector<std::pair<GridPoint, GridPoint>>;

void expectThrows(std::function<void()> const& f, std::string const& message) {
  try {
    f();
    ADD_FAILURE() << "no exception, expected " << message;
  } catch (QARN::Exception const& e) {
    EXPECT_EQ(message, e.what());
  }
}

void expectPointNear(Point const& expected, Point const& actual) {
  EXPECT_NEAR(expected.getX(), actual.getX(), 1e-5);
  EXPECT_NEAR(expected.getY(), actual.getY(), 1e-5);
  EXPECT_NEAR(expected.getZ(), actual.getZ(), 1e-5);
}

/// Point (u, v) at (u, v, 0): every copied point tells its source indices.
GridMesh indexGrid(std::uint32_t U, std::uint32_t V) {
  return flatGrid(U, V);
}

TEST(RectMeshDerived, SubSamplingStepsAndIndices) {
  GridMesh big = indexGrid(100, 100);
  RectMesh target;
  big.getSubSampled(RectMesh::MaxNumberOfQuads, 10000, target);
  EXPECT_EQ(Extents(100, 100), target.getExtents());
  big.getSubSampled(RectMesh::MaxNumberOfQuads, 9999, target);
  EXPECT_EQ(Extents(50, 50), target.getExtents());
  big.getSubSampled(RectMesh::MaxNumberOfQuads, 600, target);
  EXPECT_EQ(Extents(12, 12), target.getExtents());
  EXPECT_EQ(Point(96, 96, 0), target.getPoint(GridPoint(12, 12)));

  GridMesh mesh = indexGrid(5, 3);
  mesh.setPointFlag(GridPoint(4, 2), RectMesh::Marked, true);
  mesh.setPointValidity(GridPoint(4, 0), false);
  mesh.getSubSampled(RectMesh::SampleStep, 2, target);
  EXPECT_EQ(Extents(2, 1), target.getExtents()); // column u = 5 and row v = 3 are dropped
  EXPECT_EQ(Point(4, 2, 0), target.getPoint(GridPoint(2, 1)));
  EXPECT_EQ(mesh.getPointFlags(GridPoint(4, 2)), target.getPointFlags(GridPoint(2, 1)));
  EXPECT_FALSE(target.getIsPointValid(GridPoint(2, 0)));
  EXPECT_EQ(mesh.getFileName(), target.getFileName());
  EXPECT_DOUBLE_EQ(4.0, target.getMaxQuadArea());
  EXPECT_FALSE(target.getSearchPoints().empty());
  expectThrows([&] { mesh.getSubSampled(RectMesh::SampleStep, 0, target); },
               "Invalid sub-sampling step.");

  mesh.setOffset(IndexVector(7, 8));
  mesh.getSubSampled(RectMesh::SampleStep, 2, mesh);
  EXPECT_EQ(Extents(2, 1), mesh.getExtents());
  EXPECT_EQ(Point(4, 2, 0), mesh.getPoint(GridPoint(2, 1)));
  EXPECT_EQ(IndexVector(7, 8), mesh.getOffset());
}

TEST(RectMeshDerived, IndexBoxKeepsTheQuadsOfTheHalfOpenBox) {
  GridMesh mesh = indexGrid(4, 3);
  RectMesh target;
  mesh.getRestrictedToAABB(IndexBox(GridPoint(1, 1), IndexVector(2, 1)), target);
  EXPECT_EQ(Extents(2, 1), target.getExtents());
  EXPECT_EQ(Point(1, 1, 0), target.getPoint(GridPoint(0, 0)));
  EXPECT_EQ(Point(3, 2, 0), target.getPoint(GridPoint(2, 1))); // far corner of the last quad
  EXPECT_DOUBLE_EQ(1.0, target.getMeanQuadArea());

  mesh.getRestrictedToAABB(IndexBox(GridPoint(-1, 2), IndexVector(6, 2)), target);
  EXPECT_FALSE(target.getIsPointValid(GridPoint(0, 0)));
  EXPECT_EQ(Point(0, 2, 0), target.getPoint(GridPoint(1, 0)));
  EXPECT_TRUE(target.getIsPointValid(GridPoint(5, 1)));
  EXPECT_FALSE(target.getIsPointValid(GridPoint(6, 1)));
  EXPECT_FALSE(target.getIsPointValid(GridPoint(1, 2)));
  expectThrows(
      [&] { mesh.getRestrictedToAABB(IndexBox(GridPoint(0, 0), IndexVector(1, -1)), target); },
      "Invalid restriction box.");
  mesh.getRestrictedToAABB(
      IndexBox(GridPoint(std::numeric_limits<int>::max(), 0), IndexVector(2, 0)), target);
  EXPECT_FALSE(target.getIsPointValid(GridPoint(2, 0)));

  mesh.getRestrictedToAABB(IndexBox(GridPoint(2, 1), IndexVector(1, 1)), mesh);
  EXPECT_EQ(Extents(1, 1), mesh.getExtents());
  EXPECT_EQ(Point(3, 2, 0), mesh.getPoint(GridPoint(1, 1)));
}

TEST(RectMeshDerived, SpatialBoxCropsToTheWindowOfItsPoints) {
  GridMesh mesh = indexGrid(4, 3);
  mesh.setPoint(GridPoint(2, 2), Point(2, 2, 5));
  RectMesh target;
  mesh.getRestrictedToAABB(BoundingBoxAA(Point(1, 1, -1), Vector(1, 1, 2)), target);
  EXPECT_EQ(Extents(1, 1), target.getExtents());
  EXPECT_EQ(Point(1, 1, 0), target.getPoint(GridPoint(0, 0)));
  EXPECT_EQ(Point(1, 2, 0), target.getPoint(GridPoint(0, 1))); // on the closed box's face
  EXPECT_FALSE(target.getIsPointValid(GridPoint(1, 1)));

  mesh.getRestrictedToAABB(BoundingBoxAA(Point(9, 9, 9), Vector(1, 1, 1)), mesh);
  EXPECT_EQ(Extents(0, 0), mesh.getExtents());
  EXPECT_FALSE(mesh.getIsPointValid(GridPoint(0, 0)));
}

TEST(RectMeshDerived, FlatteningUsesTheStoredMeanQuadArea) {
  GridMesh curved(2, 1, [](int u, int v) { return Point(2 * u, 2 * v, u * u); });
  curved.setPointFlag(GridPoint(1, 1), RectMesh::Boundary, true);
  RectMesh flat;
  curved.getFlattened(flat); // a hand-built grid has no statistics yet
  EXPECT_EQ(Point(0, 0, 0), flat.getPoint(GridPoint(2, 1)));
  EXPECT_TRUE(flat.getIsPointValid(GridPoint(2, 1)));

  RectMesh copy;
  curved.getSubSampled(RectMesh::SampleStep, 1, copy);
  copy.setPointValidity(GridPoint(0, 1), false);
  double const s = std::sqrt(copy.getMeanQuadArea());
  copy.getFlattened(copy);
  expectPointNear(Point(2 * s, s, 0), copy.getPoint(GridPoint(2, 1)));
  EXPECT_TRUE(copy.getPointFlag(GridPoint(1, 1), RectMesh::Boundary));
  EXPECT_FALSE(copy.getIsPointValid(GridPoint(0, 1)));
  EXPECT_NEAR(s * s, copy.getMaxQuadArea(), 1e-4);
}

TEST(RectMeshDerived, NormalisingCentresAndScales) {
  GridMesh mesh(2, 2, [](int u, int v) { return Point(10 + u, 20 + v, 0); });
  RectMesh target;
  mesh.getNormalised(3.0, target);
  expectPointNear(Point(-3, -3, 0), target.getPoint(GridPoint(0, 0)));
  expectPointNear(Point(3, 0, 0), target.getPoint(GridPoint(2, 1)));
  EXPECT_DOUBLE_EQ(9.0, target.getMeanQuadArea());
  mesh.getNormalised(0.5, Vector(1, 2, 3), mesh);
  expectPointNear(Point(1.5, 2, 3), mesh.getPoint(GridPoint(2, 1)));

  GridMesh lone(1, 1, [](int u, int v) { return Point(u, v, 4); });
  lone.setPointValidity(GridPoint(1, 1), false); // no valid quad: moved only
  lone.getNormalised(5.0, target);
  expectPointNear(Point(2.0 / 3, -1.0 / 3, 0), target.getPoint(GridPoint(1, 0)));
  expectThrows([&] { lone.getNormalised(0.0, target); }, "Invalid normalisation quad size.");
  expectThrows([&] { lone.getNormalised(std::nan(""), target); },
               "Invalid normalisation quad size.");
}

TEST(RectMeshDerived, TransformMovesValidPointsAboutTheCentre) {
  GridMesh mesh(1, 0, [](int u, int) { return Point(1 + u, 0, 0); });
  mesh.setPoint(GridPoint(0, 0), Point(7, 7, 7));
  mesh.setPointValidity(GridPoint(0, 0), false);
  LinearMap quarterTurn;
  quarterTurn.setRotation(LinearMap::Z, std::acos(0.0));
  mesh.transform(Point(1, 0, 0), AffineMap(quarterTurn, Vector(0, 0, 1)));
  expectPointNear(Point(1, 1, 1), mesh.getPoint(GridPoint(1, 0)));
  EXPECT_EQ(Point(7, 7, 7), mesh.getPoint(GridPoint(0, 0)));

  QM::LinearScaleRectMesh scaled;
  flatGrid(1, 0).getSubSampled(RectMesh::SampleStep, 1, scaled);
  scaled.setScale(2.0);
  LinearMap identity;
  identity.setAsIdentity();
  scaled.transform(Point(), AffineMap(identity, Vector()));
  EXPECT_EQ(Point(4, 0, 0), scaled.getPoint(GridPoint(1, 0))); // the scale applies twice
}

TEST(RectMeshDerived, MirrorKeepsNormalsAndFlagsFollowTheirPoints) {
  GridMesh mesh(2, 1, [](int u, int v) { return Point(u, v, u * v); });
  mesh.setPointFlag(GridPoint(0, 1), RectMesh::Marked, true);
  Vector const normal = mesh.getQuadNormalVector(GridPoint(0, 0), true);
  mesh.mirror(QM::X, Point(), QM::U);
  EXPECT_EQ(Point(-2, 1, 2), mesh.getPoint(GridPoint(0, 1)));
  EXPECT_TRUE(mesh.getPointFlag(GridPoint(2, 1), RectMesh::Marked));
  EXPECT_FALSE(mesh.getPointFlag(GridPoint(0, 1), RectMesh::Marked));
  EXPECT_GT(mesh.getQuadNormalVector(GridPoint(1, 0), true).getdZ(), 0.0);
  mesh.mirror(QM::X, Point(), QM::U);
  EXPECT_EQ(Point(2, 1, 2), mesh.getPoint(GridPoint(2, 1)));
  EXPECT_EQ(normal.getdZ(), mesh.getQuadNormalVector(GridPoint(0, 0), true).getdZ());

  mesh.mirror(QM::Z, Point(0, 0, 1), QM::V); // rows swap: (u, v) <-> (u, 1 - v)
  EXPECT_EQ(Point(2, 1, 0), mesh.getPoint(GridPoint(2, 0)));
  EXPECT_EQ(Point(2, 0, 2), mesh.getPoint(GridPoint(2, 1)));
  EXPECT_TRUE(mesh.getPointFlag(GridPoint(0, 0), RectMesh::Marked));

  expectThrows([&] { mesh.mirror(QM::Y, Point(), static_cast<CanonicalAxis>(2)); },
               "Invalid scan flip axis");
  expectThrows([&] { mesh.mirror(static_cast<QM::CanonicalPlane>(3), Point(), QM::U); },
               "Invalid mirror plane.");
  EXPECT_EQ(Point(2, 1, 0), mesh.getPoint(GridPoint(2, 0)));
  expectThrows([&] { (mesh.*get(FlipWinding()))(static_cast<CanonicalAxis>(7)); },
               "Invalid scan flip axis");
  RectMesh empty;
  (empty.*get(FlipWinding()))(QM::V);
  EXPECT_EQ(Extents(0, 0), empty.getExtents());
}

TEST(RectMeshDerived, StatisticsAndAreaHistogram) {
  std::vector<double> const x = {0, 1, 3, 6}; // quad areas 1, 2 and 3
  GridMesh mesh(3, 1, [&](int u, int v) { return Point(x[u], v, 0); });
  RectMesh copy;
  mesh.getSubSampled(RectMesh::SampleStep, 1, copy);
  EXPECT_DOUBLE_EQ(3.0, copy.getMaxQuadArea());
  EXPECT_DOUBLE_EQ(2.0, copy.getMeanQuadArea());
  EXPECT_DOUBLE_EQ(1.0, copy.getMinQuadArea());

  auto histogram = [&](double min, double max, std::vector<std::uint32_t> counts) {
    std::uint32_t total = 99;
    (mesh.*get(AreaDistribution()))(min, max, static_cast<std::uint32_t>(counts.size()),
                                    counts.data(), &total);
    counts.push_back(total);
    return counts;
  };
  using Counts = std::vector<std::uint32_t>;
  EXPECT_EQ(Counts({1, 0, 1, 1, 3}), histogram(1.0, 3.0, Counts(4, 7))); // area 3 clamps
  EXPECT_EQ(Counts({1, 2, 3}), histogram(1.5, 2.5, Counts(2)));          // areas 1 and 3 clamp
  EXPECT_EQ(Counts({3, 0, 3}), histogram(2.0, 2.0, Counts(2)));
  EXPECT_EQ(Counts({0}), histogram(1.0, 3.0, Counts()));

  mesh.setPoint(GridPoint(3, 1), Point(std::nan(""), 1, 0)); // quad 2 gets a NaN area
  EXPECT_EQ(Counts({1, 1, 2}), histogram(1.0, 3.0, Counts(2)));

  mesh.setPointValidity(GridPoint(1, 1), false);
  mesh.setPointValidity(GridPoint(3, 0), false);
  mesh.getSubSampled(RectMesh::SampleStep, 1, copy);
  EXPECT_EQ(0.0, copy.getMaxQuadArea());
  EXPECT_EQ(0.0, copy.getMeanQuadArea());
  EXPECT_EQ(0.0, copy.getMinQuadArea());
  EXPECT_EQ(Counts({0, 0, 0}), histogram(1.0, 3.0, Counts(2)));
}

TEST(RectMeshDerived, ArrayStripes) {
  GridMesh mesh = indexGrid(4, 3);
  mesh.setPoint(GridPoint(1, 1), Point(1, 1, 0.5));
  mesh.setPointValidity(GridPoint(3, 2), false);
  std::uint32_t tested = 0, passed = 0;
  Stripes stripes(1);
  mesh.testArrayStripes(2, 0.1, 2, tested, passed, stripes);
  EXPECT_EQ(8u, tested);
  EXPECT_EQ(6u, passed);
  // Stripe 0 loses row 1 (bump) and keeps the single row 0 out; stripe 1 loses row 2.
  EXPECT_EQ(Stripes({{GridPoint(0, 2), GridPoint(2, 3)}, {GridPoint(2, 0), GridPoint(4, 1)}}),
            stripes);
  mesh.testArrayStripes(3, 0.5, 2, tested, passed, stripes);
  EXPECT_EQ(4u, tested);
  EXPECT_EQ(Stripes({{GridPoint(0, 0), GridPoint(3, 1)}}), stripes);
  mesh.testArrayStripes(2, std::nan(""), 1, tested, passed, stripes);
  EXPECT_EQ(12u, tested);
  EXPECT_EQ(0u, passed);
  EXPECT_TRUE(stripes.empty());
  expectThrows([&] { mesh.testArrayStripes(2, 0.1, 0, tested, passed, stripes); },
               "Invalid array stripe step.");
}

} // namespace

} // namespace QuadMeshTest
