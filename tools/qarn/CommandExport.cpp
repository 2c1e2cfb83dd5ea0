#include "Commands.h"

#include "Errors.h"
#include "MeshSurvey.h"

#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>

#include <cstdio>

namespace qarn {

using QARN::Geometry::ThreeDimensional::QuadMesh::RectMesh;

void runExport(ExportOptions const& options, ProgressBar* bar) {
  RectMesh mesh;
  mesh.setProgressListener(bar);
  withFileName(options.file, [&] { mesh.load(options.file.c_str()); });
  withFileName(options.out, [&] { mesh.saveAsOBJ(options.out.c_str()); });
  if (bar != nullptr)
    bar->finish();
  MeshSurvey const survey(mesh);
  std::printf("wrote %s: %llu vertices, %llu faces\n", options.out.c_str(),
              static_cast<unsigned long long>(survey.pointCount),
              static_cast<unsigned long long>(survey.validQuadCount));
}

} // namespace qarn
