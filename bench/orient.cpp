// The orientation of a flat mesh of 1 000 000 vertices (a warped 1000 x 1000 grid, turned, in row
// order as flattening leaves interior vertices) by transformMinBBArea2D, against the exhaustive
// search it must agree with: K = 4096 candidate angles, each a full pass over the points.
// The exhaustive search is timed on 64 candidates and scaled to all 4096 (`exhaustive_ms`, in
// processor time, as a loaded machine's wall clock would inflate it).
#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <Geometry/ThreeDimensional/TriMesh/MinBBAreaSearch.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// The hook the mesh opens to its tests, here for the private orientation.
struct MeshTestAccess {
  static bool orient(Mesh& mesh) { return mesh.transformMinBBArea2D(); }
  static void addVertex(Mesh& mesh, Vertex const& vertex) { mesh.addVertex(vertex); }
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

namespace {

using namespace QARN::Geometry::ThreeDimensional::TriMesh;
using Flat = QARN::Geometry::TwoDimensional::Point<double>;

constexpr std::uint32_t side = 1000;
constexpr std::uint32_t K = minBBAreaCandidates;

std::vector<FlatPoint> const& flatPoints() {
  static std::vector<FlatPoint> const points = [] {
    std::vector<FlatPoint> p;
    double const c = std::cos(0.3);
    double const s = std::sin(0.3);
    for (std::uint32_t j = 0; j < side; ++j)
      for (std::uint32_t i = 0; i < side; ++i) {
        double const u = 2.0 * i / side + 0.05 * std::sin(3.0 * j / side);
        double const v = 1.0 * j / side + 0.03 * std::cos(2.0 * i / side);
        p.push_back({1.5 + u * c - v * s, -0.5 + u * s + v * c});
      }
    return p;
  }();
  return points;
}

void resetFlatPoints(Mesh& mesh) {
  std::vector<FlatPoint> const& points = flatPoints();
  for (std::uint32_t i = 0; i < points.size(); ++i)
    mesh.getVertex(i).setPoint2D(Flat(points[i].u, points[i].v));
}

/// The box the exhaustive search grows for candidate j, as a plain loop.
double exhaustiveArea(std::vector<FlatPoint> const& points, std::uint32_t j) {
  double const c = std::cos(getMinBBAreaAngle(j));
  double const s = std::sin(getMinBBAreaAngle(j));
  double loU = points[0].u * c + points[0].v * s;
  double loV = points[0].u * -s + points[0].v * c;
  double dU = 0.0;
  double dV = 0.0;
  for (std::size_t i = 1; i < points.size(); ++i) {
    double const u = points[i].u * c + points[i].v * s;
    double const v = points[i].u * -s + points[i].v * c;
    double hiU = loU + dU;
    double hiV = loV + dV;
    hiU = u > hiU ? u : hiU;
    hiV = v > hiV ? v : hiV;
    loU = u < loU ? u : loU;
    loV = v < loV ? v : loV;
    dU = hiU - loU;
    dV = hiV - loV;
  }
  return std::fabs(dU * dV);
}

void BM_MinBBArea(benchmark::State& state) {
  Mesh mesh;
  for (std::uint32_t i = 0; i < flatPoints().size(); ++i)
    MeshTestAccess::addVertex(mesh, Vertex());
  // The angle must be the exhaustive one: the best of the candidates near it, found plainly.
  resetFlatPoints(mesh);
  QARN::ProgressStage stage(nullptr, "", 0);
  std::uint32_t const index = searchMinBBAreaIndex(flatPoints(), stage);
  std::uint32_t const j = index % K;
  for (std::uint32_t k = j > 8 ? j - 8 : 0; k < j + 8 && k < K; ++k)
    if (exhaustiveArea(flatPoints(), k) < exhaustiveArea(flatPoints(), j) ||
        (k < j && exhaustiveArea(flatPoints(), k) == exhaustiveArea(flatPoints(), j))) {
      std::fprintf(stderr, "orientation disagrees with the exhaustive search at %u\n", k);
      std::abort();
    }
  for (auto _ : state) {
    state.PauseTiming();
    resetFlatPoints(mesh);
    state.ResumeTiming();
    MeshTestAccess::orient(mesh);
  }
  state.SetItemsProcessed(state.iterations() * flatPoints().size());
}
BENCHMARK(BM_MinBBArea)->Name("MinBBArea1M/QARN")->Unit(benchmark::kMillisecond);

void BM_MinBBAreaExhaustive(benchmark::State& state) {
  constexpr std::uint32_t sampled = 64;
  for (auto _ : state) {
    std::clock_t const start = std::clock();
    double best = 1e21;
    for (std::uint32_t j = 0; j < K; j += K / sampled)
      best = std::min(best, exhaustiveArea(flatPoints(), j));
    benchmark::DoNotOptimize(best);
    double const seconds = double(std::clock() - start) / CLOCKS_PER_SEC;
    state.counters["exhaustive_ms"] = 1e3 * seconds * K / sampled;
  }
  state.SetItemsProcessed(state.iterations() * flatPoints().size() * sampled);
}
BENCHMARK(BM_MinBBAreaExhaustive)
    ->Name("MinBBArea1M/QARN_exhaustive64")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);

} // namespace
