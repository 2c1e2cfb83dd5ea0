#include <Geometry/TwoDimensional/DelaunayTriangulation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

namespace {

using QARN::Geometry::TwoDimensional::DelaunayTriangulation;
using Coordinates = DelaunayTriangulation::Coordinates;

std::vector<Coordinates> distinct(std::vector<Coordinates> points) {
  std::sort(points.begin(), points.end());
  points.erase(std::unique(points.begin(), points.end()), points.end());
  std::shuffle(points.begin(), points.end(), std::mt19937(1));
  return points;
}

/// Points on the convex hull's boundary (corners and points on its sides), by brute force.
std::size_t hullPoints(std::vector<Coordinates> const& points) {
  std::size_t count = 0;
  for (Coordinates const& p : points) {
    // p is on the boundary when some line through it has every point on one closed side.
    bool onHull = false;
    for (Coordinates const& q : points) {
      if (q == p)
        continue;
      bool left = false;
      bool right = false;
      for (Coordinates const& r : points) {
        std::int64_t const o = DelaunayTriangulation::orient(p, q, r);
        left = left || o > 0;
        right = right || o < 0;
      }
      onHull = onHull || !left || !right;
    }
    count += onHull;
  }
  return count;
}

// The triangulation covers the hull (Euler: 2n − h − 2 triangles for n points, h of them on
// the hull's boundary), every triangle is counter-clockwise, neighbours agree, and no point lies
// strictly inside any triangle's circumcircle.
void expectDelaunay(std::vector<Coordinates> const& points) {
  DelaunayTriangulation const dt(points);
  auto const& triangles = dt.getTriangles();
  auto const& neighbours = dt.getNeighbours();
  std::size_t const h = hullPoints(points);
  ASSERT_EQ(2 * points.size() - h - 2, triangles.size());
  std::set<std::uint32_t> used;
  for (std::size_t t = 0; t < triangles.size(); ++t) {
    auto const& v = triangles[t];
    ASSERT_GT(DelaunayTriangulation::orient(points[v[0]], points[v[1]], points[v[2]]), 0);
    used.insert(v.begin(), v.end());
    for (std::uint32_t k = 0; k < 3; ++k) {
      std::uint32_t const n = neighbours[t][k];
      if (n == DelaunayTriangulation::none)
        continue;
      // The neighbour holds the same side the other way round and points back.
      auto const& w = triangles[n];
      std::uint32_t m = 0;
      while (m < 3 && neighbours[n][m] != t)
        ++m;
      ASSERT_LT(m, 3u);
      EXPECT_EQ(v[(k + 1) % 3], w[(m + 2) % 3]);
      EXPECT_EQ(v[(k + 2) % 3], w[(m + 1) % 3]);
    }
    for (Coordinates const& p : points)
      ASSERT_LE(DelaunayTriangulation::inCircle(points[v[0]], points[v[1]], points[v[2]], p), 0);
  }
  EXPECT_EQ(points.size(), used.size());
}

TEST(Delaunay, EmptyCircumcirclesOnRandomGridAndCollinearInputs) {
  std::mt19937 random(2);
  std::uniform_int_distribution<std::int32_t> wide(0, DelaunayTriangulation::maxCoordinate);
  std::uniform_int_distribution<std::int32_t> narrow(0, 12);
  std::vector<Coordinates> scattered;
  for (int i = 0; i < 300; ++i)
    scattered.push_back({wide(random), wide(random)});
  expectDelaunay(distinct(scattered));
  // A small grid: four cocircular points in every cell, many collinear ones, on the hull too.
  std::vector<Coordinates> grid;
  for (int i = 0; i < 250; ++i)
    grid.push_back({narrow(random), narrow(random)});
  expectDelaunay(distinct(grid));
  // A line of points with two points off it, one on each side.
  std::vector<Coordinates> line;
  for (int i = 0; i < 40; ++i)
    line.push_back({3 * i, 2 * i});
  line.push_back({5, 60});
  line.push_back({70, 1});
  expectDelaunay(distinct(line));
  // Points on a circle (all cocircular) and its centre.
  std::vector<Coordinates> circle = {{0, 5},  {3, 4},   {4, 3},   {5, 0},  {4, -3}, {3, -4},
                                     {0, -5}, {-3, -4}, {-4, -3}, {-5, 0}, {-4, 3}, {-3, 4}};
  for (Coordinates& c : circle)
    c = {c[0] + 10, c[1] + 10};
  expectDelaunay(distinct(circle));
  circle.push_back({10, 10});
  expectDelaunay(distinct(circle));
}

TEST(Delaunay, NoTriangleForTooFewOrCollinearPoints) {
  EXPECT_TRUE(DelaunayTriangulation({}).getTriangles().empty());
  EXPECT_TRUE(DelaunayTriangulation({{0, 0}, {5, 5}}).getTriangles().empty());
  EXPECT_TRUE(DelaunayTriangulation({{0, 0}, {2, 2}, {1, 1}, {7, 7}}).getTriangles().empty());
  EXPECT_EQ(1u, DelaunayTriangulation({{0, 0}, {2, 2}, {0, 1}}).getTriangles().size());
}

} // namespace
