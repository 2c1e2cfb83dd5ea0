// Group queries over four curved patches side by side, scanned along a serpentine raster:
// GroupQuery4/QARN_mode0 in the default quality mode (after a good hit only the front member is
// asked), GroupQuery4/QARN_mode1 in the nearest-hit mode (every member is asked on every query),
// each also with the watertight edge rule.
#include <QARN/Geometry/ThreeDimensional/QuadMesh/EdgeRule.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>
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
using ThreeD::QuadMesh::EdgeRule;
using ThreeD::QuadMesh::QuadIndicesIntersectionStatus;
using ThreeD::QuadMesh::QuadValidityGenerator;
using ThreeD::QuadMesh::RectMesh;
using ThreeD::QuadMesh::RectMeshGroup;
using Mode = QuadIndicesIntersectionStatus::IntersectionQualityMode;

constexpr std::uint32_t patchQuads = 200;
constexpr int patchCount = 4;

struct AllQuads : QuadValidityGenerator {
  bool getValidity(TwoD::Point<int> const&) override { return true; }
};

/// A wavy patch of unit quads whose (0, 0) lies at x = x0, placed at u = x0 in the group.
std::unique_ptr<RectMesh> makePatch(int x0) {
  auto patch = std::make_unique<RectMesh>();
  AllQuads all;
  patch->setAsPlane(TwoD::Vector<std::uint32_t>(patchQuads, patchQuads), 1.0,
                    ThreeD::Point(x0, 0, 0), ThreeD::Vector(1, 0, 0), ThreeD::Vector(0, 1, 0), all);
  for (int v = 0; v <= static_cast<int>(patchQuads); ++v)
    for (int u = 0; u <= static_cast<int>(patchQuads); ++u) {
      double const x = x0 + u;
      patch->setPoint({u, v}, ThreeD::Point(x, v, 5.0 * std::sin(x / 40.0) * std::cos(v / 50.0)));
    }
  patch->setOffset(TwoD::Vector<int>(x0, 0));
  return patch;
}

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

void queryGroup(benchmark::State& state, Mode mode, EdgeRule rule) {
  std::vector<std::unique_ptr<RectMesh>> patches;
  RectMeshGroup group;
  for (int i = 0; i < patchCount; ++i) {
    patches.push_back(makePatch(i * static_cast<int>(patchQuads)));
    group.addQuadMesh(patches.back().get());
  }
  std::vector<ThreeD::Point> const raster = makeRaster();
  ThreeD::Vector const down(0.0, 0.0, -1.0);
  QuadIndicesIntersectionStatus::setIntersectionQualityMode(mode);
  RectMesh::setEdgeRule(rule);
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
  RectMesh::setEdgeRule(EdgeRule::Strict);
  state.SetItemsProcessed(state.iterations());
  state.counters["hit_fraction"] =
      static_cast<double>(hits) /
      static_cast<double>(std::max<std::int64_t>(1, state.iterations()));
}

int const registered = [] {
  benchmark::RegisterBenchmark("GroupQuery4/QARN_mode0", queryGroup,
                               QuadIndicesIntersectionStatus::FacingThenNearest, EdgeRule::Strict);
  benchmark::RegisterBenchmark("GroupQuery4/QARN_mode1", queryGroup,
                               QuadIndicesIntersectionStatus::Nearest, EdgeRule::Strict);
  benchmark::RegisterBenchmark("GroupQuery4/QARN_mode0_watertight", queryGroup,
                               QuadIndicesIntersectionStatus::FacingThenNearest,
                               EdgeRule::Watertight);
  benchmark::RegisterBenchmark("GroupQuery4/QARN_mode1_watertight", queryGroup,
                               QuadIndicesIntersectionStatus::Nearest, EdgeRule::Watertight);
  return 0;
}();

} // namespace
