#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/Tree.h>
#include <QARN/Geometry/ThreeDimensional/PointCloud/Cloud.h>

#include <common/Support.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace {

using namespace QARN::Geometry::ThreeDimensional;
using BinarySpacePartition::InternalNode;
using BinarySpacePartition::LeafNode;
using BinarySpacePartition::Object;
using BinarySpacePartition::Tree;
using PointCloud::Cloud;
using QARN::Test::messageOf;

double const nan = std::numeric_limits<double>::quiet_NaN();

/// The k nearest by measuring every point, ties in index order; (noIndex, 1e39) beyond the
/// points. A point whose distance overflows to infinity cannot displace a sentinel.
std::vector<std::pair<double, std::uint32_t>> bruteForce(Cloud const& cloud, Point const& q,
                                                         std::uint32_t k) {
  std::vector<std::pair<double, std::uint32_t>> all;
  for (std::uint32_t i = 0; i < cloud.getNumberOfPoints(); ++i) {
    Point const& p = cloud.getPoint(i);
    if (std::isfinite(p.getX()) && std::isfinite(p.getY()) && std::isfinite(p.getZ()) &&
        q.getMinMaxDistance(p) < Tree::sentinelDistance)
      all.emplace_back(q.getMinMaxDistance(p), i);
  }
  std::stable_sort(all.begin(), all.end(),
                   [](auto const& a, auto const& b) { return a.first < b.first; });
  all.resize(k, {Tree::sentinelDistance, Tree::noIndex});
  return all;
}

/// The tree's answer must have the brute-force distances in order; where a distance is below
/// the k-th, the same points; where it ties the k-th, some point at that distance.
void expectBruteForce(Tree const& tree, Cloud const& cloud, Point const& q, std::uint32_t k) {
  auto const expected = bruteForce(cloud, q, k);
  std::vector<std::uint32_t> indices(k);
  std::vector<double> distances(k);
  tree.getkNearestNeighbourIndices(k, q, indices.data(), distances.data());
  double const kth = expected.back().first;
  std::vector<std::uint32_t> below;
  std::vector<std::uint32_t> belowExpected;
  for (std::uint32_t i = 0; i < k; ++i) {
    ASSERT_EQ(expected[i].first, distances[i]) << "slot " << i << " of k = " << k;
    if (indices[i] == Tree::noIndex)
      continue;
    EXPECT_EQ(distances[i], q.getMinMaxDistance(cloud.getPoint(indices[i])));
    if (distances[i] < kth) {
      below.push_back(indices[i]);
      belowExpected.push_back(expected[i].second);
    }
  }
  std::sort(below.begin(), below.end());
  std::sort(belowExpected.begin(), belowExpected.end());
  EXPECT_EQ(belowExpected, below);
  std::vector<std::uint32_t> distinct(indices);
  std::sort(distinct.begin(), distinct.end());
  EXPECT_EQ(distinct.end(), std::adjacent_find(distinct.begin(), distinct.end(),
                                               [](std::uint32_t a, std::uint32_t b) {
                                                 return a == b && a != Tree::noIndex;
                                               }));
}

Cloud randomCloud(std::uint32_t n, std::uint32_t seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  Cloud cloud;
  for (std::uint32_t i = 0; i < n; ++i)
    cloud.addPoint(Point(unit(random), unit(random), unit(random)));
  return cloud;
}

// Clusters a thousandth wide far apart, an integer grid (many equal distances and points on the
// splitting planes), a few locations repeated many times, and points a float step apart.
std::vector<Cloud> hardClouds() {
  std::mt19937 random(7);
  std::normal_distribution<double> tight(0.0, 1e-3);
  std::uniform_int_distribution<int> pick(0, 19);
  Cloud clustered;
  for (std::uint32_t i = 0; i < 3000; ++i) {
    double const c = 100.0 * (i % 5);
    clustered.addPoint(Point(c + tight(random), -c + tight(random), tight(random)));
  }
  Cloud grid;
  for (int x = 0; x < 16; ++x)
    for (int y = 0; y < 16; ++y)
      for (int z = 0; z < 12; ++z)
        grid.addPoint(Point(x, y, z));
  Cloud duplicates;
  std::vector<Point> sites;
  for (int s = 0; s < 20; ++s)
    sites.emplace_back(s % 4, s / 4, 0.5 * s);
  for (std::uint32_t i = 0; i < 2500; ++i)
    duplicates.addPoint(sites[pick(random)]);
  Cloud steps;
  float const one = 1.0f;
  float const next = std::nextafter(one, 2.0f);
  for (std::uint32_t i = 0; i < 400; ++i)
    steps.addPoint(Point(i % 2 ? one : next, i % 3 ? one : next, i % 5 ? one : next));
  for (std::uint32_t i = 0; i < 400; ++i)
    steps.addPoint(Point(1e-30 * i, 1e30 * (i % 7), -double(i)));
  return {clustered, grid, duplicates, steps};
}

