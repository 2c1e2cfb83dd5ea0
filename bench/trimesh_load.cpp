// Loading a 1 000 000-triangle grid mesh file (39 MB) with its connectivity, beside a general
// OBJ parser reading the same file without connectivity and a half-edge mesh library reading it
// with connectivity. Each side builds its mesh afresh in every iteration; destroying it is not
// timed. Items are triangles.
#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#ifdef QARN_HAVE_TINYOBJLOADER
#include <tiny_obj_loader.h>
#endif
#ifdef QARN_HAVE_OPENMESH
#include <OpenMesh/Core/IO/MeshIO.hh>
#include <OpenMesh/Core/Mesh/TriMesh_ArrayKernelT.hh>
#endif

namespace {

using QARN::Geometry::ThreeDimensional::TriMesh::Mesh;

constexpr int cellsU = 1000;
constexpr int cellsV = 500;
constexpr std::size_t vertexCount = (cellsU + 1) * (cellsV + 1);
constexpr std::size_t triangleCount = 2 * cellsU * cellsV;

[[noreturn]] void fail(std::string const& what) {
  std::fprintf(stderr, "trimesh_load: %s\n", what.c_str());
  std::abort();
}

/// A gently curved (cellsU x cellsV)-cell grid written in the mesh text format, once per run.
std::string const& meshFile() {
  static std::string const path = [] {
    char const* dir = std::getenv("TMPDIR");
    std::string const file = std::string(dir != nullptr ? dir : "/tmp") + "/bench_trimesh_load.obj";
    std::FILE* out = std::fopen(file.c_str(), "w");
    if (out == nullptr)
      fail("cannot write " + file);
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
    std::fclose(out);
    return file;
  }();
  return path;
}

/// Checks the counts a loader reports against the file's.
void expectCounts(char const* who, std::size_t vertices, std::size_t triangles) {
  if (vertices != vertexCount || triangles != triangleCount)
    fail(std::string(who) + " read " + std::to_string(vertices) + " vertices and " +
         std::to_string(triangles) + " triangles");
}

std::size_t countTriangles(Mesh const& mesh) {
  std::vector<QARN::Geometry::ThreeDimensional::TriMesh::Triangle*> list;
  std::vector<QARN::Geometry::ThreeDimensional::TriMesh::Triangle*>::const_iterator begin;
  std::vector<QARN::Geometry::ThreeDimensional::TriMesh::Triangle*>::const_iterator end;
  mesh.getTriangles(list, begin, end);
  return static_cast<std::size_t>(end - begin);
}

/// Times load(), which returns a freshly built mesh, then frees the mesh untimed.
template <typename Load>
void timeLoads(benchmark::State& state, Load load) {
  for (auto _ : state) {
    auto mesh = load();
    benchmark::DoNotOptimize(mesh.get());
    state.PauseTiming();
    mesh.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * triangleCount));
  state.SetLabel("triangles");
}

void MeshLoad_QARN(benchmark::State& state) {
  std::string const& file = meshFile();
  auto const load = [&] {
    auto mesh = std::make_unique<Mesh>();
    mesh->load(file.c_str());
    return mesh;
  };
  auto const mesh = load();
  expectCounts("QARN", mesh->getNumberOfVertices(), countTriangles(*mesh));
  timeLoads(state, load);
}
BENCHMARK(MeshLoad_QARN)->Name("MeshLoad1M/QARN")->Unit(benchmark::kMillisecond);

#ifdef QARN_HAVE_TINYOBJLOADER
void MeshLoad_tinyobjloader(benchmark::State& state) {
  std::string const& file = meshFile();
  auto const load = [&] {
    auto reader = std::make_unique<tinyobj::ObjReader>();
    if (!reader->ParseFromFile(file))
      fail("tinyobjloader: " + reader->Error());
    return reader;
  };
  auto const reader = load();
  std::size_t triangles = 0;
  for (tinyobj::shape_t const& shape : reader->GetShapes())
    triangles += shape.mesh.num_face_vertices.size();
  expectCounts("tinyobjloader", reader->GetAttrib().vertices.size() / 3, triangles);
  timeLoads(state, load);
}
BENCHMARK(MeshLoad_tinyobjloader)->Name("MeshLoad1M/tinyobjloader")->Unit(benchmark::kMillisecond);
#endif

#ifdef QARN_HAVE_OPENMESH
void MeshLoad_OpenMesh(benchmark::State& state) {
  using HalfEdgeMesh = OpenMesh::TriMesh_ArrayKernelT<>;
  std::string const& file = meshFile();
  auto const load = [&] {
    auto mesh = std::make_unique<HalfEdgeMesh>();
    if (!OpenMesh::IO::read_mesh(*mesh, file))
      fail("OpenMesh cannot read " + file);
    return mesh;
  };
  auto const mesh = load();
  expectCounts("OpenMesh", mesh->n_vertices(), mesh->n_faces());
  timeLoads(state, load);
}
BENCHMARK(MeshLoad_OpenMesh)->Name("MeshLoad1M/OpenMesh")->Unit(benchmark::kMillisecond);
#endif

} // namespace
