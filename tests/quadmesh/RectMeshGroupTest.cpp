#include "QuadMeshTestSupport.h"

#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroup.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroups.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace QuadMeshTest {
namespace {

using namespace QARN::Geometry::ThreeDimensional::QuadMesh;
using QARN::Geometry::ThreeDimensional::AffineMap;
using QARN::Geometry::ThreeDimensional::LinearMap;
using Status = QuadIndicesIntersectionStatus;
using Offsets = std::vector<Offset>;

/// Saves a flat grid and writes the areas (mean, min, max) into its header.
std::string writeGrid(char const* name, std::uint32_t U, std::uint32_t V, double z,
                      std::array<double, 3> const& areas) {
  std::string const path = tempPath(name);
  GridMesh(U, V, [z](int u, int v) { return Point(u, v, z); }).save(path.c_str());
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(148);
  file.write(reinterpret_cast<char const*>(areas.data()), sizeof areas);
  return path;
}

/// A vertical beam from (x, y, z), downwards when z > 0.
template <typename Group>
Status ask(Group& group, double x, double y, double z) {
  return group.getIntersectionStatus(Point(x, y, z), Vector(0, 0, z > 0 ? -1 : 1), false);
}

template <typename Group>
std::string lastName(Group const& group) {
  return group.getLastIntersectedRectMesh()->getFileName();
}

struct QualityMode {
  explicit QualityMode(Status::IntersectionQualityMode mode) {
    Status::setIntersectionQualityMode(mode);
  }
  ~QualityMode() { Status::setIntersectionQualityMode(Status::FacingThenNearest); }
};

// a: 10 × 10 quads at z = 0, b: 5 × 10 at z = 2, c: 4 × 4 at z = 4. The group holds a at (0, 0)
// and b at (20, 0); the groups hold that pair and c at (0, 30). A beam down meets b at 8 and a at
// 10; a beam up from z = -10 meets a at 10 and b at 12, both from behind (a poor hit).
struct Groups : ::testing::Test {
  std::string const a = writeGrid("a.quads", 10, 10, 0.0, {1.0, 0.5, 2.0});
  std::string const b = writeGrid("b.quads", 5, 10, 2.0, {2.0, 0.25, 3.0});
  std::string const c = writeGrid("c.quads", 4, 4, 4.0, {1.0, 1.0, 1.0});
  std::vector<std::vector<std::string>> const fileNames{{a, b}, {c}};
  std::vector<Offsets> const offsets{{{0, 0}, {20, 0}}, {{0, 30}}};
  RectMeshGroup group;
  RectMeshGroups groups;

