#include "TriMeshTestSupport.h"

#include <common/GeneratedMeshes.h>

#include <limits>
#include <random>

namespace trimeshtest {
namespace {

namespace Meshes = QARN::Test::Meshes;
using Set = IndexedFaceSet;
using SetFace = IndexedFaceSet::Face;

TEST(IndexedFaceSet, DiagnosesOfTheGeneratedSurfaces) {
  struct Case {
    char const* name;
    Set set;
    std::uint32_t loops;
    std::vector<std::uint32_t> components;
    std::uint32_t nonManifoldEdges;
    std::uint32_t nonManifoldVertices;
    bool orientable;
  };
  Case const cases[] = {
      {"patch", Meshes::planarPatch(3, 2), 1, {12}, 0, 0, true},
      {"patch with a hole", Meshes::planarPatch(6, 6, 1, 1, 1), 2, {64}, 0, 0, true},
      {"patch with two holes", Meshes::planarPatch(10, 6, 1, 1, 2), 3, {104}, 0, 0, true},
      {"strip", Meshes::cylinderStrip(4, 3, 2.0), 1, {24}, 0, 0, true},
      {"tube", Meshes::tube(8, 3), 2, {48}, 0, 0, true},
      {"cone", Meshes::cone(8, 3, true), 1, {40}, 0, 0, true},
      {"truncated cone", Meshes::cone(8, 3, false), 2, {32}, 0, 0, true},
      {"hemisphere", Meshes::hemisphere(8, 3), 1, {40}, 0, 0, true},
      {"panel", Meshes::curvedPanel(4, 3), 1, {24}, 0, 0, true},
      {"two pieces", Meshes::twoComponents(), 2, {8, 8}, 0, 0, true},
      {"Möbius strip", Meshes::mobiusStrip(7), 1, {14}, 0, 0, false},
      // Each blade's two outer sides are boundary edges: 6 edges, 5 points, 1 piece.
      {"fan", Meshes::nonManifoldFan(3), 2, {3}, 1, 0, true},
      {"bow tie", Meshes::bowTie(), 2, {1, 1}, 0, 1, true},
  };
  for (Case const& c : cases) {
    Set::Diagnosis const d = c.set.getDiagnosis();
    EXPECT_EQ(c.loops, d.boundaryLoops) << c.name;
    EXPECT_EQ(c.components, d.componentSizes) << c.name;
    EXPECT_EQ(c.nonManifoldEdges, d.nonManifoldEdges) << c.name;
    EXPECT_EQ(c.nonManifoldVertices, d.nonManifoldVertices) << c.name;
    EXPECT_EQ(c.orientable, d.orientable) << c.name;
    EXPECT_EQ(0u, d.unusedPoints + d.degenerateFaces) << c.name;
    // Generated surfaces are wound consistently, except across the Möbius strip's half twist.
    EXPECT_EQ(c.orientable, d.inconsistentEdges == 0) << c.name;
  }
  Set::Diagnosis const d = Meshes::cappedTube().getDiagnosis();
  EXPECT_TRUE(d.boundaryEdges == 0 && d.boundaryLoops == 0 && d.inconsistentEdges == 0);
}

TEST(IndexedFaceSet, ValidationNamesTheFirstFault) {
  float const nan = std::numeric_limits<float>::quiet_NaN();
  Set set({Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0)}, {{0, 1, 2}, {0, 2, 7}});
  EXPECT_EQ("Face 1 refers to point 7, but there are 3 points.", errorOf([&] { set.validate(); }));
  EXPECT_EQ("Face 1 refers to point 7, but there are 3 points.",
            errorOf([&] { set.removeUnusedPoints(); }));
  set.addPoint(Point(0, 0, nan));
  EXPECT_EQ("Point 3 has a non-finite coordinate.", errorOf([&] { set.getDiagnosis(); }));
  Set const fine = Meshes::planarPatch(1, 1);
  EXPECT_EQ("no exception", errorOf([&] { fine.validate(); }));
}

TEST(IndexedFaceSet, ExactMergeKeepsTheFirstOfEachPositionInOrder) {
  // Points 3 and 4 repeat points 1 and 0 (-0 counts as 0); the faces follow the kept points.
  Set set({Point(0, 0, 0), Point(1, 0, 0), Point(1, 1, 0), Point(1, 0, 0), Point(-0.0, 0, 0),
           Point(0, 1, 0)},
          {{0, 1, 2}, {4, 2, 5}, {3, 2, 4}});
  EXPECT_EQ(2u, set.mergeCoincidentPoints());
  std::vector<Point> const expected{Point(0, 0, 0), Point(1, 0, 0), Point(1, 1, 0), Point(0, 1, 0)};
  EXPECT_EQ(expected, set.getPoints());
  EXPECT_EQ((std::vector<SetFace>{{0, 1, 2}, {0, 2, 3}, {1, 2, 0}}), set.getFaces());
  EXPECT_EQ(0u, set.mergeCoincidentPoints());
  EXPECT_EQ("Invalid merge tolerance.", errorOf([&] { set.mergeCoincidentPoints(-1.0); }));
  EXPECT_EQ("Invalid merge tolerance.",
            errorOf([&] { set.mergeCoincidentPoints(std::numeric_limits<double>::infinity()); }));
}

TEST(IndexedFaceSet, ToleranceMergeAgreesWithTheLowestKeptPointWithinReach) {
  // Reference: each point in order joins the lowest kept point within reach, or is kept.
  auto const reference = [](std::vector<Point> const& points, double tolerance) {
    std::vector<std::uint32_t> keptAs(points.size());
    for (std::uint32_t i = 0; i < points.size(); ++i) {
      keptAs[i] = i;
      for (std::uint32_t r = 0; r < i; ++r)
        if (keptAs[r] == r && (points[r] - points[i]).lSqr() <= tolerance * tolerance) {
          keptAs[i] = r;
          break;
        }
    }
    return keptAs;
  };
  std::mt19937 random(7);
  std::uniform_real_distribution<double> coordinate(-1.0, 1.0);
  for (double const tolerance : {0.05, 0.3, 1.0}) {
    std::vector<Point> points;
    // Clusters of near points plus exact repeats.
    for (int i = 0; i < 300; ++i) {
      if (i % 7 == 6)
        points.push_back(points[std::size_t(i) / 2]);
      else
        points.push_back(Point(coordinate(random), coordinate(random), 0.2 * coordinate(random)));
    }
    std::vector<SetFace> faces;
    for (std::uint32_t i = 0; i + 2 < points.size(); ++i)
      faces.push_back({i, i + 1, i + 2});
    std::vector<std::uint32_t> const keptAs = reference(points, tolerance);
    std::vector<Point> expectedPoints;
    std::vector<std::uint32_t> newIndex(points.size());
    for (std::uint32_t i = 0; i < points.size(); ++i)
      if (keptAs[i] == i) {
        newIndex[i] = std::uint32_t(expectedPoints.size());
        expectedPoints.push_back(points[i]);
      }
    Set set(points, faces);
    EXPECT_EQ(points.size() - expectedPoints.size(), set.mergeCoincidentPoints(tolerance));
    EXPECT_EQ(expectedPoints, set.getPoints()) << tolerance;
    for (std::size_t f = 0; f < faces.size(); ++f)
      for (int k = 0; k < 3; ++k)
        ASSERT_EQ(newIndex[keptAs[faces[f][k]]], set.getFaces()[f][k]);
  }
  // No chaining: 0.6 joins 0, and 1.2, beyond reach of 0, is kept though 0.6 is near.
  Set chain({Point(0, 0, 0), Point(0.6, 0, 0), Point(1.2, 0, 0)}, {{0, 1, 2}});
  EXPECT_EQ(1u, chain.mergeCoincidentPoints(1.0));
  EXPECT_EQ((std::vector<SetFace>{{0, 0, 1}}), chain.getFaces());
}

TEST(IndexedFaceSet, RemovalsKeepTheOrderOfWhatStays) {
  // Face 1 repeats a point, face 3 is collinear, face 4 repeats face 0 the other way round,
  // face 5 repeats face 2 turned; point 5 is unused.
  Set set({Point(0, 0, 0), Point(1, 0, 0), Point(1, 1, 0), Point(0, 1, 0), Point(2, 0, 0),
           Point(9, 9, 9)},
          {{0, 1, 2}, {0, 0, 3}, {0, 2, 3}, {0, 1, 4}, {2, 1, 0}, {2, 3, 0}});
  Set::Diagnosis const d = set.getDiagnosis();
  EXPECT_TRUE(d.unusedPoints == 1 && d.degenerateFaces == 1) << d.unusedPoints;
  Set zeroArea = set;
  EXPECT_EQ(1u, set.removeDegenerateFaces());
  EXPECT_EQ(2u, zeroArea.removeDegenerateFaces(true));
  EXPECT_EQ(4u, zeroArea.getNumberOfFaces());
  EXPECT_EQ(2u, set.removeDuplicateFaces());
  EXPECT_EQ((std::vector<SetFace>{{0, 1, 2}, {0, 2, 3}, {0, 1, 4}}), set.getFaces());
  EXPECT_EQ(1u, set.removeUnusedPoints());
  EXPECT_EQ(5u, set.getNumberOfPoints());
  Set hollow = set;
  hollow.addFace(0, 1, 2);
  hollow.addPoint(Point(7, 7, 7));
  hollow.addFace(5, 5, 5);
  EXPECT_EQ(0u, hollow.removeUnusedPoints()); // a degenerate face still uses its point
}

/// Whether b is a and turned round (the same winding).
bool sameWinding(SetFace const& a, SetFace const& b) {
  return b == a || b == SetFace{a[1], a[2], a[0]} || b == SetFace{a[2], a[0], a[1]};
}

/// The set with the first two corners of the given faces swapped.
Set withFlips(Set const& set, std::vector<std::size_t> const& which) {
  std::vector<SetFace> faces = set.getFaces();
  for (std::size_t const f : which)
    std::swap(faces[f][0], faces[f][1]);
  return Set(set.getPoints(), faces);
}

TEST(IndexedFaceSet, OrientationFlipsTheMinorityOfEachComponent) {
  Set const original = Meshes::twoComponents();
  // Component 0 (faces 0..7): faces 1, 4 and 6 are turned and turn back. Component 1
  // (faces 8..15): five of eight are turned, so the other three turn instead.
  Set set = withFlips(original, {1, 4, 6, 8, 9, 10, 11, 12});
  EXPECT_EQ(8u, set.getDiagnosis().inconsistentEdges);
  EXPECT_EQ(6u, set.orientConsistently());
  EXPECT_EQ(0u, set.getDiagnosis().inconsistentEdges);
  for (std::size_t f = 0; f < 16; ++f) {
    SetFace const a = original.getFaces()[f];
    EXPECT_TRUE(sameWinding(f < 8 ? a : SetFace{a[0], a[2], a[1]}, set.getFaces()[f])) << f;
  }
  // A tie keeps the first face's winding.
  Set tie = withFlips(Meshes::planarPatch(1, 2), {2, 3});
  EXPECT_EQ(2u, tie.orientConsistently());
  for (std::size_t f = 0; f < 4; ++f)
    EXPECT_TRUE(sameWinding(Meshes::planarPatch(1, 2).getFaces()[f], tie.getFaces()[f]));
  Set strip = Meshes::mobiusStrip(5);
  EXPECT_EQ("Surface is not orientable.", errorOf([&] { strip.orientConsistently(); }));
  EXPECT_EQ(Meshes::mobiusStrip(5).getFaces(), strip.getFaces());
}

TEST(IndexedFaceSet, KeepingTheLargestComponent) {
  Set set = Meshes::twoComponents();
  // A lone triangle, a degenerate face and a triangle glued to the second piece.
  std::uint32_t const a = set.addPoint(Point(9, 9, 0));
  std::uint32_t const b = set.addPoint(Point(10, 9, 0));
  std::uint32_t const c = set.addPoint(Point(9, 10, 0));
  set.addFace(a, b, c);
  set.addFace(a, a, b);
  set.addFace(9, 10, b); // 9 -> 10 is a boundary edge of the second piece (its bottom row)
  EXPECT_EQ((std::vector<std::uint32_t>{8, 9, 1}), set.getDiagnosis().componentSizes);
  std::vector<SetFace> expected(set.getFaces().begin() + 8, set.getFaces().begin() + 16);
  expected.push_back(set.getFaces().back());
  EXPECT_EQ(10u, set.keepLargestComponent());
  EXPECT_EQ(expected, set.getFaces());
  // Equal sizes: the component holding the lower face index stays.
  Set tie = Meshes::twoComponents();
  std::vector<SetFace> const first(tie.getFaces().begin(), tie.getFaces().begin() + 8);
  EXPECT_EQ(8u, tie.keepLargestComponent());
  EXPECT_EQ(first, tie.getFaces());
}

TEST(IndexedFaceSet, SurfaceValidationMessages) {
  auto const message = [](Set const& set) { return errorOf([&] { set.validateSurface(); }); };
  EXPECT_EQ("Indexed face set has no faces.", message(Set({Point(0, 0, 0)}, {})));
  Set repeat = Meshes::planarPatch(1, 1);
  repeat.addFace(3, 1, 1);
  EXPECT_EQ("Face 2 repeats point 1.", message(repeat));
  EXPECT_EQ("Edge (0, 1) is used by 3 faces.", message(Meshes::nonManifoldFan(3)));
  EXPECT_EQ("Point 0 is a non-manifold vertex.", message(Meshes::bowTie()));
  // Faces (0, 1, 4), (0, 4, 3), (1, 2, 5), (1, 5, 4) with the third turned.
  EXPECT_EQ("Faces 2 and 3 use edge (1, 5) in the same direction.",
            message(withFlips(Meshes::planarPatch(2, 1), {2})));
  EXPECT_EQ("Face 8 is not edge-connected to face 0.", message(Meshes::twoComponents()));
  EXPECT_EQ("no exception", message(Meshes::tube(5, 2)));
}

} // namespace
} // namespace trimeshtest
