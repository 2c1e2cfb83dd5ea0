// A 4000 x 4000-quad .quads file loaded by the library beside a raw read of the same file into
// memory, and saved beside a raw write of the same bytes. Each side builds what it returns
// afresh in every iteration (the mesh, the buffer) and frees it again, so that both pay for
// fresh memory. Files about to be written are removed beforehand, untimed, so that neither side
// pays for truncating a large file.
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

namespace {

using QARN::Geometry::ThreeDimensional::Point;
using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;
using GridPoint = QARN::Geometry::TwoDimensional::Point<int>;

constexpr std::uint32_t quads = 4000;
/// magic, version, name, U, V, three areas and the coordinate type.
constexpr std::size_t headerSize = 176;

/// A gently curved grid, every point valid but those of one row and one column, so that the
/// load meets both runs of valid points and invalid ones.
class BenchMesh : public RectMesh {
public:
  BenchMesh() {
    init(QARN::Geometry::TwoDimensional::Vector<std::uint32_t>(quads, quads));
    for (int v = 0; v <= int(quads); ++v)
      for (int u = 0; u <= int(quads); ++u)
        if (u != 1234 && v != 2345)
          setPoint(GridPoint(u, v), Point(0.5 * u, 0.5 * v, 0.001 * u * v));
  }
};

std::string scratch(char const* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}

[[noreturn]] void fail(char const* what) {
  std::fprintf(stderr, "quads_files: %s\n", what);
  std::abort();
}

/// The bytes of a file, read at once into a buffer of its size.
struct RawFile {
  std::unique_ptr<unsigned char[]> bytes;
  std::size_t size = 0;
};

RawFile readRaw(std::string const& path) {
  RawFile file;
  std::FILE* in = std::fopen(path.c_str(), "rb");
  if (in == nullptr)
    fail("cannot open the file");
  std::fseek(in, 0, SEEK_END);
  file.size = static_cast<std::size_t>(std::ftell(in));
  std::fseek(in, 0, SEEK_SET);
  file.bytes.reset(new unsigned char[file.size]);
  if (std::fread(file.bytes.get(), 1, file.size, in) != file.size)
    fail("short read");
  std::fclose(in);
  return file;
}

void writeRaw(std::string const& path, RawFile const& file) {
  std::FILE* out = std::fopen(path.c_str(), "wb");
  if (out == nullptr || std::fwrite(file.bytes.get(), 1, file.size, out) != file.size)
    fail("cannot write the file");
  std::fclose(out);
}

/// The saved file, once; checked against the mesh point by point.
std::string const& quadsFile() {
  static std::string const path = [] {
    std::string const file = scratch("bench_quads_files.quads");
    BenchMesh().save(file.c_str());
    return file;
  }();
  return path;
}

/// Whether the loaded mesh holds exactly the file's flag bytes and float records.
bool agrees(RectMesh const& mesh, RawFile const& file) {
  std::size_t const points = std::size_t{quads + 1} * (quads + 1);
  unsigned char const* flags = file.bytes.get() + headerSize;
  unsigned char const* record = flags + points;
  for (std::size_t i = 0; i < points; ++i) {
    GridPoint const p(static_cast<int>(i % (quads + 1)), static_cast<int>(i / (quads + 1)));
    if (static_cast<unsigned char>(mesh.getPointFlags(p)) != flags[i])
      return false;
    if ((flags[i] & 1) == 0)
      continue;
    Point const x = mesh.getPoint(p);
    float const xyz[3] = {x.getX(), x.getY(), x.getZ()};
    if (std::memcmp(xyz, record, sizeof xyz) != 0)
      return false;
    record += sizeof xyz;
  }
  return record == file.bytes.get() + file.size;
}

void setCounters(benchmark::State& state) {
  auto const bytes = static_cast<std::int64_t>(std::filesystem::file_size(quadsFile()));
  state.SetItemsProcessed(state.iterations() * bytes);
  state.SetLabel("bytes");
}

void QuadsLoad_QARN(benchmark::State& state) {
  std::string const& file = quadsFile();
  {
    RectMesh mesh;
    mesh.load(file.c_str());
    if (!agrees(mesh, readRaw(file)))
      fail("the loaded mesh differs from the file");
  }
  for (auto _ : state) {
    RectMesh mesh;
    mesh.load(file.c_str());
    benchmark::DoNotOptimize(mesh.getExtents());
  }
  setCounters(state);
}

void QuadsLoad_RawRead(benchmark::State& state) {
  std::string const& file = quadsFile();
  for (auto _ : state) {
    RawFile const raw = readRaw(file);
    benchmark::DoNotOptimize(raw.bytes[raw.size - 1]);
  }
  setCounters(state);
}

void QuadsSave_QARN(benchmark::State& state) {
  RectMesh mesh;
  mesh.load(quadsFile().c_str());
  std::string const file = scratch("bench_quads_files_save.quads");
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove(file);
    state.ResumeTiming();
    mesh.save(file.c_str());
  }
  RawFile const saved = readRaw(file);
  RawFile const original = readRaw(quadsFile());
  if (saved.size != original.size ||
      std::memcmp(saved.bytes.get(), original.bytes.get(), saved.size) != 0)
    fail("the saved file differs from the raw bytes");
  std::filesystem::remove(file);
  setCounters(state);
}

void QuadsSave_RawWrite(benchmark::State& state) {
  RawFile const raw = readRaw(quadsFile());
  std::string const file = scratch("bench_quads_files_raw.quads");
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove(file);
    state.ResumeTiming();
    writeRaw(file, raw);
  }
  std::filesystem::remove(file);
  setCounters(state);
}

} // namespace

BENCHMARK(QuadsLoad_QARN)->Name("QuadsLoad4000/QARN")->Unit(benchmark::kMillisecond);
BENCHMARK(QuadsLoad_RawRead)->Name("QuadsLoad4000/RawRead")->Unit(benchmark::kMillisecond);
BENCHMARK(QuadsSave_QARN)->Name("QuadsSave4000/QARN")->Unit(benchmark::kMillisecond);
BENCHMARK(QuadsSave_RawWrite)->Name("QuadsSave4000/RawWrite")->Unit(benchmark::kMillisecond);
