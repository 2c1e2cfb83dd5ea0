#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/IOFailure.h>
#include <QARN/Progress/ProgressListener.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using QARN::Geometry::ThreeDimensional::Point;
using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;
using GridPoint = QARN::Geometry::TwoDimensional::Point<int>;
using Extents = QARN::Geometry::TwoDimensional::Vector<std::uint32_t>;
using Bytes = std::vector<unsigned char>;

class GridMesh : public RectMesh {
public:
  using RectMesh::init;
};

std::string tempPath(std::string const& name) {
  char const* dir = std::getenv("QARN_TEST_TMPDIR");
  return (dir != nullptr ? std::string(dir) : testing::TempDir()) + "/" + name;
}

// Little-endian field writers, independent of the library's own.
void u32(Bytes& b, std::uint32_t x) {
  for (int i = 0; i < 4; ++i)
    b.push_back(static_cast<unsigned char>(x >> (8 * i)));
}
void u64(Bytes& b, std::uint64_t x) {
  u32(b, static_cast<std::uint32_t>(x));
  u32(b, static_cast<std::uint32_t>(x >> 32));
}
void f32(Bytes& b, float x) {
  std::uint32_t bits;
  std::memcpy(&bits, &x, 4);
  u32(b, bits);
}
void f64(Bytes& b, double x) {
  std::uint64_t bits;
  std::memcpy(&bits, &x, 8);
  u64(b, bits);
}

// Magic, version, name field, U, V and the areas (mean, min, max).
Bytes header(std::uint32_t version, std::string const& name, std::uint32_t U, std::uint32_t V,
             double mean, double min, double max) {
  Bytes b{'Q', 'A', 'R', 'N', 'Q', 'u', 'a', 'd'};
  u32(b, version);
  std::string field = name;
  field.resize(128, '\0');
  b.insert(b.end(), field.begin(), field.end());
  u32(b, U);
  u32(b, V);
  f64(b, mean);
  f64(b, min);
  f64(b, max);
  return b;
}

void writeFile(std::string const& path, Bytes const& b) {
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<char const*>(b.data()), b.size());
}

Bytes readFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

std::string readText(std::string const& path) {
  std::ifstream in(path);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

template <typename Call>
std::string messageOf(Call call) {
  try {
    call();
  } catch (std::exception const& e) {
    return e.what();
  }
  return "no exception";
}

// The coordinates of grid point (u, v) in the tests' meshes.
Point pointAt(int u, int v) { return Point(0.1 * u, -2.5 * v, u + 10.0 * v); }

// A 2 x 1-quad version-0 file whose point (2, 0) is invalid; its flag bytes use several
// non-zero values and its invalid point holds garbage coordinates.
Bytes version0File() {
  Bytes b = header(0, "ignored", 2, 1, 1.5, 0.25, 4.0);
  b.insert(b.end(), {2, 1, 0, 7, 1, 255});
  for (int v = 0; v <= 1; ++v)
    for (int u = 0; u <= 2; ++u) {
      Point const p = u == 2 && v == 0 ? Point(9, 9, 9) : pointAt(u, v);
      f64(b, 0.1 * u);
      f64(b, -2.5 * v);
      f64(b, u + 10.0 * v);
      (void)p;
    }
  return b;
}

TEST(RectMeshFiles, Version0LoadsValidityRebuildsRegionsAndSavesAsVersion1) {
  std::string const path = tempPath("v0\\mesh.v2.quads");
  writeFile(path, version0File());
  RectMesh mesh;
  mesh.load(path.c_str());
  EXPECT_EQ("mesh.v2", mesh.getShortFileName());
  EXPECT_EQ(Extents(2, 1), mesh.getExtents());
  EXPECT_EQ(1.5, mesh.getMeanQuadArea());
  EXPECT_EQ(0.25, mesh.getMinQuadArea());
  EXPECT_EQ(4.0, mesh.getMaxQuadArea());
  // Valid (bit 0) plus interior (bit 1) or boundary (bit 2); (1, 0) and (2, 1) touch (2, 0).
  signed char const flags[] = {3, 5, 0, 3, 3, 5};
  for (int i = 0; i < 6; ++i) {
    GridPoint const p(i % 3, i / 3);
    EXPECT_EQ(flags[i], mesh.getPointFlags(p)) << i;
    if (flags[i] != 0)
      EXPECT_EQ(pointAt(p.getU(), p.getV()), mesh.getPoint(p)) << i;
  }

  Bytes expected = header(1, "", 2, 1, 1.5, 0.25, 4.0);
  u32(expected, 0);
  expected.insert(expected.end(), std::begin(flags), std::end(flags));
  for (int i : {0, 1, 3, 4, 5}) {
    Point const p = pointAt(i % 3, i / 3);
    f32(expected, p.getX());
    f32(expected, p.getY());
    f32(expected, p.getZ());
  }
  std::string const saved = tempPath("dir/..\\saved.quads");
  mesh.save(saved.c_str());
  EXPECT_EQ(expected, readFile(saved));
  EXPECT_EQ("\\saved.quads", mesh.getShortFileName());
}
