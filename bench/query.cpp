// Beam queries. RasterQuery2000: a 2000 × 2000-quad height field scanned straight down by
// 8 000 000 probes in a boustrophedon raster half a quad apart, beside Embree's rtcIntersect1 on
// the same surface (as the same triangles, and as quads); the BVH builds are timed on their own.
// Before anything is timed, every probe is checked against the peer: where Embree hits the
// interior of a triangle, the search must hit the quad of that triangle, with either edge rule,
// and with the watertight rule it must hit wherever Embree does. CurvedIncremental2000: an
// incremental raster over a curved part with beams along its normals; FullSearch2000 and
// NearestPoint2D2000 the searches from scratch. Allocations are counted through the global
// operator new: a query that allocates fails its benchmark.

#include <QARN/Geometry/ThreeDimensional/QuadMesh/EdgeRule.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <benchmark/benchmark.h>

#ifdef QARN_HAVE_EMBREE
#include <embree3/rtcore.h>
#endif

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
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

namespace TwoD = QARN::Geometry::TwoDimensional;
using QARN::Geometry::ThreeDimensional::Point;
using QARN::Geometry::ThreeDimensional::Vector;
using QARN::Geometry::ThreeDimensional::QuadMesh::EdgeRule;
using QARN::Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus;
using QARN::Geometry::ThreeDimensional::QuadMesh::QuadValidityGenerator;
using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;
using GridPoint = TwoD::Point<int>;

constexpr int quads = 2000;
constexpr std::size_t probesPerLine = 2 * quads;
constexpr std::size_t probeCount = probesPerLine * quads;
Vector const down(0.0, 0.0, -1.0);

[[noreturn]] void fail(char const* message) {
  std::fprintf(stderr, "bench_query: %s\n", message);
  std::exit(1);
}

struct AllQuads : QuadValidityGenerator {
  bool getValidity(GridPoint const&) override { return true; }
};

/// A plain mesh of 2000 × 2000 unit quads whose point (u, v) lies at (u, v, z(u, v)).
template <typename Height>
std::unique_ptr<RectMesh> makeField(Height const& z) {
  auto mesh = std::make_unique<RectMesh>();
  AllQuads all;
  mesh->setAsPlane(TwoD::Vector<std::uint32_t>(quads, quads), 1.0, Point(), Vector(1, 0, 0),
                   Vector(0, 1, 0), all);
  for (int v = 0; v <= quads; ++v)
    for (int u = 0; u <= quads; ++u)
      mesh->setPoint(GridPoint(u, v), Point(u, v, z(u, v)));
  return mesh;
}

/// The smooth height field of the raster comparison.
RectMesh& heightField() {
  static std::unique_ptr<RectMesh> const mesh =
      makeField([](double x, double y) { return 5.0 * std::sin(x / 50.0) * std::cos(y / 70.0); });
  return *mesh;
}

/// Probe k of the raster: line j = k / 4000 at y = j + 0.5, positions x = 0.25 + 0.5·i along
/// it, forth on even lines and back on odd ones, 50 above the field.
Point rasterProbe(std::size_t k) {
  std::size_t const j = k / probesPerLine;
  std::size_t const i = j % 2 == 0 ? k % probesPerLine : probesPerLine - 1 - k % probesPerLine;
  return Point(0.25 + 0.5 * static_cast<double>(i), 0.5 + static_cast<double>(j), 50.0);
}

/// Restores the strict rule when it goes out of scope.
struct EdgeRuleScope {
  explicit EdgeRuleScope(EdgeRule rule) { RectMesh::setEdgeRule(rule); }
  ~EdgeRuleScope() { RectMesh::setEdgeRule(EdgeRule::Strict); }
};

template <bool isRetrying>
QuadIndicesIntersectionStatus query(RectMesh& mesh, Point const& probe, Vector const& beam) {
  if constexpr (isRetrying)
    return mesh.getIntersection(probe, beam);
  else
    return mesh.getIntersectionStatus(probe, beam, false);
}

