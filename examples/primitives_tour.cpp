// A short tour of the geometric value types: a probe direction turned by quaternions, a point
// tested against a closed 3-D box, and a scan-plane position tested against a half-open grid box.
#include <QARN/Geometry/ThreeDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/Quaternion.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>
#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/TwoDimensional/Point.h>

#include <cmath>
#include <cstdio>

namespace G2 = QARN::Geometry::TwoDimensional;
namespace G3 = QARN::Geometry::ThreeDimensional;

namespace {

void print(char const* name, G3::Vector const& v) {
  std::printf("%-34s (%.6f, %.6f, %.6f)\n", name, v.getdX(), v.getdY(), v.getdZ());
}

} // namespace

int main() {
  // The probe looks straight down; tilt its beam a third of the way towards the +X axis.
  G3::Vector const down(0, 0, -1);
  G3::Vector const across(1, 0, 0);
  G3::Quaternion const tilt = G3::Quaternion::rot(down, across, 1.0 / 3.0);
  G3::Vector const beam = down.rot(tilt);
  print("beam after a 30 degree tilt:", beam);
  std::printf("%-34s %.6f\n",
              "tilt angle (degrees):", std::acos(beam.dot(down)) * 180.0 / 3.141592653589793);

  // The same turn as a matrix, and a turn of the whole probe frame by 90 degrees about Z.
  G3::LinearMap const R(tilt);
  print("matrix of the tilt applied:", R * down);
  G3::LinearMap spin;
  spin.setRotation(G3::LinearMap::Z, 3.141592653589793 / 2);
  print("beam after a quarter turn about Z:", spin * beam);

  // Where does the beam from a probe 50 mm above the part meet the plane z = 0?
  G3::Point const probe(10.0, 5.0, 50.0);
  double const t = -probe.getZ() / beam.getdZ();
  G3::Point const hit = probe + beam * t;
  std::printf("%-34s (%.3f, %.3f, %.3f)\n", "hit on z = 0:", hit.getX(), hit.getY(), hit.getZ());

  // Is the hit inside the inspected region (closed on its faces)?
  G3::BoundingBoxAA const part(G3::Point(0, 0, 0), G3::Vector(100, 40, 20));
  std::printf("%-34s %s\n", "hit inside the part's box:", part.getIsInside(hit) ? "yes" : "no");
  std::printf("%-34s %.3f mm\n", "distance probe to hit:", probe.getMinMaxDistance(hit));

  // Scan-plane cell of the hit on a 1 mm grid of 100 x 40 cells (half-open at the far edges).
  G2::Point<int> const cell(static_cast<int>(std::floor(hit.getX())),
                            static_cast<int>(std::floor(hit.getY())));
  G2::BoundingBoxAA<int> const grid(G2::Point<int>(0, 0), G2::Vector<int>(100, 40));
  std::printf("%-34s (%d, %d), %s\n", "scan cell:", cell.getU(), cell.getV(),
              grid.isInside(cell) ? "on the grid" : "off the grid");
  std::printf("%-34s %s\n",
              "cell (100, 0) on the grid:", grid.isInside(G2::Point<int>(100, 0)) ? "yes" : "no");
  return 0;
}
