// Save and load of a 4000 x 4000-quad mesh against a plain copy of the same file, timed
// alternately in the same run. Files about to be written are removed beforehand, untimed, so
// that neither side pays for truncating a large file. Counters: MB/s of the operation and of
// the copy, and ratio = operation time / copy time.
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using QARN::Geometry::ThreeDimensional::Point;
using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;

class BenchMesh : public RectMesh {
public:
  explicit BenchMesh(std::uint32_t n) {
    init(QARN::Geometry::TwoDimensional::Vector<std::uint32_t>(n, n));
    for (int v = 0; v <= int(n); ++v)
      for (int u = 0; u <= int(n); ++u)
        setPoint(QARN::Geometry::TwoDimensional::Point<int>(u, v),
                 Point(0.5 * u, 0.5 * v, 0.001 * u * v));
  }
};

std::string scratch(char const* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}

double seconds(std::chrono::steady_clock::duration d) {
  return std::chrono::duration<double>(d).count();
}

/// Copies a file with 1 MiB reads and writes, the yardstick for the mesh I/O.
void copyFile(std::string const& from, std::string const& to) {
  std::FILE* in = std::fopen(from.c_str(), "rb");
  std::FILE* out = std::fopen(to.c_str(), "wb");
  std::vector<char> buffer(1 << 20);
  std::size_t n;
  while ((n = std::fread(buffer.data(), 1, buffer.size(), in)) > 0)
    std::fwrite(buffer.data(), 1, n, out);
  std::fclose(in);
  std::fclose(out);
}

/// Times operation (after the untimed prepare) and a copy of file, alternately.
template <typename Prepare, typename Operation>
void compareWithCopy(benchmark::State& state, std::string const& file, Prepare prepare,
                     Operation operation) {
  std::string const copy = scratch("bench_quads_copy.quads");
  double operationTime = 0, copyTime = 0;
  for (auto _ : state) {
    prepare();
    auto const start = std::chrono::steady_clock::now();
    operation();
    auto const middle = std::chrono::steady_clock::now();
    std::filesystem::remove(copy);
    auto const copyStart = std::chrono::steady_clock::now();
    copyFile(file, copy);
    auto const end = std::chrono::steady_clock::now();
    operationTime += seconds(middle - start);
    copyTime += seconds(end - copyStart);
    state.SetIterationTime(seconds(middle - start));
  }
  double const megabytes = double(std::filesystem::file_size(file)) * 1e-6 * state.iterations();
  state.counters["MB/s"] = megabytes / operationTime;
  state.counters["copy_MB/s"] = megabytes / copyTime;
  state.counters["ratio"] = operationTime / copyTime;
  std::filesystem::remove(copy);
}

BenchMesh& mesh() {
  static BenchMesh m(4000);
  return m;
}

void BM_SaveQuads(benchmark::State& state) {
  std::string const file = scratch("bench_quads_save.quads");
  compareWithCopy(
      state, file, [&] { std::filesystem::remove(file); }, [&] { mesh().save(file.c_str()); });
  std::filesystem::remove(file);
}

void BM_LoadQuads(benchmark::State& state) {
  std::string const file = scratch("bench_quads_load.quads");
  mesh().save(file.c_str());
  RectMesh loaded;
  compareWithCopy(
      state, file, [] {}, [&] { loaded.load(file.c_str()); });
  std::filesystem::remove(file);
}

} // namespace

BENCHMARK(BM_SaveQuads)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_LoadQuads)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