/// The whole raster per iteration; a query that allocates fails the benchmark.
template <bool isRetrying>
void rasterQARN(benchmark::State& state, EdgeRule rule) {
  EdgeRuleScope const scope(rule);
  RectMesh& mesh = heightField();
  mesh.resetQuadIndicesSearch();
  std::uint64_t hits = 0;
  std::uint64_t const allocationsBefore = allocations;
  for (auto _ : state)
    for (std::size_t k = 0; k < probeCount; ++k)
      hits += query<isRetrying>(mesh, rasterProbe(k), down).getIsValid() ? 1 : 0;
  if (allocations != allocationsBefore)
    state.SkipWithError("a query allocated memory");
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * probeCount));
  state.counters["hit_fraction"] = static_cast<double>(hits) / (state.iterations() * probeCount);
}

#ifdef QARN_HAVE_EMBREE
/// The height field as an Embree scene of the same triangles (quad (u, v) split along its
/// diagonal from (u, v) to (u + 1, v + 1), triangle 2·quad and 2·quad + 1) or of its quads.
struct EmbreeScene {
  EmbreeScene(RectMesh const& mesh, bool asQuads) : isQuads(asQuads) {
    device = rtcNewDevice("threads=1");
    scene = rtcNewScene(device);
    RTCGeometry geometry =
        rtcNewGeometry(device, asQuads ? RTC_GEOMETRY_TYPE_QUAD : RTC_GEOMETRY_TYPE_TRIANGLE);
    std::size_t const side = quads + 1;
    auto* vertices = static_cast<float*>(rtcSetNewGeometryBuffer(
        geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 3 * sizeof(float), side * side));
    for (int v = 0; v <= quads; ++v)
      for (int u = 0; u <= quads; ++u) {
        Point const p = mesh.getPoint(GridPoint(u, v));
        float* out = vertices + 3 * (static_cast<std::size_t>(v) * side + u);
        out[0] = p.getX();
        out[1] = p.getY();
        out[2] = p.getZ();
      }
    std::size_t const quadCount = static_cast<std::size_t>(quads) * quads;
    auto* indices = static_cast<unsigned*>(rtcSetNewGeometryBuffer(
        geometry, RTC_BUFFER_TYPE_INDEX, 0, asQuads ? RTC_FORMAT_UINT4 : RTC_FORMAT_UINT3,
        (asQuads ? 4 : 3) * sizeof(unsigned), asQuads ? quadCount : 2 * quadCount));
    for (std::size_t v = 0; v < quads; ++v)
      for (std::size_t u = 0; u < quads; ++u) {
        auto const p00 = static_cast<unsigned>(v * side + u);
        unsigned const p10 = p00 + 1, p11 = p00 + 1 + side, p01 = p00 + side;
        unsigned* out = indices + (v * quads + u) * (asQuads ? 4 : 6);
        unsigned const corners[6] = {p00, p10, p11, p01, p11, p01};
        unsigned const triangles[6] = {p00, p10, p11, p00, p11, p01};
        std::copy_n(asQuads ? corners : triangles, asQuads ? 4 : 6, out);
      }
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(scene, geometry);
    rtcReleaseGeometry(geometry);
    auto const start = std::chrono::steady_clock::now();
    rtcCommitScene(scene);
    buildSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  ~EmbreeScene() {
    rtcReleaseScene(scene);
    rtcReleaseDevice(device);
  }
  EmbreeScene(EmbreeScene const&) = delete;
  EmbreeScene& operator=(EmbreeScene const&) = delete;

  /// The quad the ray hits, or (−1, −1); interior tells whether it hit the inside of a triangle
  /// (or quad), clear of its edges.
  GridPoint hit(Point const& probe, bool& interior) const {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRayHit ray{};
    ray.ray.org_x = probe.getX();
    ray.ray.org_y = probe.getY();
    ray.ray.org_z = probe.getZ();
    ray.ray.dir_z = -1.0f;
    ray.ray.tfar = std::numeric_limits<float>::infinity();
    ray.ray.mask = ~0u;
    ray.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(scene, &context, &ray);
    if (ray.hit.geomID == RTC_INVALID_GEOMETRY_ID)
      return GridPoint(-1, -1);
    float const margin = 1e-3f, u = ray.hit.u, v = ray.hit.v;
    interior = u > margin && v > margin &&
               (isQuads ? u < 1 - margin && v < 1 - margin : u + v < 1 - margin);
    unsigned const quad = isQuads ? ray.hit.primID : ray.hit.primID / 2;
    return GridPoint(static_cast<int>(quad % quads), static_cast<int>(quad / quads));
  }

  RTCDevice device;
  RTCScene scene;
  bool isQuads;
  double buildSeconds = 0.0;
};

std::unique_ptr<EmbreeScene>& embreeScene() {
  static std::unique_ptr<EmbreeScene> scene;
  return scene;
}

/// The scene of the requested kind, built anew when the other kind is held.
EmbreeScene const& embreeScene(bool asQuads) {
  std::unique_ptr<EmbreeScene>& scene = embreeScene();
  if (!scene || scene->isQuads != asQuads) {
    scene.reset();
    scene = std::make_unique<EmbreeScene>(heightField(), asQuads);
  }
  return *scene;
}

void rasterEmbree(benchmark::State& state, bool asQuads) {
  EmbreeScene const& scene = embreeScene(asQuads);
  std::uint64_t hits = 0;
  for (auto _ : state)
    for (std::size_t k = 0; k < probeCount; ++k) {
      bool interior = false;
      hits += scene.hit(rasterProbe(k), interior).getU() >= 0 ? 1 : 0;
    }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * probeCount));
  state.counters["hit_fraction"] = static_cast<double>(hits) / (state.iterations() * probeCount);
}

