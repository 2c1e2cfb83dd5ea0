// Loading a 1 000 000-triangle grid mesh file, beside a general OBJ parser reading the same file.
#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>

#ifdef QARN_HAVE_TINYOBJLOADER
#include <tiny_obj_loader.h>
#endif

namespace {

constexpr int cellsU = 1000;
constexpr int cellsV = 500;
constexpr double triangleCount = 2.0 * cellsU * cellsV;

struct MeshFile {
  std::string path;
  double bytes = 0;
};

/// A gently curved (cellsU x cellsV)-cell grid written in the mesh text format, once per run.
MeshFile const& meshFile() {
  static MeshFile const file = [] {
    MeshFile f;
    f.path = std::string(std::getenv("TMPDIR") != nullptr ? std::getenv("TMPDIR") : "/tmp") +
             "/bench_trimesh_load.obj";
    std::FILE* out = std::fopen(f.path.c_str(), "w");
    std::fputs("#\n# Grid\n#\n\ng Vertices\n", out);
    for (int j = 0; j <= cellsV; ++j)
      for (int i = 0; i <= cellsU; ++i)
        std::fprintf(out, "v %f %f %f\n", i * 0.5, j * 0.5,
                     1e-5 * (i - cellsU / 2) * (i - cellsU / 2));
    std::fputs("\ng Faces\n", out);
    auto const at = [](int i, int j) { return j * (cellsU + 1) + i + 1; };
    for (int j = 0; j < cellsV; ++j)
      for (int i = 0; i < cellsU; ++i) {
        std::fprintf(out, "f %d %d %d\n", at(i, j), at(i + 1, j), at(i + 1, j + 1));
        std::fprintf(out, "f %d %d %d\n", at(i, j), at(i + 1, j + 1), at(i, j + 1));
      }
    f.bytes = static_cast<double>(std::ftell(out));
    std::fclose(out);
    return f;
  }();
  return file;
}

void setCounters(benchmark::State& state) {
  state.counters["MB/s"] =
      benchmark::Counter(meshFile().bytes / 1e6, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["triangles/s"] =
      benchmark::Counter(triangleCount, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_MeshLoad(benchmark::State& state) {
  MeshFile const& file = meshFile();
  for (auto _ : state) {
    auto mesh = std::make_unique<QARN::Geometry::ThreeDimensional::TriMesh::Mesh>();
    mesh->load(file.path.c_str());
    benchmark::DoNotOptimize(mesh->getNumberOfVertices());
    state.PauseTiming();
    mesh.reset();
    state.ResumeTiming();
  }
  setCounters(state);
}
BENCHMARK(BM_MeshLoad)->Unit(benchmark::kMillisecond)->MinTime(2.0);

#ifdef QARN_HAVE_TINYOBJLOADER
void BM_TinyObjLoaderParse(benchmark::State& state) {
  MeshFile const& file = meshFile();
  for (auto _ : state) {
    auto reader = std::make_unique<tinyobj::ObjReader>();
    bool const parsed = reader->ParseFromFile(file.path);
    benchmark::DoNotOptimize(parsed);
    state.PauseTiming();
    reader.reset();
    state.ResumeTiming();
  }
  setCounters(state);
}
BENCHMARK(BM_TinyObjLoaderParse)->Unit(benchmark::kMillisecond)->MinTime(2.0);
#endif

} // namespace