TEST(Tree, EqualsBruteForceOnRandomAndHardInputsForSeveralK) {
  std::vector<Cloud> clouds = hardClouds();
  clouds.push_back(randomCloud(5000, 1));
  std::mt19937 random(3);
  for (Cloud const& cloud : clouds) {
    Tree tree;
    ASSERT_TRUE(tree.construct(cloud));
    EXPECT_EQ(cloud.getNumberOfPoints(), tree.getNumberOfObjects());
    BoundingBoxAA const box = cloud.getBoundingBox();
    std::uniform_real_distribution<double> along(0.0, 1.0);
    for (std::uint32_t t = 0; t < 60; ++t) {
      // Queries at data points, on grid-like places and anywhere in and around the box.
      Point q = cloud.getPoint(random() % cloud.getNumberOfPoints());
      if (t % 3 == 1)
        q.set(std::round(q.getX()) + 0.5, std::round(q.getY()), q.getZ());
      if (t % 3 == 2)
        q = box.getp() + Vector(box.getd().getdX() * (1.4 * along(random) - 0.2),
                                box.getd().getdY() * (1.4 * along(random) - 0.2),
                                box.getd().getdZ() * (1.4 * along(random) - 0.2));
      for (std::uint32_t const k : {1u, 2u, 8u, 17u})
        expectBruteForce(tree, cloud, q, k);
    }
  }
}

// The pointer interface through objects that are not exactly Points, which the tree measures
// through their virtual functions: the same answers.
TEST(Tree, ObjectsOtherThanPointsGiveTheSameAnswers) {
  struct Tagged : Point {
    using Point::Point;
  };
  Cloud const cloud = randomCloud(3000, 4);
  std::vector<Tagged> tagged;
  for (Point const& p : cloud.getPoints())
    tagged.emplace_back(p.getX(), p.getY(), p.getZ());
  std::vector<Object*> objects;
  for (Tagged& t : tagged)
    objects.push_back(&t);
  Tree tree;
  tree.construct(objects, static_cast<std::uint32_t>(objects.size()));
  Tree points;
  points.construct(cloud);
  EXPECT_EQ(points.getDepth(), tree.getDepth());
  for (std::uint32_t i = 0; i < 200; i += 7) {
    Point const q(cloud.getPoint(i).getX() + 0.01, cloud.getPoint(i).getY(), 0.0);
    Object const* out[5];
    double distances[5];
    tree.getkNearestNeighbours(5, &q, out, distances);
    auto const expected = bruteForce(cloud, q, 5);
    for (std::uint32_t j = 0; j < 5; ++j) {
      EXPECT_EQ(expected[j].first, distances[j]);
      EXPECT_EQ(&tagged[expected[j].second], out[j]);
    }
  }
}