void buildEmbree(benchmark::State& state, bool asQuads) {
  for (auto _ : state) {
    embreeScene().reset();
    state.SetIterationTime(embreeScene(asQuads).buildSeconds);
  }
  std::int64_t const primitives = static_cast<std::int64_t>(quads) * quads * (asQuads ? 1 : 2);
  state.SetItemsProcessed(state.iterations() * primitives);
}

/// Every probe of the raster against the peer's triangles, with both edge rules.
void checkAgreement() {
  EmbreeScene const& scene = embreeScene(false);
  RectMesh& mesh = heightField();
  for (EdgeRule rule : {EdgeRule::Strict, EdgeRule::Watertight}) {
    EdgeRuleScope const scope(rule);
    mesh.resetQuadIndicesSearch();
    for (std::size_t k = 0; k < probeCount; ++k) {
      Point const probe = rasterProbe(k);
      QuadIndicesIntersectionStatus const s = mesh.getIntersectionStatus(probe, down, false);
      bool interior = false;
      GridPoint const quad = scene.hit(probe, interior);
      if ((interior && (!s.getIsValid() || s.getIndices() != quad)) ||
          (rule == EdgeRule::Watertight && quad.getU() >= 0 && !s.getIsValid()))
        fail("the search and Embree disagree on a probe of the raster");
    }
  }
}
#endif

/// A gently curved part surface, one unit per quad: height and unit normal at (x, y).
double curvedHeight(double x, double y) {
  return 60.0 * std::sin(x / 350.0) * std::cos(y / 500.0);
}

Vector curvedNormal(double x, double y) {
  double const hx = 60.0 / 350.0 * std::cos(x / 350.0) * std::cos(y / 500.0);
  double const hy = -60.0 / 500.0 * std::sin(x / 350.0) * std::sin(y / 500.0);
  Vector const n(-hx, -hy, 1.0);
  return n / std::sqrt(n.lSqr());
}

