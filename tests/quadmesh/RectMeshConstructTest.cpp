#include "FlatMeshSupport.h"

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMeshGroup.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace QuadMeshTest {
namespace {

using QARN::Geometry::ThreeDimensional::QuadMesh::RectMeshGroup;
using Surface = std::function<Point(double, double)>;

Point plane(double x, double y) {
  return Point(x, y, 0.0);
}

std::string constructError(Mesh const& mesh, double maxQuadArea, std::uint32_t maxMB = 8192) {
  RectMesh m;
  return messageOf<QARN::Exception>([&] { m.construct(mesh, maxQuadArea, maxMB); });
}

/// The flag byte a constructed grid must carry from validity alone: Boundary on a valid point
/// with an invalid 8-neighbour (outside the grid counts as invalid), Interior on the others.
char expectedRegionFlags(RectMesh const& m, int u, int v) {
  if (!m.getIsPointValid(GridPoint(u, v)))
    return 0;
  for (int dv = -1; dv <= 1; ++dv)
    for (int du = -1; du <= 1; ++du)
      if (!m.getIsPointValid(GridPoint(u + du, v + dv)))
        return 1 | 1 << RectMesh::Boundary;
  return 1 | 1 << RectMesh::Interior;
}

TEST(RectMeshConstruct, UnitSquareGivesTwelveByTwelvePointsAtTheirFlatPositions) {
  Mesh square;
  loadFlatMesh(square, latticePatch(1, 1, 1.0, 1.0, plane), "square");
  QARN::Test::ProgressLog log;
  RectMesh m;
  m.setProgressListener(&log);
  m.construct(square, 0.01);

  EXPECT_EQ(log.log, "Constructing quad-mesh... 51 101 ");
  ASSERT_EQ(m.getExtents(), Extents(11, 11));
  for (int v = 0; v <= 11; ++v)
    for (int u = 0; u <= 11; ++u) {
      GridPoint const p(u, v);
      bool const isInSquare = u <= 10 && v <= 10;
      ASSERT_EQ(m.getIsPointValid(p), isInSquare) << u << ", " << v;
      bool const isOnBorder = u == 0 || v == 0 || u == 10 || v == 10;
      char const flags = !isInSquare ? 0 : isOnBorder ? 1 | 4 : 1 | 2;
      EXPECT_EQ(m.getPointFlags(p), flags) << u << ", " << v;
      if (!isInSquare)
        continue;
      Point const x = m.getPoint(p);
      EXPECT_NEAR(x.getX(), u * 0.1, 1e-7);
      EXPECT_NEAR(x.getY(), v * 0.1, 1e-7);
      EXPECT_EQ(x.getZ(), 0.0f);
    }
  EXPECT_NEAR(m.getMeanQuadArea(), 0.01, 1e-8);
  EXPECT_NEAR(m.getMinQuadArea(), 0.01, 1e-8);
  EXPECT_NEAR(m.getMaxQuadArea(), 0.01, 1e-8);
  EXPECT_FALSE(m.getSearchPoints().empty());
  EXPECT_EQ(m.getMeshName(), "square");
  EXPECT_EQ(m.getFileName(), "square.quads");

  // The grid is laid from the low corner of the flat box, wherever the flat mesh lies.
  for (std::uint32_t i = 0; i < 4; ++i) {
    auto const q = square.getVertex(i).getPoint2D();
    square.getVertex(i).setPoint2D({q.getU() + 5.0, q.getV() - 7.0});
  }
  RectMesh moved;
  moved.construct(square, 0.01);
  for (int v = 0; v <= 11; ++v)
    for (int u = 0; u <= 11; ++u) {
      GridPoint const p(u, v);
      ASSERT_EQ(moved.getPointFlags(p), m.getPointFlags(p)) << u << ", " << v;
      if (m.getIsPointValid(p)) {
        EXPECT_EQ(moved.getPoint(p), m.getPoint(p)) << u << ", " << v;
      }
    }
}

TEST(RectMeshConstruct, SpacingIsTheRootOfTheAreaOverTheLargestAreaRatio) {
  struct Case {
    char const* name;
    Surface surface;
    double maxQuadArea;
    double ratio; // largest surface-to-flat area ratio of the two triangles
  };
  // "stretched" moves the corner (0, 1) to (0, 2): only the triangle holding it doubles.
  Case const cases[] = {
      {"plain", plane, 0.01, 1.0},
      {"halved", plane, 0.005, 1.0},
      {"stretched", [](double x, double y) { return Point(x, y * (2.0 - x), 0.0); }, 0.01, 2.0},
      {"doubled", [](double x, double y) { return Point(2 * x, 2 * y, 0.0); }, 0.04, 4.0},
  };
  for (Case const& c : cases) {
    Mesh square;
    loadFlatMesh(square, latticePatch(1, 1, 1.0, 1.0, c.surface), c.name);
    RectMesh m;
    m.construct(square, c.maxQuadArea);
    double const h = std::sqrt(c.maxQuadArea / c.ratio);
    auto const n = static_cast<std::uint32_t>(std::floor(1.0 / h + 1.5));
    EXPECT_EQ(m.getExtents(), Extents(n, n)) << c.name;
    // Grid point (1, 0) lies at the flat position (h, 0) of the identity-mapped first triangle.
    Point const expected = c.surface(h, 0.0);
    EXPECT_NEAR(m.getPoint(GridPoint(1, 0)).getX(), expected.getX(), 1e-7) << c.name;
  }
}

TEST(RectMeshConstruct, GridPointsOnSharedEdgesAndCornersAreAllSampled) {
  // A square of 20 × 20 quads of spacing 0.1 triangulated with vertices on grid points, so that
  // edges pass through grid points: (3, 9) and (6, 8) on C–P, (14, 11) on P–Q, where the side
  // of the edge rounds the same way from both ends. The corner triangle A, B, C keeps its flat
  // size on the surface and fixes the spacing; the other vertices are mapped closer together
  // and lifted, so that their triangles have smaller area ratios.
  int const grid[][2] = {{0, 0}, {10, 0}, {0, 10}, {20, 0}, {20, 20}, {0, 20}, {9, 7}, {19, 15}};
  enum { A, B, C, D, I, G, P, Q };
  FlatMeshData data;
  for (auto const& g : grid) {
    double const x = g[0] * 0.1;
    double const y = g[1] * 0.1;
    data.flat.push_back({x, y});
    bool const isCornerTriangle = g[0] + g[1] <= 10;
    data.points.push_back(isCornerTriangle ? Point(x, y, 0.0)
                                           : Point(0.6 * x, 0.6 * y, 0.05 * x * y));
  }
  data.faces = {{A, B, C}, {B, D, P}, {D, Q, P}, {D, I, Q},
                {I, G, Q}, {G, P, Q}, {G, C, P}, {C, B, P}};
  Mesh mesh;
  loadFlatMesh(mesh, data, "sharededges");
  RectMesh m;
  m.construct(mesh, 0.01);
  ASSERT_EQ(m.getExtents(), Extents(21, 21));
  for (int v = 0; v <= 21; ++v)
    for (int u = 0; u <= 21; ++u)
      EXPECT_EQ(m.getIsPointValid(GridPoint(u, v)), u <= 20 && v <= 20) << u << ", " << v;
  for (std::size_t i = 0; i < data.points.size(); ++i)
    EXPECT_EQ(m.getPoint(GridPoint(grid[i][0], grid[i][1])), mesh.getVertex(i).getPoint3D())
        << "vertex " << i;
}

TEST(RectMeshConstruct, BorderFlagsCoverTheOuterBorderAndTheHoles) {
  // A 3 × 3 frame of unit cells without its middle cell.
  FlatMeshData frame = latticePatch(3, 3, 1.0, 1.0, plane);
  frame.faces.erase(frame.faces.begin() + 8, frame.faces.begin() + 10);
  Mesh mesh;
  loadFlatMesh(mesh, frame, "frame");
  RectMesh m;
  m.construct(mesh, 0.01);
  ASSERT_EQ(m.getExtents(), Extents(31, 31));
  int holeBorder = 0;
  for (int v = 0; v <= 31; ++v)
    for (int u = 0; u <= 31; ++u) {
      EXPECT_EQ(m.getPointFlags(GridPoint(u, v)), expectedRegionFlags(m, u, v)) << u << ", " << v;
      bool const isOnHole = (u == 10 || u == 20) && v >= 10 && v <= 20;
      holeBorder += isOnHole && m.getPointFlag(GridPoint(u, v), RectMesh::Boundary);
    }
  EXPECT_EQ(holeBorder, 22);
}

TEST(RectMeshConstruct, SeamPointsAreMarkedAndTheTrueBorderIsNot) {
  Mesh mesh;
  loadFlatMesh(mesh, cutCylinderStrip(), "strip");
  RectMesh m;
  m.construct(mesh, 0.04);
  int const lastU = lastValidIndices(m).getU();
  int const lastV = lastValidIndices(m).getV();
  ASSERT_GT(lastU, 40);
  int marked = 0;
  for (int v = 0; v <= lastV; ++v)
    for (int u = 0; u <= lastU; ++u) {
      GridPoint const p(u, v);
      bool const isMarked = m.getPointFlag(p, RectMesh::Marked);
      marked += isMarked;
      if (isMarked) {
        EXPECT_TRUE(m.getPointFlag(p, RectMesh::Boundary)) << u << ", " << v;
      }
      bool const isOnSeam = u == 0 || u == lastU;
      bool const isOnTrueBorder = v == 0 || v == lastV;
      if (isOnSeam && !isOnTrueBorder) {
        EXPECT_TRUE(isMarked) << u << ", " << v;
      }
      if (isOnTrueBorder && !isOnSeam) {
        EXPECT_FALSE(isMarked) << u << ", " << v;
      }
    }
  EXPECT_GE(marked, 2 * (lastV - 1));
}

/// For every quad of the measured region (not extended), a probe 3 units above the centroid of its
/// first triangle along that triangle's normal, aimed back at the centroid, must hit the quad or
/// one sharing a point with it, through a group and through the mesh's own search. The probes go
/// row by row, each row in the direction opposite to the last, as a scan does.
void expectRoundTrip(RectMesh& m) {
  RectMeshGroup group;
  group.addQuadMesh(&m);
  RectMesh alone(m);
  int probes = 0;
  int groupMisses = 0;
  int meshMisses = 0;
  int const U = int(m.getExtents().getdU());
  for (int v = 0; v < int(m.getExtents().getdV()); ++v)
    for (int i = 0; i < U; ++i) {
      int const u = v % 2 == 0 ? i : U - 1 - i;
      GridPoint const p(u, v);
      bool isMeasured = m.getIsQuadValid(p);
      for (GridPoint const& q :
           {p, GridPoint(u + 1, v), GridPoint(u, v + 1), GridPoint(u + 1, v + 1)})
        isMeasured = isMeasured && m.getIsInteriorNonExtendedPoint(q);
      if (!isMeasured)
        continue;
      Point t[3];
      m.getQuadTrianglePoints(p, t, true);
      Vector const n = m.getQuadUnitNormalVector(p, true);
      Point const centroid((t[0].getX() + t[1].getX() + t[2].getX()) / 3,
                           (t[0].getY() + t[1].getY() + t[2].getY()) / 3,
                           (t[0].getZ() + t[1].getZ() + t[2].getZ()) / 3);
      Point const probe = centroid + 3.0 * n;
      auto const isNear =
          [&](QARN::Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus const& s) {
            return s.getIsValid() && std::abs(s.getIndices().getU() - u) <= 1 &&
                   std::abs(s.getIndices().getV() - v) <= 1;
          };
      ++probes;
      groupMisses += !isNear(group.getIntersectionStatus(probe, -1.0 * n, false));
      meshMisses += !isNear(alone.getIntersection(probe, -1.0 * n));
    }
  EXPECT_GT(probes, 1000);
  EXPECT_EQ(groupMisses, 0) << "of " << probes;
  EXPECT_EQ(meshMisses, 0) << "of " << probes;
}

TEST(RectMeshConstruct, ProbesAboveEveryQuadOfAnExtendedHeightFieldHitIt) {
  Mesh mesh;
  loadFlatMesh(mesh,
               latticePatch(30, 20, 2.0, 2.0,
                            [](double x, double y) {
                              return Point(x, y, 8 * std::sin(x / 9) * std::cos(y / 7));
                            }),
               "heightfield");
  RectMesh m;
  m.construct(mesh, 1.0);
  m.extendBoundary(QARN::Geometry::ThreeDimensional::QuadMesh::Basic, 3, 0);
  expectRoundTrip(m);
}

TEST(RectMeshConstruct, ProbesAboveEveryQuadOfAnUnrolledCylinderHitIt) {
  Mesh mesh;
  loadFlatMesh(mesh,
               latticePatch(40, 20, 1.5, 2.0,
                            [](double x, double y) {
                              return Point(30 * std::cos(x / 30), 30 * std::sin(x / 30), y);
                            }),
               "cylinder");
  RectMesh m;
  m.construct(mesh, 1.0);
  expectRoundTrip(m);
}

TEST(RectMeshConstruct, BadInputIsRefusedWithAClearMessage) {
  Mesh square;
  loadFlatMesh(square, latticePatch(1, 1, 1.0, 1.0, plane), "square");
  for (double area : {0.0, -1.0, std::nan(""), HUGE_VAL})
    EXPECT_EQ(constructError(square, area), "Invalid maximum quad area.") << area;
  EXPECT_EQ(constructError(square, 1e-12), "Quad-mesh grid too large.");
  EXPECT_EQ(constructError(square, 2e-5, 0), "Quad-mesh grid too large.");
  EXPECT_EQ(constructError(square, 2e-5, 1), "no exception");
  EXPECT_EQ(constructError(Mesh(), 0.01), "Empty triangle mesh.");

  Mesh unflattened;
  writeFile(tempPath("noflat.obj"), "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  unflattened.load(tempPath("noflat.obj").c_str());
  EXPECT_EQ(constructError(unflattened, 0.01), "Triangle mesh is not flattened.");
  Mesh folded;
  loadFlatMesh(folded, latticePatch(1, 1, -1.0, 1.0, plane), "folded");
  EXPECT_EQ(constructError(folded, 0.01), "Triangle mesh is not flattened.");
  Mesh point;
  loadFlatMesh(point, latticePatch(1, 1, 1.0, 1.0, [](double, double) { return Point(); }),
               "point");
  EXPECT_EQ(constructError(point, 0.01), "Triangle mesh has no surface area.");

  // A refused argument leaves the grid as it was; a mesh smaller than a quad samples a point
  // but no quad, has no border to walk and leaves the grid empty.
  RectMesh m;
  m.construct(square, 0.01);
  EXPECT_THROW(m.construct(square, -1.0), QARN::Exception);
  EXPECT_EQ(m.getExtents(), Extents(11, 11));
  EXPECT_EQ(messageOf<QARN::Exception>([&] { m.construct(square, 100.0); }), "No boundary found");
  EXPECT_EQ(m.getExtents(), Extents(0, 0));
  EXPECT_FALSE(m.getIsPointValid(GridPoint(0, 0)));

  square.getVertex(2).setPoint2D({1.0, std::nan("")});
  EXPECT_EQ(constructError(square, 0.01), "Triangle mesh has non-finite coordinates.");
  Mesh cut;
  FlatMeshData badCut = latticePatch(1, 1, 1.0, 1.0, plane);
  badCut.cut = {{0, 9}};
  loadFlatMesh(cut, badCut, "badcut");
  EXPECT_EQ(constructError(cut, 0.01), "Invalid cut-edge vertex index.");
}

TEST(RectMeshConstruct, ValidQuadsOnlyAboveRowUAreNotFound) {
  // A rectangle [0, 1] × [5, 10] with a sliver down to y = 0, narrower than a quad: the grid
  // is 11 × 101 quads and every valid quad lies above row 11, beyond the rows searched.
  FlatMeshData tall;
  tall.flat = {{0, 5}, {0.45, 5}, {0.55, 5}, {1, 5}, {1, 10}, {0, 10}, {0.5, 0}};
  for (auto const& q : tall.flat)
    tall.points.push_back(Point(q[0], q[1], 0.0));
  tall.faces = {{0, 1, 5}, {1, 2, 4}, {1, 4, 5}, {2, 3, 4}, {6, 2, 1}};
  Mesh mesh;
  loadFlatMesh(mesh, tall, "tall");
  EXPECT_EQ(constructError(mesh, 0.01), "No boundary found");

  // The same shape lying on its side is found.
  for (auto& q : tall.flat)
    q = {10 - q[1], q[0]};
  Mesh wide;
  loadFlatMesh(wide, tall, "wide");
  EXPECT_EQ(constructError(wide, 0.01), "no exception");
}

} // namespace
} // namespace QuadMeshTest
