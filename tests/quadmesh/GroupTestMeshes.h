#ifndef QARN_TESTS_QUADMESH_GROUPTESTMESHES_H
#define QARN_TESTS_QUADMESH_GROUPTESTMESHES_H

#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <memory>
#include <string>

namespace GroupTest {

using QARN::Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus;
using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;

/// U × V unit quads, point (u, v) at (u, v, z + slope · u): flat for slope 0.
class GridMesh : public RectMesh {
public:
  GridMesh(std::uint32_t U, std::uint32_t V, double z, double slope) {
    init(QARN::Geometry::TwoDimensional::Vector<std::uint32_t>(U, V));
    for (int v = 0; v <= static_cast<int>(V); ++v)
      for (int u = 0; u <= static_cast<int>(U); ++u)
        setPoint({u, v}, QARN::Geometry::ThreeDimensional::Point(u, v, z + slope * u));
  }
};

inline std::unique_ptr<RectMesh> makeGrid(std::uint32_t U, std::uint32_t V, double z,
                                          double slope = 0.0) {
  return std::make_unique<GridMesh>(U, V, z, slope);
}

/// A version-1 .quads file of a flat U × V grid at height z (float coordinates, every point
/// valid) whose header records the given quad areas.
inline void writeFlatQuads(std::string const& path, std::uint32_t U, std::uint32_t V, float z,
                           double meanArea, double minArea, double maxArea) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  auto put = [&out](auto const& value) {
    out.write(reinterpret_cast<char const*>(&value), sizeof(value));
  };
  out.write("QARNQuad", 8);
  put(std::uint32_t(1));
  char name[128] = {};
  std::strcpy(name, "flat");
  out.write(name, sizeof(name));
  put(U);
  put(V);
  put(meanArea);
  put(minArea);
  put(maxArea);
  put(std::uint32_t(0));
  for (std::uint64_t i = 0; i < std::uint64_t(U + 1) * (V + 1); ++i)
    put(std::uint8_t(1));
  for (std::uint32_t v = 0; v <= V; ++v)
    for (std::uint32_t u = 0; u <= U; ++u) {
      put(static_cast<float>(u));
      put(static_cast<float>(v));
      put(z);
    }
}

/// A folder for the files of a test.
inline std::string getTemporaryDirectory() {
  char const* folder = std::getenv("QARN_TEST_TMPDIR");
  return folder != nullptr ? std::string(folder) + "/" : ::testing::TempDir();
}

/// Sets the process-wide quality mode for one test and restores the default after it.
struct QualityModeScope {
  explicit QualityModeScope(QuadIndicesIntersectionStatus::IntersectionQualityMode mode) {
    QuadIndicesIntersectionStatus::setIntersectionQualityMode(mode);
  }
  ~QualityModeScope() {
    QuadIndicesIntersectionStatus::setIntersectionQualityMode(
        QuadIndicesIntersectionStatus::FacingThenNearest);
  }
};

template <typename Call>
void expectThrowsMessage(Call call, std::string const& message) {
  try {
    call();
    ADD_FAILURE() << "no exception, expected: " << message;
  } catch (std::exception const& e) {
    EXPECT_EQ(message, e.what());
  }
}

} // namespace GroupTest

#endif
