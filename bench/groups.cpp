// Group queries over four curved patches side by side: the default mode (stop at the first
// member that answers after a good hit) against the nearest-hit mode (every member asked).
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroup.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

namespace ThreeD = QARN::Geometry::ThreeDimensional;
namespace TwoD = QARN::Geometry::TwoDimensional;
using ThreeD::QuadMesh::QuadIndicesIntersectionStatus;
using ThreeD::QuadMesh::RectMesh;
using ThreeD::QuadMesh::RectMeshGroup;

constexpr std::uint32_t patchQuads = 200;
constexpr int patchCount = 4;

/// A wavy patch of unit quads whose (0, 0) lies at x = x0.
class WavyPatch : public RectMesh {
public:
  explicit WavyPatch(double x0) {
    init(TwoD::Vector<std::uint32_t>(patchQuads, patchQuads));
    for (int v = 0; v <= static_cast<int>(patchQuads); ++v)
      for (int u = 0; u <= static_cast<int>(patchQuads); ++u) {
        double const x = x0 + u;
        setPoint({u, v}, ThreeD::Point(x, v, 5.0 * std::sin(x / 40.0) * std::cos(v / 50.0)));
      }
  }
};

/// Probe positions 50 above the patches along a serpentine raster, so that consecutive
/// positions are close, as in a scan.
std::vector<ThreeD::Point> makeRaster() {
  std::vector<ThreeD::Point> raster;
  double const width = patchCount * static_cast<double>(patchQuads);
  int row = 0;
  for (double y = 0.31; y < patchQuads; y += 2.3713, ++row)
    for (double s = 0.29; s < width; s += 0.7317)
      raster.emplace_back(row % 2 == 0 ? s : width - s, y, 50.0);
  return raster;
}

void queryGroup(benchmark::State& state,
                QuadIndicesIntersectionStatus::IntersectionQualityMode mode) {
  std::vector<std::unique_ptr<RectMesh>> patches;
  RectMeshGroup group;
  for (int i = 0; i < patchCount; ++i) {
    patches.push_back(std::make_unique<WavyPatch>(i * static_cast<double>(patchQuads)));
    patches.back()->setOffset(TwoD::Vector<int>(i * static_cast<int>(patchQuads), 0));
    group.addQuadMesh(patches.back().get());
  }
  std::vector<ThreeD::Point> const raster = makeRaster();
  ThreeD::Vector const down(0.0, 0.0, -1.0);
  QuadIndicesIntersectionStatus::setIntersectionQualityMode(mode);
  std::size_t next = 0;
  std::int64_t hits = 0;
  for (auto _ : state) {
    QuadIndicesIntersectionStatus const s = group.getIntersectionStatus(raster[next], down, false);
    hits += s.getIsValid() ? 1 : 0;
    benchmark::DoNotOptimize(s.getIndices());
    next = next + 1 == raster.size() ? 0 : next + 1;
  }
  QuadIndicesIntersectionStatus::setIntersectionQualityMode(
      QuadIndicesIntersectionStatus::FacingThenNearest);
  state.SetItemsProcessed(state.iterations());
  state.counters["hit_rate"] = static_cast<double>(hits) /
                               static_cast<double>(std::max<std::int64_t>(1, state.iterations()));
}

void BM_GroupQueries_FacingThenNearest(benchmark::State& state) {
  queryGroup(state, QuadIndicesIntersectionStatus::FacingThenNearest);
}
void BM_GroupQueries_Nearest(benchmark::State& state) {
  queryGroup(state, QuadIndicesIntersectionStatus::Nearest);
}

BENCHMARK(BM_GroupQueries_FacingThenNearest);
BENCHMARK(BM_GroupQueries_Nearest);

} // namespace
