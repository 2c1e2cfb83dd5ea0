#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroup.h>
#include <QARN/mtf_list.h>

#include "quadmesh/GroupTestMeshes.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

namespace ThreeD = QARN::Geometry::ThreeDimensional;
namespace TwoD = QARN::Geometry::TwoDimensional;
using namespace QARN::Geometry::ThreeDimensional::QuadMesh;
using GroupTest::makeGrid;
using GroupTest::QualityModeScope;

TwoD::Point<int> indices(int u, int v) {
  return TwoD::Point<int>(u, v);
}

TEST(MtfList, MoveToFrontRelinksTheElementItself) {
  QARN::mtf_list<std::unique_ptr<int>> list;
  for (int i = 1; i <= 3; ++i)
    list.push_back(std::make_unique<int>(i));
  int* third = list.back().get();
  list.move_to_front(std::prev(list.end()));
  list.move_to_front(list.begin());
  std::vector<int> order;
  for (auto const& item : list)
    order.push_back(*item);
  EXPECT_EQ((std::vector<int>{3, 1, 2}), order);
  EXPECT_EQ(third, list.front().get());
}

// A: z = 0 over 10 x 10 unit quads at offset (0, 0); B: z = 2 over 5 x 10 quads at offset (20, 0),
// added in that order. A beam down from z = 10 meets B at 8 and A at 10; a beam up from z = -10
// meets A at 10 and B at 12, both from behind their normals (not facing).
struct TwoPlanes : ::testing::Test {
  std::unique_ptr<RectMesh> a = makeGrid(10, 10, 0.0);
  std::unique_ptr<RectMesh> b = makeGrid(5, 10, 2.0);
  RectMeshGroup group;
  ThreeD::Vector const down{0.0, 0.0, -1.0};
  ThreeD::Vector const up{0.0, 0.0, 1.0};

  void SetUp() override {
    b->setOffset(TwoD::Vector<int>(20, 0));
    group.addQuadMesh(a.get());
    group.addQuadMesh(b.get());
  }
  QuadIndicesIntersectionStatus ask(double x, double y, double z, ThreeD::Vector const& direction) {
    return group.getIntersectionStatus(ThreeD::Point(x, y, z), direction, false);
  }
};

TEST(RectMeshGroup, EmptyGroupMissesAndHasNoLastMesh) {
  RectMeshGroup group;
  EXPECT_FALSE(
      group.getIntersectionStatus(ThreeD::Point(0, 0, 1), ThreeD::Vector(0.0, 0.0, -1.0), true)
          .getIsValid());
  EXPECT_EQ(nullptr, group.getLastIntersectedRectMesh());
}

TEST_F(TwoPlanes, FacingThenNearestStopsAtTheFrontMemberAfterAGoodHit) {
  QualityModeScope mode(QuadIndicesIntersectionStatus::FacingThenNearest);
  QuadIndicesIntersectionStatus s = ask(2.3, 5.6, 10.0, down);
  ASSERT_TRUE(s.getIsValid());
  EXPECT_EQ(indices(22, 5), s.getIndices());
  EXPECT_DOUBLE_EQ(8.0, s.getIntersectionData().getDistanceToObject());
  EXPECT_EQ(b.get(), group.getLastIntersectedRectMesh());

  // B, now first, still hits (from behind, not good): A, which would win, is not asked.
  s = ask(2.3, 5.6, -10.0, up);
  EXPECT_EQ(indices(22, 5), s.getIndices());
  EXPECT_DOUBLE_EQ(12.0, s.getIntersectionData().getDistanceToObject());

  // That poor answer makes the next query ask every member: the nearer A wins and moves first.
  s = ask(2.3, 5.6, -10.0, up);
  EXPECT_EQ(indices(2, 5), s.getIndices());
  EXPECT_DOUBLE_EQ(10.0, s.getIntersectionData().getDistanceToObject());
  EXPECT_EQ(a.get(), group.getLastIntersectedRectMesh());
}

TEST_F(TwoPlanes, NearestAsksEveryMemberAndTiesKeepTheEarlierOne) {
  QualityModeScope mode(QuadIndicesIntersectionStatus::Nearest);
  std::unique_ptr<RectMesh> twin = makeGrid(10, 10, 0.0);
  twin->setOffset(TwoD::Vector<int>(40, 0));
  group.addQuadMesh(twin.get());

  EXPECT_EQ(indices(22, 5), ask(2.3, 5.6, 10.0, down).getIndices());
  // B is first and its hit was good, yet A (tied with its twin behind it) is nearer from below.
  QuadIndicesIntersectionStatus s = ask(2.3, 5.6, -10.0, up);
  EXPECT_EQ(indices(2, 5), s.getIndices());
  EXPECT_EQ(a.get(), group.getLastIntersectedRectMesh());
  // A miss everywhere leaves the order alone.
  EXPECT_FALSE(ask(50.0, 50.0, 10.0, down).getIsValid());
  EXPECT_EQ(a.get(), group.getLastIntersectedRectMesh());
}

TEST(RectMeshGroup, BestAnglePrefersTheSquarerHitOverTheNearerOne) {
  QualityModeScope mode(QuadIndicesIntersectionStatus::BestAngle);
  std::unique_ptr<RectMesh> tilted = makeGrid(5, 10, 2.0, 0.5);
  std::unique_ptr<RectMesh> flat = makeGrid(10, 10, 0.0);
  RectMeshGroup group;
  group.addQuadMesh(tilted.get());
  group.addQuadMesh(flat.get());
  QuadIndicesIntersectionStatus s =
      group.getIntersectionStatus(ThreeD::Point(2.3, 5.6, 10.0), {0.0, 0.0, -1.0}, false);
  EXPECT_EQ(flat.get(), group.getLastIntersectedRectMesh());
  EXPECT_DOUBLE_EQ(10.0, s.getIntersectionData().getDistanceToObject());
}