TEST(Tree, SentinelsBeyondTheObjectsAndForUnusableQueries) {
  Cloud cloud;
  cloud.addPoint(Point(1, 0, 0));
  cloud.addPoint(Point(nan, 0, 0));
  cloud.addPoint(Point(0, std::numeric_limits<double>::infinity(), 0));
  cloud.addPoint(Point(2, 0, 0));
  Tree tree;
  tree.construct(cloud);
  EXPECT_EQ(2u, tree.getNumberOfObjects());
  Point const q(0, 0, 0);
  Object const* out[4] = {};
  double distances[4] = {};
  tree.getkNearestNeighbours(4, &q, out, distances);
  EXPECT_EQ(&cloud.getPoint(0), out[0]);
  EXPECT_EQ(&cloud.getPoint(3), out[1]);
  EXPECT_EQ(nullptr, out[2]);
  EXPECT_EQ(nullptr, out[3]);
  EXPECT_EQ((std::vector<double>{1.0, 2.0, 1e39, 1e39}),
            std::vector<double>(distances, distances + 4));

  std::uint32_t indices[2];
  tree.getkNearestNeighbourIndices(2, Point(nan, 0, 0), indices, distances);
  EXPECT_EQ(Tree::noIndex, indices[0]);
  EXPECT_EQ(1e39, distances[1]);

  // k = 0 writes nothing; an empty or unbuilt tree answers sentinels.
  out[0] = &q;
  EXPECT_TRUE(tree.getkNearestNeighbours(0, &q, out, distances));
  EXPECT_EQ(&q, out[0]);
  Tree unbuilt;
  EXPECT_EQ(nullptr, unbuilt.getRoot());
  unbuilt.getkNearestNeighbourIndices(1, q, indices, nullptr);
  EXPECT_EQ(Tree::noIndex, indices[0]);
  Tree empty;
  empty.construct(Cloud());
  ASSERT_NE(nullptr, empty.getRoot());
  EXPECT_EQ(nullptr, empty.getRoot()->getUpNode());
  EXPECT_EQ(nullptr, empty.getRoot()->getDownNode());
  empty.getkNearestNeighbourIndices(1, q, indices, distances);
  EXPECT_EQ(Tree::noIndex, indices[0]);
}

TEST(Tree, CoincidentPointsShareOneLeafInInputOrder) {
  Cloud cloud;
  for (std::uint32_t i = 0; i < 20000; ++i)
    cloud.addPoint(Point(3, -1, 0.25));
  Tree tree;
  tree.construct(cloud);
  EXPECT_EQ(0u, tree.getDepth());
  auto const* leaf = dynamic_cast<LeafNode const*>(tree.getRoot()->getUpNode());
  ASSERT_NE(nullptr, leaf);
  EXPECT_EQ(20000u, leaf->getNumberOfObjects());
  EXPECT_EQ(&cloud.getPoint(0), leaf->getObject());
  EXPECT_EQ(&cloud.getPoint(19999), leaf->getObject(19999));
  EXPECT_EQ(tree.getRoot(), leaf->getParentNode());
  std::uint32_t indices[3];
  tree.getkNearestNeighbourIndices(3, Point(0, 0, 0), indices, nullptr);
  EXPECT_EQ((std::vector<std::uint32_t>{0, 1, 2}),
            std::vector<std::uint32_t>(indices, indices + 3));

  // Among other points, the copies still come in input order, nearest first.
  Cloud mixed = randomCloud(1000, 9);
  std::vector<std::uint32_t> copies;
  for (std::uint32_t i = 0; i < 30; ++i) {
    copies.push_back(mixed.getNumberOfPoints());
    mixed.addPoint(Point(0.125, 0.25, 0.5));
    mixed.addPoint(Point(0.5, 0.5, 0.5 + i));
  }
  tree.construct(mixed);
  std::uint32_t found[30];
  tree.getkNearestNeighbourIndices(30, Point(0.125, 0.25, 0.5), found, nullptr);
  EXPECT_EQ(copies, std::vector<std::uint32_t>(found, found + 30));
}

