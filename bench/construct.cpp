// Sampling a flattened 1 000 000-triangle mesh into a grid of about 4 000 000 points, and growing
// that grid by 10 extrapolated layers. Counters: triangles or new points per second, the grid's
// size and the process's peak resident memory.
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using QARN::Geometry::ThreeDimensional::QuadMesh::Basic;
using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;
using QARN::Geometry::ThreeDimensional::TriMesh::Mesh;
using GridPoint = QARN::Geometry::TwoDimensional::Point<int>;

constexpr int cells = 707; // 2 · 707² ≈ 1 000 000 triangles
constexpr double triangleCount = 2.0 * cells * cells;
/// Gives a spacing of about 707 / 2000 on this surface, whose area ratio peaks near 1.02.
constexpr double maxQuadArea = 0.127;

/// A height field over a (cells × cells)-cell lattice of unit spacing, its flat points the
/// lattice itself, loaded once per run.
struct FlatMesh {
  Mesh mesh;

  FlatMesh() {
    std::string const path =
        std::string(std::getenv("TMPDIR") != nullptr ? std::getenv("TMPDIR") : "/tmp") +
        "/bench_construct.obj";
    std::FILE* out = std::fopen(path.c_str(), "w");
    std::fputs("g Vertices\n", out);
    for (int j = 0; j <= cells; ++j)
      for (int i = 0; i <= cells; ++i)
        std::fprintf(out, "v %d %d %.6f\n", i, j, 5 * std::sin(i / 40.0) * std::cos(j / 30.0));
    std::fputs("g Vertices2D\n", out);
    for (int j = 0; j <= cells; ++j)
      for (int i = 0; i <= cells; ++i)
        std::fprintf(out, "vt %d %d\n", i, j);
    std::fputs("g Faces\n", out);
    auto const at = [](int i, int j) { return j * (cells + 1) + i + 1; };
    for (int j = 0; j < cells; ++j)
      for (int i = 0; i < cells; ++i) {
        std::fprintf(out, "f %d %d %d\n", at(i, j), at(i + 1, j), at(i + 1, j + 1));
        std::fprintf(out, "f %d %d %d\n", at(i, j), at(i + 1, j + 1), at(i, j + 1));
      }
    std::fclose(out);
    mesh.load(path.c_str());
    std::remove(path.c_str());
  }
};

Mesh const& flatMesh() {
  static FlatMesh const loaded;
  return loaded.mesh;
}

std::uint64_t validPoints(RectMesh const& m) {
  std::uint64_t n = 0;
  for (int v = 0; v <= int(m.getExtents().getdV()); ++v)
    for (int u = 0; u <= int(m.getExtents().getdU()); ++u)
      n += m.getIsPointValid(GridPoint(u, v));
  return n;
}

void setGridCounters(benchmark::State& state, RectMesh const& m) {
  state.counters["points"] =
      double(m.getExtents().getdU() + 1) * double(m.getExtents().getdV() + 1);
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  state.counters["peak_MB"] = double(usage.ru_maxrss) / 1024.0;
}

void BM_Construct(benchmark::State& state) {
  Mesh const& mesh = flatMesh();
  RectMesh m;
  for (auto _ : state)
    m.construct(mesh, maxQuadArea);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * triangleCount));
  setGridCounters(state, m);
}
BENCHMARK(BM_Construct)->Name("Construct1M/QARN")->Unit(benchmark::kMillisecond);

void BM_ExtendBoundary(benchmark::State& state) {
  RectMesh constructed;
  constructed.construct(flatMesh(), maxQuadArea);
  std::uint64_t const before = validPoints(constructed);
  RectMesh m;
  std::uint64_t added = 0;
  for (auto _ : state) {
    state.PauseTiming();
    m = constructed;
    state.ResumeTiming();
    m.extendBoundary(Basic, 10, 0);
    state.PauseTiming();
    added += validPoints(m) - before;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(added));
  setGridCounters(state, m);
}
BENCHMARK(BM_ExtendBoundary)->Name("ExtendBoundary10/QARN")->Unit(benchmark::kMillisecond);

} // namespace