TEST_F(TwoPlanes, SettersAddressMembersInTheirCurrentOrder) {
  ask(1.3, 5.6, 10.0, down); // B moves first
  group.setDoFlipAxes({true, false}, {false, true});
  group.setDoFlipNormals({true, false});
  group.setActivePositionFlags({0x2u, 0xFFFFFFFFu});

  group.setPosition(33); // bit 1: both active
  QuadIndicesIntersectionStatus s = ask(1.3, 5.6, 10.0, down);
  EXPECT_EQ(b.get(), group.getLastIntersectedRectMesh());
  EXPECT_EQ(indices(20 + 3, 5), s.getIndices()); // u flipped in B's 5 quads, then offset
  EXPECT_DOUBLE_EQ(0.0, s.getIntersectionData().getAngleToObjectNormal()); // normal flipped

  group.setPosition(0); // B inactive
  s = ask(1.3, 5.6, 10.0, down);
  EXPECT_EQ(a.get(), group.getLastIntersectedRectMesh());
  EXPECT_EQ(indices(1, 4), s.getIndices()); // v flipped in A's 10 quads
}

TEST_F(TwoPlanes, UVBoundingBoxIsTheUnionWithTheOrigin) {
  a->setOffset(TwoD::Vector<int>(-3, 2));
  TwoD::BoundingBoxAA<int> box = group.getUVBoundingBox();
  EXPECT_EQ(indices(-3, 0), box.getp());
  EXPECT_EQ(indices(25, 12), box.getp1());

  RectMeshGroup far;
  far.addQuadMesh(b.get());
  b->setOffset(TwoD::Vector<int>(20, 5));
  EXPECT_EQ(indices(0, 0), far.getUVBoundingBox().getp());
  EXPECT_EQ(indices(25, 15), far.getUVBoundingBox().getp1());
}

TEST_F(TwoPlanes, SizeMismatchesThrowTheirTextsAndChangeNothing) {
  using GroupTest::expectThrowsMessage;
  expectThrowsMessage([&] { group.setDoFlipNormals({true}); },
                      "Geometry::ThreeDimensional::QuadMesh::setDoFlipNormals::load: number of "
                      "doFlipNormals and quad meshes mismatch.");
  expectThrowsMessage(
      [&] {
        group.setActivePositionFlags({0u, 0u, 0u});
      },
      "Geometry::ThreeDimensional::QuadMesh::setActivePositionFlags::load: number "
      "of activePositionFlags and quad meshes mismatch.");
  char const* flipAxes = "Geometry::ThreeDimensional::QuadMesh::setDoFlipAxes::load: number of "
                         "doFlipUAxes or doFlipVAxes and quad meshes mismatch.";
  expectThrowsMessage([&] { group.setDoFlipAxes({true, true}, {true}); }, flipAxes);
  expectThrowsMessage([&] { group.setDoFlipAxes({true}, {true, true}); }, flipAxes);
  expectThrowsMessage(
      [&] {
        group.load({"x.quads", "y.quads", "z.quads"}, {{}, {}});
      },
      "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::load: number of "
      "fileNames and offsets mismatch.");
  expectThrowsMessage([&] { RectMeshGroup::getUVBoundingBox({"x.quads"}, {}); },
                      "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::getUVBoundingBox: "
                      "number of fileNames and offsets mismatch.");

  QuadIndicesIntersectionStatus s = ask(1.3, 5.6, 10.0, down);
  EXPECT_EQ(indices(21, 5), s.getIndices()); // nothing flipped, both members still there
  EXPECT_EQ(b.get(), group.getLastIntersectedRectMesh());
}

TEST_F(TwoPlanes, AssignmentCopiesDeeplyInTheCurrentOrder) {
  ask(1.3, 5.6, 10.0, down); // B moves first
  RectMeshGroup copy;
  copy = group;
  RectMesh* first = copy.getLastIntersectedRectMesh();
  ASSERT_NE(nullptr, first);
  EXPECT_NE(b.get(), first);
  EXPECT_EQ(5u, first->getExtents().getdU());

  // The copies are plain meshes with a fresh offset, and independent of the source's meshes.
  b->clear();
  a->clear();
  EXPECT_EQ(indices(1, 5),
            copy.getIntersectionStatus(ThreeD::Point(1.3, 5.6, 10.0), down, false).getIndices());

  RectMeshGroup const& same = copy;
  copy = same;
  EXPECT_EQ(first, copy.getLastIntersectedRectMesh());
}

TEST_F(TwoPlanes, CopyConstructionSharesBorrowedMeshesAndCopiesOwnedOnes) {
  RectMeshGroup borrowed(group);
  EXPECT_EQ(a.get(), borrowed.getLastIntersectedRectMesh());

  auto owning = std::make_unique<RectMeshGroup>();
  *owning = group;
  owning->getLastIntersectedRectMesh()->setOffset(TwoD::Vector<int>(7, 0));
  RectMeshGroup copy(*owning);
  EXPECT_NE(owning->getLastIntersectedRectMesh(), copy.getLastIntersectedRectMesh());
  owning.reset();
  EXPECT_EQ(indices(8, 5),
            copy.getIntersectionStatus(ThreeD::Point(1.3, 5.6, -10.0), up, false).getIndices());
}

} // namespace
