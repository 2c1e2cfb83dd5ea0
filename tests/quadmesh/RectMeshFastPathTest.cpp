#include "QuadMeshTestSupport.h"
#include "ReferenceSearch.h"

#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/EdgeRule.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroup.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace QuadMeshTest {
namespace {

using namespace QARN::Geometry::ThreeDimensional::QuadMesh;
using Status = QuadIndicesIntersectionStatus;
using QARN::Geometry::ThreeDimensional::AffineMap;
using QARN::Geometry::ThreeDimensional::LinearMap;

struct AllQuads : QuadValidityGenerator {
  bool getValidity(GridPoint const&) override { return true; }
};

/// Patch i of four wavy patches side by side, 40 × 30 unit quads from x = 40·i, with a hole.
Point patchPoint(int i, int u, int v) {
  double const x = 40.0 * i + u;
  return Point(x, v, 3.0 * std::sin(x / 9.0) * std::cos(v / 7.0) + 0.5 * i);
}

void punchHole(RectMesh& mesh, int i) {
  for (int v = 10 + i; v < 14 + i; ++v)
    for (int u = 5 + 7 * i; u < 12 + 7 * i; ++u)
      mesh.setPointValidity(GridPoint(u, v), false);
}

/// The patch as a plain mesh, which the search reads from storage and bounds by its box.
std::unique_ptr<RectMesh> plainPatch(int i) {
  auto mesh = std::make_unique<RectMesh>();
  AllQuads all;
  mesh->setAsPlane(Extents(40, 30), 1.0, Point(), Vector(1, 0, 0), Vector(0, 1, 0), all);
  for (int v = 0; v <= 30; ++v)
    for (int u = 0; u <= 40; ++u)
      mesh->setPoint(GridPoint(u, v), patchPoint(i, u, v));
  punchHole(*mesh, i);
  mesh->setOffset(Offset(40 * i, 0));
  return mesh;
}

/// The same patch as a derived mesh, which the search reads through getPoint, without a bound.
std::unique_ptr<RectMesh> derivedPatch(int i) {
  auto mesh = std::make_unique<GridMesh>(40, 30, [i](int u, int v) { return patchPoint(i, u, v); });
  punchHole(*mesh, i);
  mesh->setOffset(Offset(40 * i, 0));
  return mesh;
}

/// A group that shows its members' current order.
struct OrderedGroup : RectMeshGroup {
  std::vector<RectMesh*> getOrder() const {
    std::vector<RectMesh*> order;
    for (RectMeshData const& member : meshes)
      order.push_back(member.quadMesh);
    return order;
  }
};

struct FastPaths : ::testing::Test {
  void TearDown() override {
    RectMesh::setEdgeRule(EdgeRule::Strict);
    Status::setIntersectionQualityMode(Status::FacingThenNearest);
  }
};

TEST_F(FastPaths, StoredCornersAndTheBoxBoundLeaveEveryRecordOrderAndStateAsTheFullPath) {
  // Group a holds plain meshes, group b their derived twins. Both scan the same long probe
  // sequences: serpentine rasters over the patches, across the holes and the seams, off the
  // patches, beams tilted or from below, random jumps and full searches, in every quality mode
  // and with both edge rules.
  std::vector<std::unique_ptr<RectMesh>> plain, derived;
  OrderedGroup a, b;
  for (int i = 0; i < 4; ++i) {
    plain.push_back(plainPatch(i));
    derived.push_back(derivedPatch(i));
    a.addQuadMesh(plain.back().get());
    b.addQuadMesh(derived.back().get());
  }
  auto const indexOf = [](std::vector<std::unique_ptr<RectMesh>> const& meshes, RectMesh* m) {
    for (std::size_t i = 0; i < meshes.size(); ++i)
      if (meshes[i].get() == m)
        return static_cast<int>(i);
    return -1;
  };
  std::mt19937 random(3);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  int hits = 0, queries = 0;
  for (EdgeRule rule : {EdgeRule::Strict, EdgeRule::Watertight})
    for (int mode = 0; mode < 3; ++mode) {
      RectMesh::setEdgeRule(rule);
      Status::setIntersectionQualityMode(static_cast<Status::IntersectionQualityMode>(mode));
      double x = -6.0, y = -3.0, step = 0.37;
      for (int k = 0; k < 4000; ++k) {
        x += step;
        if (x < -6.0 || x > 166.0) {
          step = -step;
          y += 1.13;
        }
        Point probe(x, y < 36.0 ? y : y - 39.0, unit(random) < 0.1 ? -20.0 : 25.0);
        if (unit(random) < 0.02)
          probe = Point(200 * unit(random) - 20, 40 * unit(random) - 5, 25.0);
        Vector const beam(0.3 * (unit(random) - 0.5), 0.3 * (unit(random) - 0.5),
                          probe.getZ() > 0 ? -1.0 : 1.0);
        bool const full = unit(random) < 0.05;
        Status const p = a.getIntersectionStatus(probe, beam, full);
        Status const q = b.getIntersectionStatus(probe, beam, full);
        ASSERT_EQ(p.getIsValid(), q.getIsValid()) << k;
        ASSERT_EQ(p.getIndices(), q.getIndices()) << k;
        ASSERT_TRUE(p.getQuadPoint() == q.getQuadPoint()) << k;
        ASSERT_TRUE(sameRecord(Status(nullptr, p.getQuadPoint(), p.getIndices(), p.getIsValid(),
                                      p.getIntersectionData(), ""),
                               Status(nullptr, q.getQuadPoint(), q.getIndices(), q.getIsValid(),
                                      q.getIntersectionData(), "")))
            << k;
        std::vector<RectMesh*> const orderA = a.getOrder(), orderB = b.getOrder();
        for (std::size_t i = 0; i < orderA.size(); ++i)
          ASSERT_EQ(indexOf(plain, orderA[i]), indexOf(derived, orderB[i])) << k;
        for (std::size_t i = 0; i < plain.size(); ++i) {
          ASSERT_EQ(plain[i].get()->*get(IsSearchReset{}), derived[i].get()->*get(IsSearchReset{}))
              << k;
          ASSERT_EQ(plain[i].get()->*get(LastSearchIndices{}),
                    derived[i].get()->*get(LastSearchIndices{}))
              << k;
        }
        hits += p.getIsValid() ? 1 : 0;
        ++queries;
      }
    }
  EXPECT_GT(hits, queries / 2);
  EXPECT_LT(hits, queries - queries / 20);
}

TEST_F(FastPaths, TheBoxFollowsEditsOfThePoints) {
  // A plain plate, bounded by the box of its valid points, and a derived twin without a bound
  // go through the same edits; after each, searches from scratch must agree on every beam.
  RectMesh plainPlate;
  AllQuads all;
  plainPlate.setAsPlane(Extents(10, 10), 1.0, Point(), Vector(1, 0, 0), Vector(0, 1, 0), all);
  GridMesh twin(10, 10, [](int u, int v) { return Point(u, v, 0.0); });
  std::vector<std::pair<Point, Vector>> beams;
  for (double x : {-60.3, -10.3, 5.3, 15.3, 105.3})
    for (double y : {-60.6, 5.6, 30.6})
      for (Vector const& d : {Vector(0, 0, -1), Vector(0.5, 0, -1), Vector(-3, 0.2, -1)})
        beams.emplace_back(Point(x, y, 30), d);
  // Shallow beams that meet the plate only where its raised corner stands above it.
  beams.emplace_back(Point(8, 9.9, 20.15), Vector(1, 0, -0.1));
  beams.emplace_back(Point(9, 9.9, 20.25), Vector(1, 0, -0.5));
  int agreedHits = 0;
  auto const expectAgreement = [&](char const* edit) {
    for (auto const& [probe, beam] : beams) {
      Status const p = plainPlate.getIntersectionStatus(probe, beam, true);
      Status const q = twin.getIntersectionStatus(probe, beam, true);
      ASSERT_EQ(q.getIsValid(), p.getIsValid()) << edit;
      ASSERT_EQ(q.getIndices(), p.getIndices()) << edit;
      agreedHits += p.getIsValid() ? 1 : 0;
    }
  };
  auto const edit = [&](auto&& change) {
    change(plainPlate);
    change(twin);
  };
  expectAgreement("built");
  edit([](RectMesh& m) { m.setPoint(GridPoint(10, 10), Point(10, 10, 40)); });
  expectAgreement("a corner raised");
  edit([](RectMesh& m) {
    m.setPointValidity(GridPoint(0, 0), false);
    m.setPoint(GridPoint(0, 0), Point(-50, -50, 0));
  });
  expectAgreement("a corner moved far");
  edit([](RectMesh& m) { m.setPointFlags(GridPoint(0, 0), 0); });
  expectAgreement("that corner invalid");
  edit([](RectMesh& m) { m.setPointFlags(GridPoint(0, 0), 1); });
  expectAgreement("that corner valid again");
  LinearMap const identity({1, 0, 0}, {0, 1, 0}, {0, 0, 1});
  edit([&](RectMesh& m) { m.transform(Point(), AffineMap(identity, Vector(100, 0, 0))); });
  expectAgreement("moved by 100");
  edit([](RectMesh& m) { m.clear(); });
  expectAgreement("cleared");
  EXPECT_GT(agreedHits, 8);
}

} // namespace
} // namespace QuadMeshTest
