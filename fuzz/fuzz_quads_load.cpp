// Loads arbitrary bytes as a .quads file. Refusals must be the library's own exceptions;
// whatever loads must save to a file that loads and saves again to the same bytes.
#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/IOFailure.h>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;

/// A private scratch file, removed at exit.
std::string makeScratchFile(char const* suffix) {
  std::string name = std::string("/tmp/fuzz_quads_load_XXXXXX") + suffix;
  int const fd = mkstemps(name.data(), static_cast<int>(std::char_traits<char>::length(suffix)));
  if (fd < 0)
    std::abort();
  close(fd);
  return name;
}

std::string const input = makeScratchFile(".in");
std::string const first = makeScratchFile(".quads");
std::string const second = makeScratchFile(".quads");

struct Cleanup {
  ~Cleanup() {
    for (std::string const* name : {&input, &first, &second})
      std::remove(name->c_str());
  }
} const cleanup;

std::string readAll(std::string const& name) {
  std::ifstream in(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::ofstream(input, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<char const*>(data), static_cast<std::streamsize>(size));
  RectMesh mesh;
  try {
    mesh.load(input.c_str());
  } catch (QARN::Exception const&) {
    return 0;
  } catch (QARN::IOFailure const&) {
    return 0;
  }
  mesh.save(first.c_str());
  RectMesh reloaded;
  reloaded.load(first.c_str());
  reloaded.save(second.c_str());
  if (readAll(first) != readAll(second))
    std::abort();
  return 0;
}
