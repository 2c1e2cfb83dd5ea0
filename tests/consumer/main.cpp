#include <QARN/Geometry/ThreeDimensional/Quaternion.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>
#include <QARN/Geometry/TwoDimensional/Point.h>
#include <QARN/Geometry/TwoDimensional/Vector.h>
#include <QARN/QARNGeometry.h>

#include <cmath>
#include <cstdio>

namespace G2 = QARN::Geometry::TwoDimensional;
namespace G3 = QARN::Geometry::ThreeDimensional;

int main() {
  try {
    throw QARN::Exception("consumer ok");
  } catch (std::exception const& e) {
    std::puts(e.what());
  }
  G2::Point<int> const p = G2::Point<int>(3, 4) + G2::Vector<int>(2, -1);
  bool const planeOk = p == G2::Point<int>(5, 3) && p.dSqr(G2::Point<int>(1, 0)) == 25;
  G3::Vector const turned = G3::Vector(1, 0, 0).rot(G3::Quaternion(1, 0, 0, 1));
  bool const spaceOk = std::fabs(turned.getdX()) < 1e-12 && std::fabs(turned.getdY() - 1) < 1e-12;
  std::printf("2-D %s, 3-D %s\n", planeOk ? "ok" : "wrong", spaceOk ? "ok" : "wrong");
  return planeOk && spaceOk ? 0 : 1;
}
