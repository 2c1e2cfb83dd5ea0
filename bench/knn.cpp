// k-nearest-neighbour search on 1 000 000 points, against nanoflann's KD-tree (default leaf size
// 10) on the same points: a uniform cube and a noisy surface patch (a height field with 0.1 %
// noise). Build time, and k = 1 and k = 8 queries for 100 000 query points drawn from the same
// distribution. Before timing, every query's neighbours are compared: the distances of both
// answers, measured the library's way, must be equal except where nanoflann's float distances
// tie within their rounding.
#include <QARN/Geometry/ThreeDimensional/BinarySpacePartition/Tree.h>
#include <QARN/Geometry/ThreeDimensional/PointCloud/Cloud.h>

#include <benchmark/benchmark.h>

#ifdef QARN_HAVE_NANOFLANN
#include <nanoflann.hpp>
#endif

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

using QARN::Geometry::ThreeDimensional::Point;
using QARN::Geometry::ThreeDimensional::BinarySpacePartition::Tree;
using QARN::Geometry::ThreeDimensional::PointCloud::Cloud;

constexpr std::uint32_t pointCount = 1000000;
constexpr std::uint32_t queryCount = 100000;

enum class Shape { Cube, Surface };

std::vector<Point> makePoints(Shape shape, std::uint32_t count, std::uint32_t seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::normal_distribution<double> noise(0.0, 0.001);
  std::vector<Point> points;
  points.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    double const x = unit(random);
    double const y = unit(random);
    double const z = shape == Shape::Cube
                         ? unit(random)
                         : 0.1 * std::sin(3.0 * x) * std::cos(2.0 * y) + noise(random);
    points.emplace_back(x, y, z);
  }
  return points;
}

struct Workload {
  Cloud cloud;
  std::vector<Point> queries;
  std::vector<float> packed; // x, y, z per point, for the peer
};

Workload const& workload(Shape shape) {
  static Workload const cube{
      Cloud(makePoints(Shape::Cube, pointCount, 1)), makePoints(Shape::Cube, queryCount, 2), {}};
  static Workload const surface{Cloud(makePoints(Shape::Surface, pointCount, 3)),
                                makePoints(Shape::Surface, queryCount, 4),
                                {}};
  Workload const& w = shape == Shape::Cube ? cube : surface;
  if (w.packed.empty()) {
    auto& packed = const_cast<std::vector<float>&>(w.packed);
    for (Point const& p : w.cloud.getPoints())
      packed.insert(packed.end(), {p.getX(), p.getY(), p.getZ()});
  }
  return w;
}

Tree const& ourTree(Shape shape) {
  static Tree cube;
  static Tree surface;
  Tree& tree = shape == Shape::Cube ? cube : surface;
  if (tree.getRoot() == nullptr)
    tree.construct(workload(shape).cloud);
  return tree;
}

void BM_Build(benchmark::State& state, Shape shape) {
  Workload const& w = workload(shape);
  for (auto _ : state) {
    Tree tree;
    tree.construct(w.cloud);
    benchmark::DoNotOptimize(tree.getRoot());
  }
  state.SetItemsProcessed(state.iterations() * pointCount);
}

void BM_Query(benchmark::State& state, Shape shape, std::uint32_t k) {
  Workload const& w = workload(shape);
  Tree const& tree = ourTree(shape);
  std::vector<std::uint32_t> indices(k);
  std::vector<double> distances(k);
  for (auto _ : state) {
    for (Point const& q : w.queries) {
      tree.getkNearestNeighbourIndices(k, q, indices.data(), distances.data());
      benchmark::DoNotOptimize(indices.data());
    }
  }
  state.SetItemsProcessed(state.iterations() * queryCount);
}

#ifdef QARN_HAVE_NANOFLANN

struct PackedCloud {
  std::vector<float> const& xyz;
  std::size_t kdtree_get_point_count() const { return xyz.size() / 3; }
  float kdtree_get_pt(std::size_t i, std::size_t d) const { return xyz[3 * i + d]; }
  template <class Box>
  bool kdtree_get_bbox(Box&) const {
    return false;
  }
};

using PeerTree =
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<float, PackedCloud>,
                                        PackedCloud, 3, std::uint32_t>;

struct Peer {
  PackedCloud cloud;
  PeerTree tree;
  explicit Peer(std::vector<float> const& xyz) : cloud{xyz}, tree(3, cloud) { tree.buildIndex(); }
};

