#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroups.h>

#include "quadmesh/GroupTestMeshes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace ThreeD = QARN::Geometry::ThreeDimensional;
namespace TwoD = QARN::Geometry::TwoDimensional;
using namespace QARN::Geometry::ThreeDimensional::QuadMesh;
using GroupTest::expectThrowsMessage;

TwoD::Point<int> indices(int u, int v) {
  return TwoD::Point<int>(u, v);
}

// Group 0: A (10 x 10 quads, z = 0) at (0, 0) and B (5 x 10, z = 2) at (20, 0);
// group 1: C (4 x 4, z = 4) at (0, 30). Header areas: A 1/0.5/2, B 2/0.25/3, C 1/1/1.
struct ThreeFiles : ::testing::Test {
  std::string const folder = GroupTest::getTemporaryDirectory();
  std::string const a = folder + "groups_a.quads";
  std::string const b = folder + "groups_b.quads";
  std::string const c = folder + "groups_c.quads";
  std::vector<std::vector<std::string>> fileNames{{a, b}, {c}};
  std::vector<std::vector<TwoD::Vector<int>>> offsets{{{0, 0}, {20, 0}}, {{0, 30}}};
  RectMeshGroups groups;
  ThreeD::Vector const down{0.0, 0.0, -1.0};

  void SetUp() override {
    GroupTest::writeFlatQuads(a, 10, 10, 0.0f, 1.0, 0.5, 2.0);
    GroupTest::writeFlatQuads(b, 5, 10, 2.0f, 2.0, 0.25, 3.0);
    GroupTest::writeFlatQuads(c, 4, 4, 4.0f, 1.0, 1.0, 1.0);
    groups.load(fileNames, offsets);
  }
  TwoD::Point<int> askDown(RectMeshGroups& target, double x, double y) {
    return target.getIntersectionStatus(ThreeD::Point(x, y, 10.0), down, false).getIndices();
  }
};

TEST_F(ThreeFiles, QueriesRankGroupsAndMoveTheWinnerFirst) {
  EXPECT_EQ(indices(21, 5), askDown(groups, 1.3, 5.6)); // B over A; C not under the probe
  EXPECT_EQ("groups_b", groups.getLastIntersectedRectMesh()->getFileName());
  // After that good hit group 0 is asked first and answers: C, nearer, is not asked.
  EXPECT_EQ(indices(21, 2), askDown(groups, 1.3, 2.6));
  {
    GroupTest::QualityModeScope mode(QuadIndicesIntersectionStatus::Nearest);
    EXPECT_EQ(indices(1, 32), askDown(groups, 1.3, 2.6));
  }
  EXPECT_EQ("groups_c", groups.getLastIntersectedRectMesh()->getFileName());
  EXPECT_FALSE(groups.getIntersectionStatus(ThreeD::Point(50, 50, 10), down, false).getIsValid());
  EXPECT_EQ("groups_c", groups.getLastIntersectedRectMesh()->getFileName());
  EXPECT_EQ(nullptr, RectMeshGroups().getLastIntersectedRectMesh());
}

TEST_F(ThreeFiles, BoxesAndExtentsFromMeshesAndFromHeaders) {
  TwoD::BoundingBoxAA<int> const box = groups.getUVBoundingBox();
  EXPECT_EQ(indices(0, 0), box.getp());
  EXPECT_EQ(indices(25, 34), box.getp1());
  TwoD::BoundingBoxAA<int> const fromFiles = RectMeshGroups::getUVBoundingBox(fileNames, offsets);
  EXPECT_EQ(box.getp(), fromFiles.getp());
  EXPECT_EQ(box.getp1(), fromFiles.getp1());
  EXPECT_EQ(25u, groups.getExtents().getdU());
  EXPECT_EQ(34u, groups.getExtents().getdV());
}

TEST_F(ThreeFiles, QuadAreaInfosFromHeaders) {
  double minArea = 0, meanArea = 0, maxArea = 0, totalArea = 0;
  EXPECT_TRUE(RectMeshGroups::getQuadAreaInfos(fileNames, minArea, meanArea, maxArea, totalArea));
  EXPECT_EQ(0.25, minArea);
  EXPECT_EQ(3.0, maxArea);
  EXPECT_EQ(100.0 * 1.0 + 50.0 * 2.0 + 16.0 * 1.0, totalArea);
  EXPECT_EQ(totalArea / 166.0, meanArea);

  EXPECT_FALSE(RectMeshGroups::getQuadAreaInfos({}, minArea, meanArea, maxArea, totalArea));
  EXPECT_TRUE(RectMeshGroups::getQuadAreaInfos({{}}, minArea, meanArea, maxArea, totalArea));
  EXPECT_FALSE(std::isfinite(meanArea));
}

