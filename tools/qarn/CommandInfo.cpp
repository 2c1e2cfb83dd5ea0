#include "Commands.h"

#include "Errors.h"
#include "MeshSurvey.h"

#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <cstdint>
#include <cstdio>

namespace qarn {

namespace G3 = QARN::Geometry::ThreeDimensional;
using G3::QuadMesh::RectMesh;

void runInfo(InfoOptions const& options) {
  for (std::size_t f = 0; f < options.files.size(); ++f) {
    std::string const& file = options.files[f];
    std::uint32_t quadsU = 0;
    std::uint32_t quadsV = 0;
    double mean = 0.0;
    double min = 0.0;
    double max = 0.0;
    RectMesh mesh;
    withFileName(file, [&] {
      RectMesh::getFileHeaderItems(file.c_str(), quadsU, quadsV, mean, min, max);
      mesh.load(file.c_str());
    });
    MeshSurvey const survey(mesh);

    if (f > 0)
      std::printf("\n");
    std::printf("%s\n", file.c_str());
    std::printf("  quads:          %u x %u\n", quadsU, quadsV);
    std::printf("  stored area:    mean %g, min %g, max %g\n", mean, min, max);
    std::printf("  valid points:   %llu of %llu\n",
                static_cast<unsigned long long>(survey.validPointCount),
                static_cast<unsigned long long>(survey.pointCount));
    std::printf("  valid quads:    %llu of %llu\n",
                static_cast<unsigned long long>(survey.validQuadCount),
                static_cast<unsigned long long>(survey.quadCount));
    if (survey.validPointCount == 0) {
      std::printf("  bounding box:   none (no valid point)\n");
    } else {
      G3::BoundingBoxAA const box = mesh.getBoundingBoxAA();
      G3::Point const low = box.getp();
      G3::Point const high = box.getp1();
      std::printf("  bounding box:   (%g, %g, %g) to (%g, %g, %g)\n", low.getX(), low.getY(),
                  low.getZ(), high.getX(), high.getY(), high.getZ());
    }
    if (survey.validQuadCount > 0)
      std::printf("  quad area:      min %g, mean %g, max %g (measured)\n", survey.minQuadArea,
                  survey.meanQuadArea, survey.maxQuadArea);
  }
}

} // namespace qarn
