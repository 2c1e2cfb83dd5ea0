// Rigid registration of 100 000 measured points onto a 200 000-triangle mesh (a bumpy height
// field, built from a 317 x 317 grid by Mesh::construct), from a start turned by about a degree
// and moved by a tenth of the grid step, with noise of a hundredth of the step. Reports the whole
// alignment and, as counters, its steps and the time per step; a second case measures nearest
// points on the mesh alone (per query, from the measured points in their true place, near the
// surface).
#include <QARN/Geometry/ThreeDimensional/PointCloud/Registration.h>
#include <QARN/Geometry/ThreeDimensional/Quaternion.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace {

using namespace QARN::Geometry::ThreeDimensional;
using PointCloud::Cloud;
using PointCloud::Registration;
using PointCloud::RegistrationResult;

constexpr int side = 317; // 316² cells, two triangles each: 199 712 triangles
constexpr std::uint32_t measuredCount = 100000;

double height(double x, double y) {
  return 0.05 * std::sin(0.2 * x) * std::cos(0.15 * y) * 30.0 + 0.02 * x;
}

struct Workload {
  TriMesh::Mesh mesh;
  Cloud truth;
  Cloud measured;
  AffineMap moved;
};

Workload const& workload() {
  static Workload const* const w = [] {
    auto* w = new Workload;
    Cloud grid;
    for (int j = 0; j < side; ++j)
      for (int i = 0; i < side; ++i)
        grid.addPoint(Point(i, j, height(i, j)));
    w->mesh.construct(grid, 3.0);
    std::mt19937 random(1);
    std::uniform_real_distribution<double> along(0.0, side - 1.0);
    std::normal_distribution<double> noise(0.0, 0.01);
    for (std::uint32_t i = 0; i < measuredCount; ++i) {
      double const x = along(random);
      double const y = along(random);
      w->truth.addPoint(Point(x, y, height(x, y) + noise(random)));
    }
    LinearMap R;
    Quaternion(1.0, 0.003, -0.005, 0.006).getRotation(R);
    w->moved = AffineMap(R, Vector(0.1, -0.05, 0.08));
    w->measured = w->truth;
    w->measured.transform(w->moved);
    return w;
  }();
  return *w;
}

void BM_Register(benchmark::State& state) {
  Workload const& w = workload();
  Registration const registration(w.mesh);
  std::uint32_t steps = 0;
  double seconds = 0.0;
  for (auto _ : state) {
    auto const start = std::chrono::steady_clock::now();
    RegistrationResult const result = registration.align(w.measured);
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    steps += result.iterations + 1;
    // The map found must take the measured points back within a few hundredths.
    AffineMap const back = w.moved.inverse();
    for (std::uint32_t i = 0; i < measuredCount; i += 997) {
      Vector const p = w.measured.getPoint(i) - Point();
      if (std::sqrt((result.map(p) - back(p)).lSqr()) > 0.05) {
        std::fprintf(stderr, "registration: point %u is placed %.3g off\n", i,
                     std::sqrt((result.map(p) - back(p)).lSqr()));
        std::abort();
      }
    }
  }
  state.counters["steps"] = double(steps) / state.iterations();
  state.counters["ms/step"] = 1e3 * seconds / steps;
  state.SetItemsProcessed(std::int64_t(steps) * measuredCount);
}
BENCHMARK(BM_Register)->Name("Register100kOnto200kTriangles/QARN")->Unit(benchmark::kMillisecond);

void BM_ClosestPoint(benchmark::State& state) {
  Workload const& w = workload();
  Registration const registration(w.mesh);
  for (auto _ : state) {
    for (Point const& p : w.truth.getPoints()) {
      double distance = 0.0;
      benchmark::DoNotOptimize(registration.getClosestPoint(p, &distance));
    }
  }
  state.SetItemsProcessed(state.iterations() * measuredCount);
}
BENCHMARK(BM_ClosestPoint)->Name("ClosestPointOn200kTriangles/QARN")->Unit(benchmark::kMillisecond);

} // namespace
