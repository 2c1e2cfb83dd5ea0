#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_FILECONTENTS_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_TRIMESH_FILECONTENTS_H

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// Which coordinate sets a loaded mesh file held.
class FileContents {
public:
  FileContents() = default;
  FileContents(bool contains3D, bool contains2D) : contains3D(contains3D), contains2D(contains2D) {}

  bool getDoesContain3D() const { return contains3D; }
  bool getDoesContain2D() const { return contains2D; }

private:
  bool contains3D = false;
  bool contains2D = false;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
