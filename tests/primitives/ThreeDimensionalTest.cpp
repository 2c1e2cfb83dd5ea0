#include <QARN/Geometry/ThreeDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/ThreeDimensional/Plane.h>
#include <QARN/Geometry/ThreeDimensional/Point.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace QARN::Geometry::ThreeDimensional;

double const nan = std::numeric_limits<double>::quiet_NaN();

TEST(ThreeDimensionalPoint, StoresSinglePrecisionAndIndicesWrapModuloThree) {
  Point const p(0.1, 0.0, 0.0);
  EXPECT_EQ(0.10000000149011612, double(p.getX()));
  double const a[3] = {0.1, 0.2, 0.3};
  EXPECT_EQ(p + Vector(0.0, 0.2, 0.3), Point(a));
  EXPECT_EQ(0.10000000149011612, (p - Point()).getdX());
  Point q = p;
  q += Vector(1e-9, 0.0, 0.0);
  EXPECT_EQ(p, q);

  Point r(1, 2, 3);
  EXPECT_EQ(2.0f, r.get(4));
  r.seti(5, 9.0);
  EXPECT_EQ(Point(1, 2, 9), r);
  Vector w(7, 4.0);
  EXPECT_EQ(4.0, w.getdY());
  w.inc(3, 1.5);
  EXPECT_EQ(1.5, w.get(0));
  EXPECT_EQ(1.0, Vector(2, 1.0).getdZ());
}

TEST(ThreeDimensionalPoint, DSqrRoundsLikeTheStoredDataAndSetMinMaxIgnoreNaN) {
  Point const p(0.1, 0.2, 0.3);
  // Two float roundings and a double sum; plain double arithmetic gives 0.14000000864267365.
  EXPECT_EQ(0.14000000804662704, p.dSqr(Point()));
  EXPECT_EQ(std::sqrt(0.14000000804662704), Point().getMinMaxDistance(p));

  Point m(1, 5, 3);
  m.setMin(Point(nan, 2, 4));
  EXPECT_EQ(Point(1, 2, 3), m);
  m.setMax(Point(nan, 2, 4));
  EXPECT_EQ(Point(1, 2, 4), m);
  EXPECT_TRUE(Point(0.0, -0.0, 0.0).getIsNull());
}

TEST(ThreeDimensionalPoint, PlaneSidesAndDistance) {
  Plane const P(Point(0, 0, 0), Vector(0, 0, 2));
  EXPECT_TRUE(Point(5, 5, 0).getIsAbove(P));
  EXPECT_FALSE(Point(5, 5, 0).getIsBelow(P));
  EXPECT_TRUE(Point(0, 0, -1e-6).getIsBelow(P));
  EXPECT_FALSE(Point(nan, 0, 0).getIsAbove(P) || Point(nan, 0, 0).getIsBelow(P));
  EXPECT_EQ(3.0, Point(0, 0, 3).getMinMaxDistance(P));
  EXPECT_EQ(3.0, Point(1, 7, -3).getMinMaxDistance(P));
}

TEST(ThreeDimensionalVector, ProductsNormsAndReality) {
  Vector const c = Vector(1, 0, 0).cross(Vector(0, 1, 0));
  EXPECT_EQ(1.0, c.getdZ());
  EXPECT_EQ(0.0, c.getdX());
  EXPECT_EQ(6.0, Vector(1, 2, 3).cross(Vector(4, 5, 6)).getdY());
  EXPECT_EQ(14.0, Vector(1, -2, 3).lSqr());
  EXPECT_EQ(3.0, Vector(1, -2, -3).linf());
  EXPECT_FALSE(Vector(1, 1e308 * 10, 0).getIsReal());
  EXPECT_FALSE(Vector(1, 0, nan).getIsReal());
  EXPECT_TRUE(Vector(1, 0, 0).getIsReal());
  EXPECT_EQ(6.283185307179586, Utility::twopi());
  Point const b = Utility::bary(Point(0, 0, 0), Point(2, 0, 0), Point(0, 4, 1), 0.5, 0.25, 0.25);
  EXPECT_EQ(Point(0.5, 1, 0.25), b);
}

TEST(ThreeDimensionalBox, IsClosedOnEveryFaceAndExpandKeepsTheOriginOfADefaultBox) {
  BoundingBoxAA box(Point(0, 0, 0), Vector(1, 1, 1));
  EXPECT_TRUE(box.getIsInside(Point(1, 1, 1)));
  EXPECT_TRUE(box.getIsInside(Point(0, 0.5, 1)));
  EXPECT_FALSE(box.getIsInside(Point(1, 1, 1.0000001)));
  EXPECT_FALSE(box.getIsInside(Point(-1e-7, 0, 0)));
  EXPECT_FALSE(box.getIsInside(Point(0, nan, 0)));
  EXPECT_TRUE(Point(2, 3, 4).getBoundingBox().getIsInside(Point(2, 3, 4)));

  box = BoundingBoxAA();
  box.expand(Point(2, 3, 4).getBoundingBox());
  EXPECT_EQ(Point(0, 0, 0), box.getp());
  EXPECT_EQ(Point(2, 3, 4), box.getp1());
  box.expand(BoundingBoxAA(Point(-1, 1, 1), Vector(1, 1, 1)));
  EXPECT_EQ(Point(-1, 0, 0), box.getp());
  EXPECT_EQ(4.0, box.getLongestAxisSize());
  EXPECT_EQ(Point(0.5, 1.5, 2), box.getCentrePoint());
}

} // namespace
