// Beam queries on a large curved quad mesh: incremental and full searches along a probe raster,
// and the exhaustive nearest-point scan. Allocations are counted through the global operator
// new to check that the incremental query allocates nothing.

#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

namespace {

std::uint64_t allocations = 0;

} // namespace

void* operator new(std::size_t size) {
  ++allocations;
  if (void* p = std::malloc(size == 0 ? 1 : size))
    return p;
  throw std::bad_alloc();
}

void operator delete(void* p) noexcept {
  std::free(p);
}

void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}

namespace {

using QARN::Geometry::ThreeDimensional::Point;
using QARN::Geometry::ThreeDimensional::Vector;
using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;
using GridPoint = QARN::Geometry::TwoDimensional::Point<int>;

constexpr int quads = 2000;

/// A gently curved part surface, one unit per quad: height and unit normal at (x, y).
double height(double x, double y) {
  return 60.0 * std::sin(x / 350.0) * std::cos(y / 500.0);
}

Vector normal(double x, double y) {
  double const hx = 60.0 / 350.0 * std::cos(x / 350.0) * std::cos(y / 500.0);
  double const hy = -60.0 / 500.0 * std::sin(x / 350.0) * std::sin(y / 500.0);
  Vector const n(-hx, -hy, 1.0);
  return n / std::sqrt(n.lSqr());
}

class CurvedMesh : public RectMesh {
public:
  CurvedMesh() {
    init(QARN::Geometry::TwoDimensional::Vector<std::uint32_t>(quads, quads));
    for (int v = 0; v <= quads; ++v)
      for (int u = 0; u <= quads; ++u)
        setPoint(GridPoint(u, v), Point(u, v, height(u, v)));
  }
};

CurvedMesh& mesh() {
  static CurvedMesh instance;
  return instance;
}

struct Probe {
  Point position;
  Vector direction;
};

/// A raster over the middle of the part, 0.3 quad between positions and 2.1 quads between
/// lines; each probe stands 25 units off the surface and looks back along the normal.
std::vector<Probe> const& raster() {
  static std::vector<Probe> const probes = [] {
    std::vector<Probe> p;
    for (double y = 100.35; y < 1900; y += 2.1)
      for (double x = 100.15; x < 1900; x += 0.3) {
        Vector const n = normal(x, y);
        p.push_back({Point(x, y, height(x, y)) + n * 25.0, n * -1.0});
      }
    return p;
  }();
  return probes;
}

void reportHits(benchmark::State& state, std::uint64_t hits, std::uint64_t queries) {
  state.counters["hit_fraction"] = static_cast<double>(hits) / static_cast<double>(queries);
}

void BM_IncrementalQuery(benchmark::State& state) {
  RectMesh& m = mesh();
  std::vector<Probe> const& probes = raster();
  std::size_t i = 0;
  std::uint64_t hits = 0;
  std::uint64_t queries = 0;
  std::uint64_t const allocationsBefore = allocations;
  for (auto _ : state) {
    Probe const& probe = probes[i];
    i = i + 1 == probes.size() ? 0 : i + 1;
    auto const status = m.getIntersectionStatus(probe.position, probe.direction, false);
    hits += status.getIsValid() ? 1 : 0;
    ++queries;
    benchmark::DoNotOptimize(status);
  }
  std::uint64_t const queryAllocations = allocations - allocationsBefore;
  state.counters["queries_per_second"] =
      benchmark::Counter(static_cast<double>(queries), benchmark::Counter::kIsRate);
  state.counters["allocations"] = static_cast<double>(queryAllocations);
  reportHits(state, hits, queries);
}

void BM_FullSearchQuery(benchmark::State& state) {
  RectMesh& m = mesh();
  std::vector<Probe> const& probes = raster();
  std::size_t i = 0;
  std::uint64_t hits = 0;
  std::uint64_t queries = 0;
  for (auto _ : state) {
    Probe const& probe = probes[i];
    i = (i + 7919) % probes.size();
    auto const status = m.getIntersectionStatus(probe.position, probe.direction, true);
    hits += status.getIsValid() ? 1 : 0;
    ++queries;
    benchmark::DoNotOptimize(status);
  }
  state.counters["queries_per_second"] =
      benchmark::Counter(static_cast<double>(queries), benchmark::Counter::kIsRate);
  reportHits(state, hits, queries);
}

void BM_NearestPoint2D(benchmark::State& state) {
  RectMesh& m = mesh();
  std::vector<Probe> const& probes = raster();
  std::size_t i = 0;
  std::uint64_t scans = 0;
  for (auto _ : state) {
    double distance = 0.0;
    benchmark::DoNotOptimize(m.getNearestPoint2D(probes[i].position, distance));
    i = (i + 7919) % probes.size();
    ++scans;
  }
  state.counters["scans_per_second"] =
      benchmark::Counter(static_cast<double>(scans), benchmark::Counter::kIsRate);
}

BENCHMARK(BM_IncrementalQuery);
BENCHMARK(BM_FullSearchQuery);
BENCHMARK(BM_NearestPoint2D)->Unit(benchmark::kMillisecond);

} // namespace
