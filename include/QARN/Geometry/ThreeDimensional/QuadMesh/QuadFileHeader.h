#ifndef QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADFILEHEADER_H
#define QARN_GEOMETRY_THREEDIMENSIONAL_QUADMESH_QUADFILEHEADER_H

#include <cstdint>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

/// The header of a .quads file as read by RectMesh::readFileHeader: a plain record whose
/// fields a fresh header holds value-initialised (empty name, version 0, zero counts and
/// areas, coordinate type Unsupported).
class QuadFileHeader {
public:
  /// How the file stores each point coordinate; the values are those in the file.
  enum CoordinateDataType : std::uint32_t {
    Float = 0,      ///< IEEE-754 single, 4 bytes
    Double = 1,     ///< IEEE-754 double, 8 bytes
    Int = 2,        ///< signed 32-bit integer, 4 bytes
    Unsupported = 3 ///< unknown
  };

  /// The mesh name, NUL-terminated.
  char meshName[128] = {};
  /// Quads along u; the grid has quadCountU + 1 points along u.
  std::uint32_t quadCountU = 0;
  /// Quads along v.
  std::uint32_t quadCountV = 0;
  /// 0 or 1 in a valid file.
  std::uint32_t version = 0;
  double meanQuadArea = 0.0;
  double minQuadArea = 0.0;
  double maxQuadArea = 0.0;
  /// A CoordinateDataType value as found in the file (Double for version 0).
  std::uint32_t coordinateDataType = Unsupported;
};

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh

#endif