TEST_F(ThreeFiles, RefusedCallsThrowTheirTextsBeforeChangingAnyGroup) {
  expectThrowsMessage([&] { groups.load({{a}}, {}); },
                      "Geometry::ThreeDimensional::QuadMesh::RectMeshGroups::load: number of "
                      "groupFileNames and groupOffsets mismatch.");
  expectThrowsMessage(
      [&] {
        groups.load({{a}, {a, b}}, {{{0, 0}}, {{0, 0}}});
      },
      "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::load: number of "
      "fileNames and offsets mismatch.");
  expectThrowsMessage([&] { RectMeshGroups::getUVBoundingBox({{a}}, {}); },
                      "Geometry::ThreeDimensional::QuadMesh::RectMeshGroups::getUVBoundingBox: "
                      "number of groupFileNames and groupOffsets mismatch.");
  expectThrowsMessage([&] { groups.transform({ThreeD::Point()}, {}); },
                      "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::transform: "
                      "groupOrigins size mismatch.");
  expectThrowsMessage(
      [&] {
        groups.transform({ThreeD::Point(), ThreeD::Point()}, {});
      },
      "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::transform: groupMaps "
      "size mismatch.");
  expectThrowsMessage(
      [&] {
        groups.setDoFlipNormals({{true, true}});
      },
      "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::setDoFlipNormals: "
      "groupDoFlipNormals size mismatch.");
  expectThrowsMessage([&] { groups.setActivePositionFlags({}); },
                      "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::"
                      "setActivePositionFlags: groupPositionActiveFlags size mismatch.");
  char const* flipAxes = "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::setDoFlipAxes: "
                         "groupDoFlipUAxes or groupDoFlipVAxes size mismatch.";
  expectThrowsMessage([&] { groups.setDoFlipAxes({{}, {}}, {{}}); }, flipAxes);
  expectThrowsMessage([&] { groups.setDoFlipAxes({{}}, {{}, {}}); }, flipAxes);

  // Inner sizes: group 1 has one mesh, so group 0 must not be flipped either.
  expectThrowsMessage(
      [&] {
        groups.setDoFlipAxes({{true, true}, {true, true}}, {{}, {}});
      },
      "Geometry::ThreeDimensional::QuadMesh::setDoFlipAxes::load: number of "
      "doFlipUAxes or doFlipVAxes and quad meshes mismatch.");
  expectThrowsMessage(
      [&] {
        groups.setActivePositionFlags({{0u, 0u}, {}});
      },
      "Geometry::ThreeDimensional::QuadMesh::setActivePositionFlags::load: number "
      "of activePositionFlags and quad meshes mismatch.");
  expectThrowsMessage(
      [&] {
        groups.setDoFlipNormals({{true, true}, {true, true}});
      },
      "Geometry::ThreeDimensional::QuadMesh::setDoFlipNormals::load: number of "
      "doFlipNormals and quad meshes mismatch.");
  EXPECT_EQ(indices(1, 32), askDown(groups, 1.3, 2.6)); // nothing flipped in group 1
  EXPECT_EQ(indices(21, 5), askDown(groups, 1.3, 5.6)); // nor in group 0
}

TEST_F(ThreeFiles, SettersReachEveryGroupInCurrentOrder) {
  askDown(groups, 1.3, 2.6); // group 1 first
  groups.setDoFlipAxes({{true}, {false, false}}, {{false}, {false, false}});
  groups.setActivePositionFlags({{0xFFFFFFFFu}, {0x1u, 0xFFFFFFFFu}});
  EXPECT_EQ(indices(2, 32), askDown(groups, 1.3, 2.6)); // C's u flipped in 4 quads
  groups.setPosition(1);                                // B inactive
  EXPECT_EQ(indices(1, 5), askDown(groups, 1.3, 5.6));
}

TEST_F(ThreeFiles, CopiesAreDeepAndIndependentOfTheSource) {
  auto source = std::make_unique<RectMeshGroups>(groups);
  RectMeshGroups copied(*source);
  RectMeshGroups assigned;
  assigned = *source;
  RectMeshGroups const& same = assigned;
  assigned = same;
  EXPECT_NE(source->getLastIntersectedRectMesh(), copied.getLastIntersectedRectMesh());
  source.reset();
  EXPECT_EQ(indices(21, 5), askDown(copied, 1.3, 5.6));  // offsets kept by copy construction
  EXPECT_EQ(indices(1, 5), askDown(assigned, 1.3, 5.6)); // assignment makes fresh offsets
}

TEST(RectMeshGroupLoad, AFailedFileKeepsTheMeshesLoadedBeforeIt) {
  std::string const good = GroupTest::getTemporaryDirectory() + "groups_good.quads";
  GroupTest::writeFlatQuads(good, 3, 2, 0.0f, 1.0, 1.0, 1.0);
  RectMeshGroup group;
  EXPECT_THROW(group.load({good, good + ".missing"}, {{5, 6}, {0, 0}}), std::ios_base::failure);
  ASSERT_NE(nullptr, group.getLastIntersectedRectMesh());
  EXPECT_EQ(indices(8, 8), group.getUVBoundingBox().getp1());
}

} // namespace