RectMesh& curvedPart() {
  static std::unique_ptr<RectMesh> const mesh = makeField(curvedHeight);
  return *mesh;
}

struct Probe {
  Point position;
  Vector direction;
};

/// A raster over the middle of the curved part, 0.3 quad between positions and 2.1 quads between
/// lines; each probe stands 25 units off the surface and looks back along the normal.
std::vector<Probe> const& curvedRaster() {
  static std::vector<Probe> const probes = [] {
    std::vector<Probe> p;
    for (double y = 100.35; y < 1900; y += 2.1)
      for (double x = 100.15; x < 1900; x += 0.3) {
        Vector const n = curvedNormal(x, y);
        p.push_back({Point(x, y, curvedHeight(x, y)) + n * 25.0, n * -1.0});
      }
    return p;
  }();
  return probes;
}

void curvedIncremental(benchmark::State& state, EdgeRule rule) {
  EdgeRuleScope const scope(rule);
  RectMesh& mesh = curvedPart();
  std::vector<Probe> const& probes = curvedRaster();
  mesh.resetQuadIndicesSearch();
  std::uint64_t hits = 0;
  std::uint64_t const allocationsBefore = allocations;
  for (auto _ : state)
    for (Probe const& probe : probes)
      hits += mesh.getIntersectionStatus(probe.position, probe.direction, false).getIsValid();
  if (allocations != allocationsBefore)
    state.SkipWithError("a query allocated memory");
  std::uint64_t const queries = state.iterations() * probes.size();
  state.SetItemsProcessed(static_cast<std::int64_t>(queries));
  state.counters["hit_fraction"] = static_cast<double>(hits) / static_cast<double>(queries);
}

void curvedFullSearch(benchmark::State& state) {
  RectMesh& mesh = curvedPart();
  std::vector<Probe> const& probes = curvedRaster();
  std::size_t i = 0;
  for (auto _ : state) {
    Probe const& probe = probes[i];
    i = (i + 7919) % probes.size();
    benchmark::DoNotOptimize(mesh.getIntersectionStatus(probe.position, probe.direction, true));
  }
  state.SetItemsProcessed(state.iterations());
}

void nearestPoint(benchmark::State& state) {
  RectMesh& mesh = curvedPart();
  std::vector<Probe> const& probes = curvedRaster();
  std::size_t i = 0;
  for (auto _ : state) {
    double distance = 0.0;
    benchmark::DoNotOptimize(mesh.getNearestPoint2D(probes[i].position, distance));
    i = (i + 7919) % probes.size();
  }
  state.SetItemsProcessed(state.iterations());
}

} // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
#ifdef QARN_HAVE_EMBREE
  checkAgreement();
  benchmark::RegisterBenchmark("BvhBuild2000/Embree", buildEmbree, false)
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("BvhBuild2000/Embree_quads", buildEmbree, true)
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("RasterQuery2000/Embree_quads", rasterEmbree, true)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("RasterQuery2000/Embree", rasterEmbree, false)
      ->Unit(benchmark::kMillisecond);
#endif
  benchmark::RegisterBenchmark("RasterQuery2000/QARN", rasterQARN<false>, EdgeRule::Strict)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("RasterQuery2000/QARN_watertight", rasterQARN<false>,
                               EdgeRule::Watertight)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("RasterQuery2000/QARN_getIntersection", rasterQARN<true>,
                               EdgeRule::Strict)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("RasterQuery2000/QARN_getIntersection_watertight", rasterQARN<true>,
                               EdgeRule::Watertight)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("CurvedIncremental2000/QARN", curvedIncremental, EdgeRule::Strict)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("CurvedIncremental2000/QARN_watertight", curvedIncremental,
                               EdgeRule::Watertight)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("FullSearch2000/QARN", curvedFullSearch);
  benchmark::RegisterBenchmark("NearestPoint2D2000/QARN", nearestPoint)
      ->Unit(benchmark::kMillisecond);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
