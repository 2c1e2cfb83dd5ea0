#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

void Mesh::construct(IndexedFaceSet const& set) {
  clear();
  fileName.clear();
  cutEdgeIndices = CutEdgeIndices();
  set.validateSurface();
  std::vector<Point> const& points = set.getPoints();
  vertices.reserve(points.size());
  vertexTriangles.reserve(points.size());
  for (Point const& p : points)
    addVertex(Vertex(p));
  try {
    constructFromFaces(set.getFaces());
  } catch (...) {
    clear();
    throw;
  }
  clean();
  calculateVertexNormals();
}

IndexedFaceSet Mesh::getIndexedFaceSet() const {
  std::vector<Point> points;
  points.reserve(vertices.size());
  for (Vertex const& v : vertices)
    points.push_back(v.getPoint3D());
  std::vector<Triangle*> list;
  std::vector<Triangle*>::const_iterator begin;
  std::vector<Triangle*>::const_iterator end;
  getTriangles(list, begin, end);
  std::vector<IndexedFaceSet::Face> faces;
  faces.reserve(static_cast<std::size_t>(end - begin));
  for (auto it = begin; it != end; ++it)
    faces.push_back({(*it)->vertexIndices[0], (*it)->vertexIndices[1], (*it)->vertexIndices[2]});
  return IndexedFaceSet(std::move(points), std::move(faces));
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