// The split rule on small inputs: the most balanced axis, the earlier one on a tie, planes through
// the box centre, children below and above.
TEST(Tree, SplitsAtTheBoxCentreAlongTheMostBalancedAxis) {
  Cloud square;
  for (Point const& p : {Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0), Point(1, 1, 0)})
    square.addPoint(p);
  Tree tree;
  tree.construct(square);
  InternalNode const* root = tree.getRoot();
  EXPECT_EQ(0u, root->getAxis());
  EXPECT_EQ(0.5f, root->getPlane().getp().getX());
  EXPECT_EQ(1.0, root->getPlane().getN().getdX());
  EXPECT_EQ(1u, tree.getDepth());
  auto const* up = dynamic_cast<InternalNode const*>(root->getUpNode());
  ASSERT_NE(nullptr, up);
  EXPECT_EQ(1u, up->getAxis());
  EXPECT_EQ(root, up->getParentNode());
  auto const* upUp = dynamic_cast<LeafNode const*>(up->getUpNode());
  ASSERT_NE(nullptr, upUp);
  EXPECT_EQ(&square.getPoint(3), upUp->getObject());

  // Along X three of four points lie above the centre; along Y two: Y wins.
  Cloud skewed;
  for (Point const& p : {Point(0, 0, 0), Point(0.9, 0, 0), Point(1, 1, 0), Point(0.8, 1, 0)})
    skewed.addPoint(p);
  tree.construct(skewed);
  EXPECT_EQ(1u, tree.getRoot()->getAxis());
  EXPECT_EQ(0.5f, tree.getRoot()->getPlane().getp().getY());

  // Two points a float step apart: the box centre rounds onto the lower one, which leaves both
  // above on every axis; the split moves onto the upper one and separates them.
  Cloud steps;
  float const next = std::nextafter(1.0f, 2.0f);
  steps.addPoint(Point(1, 1, 1));
  steps.addPoint(Point(next, 1, 1));
  steps.addPoint(Point(1, next, 1));
  tree.construct(steps);
  std::uint32_t indices[3];
  double distances[3];
  tree.getkNearestNeighbourIndices(3, Point(next, 1, 1), indices, distances);
  EXPECT_EQ(1u, indices[0]);
  EXPECT_EQ(0.0, distances[0]);
  EXPECT_EQ(3u, tree.getNumberOfObjects());
}

// Points halving their distance to the origin build a tree deeper than a query's fixed list
// of pending subtrees (the deepest ones underflow to coincident zeros): still exact.
TEST(Tree, DeepTreesStayExact) {
  Cloud cloud;
  for (int i = 0; i < 400; ++i)
    cloud.addPoint(Point(std::ldexp(1.0, -i), std::ldexp(1.0, -i / 2), 1.0 - std::ldexp(1.0, -i)));
  Tree tree;
  tree.construct(cloud);
  EXPECT_GT(tree.getDepth(), Tree::fixedDepth);
  for (int i = 0; i < 400; i += 13)
    for (std::uint32_t const k : {1u, 3u, 30u})
      expectBruteForce(tree, cloud, cloud.getPoint(i), k);
  expectBruteForce(tree, cloud, Point(0, 0, 1), 5);
}

TEST(Tree, BadArgumentsAndNodeSetters) {
  Tree tree;
  std::vector<Object*> objects(2, nullptr);
  EXPECT_EQ("Invalid number of objects", messageOf([&] { tree.construct(objects, 3); }));
  EXPECT_EQ("Invalid object", messageOf([&] { tree.construct(objects, 2); }));
  EXPECT_TRUE(tree.construct(objects, 0));
  Object const* out[1];
  EXPECT_EQ("Invalid argument",
            messageOf([&] { tree.getkNearestNeighbours(1, nullptr, out, nullptr); }));
  Point const q;
  EXPECT_EQ("Invalid argument",
            messageOf([&] { tree.getkNearestNeighbours(1, &q, nullptr, nullptr); }));

  InternalNode node;
  EXPECT_EQ("Invalid splitting plane",
            messageOf([&] { node.setPlane(Plane(Point(), Vector(1, 1, 0))); }));
  node.setPlane(Plane(Point(4, 5, 6), Vector(0, 0, 1)));
  EXPECT_EQ(2u, node.getAxis());
  EXPECT_EQ(Point(0, 0, 6), node.getPlane().getp());
  LeafNode leaf;
  node.setNode(2, &leaf);
  EXPECT_EQ(nullptr, node.getUpNode());
  node.setNode(1, &leaf);
  EXPECT_EQ(&leaf, node.getDownNode());
  leaf.setObject(&q);
  EXPECT_EQ(1u, leaf.getNumberOfObjects());
  EXPECT_EQ(&q, leaf.getObject(0));
}

TEST(Tree, MovedTreeKeepsItsNodes) {
  Cloud const cloud = randomCloud(2000, 5);
  Tree tree;
  tree.construct(cloud);
  InternalNode const* root = tree.getRoot();
  Tree moved(std::move(tree));
  EXPECT_EQ(root, moved.getRoot());
  EXPECT_EQ(nullptr, tree.getRoot());
  expectBruteForce(moved, cloud, Point(0.1, 0.2, 0.3), 4);
}

} // namespace
