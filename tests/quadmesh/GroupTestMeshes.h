#ifndef QARN_TESTS_QUADMESH_GROUPTESTMESHES_H
#define QARN_TESTS_QUADMESH_GROUPTESTMESHES_H

#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
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