  void SetUp() override {
    group.load(fileNames[0], offsets[0]);
    groups.load(fileNames, offsets);
  }
};

TEST_F(Groups, ModeZeroStopsAtTheFrontMemberOnlyAfterAGoodHit) {
  Status s = ask(group, 2.3, 5.6, 10.0);
  EXPECT_EQ(GridPoint(22, 5), s.getIndices());
  EXPECT_EQ("b", lastName(group));
  // b, now first, hits from behind: a, nearer, is not asked.
  EXPECT_EQ(12.0, ask(group, 2.3, 5.6, -10.0).getIntersectionData().getDistanceToObject());
  // That poor hit makes the next query ask every member.
  s = ask(group, 2.3, 5.6, -10.0);
  EXPECT_EQ(GridPoint(2, 5), s.getIndices());
  EXPECT_EQ("a", lastName(group));

  // One level up: group 0 answers first after its good hit, so c, nearer, is not asked.
  EXPECT_EQ(GridPoint(21, 5), ask(groups, 1.3, 5.6, 10.0).getIndices());
  EXPECT_EQ(GridPoint(21, 2), ask(groups, 1.3, 2.6, 10.0).getIndices());

  RectMeshGroup empty;
  EXPECT_FALSE(ask(empty, 1.0, 1.0, 10.0).getIsValid());
  EXPECT_EQ(nullptr, empty.getLastIntersectedRectMesh());
  EXPECT_EQ(nullptr, RectMeshGroups().getLastIntersectedRectMesh());
}

TEST_F(Groups, NearestAsksEveryMemberAndTiesKeepTheEarlierOne) {
  QualityMode mode(Status::Nearest);
  group.load({a, b, a}, {{0, 0}, {20, 0}, {40, 0}});
  EXPECT_EQ(GridPoint(22, 5), ask(group, 2.3, 5.6, 10.0).getIndices());
  EXPECT_EQ(GridPoint(2, 5), ask(group, 2.3, 5.6, -10.0).getIndices()); // not the twin at 40
  EXPECT_FALSE(ask(group, 50.0, 50.0, 10.0).getIsValid());
  EXPECT_EQ(Offset(0, 0), group.getLastIntersectedRectMesh()->getOffset());

  EXPECT_EQ(GridPoint(1, 32), ask(groups, 1.3, 2.6, 10.0).getIndices());
  EXPECT_EQ("c", lastName(groups));
}

TEST_F(Groups, SettersAddressMembersInTheirCurrentOrder) {
  ask(group, 1.3, 5.6, 10.0); // b first
  group.setDoFlipAxes({true, false}, {false, true});
  group.setDoFlipNormals({true, false});
  group.setActivePositionFlags({0x2u, 0xFFFFFFFFu});
  group.setPosition(33); // bit 1: both active
  Status s = ask(group, 1.3, 5.6, 10.0);
  EXPECT_EQ(GridPoint(23, 5), s.getIndices()); // u flipped in b's 5 quads
  EXPECT_EQ(0.0, s.getIntersectionData().getAngleToObjectNormal());
  group.setPosition(0);                                                // b inactive
  EXPECT_EQ(GridPoint(1, 4), ask(group, 1.3, 5.6, 10.0).getIndices()); // v flipped in a's 10

  ask(groups, 1.3, 2.6, 10.0); // c, nearest, puts group 1 first
  groups.setDoFlipAxes({{true}, {false, false}}, {{false}, {false, false}});
  groups.setActivePositionFlags({{0xFFFFFFFFu}, {0x1u, 0xFFFFFFFFu}});
  groups.setPosition(1);                                                 // b inactive
  EXPECT_EQ(GridPoint(2, 32), ask(groups, 1.3, 2.6, 10.0).getIndices()); // c's u flipped
  EXPECT_EQ(GridPoint(1, 5), ask(groups, 1.3, 5.6, 10.0).getIndices());
  // Group 0 is first now: group 1 moves 10 down, behind a.
  LinearMap const identity({1, 0, 0}, {0, 1, 0}, {0, 0, 1});
  groups.transform({Point(), Point()}, {AffineMap(identity, {}), AffineMap(identity, {0, 0, -10})});
  QualityMode mode(Status::Nearest);
  EXPECT_EQ(GridPoint(1, 2), ask(groups, 1.3, 2.6, 10.0).getIndices());
}

TEST_F(Groups, BoxesFromMeshesAndHeadersHoldTheOrigin) {
  EXPECT_EQ(GridPoint(25, 34), groups.getUVBoundingBox().getp1());
  EXPECT_EQ(GridPoint(25, 34), RectMeshGroups::getUVBoundingBox(fileNames, offsets).getp1());
  EXPECT_EQ(Extents(25, 34), groups.getExtents());
  // No member covers (0, 0) or row 0, yet the union starts from the default box.
  Offsets const shifted{{-3, 2}, {20, 5}};
  group.load(fileNames[0], shifted);
  for (auto const& box :
       {group.getUVBoundingBox(), RectMeshGroup::getUVBoundingBox(fileNames[0], shifted)}) {
    EXPECT_EQ(GridPoint(-3, 0), box.getp());
    EXPECT_EQ(GridPoint(25, 15), box.getp1());
  }
}

TEST_F(Groups, QuadAreaInfosFromHeaders) {
  double min = 0, mean = 0, max = 0, total = 0;
  EXPECT_TRUE(RectMeshGroups::getQuadAreaInfos(fileNames, min, mean, max, total));
  EXPECT_EQ(0.25, min);
  EXPECT_EQ(3.0, max);
  EXPECT_EQ(100.0 * 1.0 + 50.0 * 2.0 + 16.0 * 1.0, total);
  EXPECT_EQ(total / 166.0, mean);
  EXPECT_FALSE(RectMeshGroups::getQuadAreaInfos({}, min, mean, max, total));
  EXPECT_TRUE(RectMeshGroups::getQuadAreaInfos({{}}, min, mean, max, total));
  EXPECT_FALSE(std::isfinite(mean));
}

TEST_F(Groups, RefusedCallsThrowTheirTextsBeforeChangingAnything) {
  std::string const q = "Geometry::ThreeDimensional::QuadMesh::";
  std::string const load = q + "RectMeshGroup::load: number of fileNames and offsets mismatch.";
  std::string const flipNormals =
      q + "setDoFlipNormals::load: number of doFlipNormals and quad meshes mismatch.";
  std::string const activeFlags =
      q + "setActivePositionFlags::load: number of activePositionFlags and quad meshes mismatch.";
  std::string const flipAxes =
      q + "setDoFlipAxes::load: number of doFlipUAxes or doFlipVAxes and quad meshes mismatch.";
  std::string const groupsFlipAxes = q + "RectMeshGroup::setDoFlipAxes: groupDoFlipUAxes or "
                                         "groupDoFlipVAxes size mismatch.";
  auto const refuses = [](std::string const& message, std::function<void()> const& call) {
    EXPECT_EQ(message, messageOf(call));
  };
  Status const before = ask(groups, 1.3, 5.6, 10.0);

  refuses(load, [&] { group.load({a, b, c}, offsets[0]); });
  refuses(flipNormals, [&] { group.setDoFlipNormals({true}); });
  refuses(activeFlags, [&] { group.setActivePositionFlags({0u, 0u, 0u}); });
  refuses(flipAxes, [&] { group.setDoFlipAxes({true, true}, {true}); });
  refuses(flipAxes, [&] { group.setDoFlipAxes({true}, {true, true}); });
  refuses(q + "RectMeshGroup::getUVBoundingBox: number of fileNames and offsets mismatch.",
          [&] { RectMeshGroup::getUVBoundingBox({a}, {}); });
  refuses(q + "RectMeshGroups::load: number of groupFileNames and groupOffsets mismatch.",
          [&] { groups.load(fileNames, {}); });
  refuses(load, [&] { groups.load({{a}, {a, b}}, {{{0, 0}}, {{0, 0}}}); });
  refuses(q + "RectMeshGroup::transform: groupOrigins size mismatch.",
          [&] { groups.transform({Point()}, {}); });
  refuses(q + "RectMeshGroup::transform: groupMaps size mismatch.", [&] {
    groups.transform({Point(), Point()}, {});
  });
  refuses(q + "RectMeshGroup::setDoFlipNormals: groupDoFlipNormals size mismatch.", [&] {
    groups.setDoFlipNormals({{true, true}});
  });
  refuses(q + "RectMeshGroup::setActivePositionFlags: groupPositionActiveFlags size mismatch.",
          [&] { groups.setActivePositionFlags({}); });
  refuses(groupsFlipAxes, [&] { groups.setDoFlipAxes({{}, {}}, {{}}); });
  refuses(groupsFlipAxes, [&] { groups.setDoFlipAxes({{}}, {{}, {}}); });
  refuses(q + "RectMeshGroups::getUVBoundingBox: number of groupFileNames and groupOffsets "
              "mismatch.",
          [&] { RectMeshGroups::getUVBoundingBox({{a}}, {}); });
  // Group 0 accepts these, group 1 (one mesh) refuses them: group 0 must stay unchanged.
  std::vector<std::vector<bool>> const two{{true, true}, {true, true}};
  refuses(flipNormals, [&] { groups.setDoFlipNormals(two); });
  refuses(activeFlags, [&] { groups.setActivePositionFlags({{0u, 0u}, {0u, 0u}}); });
  refuses(flipAxes, [&] { groups.setDoFlipAxes(two, two); });

  EXPECT_EQ(GridPoint(21, 5), ask(group, 1.3, 5.6, 10.0).getIndices());
  Status const after = ask(groups, 1.3, 5.6, 10.0);
  EXPECT_EQ(before.getIndices(), after.getIndices());
  EXPECT_EQ(before.getIntersectionData().getAngleToObjectNormal(),
            after.getIntersectionData().getAngleToObjectNormal());
  EXPECT_EQ(GridPoint(25, 34), groups.getUVBoundingBox().getp1()); // c still there
}

TEST_F(Groups, CopiesOutliveTheirSources) {
  ask(group, 1.3, 5.6, 10.0); // b first
  GridMesh borrowed = flatGrid(1, 1);
  RectMeshGroup withBorrowed;
  withBorrowed.addQuadMesh(&borrowed);
  EXPECT_EQ(&borrowed, RectMeshGroup(withBorrowed).getLastIntersectedRectMesh());

  RectMeshGroup copied(group);
  RectMeshGroup assigned;
  assigned = group;
  RectMeshGroup const& same = assigned;
  RectMesh* const front = assigned.getLastIntersectedRectMesh();
  assigned = same;
  EXPECT_EQ(front, assigned.getLastIntersectedRectMesh());
  RectMeshGroups copiedGroups(groups);
  RectMeshGroups assignedGroups;
  assignedGroups = groups;
  group = RectMeshGroup();
  groups = RectMeshGroups();

  EXPECT_EQ("b", lastName(assigned)); // current order, fresh offsets
  EXPECT_EQ(GridPoint(1, 5), ask(assigned, 1.3, 5.6, 10.0).getIndices());
  EXPECT_EQ(GridPoint(21, 5), ask(copied, 1.3, 5.6, 10.0).getIndices()); // offsets kept
  EXPECT_EQ(GridPoint(1, 5), ask(assignedGroups, 1.3, 5.6, 10.0).getIndices());
  EXPECT_EQ(GridPoint(21, 5), ask(copiedGroups, 1.3, 5.6, 10.0).getIndices());
}

TEST_F(Groups, AFailedFileKeepsTheMeshesLoadedBeforeIt) {
  EXPECT_THROW(group.load({a, a + ".missing"}, {{5, 6}, {0, 0}}), std::ios_base::failure);
  EXPECT_EQ(GridPoint(15, 16), group.getUVBoundingBox().getp1());
  group.clear(); // deletes the owned mesh
  EXPECT_EQ(nullptr, group.getLastIntersectedRectMesh());
  EXPECT_THROW(groups.load({{c}, {a, a + ".missing"}}, {{{0, 0}}, {{0, 0}, {0, 0}}}),
               std::ios_base::failure);
  EXPECT_EQ(GridPoint(4, 4), groups.getUVBoundingBox().getp1());
}

} // namespace
} // namespace QuadMeshTest
