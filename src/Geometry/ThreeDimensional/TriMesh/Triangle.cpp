#include <QARN/Geometry/ThreeDimensional/TriMesh/Triangle.h>

#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include <cinttypes>
#include <cstdio>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

Triangle::Triangle(Triangle const& t) : mesh(nullptr) {
  *this = t;
}

Triangle& Triangle::operator=(Triangle const& t) {
  for (int k = 0; k < 3; ++k) {
    vertexIndices[k] = t.vertexIndices[k];
    adjacentTriangles[k] = t.adjacentTriangles[k];
    adjacentEdgeIndices[k] = t.adjacentEdgeIndices[k];
  }
  return *this;
}

void Triangle::getVertexIndices(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c) const {
  a = vertexIndices[0];
  b = vertexIndices[1];
  c = vertexIndices[2];
}

Edge Triangle::getEdge(std::int32_t k) {
  return Edge(this, mod3(k));
}

bool Triangle::getDoesContainEdgeCompliment(std::uint32_t a, std::uint32_t b,
                                            std::int32_t* index) const {
  *index = -1;
  for (std::uint32_t c = 0; c < 3; ++c) {
    if (vertexIndices[c] == b) {
      if (vertexIndices[(c + 1) % 3] == a)
        *index = static_cast<std::int32_t>((c + 2) % 3);
      break;
    }
  }
  return true;
}

void Triangle::makeBoundary(std::int32_t k) {
  adjacentTriangles[mod3(k)] = nullptr;
  adjacentEdgeIndices[mod3(k)] = invalidEdgeIndex;
}

TwoDimensional::BoundingBoxAA<double> Triangle::getAABB2D() const {
  TwoDimensional::BoundingBoxAA<double> box =
      mesh->getVertex(vertexIndices[0]).getPoint2D().getBoundingBox();
  box.expand(mesh->getVertex(vertexIndices[1]).getPoint2D().getBoundingBox());
  box.expand(mesh->getVertex(vertexIndices[2]).getPoint2D().getBoundingBox());
  return box;
}

void Triangle::print() const {
  auto const address = [](void const* p) {
    return static_cast<std::uintptr_t>(reinterpret_cast<std::uintptr_t>(p));
  };
  auto const index = [](std::uint32_t i) { return static_cast<int>(i); };
  std::printf("------------------------------------------------------------------------\n");
  std::printf("Triangle: 0x%016" PRIXPTR ".\n", address(this));
  std::printf("Vertex indices: %d, %d, %d.\n", index(vertexIndices[0]), index(vertexIndices[1]),
              index(vertexIndices[2]));
  std::printf("Edge triangle pointers: 0x%016" PRIXPTR ", 0x%016" PRIXPTR ", 0x%016" PRIXPTR ".\n",
              address(adjacentTriangles[0]), address(adjacentTriangles[1]),
              address(adjacentTriangles[2]));
  std::printf("Edge triangle edge indices: %d, %d, %d.\n", index(adjacentEdgeIndices[0]),
              index(adjacentEdgeIndices[1]), index(adjacentEdgeIndices[2]));
  std::printf("------------------------------------------------------------------------\n");
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
