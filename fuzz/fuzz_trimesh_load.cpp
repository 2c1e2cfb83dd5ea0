// Loads arbitrary bytes as a triangle mesh file, then saves and reloads what loaded.
#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

std::string scratchPath(char const* suffix) {
  char const* dir = std::getenv("TMPDIR");
  return std::string(dir != nullptr ? dir : "/tmp") + "/fuzz_trimesh_load_" +
         std::to_string(getpid()) + suffix;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static std::string const input = scratchPath(".obj");
  static std::string const output = scratchPath("_saved.obj");
  std::FILE* file = std::fopen(input.c_str(), "wb");
  if (file == nullptr)
    return 0;
  std::fwrite(data, 1, size, file);
  std::fclose(file);
  using QARN::Geometry::ThreeDimensional::TriMesh::Mesh;
  Mesh mesh;
  try {
    mesh.load(input.c_str());
    mesh.save(output.c_str(), size % 2 == 0, size % 3 == 0);
    Mesh copy;
    copy.load(output.c_str());
  } catch (QARN::Exception const&) {
  }
  return 0;
}