Peer const& peer(Shape shape) {
  static Peer const cube(workload(Shape::Cube).packed);
  static Peer const surface(workload(Shape::Surface).packed);
  return shape == Shape::Cube ? cube : surface;
}

void peerQuery(Peer const& p, Point const& q, std::uint32_t k, std::uint32_t* indices,
               float* squared) {
  float const at[3] = {q.getX(), q.getY(), q.getZ()};
  nanoflann::KNNResultSet<float, std::uint32_t> results(k);
  results.init(indices, squared);
  p.tree.findNeighbors(results, at, nanoflann::SearchParams());
}

// Both answers measured with the library's distance; a difference is allowed only where the
// peer's float distances of the two candidates tie within a few units of their last place.
void check(Shape shape, std::uint32_t k) {
  Workload const& w = workload(shape);
  Tree const& tree = ourTree(shape);
  std::vector<std::uint32_t> ours(k);
  std::vector<double> ourDistances(k);
  std::vector<std::uint32_t> theirs(k);
  std::vector<float> theirSquared(k);
  std::uint32_t nearTies = 0;
  for (Point const& q : w.queries) {
    tree.getkNearestNeighbourIndices(k, q, ours.data(), ourDistances.data());
    peerQuery(peer(shape), q, k, theirs.data(), theirSquared.data());
    for (std::uint32_t i = 0; i < k; ++i) {
      double const theirs_ = q.getMinMaxDistance(w.cloud.getPoint(theirs[i]));
      if (theirs_ == ourDistances[i])
        continue;
      if (std::fabs(theirs_ - ourDistances[i]) <= 1e-6 * ourDistances[i]) {
        ++nearTies;
        continue;
      }
      std::fprintf(stderr, "knn: neighbour %u of a query differs: %.9g against %.9g\n", i,
                   ourDistances[i], theirs_);
      std::abort();
    }
  }
  std::fprintf(stderr, "knn: %s k=%u: same neighbours for %u queries (%u float near-ties)\n",
               shape == Shape::Cube ? "cube" : "surface", k, queryCount, nearTies);
}

void BM_PeerBuild(benchmark::State& state, Shape shape) {
  Workload const& w = workload(shape);
  PackedCloud const cloud{w.packed};
  for (auto _ : state) {
    PeerTree tree(3, cloud);
    tree.buildIndex();
    benchmark::DoNotOptimize(&tree);
  }
  state.SetItemsProcessed(state.iterations() * pointCount);
}

void BM_PeerQuery(benchmark::State& state, Shape shape, std::uint32_t k) {
  Workload const& w = workload(shape);
  Peer const& p = peer(shape);
  std::vector<std::uint32_t> indices(k);
  std::vector<float> squared(k);
  for (auto _ : state) {
    for (Point const& q : w.queries) {
      peerQuery(p, q, k, indices.data(), squared.data());
      benchmark::DoNotOptimize(indices.data());
    }
  }
  state.SetItemsProcessed(state.iterations() * queryCount);
}

#endif

void registerAll() {
  struct Case {
    char const* name;
    Shape shape;
  };
  for (Case const c : {Case{"Cube1M", Shape::Cube}, Case{"Surface1M", Shape::Surface}}) {
    std::string const base = c.name;
#ifdef QARN_HAVE_NANOFLANN
    check(c.shape, 1);
    check(c.shape, 8);
#endif
    benchmark::RegisterBenchmark(("Build" + base + "/QARN").c_str(), BM_Build, c.shape)
        ->Unit(benchmark::kMillisecond);
#ifdef QARN_HAVE_NANOFLANN
    benchmark::RegisterBenchmark(("Build" + base + "/nanoflann").c_str(), BM_PeerBuild, c.shape)
        ->Unit(benchmark::kMillisecond);
#endif
    for (std::uint32_t const k : {1u, 8u}) {
      std::string const workload = "Knn" + std::to_string(k) + base;
      benchmark::RegisterBenchmark((workload + "/QARN").c_str(), BM_Query, c.shape, k)
          ->Unit(benchmark::kMillisecond);
#ifdef QARN_HAVE_NANOFLANN
      benchmark::RegisterBenchmark((workload + "/nanoflann").c_str(), BM_PeerQuery, c.shape, k)
          ->Unit(benchmark::kMillisecond);
#endif
    }
  }
}

int const registered = (registerAll(), 0);

} // namespace
