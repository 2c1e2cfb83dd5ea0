#include <QARN/Geometry/TwoDimensional/BoundingBoxAA.h>
#include <QARN/Geometry/TwoDimensional/LinearMap.h>
#include <QARN/Geometry/TwoDimensional/Point.h>
#include <QARN/Geometry/TwoDimensional/Vector.h>

#include <common/Support.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

using namespace QARN::Geometry::TwoDimensional;

TEST(TwoDimensionalPoint, GetWrapsSetiWithEvenIndexSetsBothAndNaNNeverWins) {
  Point<int> p(1, 2);
  EXPECT_EQ(1, p.get(2));
  EXPECT_EQ(2, p.get(5));
  p.seti(3, 7);
  EXPECT_EQ(Point<int>(1, 7), p);
  p.seti(0, 5);
  EXPECT_EQ(Point<int>(5, 7), p);
  p.seti(2, 9);
  EXPECT_EQ(Point<int>(9, 9), p);
  Vector<double> w(1.0, 2.0);
  w.seti(4, 3.0);
  EXPECT_EQ(Vector<double>(3.0, 3.0), w);
  EXPECT_EQ(3.0, w.get(7));

  double const nan = std::numeric_limits<double>::quiet_NaN();
  Point<double> q(1.0, 5.0);
  q.setMin(Point<double>(nan, 2.0));
  EXPECT_EQ(Point<double>(1.0, 2.0), q);
  q.setMax(Point<double>(3.0, nan));
  EXPECT_EQ(Point<double>(3.0, 2.0), q);
  Point<std::uint32_t> r(4, 0);
  r.setMin(Point<std::uint32_t>(4294967295u, 0));
  EXPECT_EQ(4u, r.getU());
}

TEST(TwoDimensionalInt, ArithmeticWrapsModulo2To32) {
  Point<int> p = Point<int>(INT_MAX, INT_MIN) + Vector<int>(1, -1);
  EXPECT_EQ(Point<int>(INT_MIN, INT_MAX), p);
  EXPECT_EQ(Vector<int>(INT_MIN, 0), Vector<int>(0, INT_MIN).perp());
  EXPECT_EQ(0, Vector<int>(65536, 0).lSqr());
  EXPECT_EQ(-2, Vector<int>(INT_MAX, 0).det(Vector<int>(0, 2)));
  EXPECT_EQ(1, Point<int>(INT_MAX, 0).dSqr(Point<int>(-1, 1)));
  EXPECT_EQ(Vector<int>(-3, 3), Vector<int>(-7, 7) / 2);

  EXPECT_EQ(Vector<std::uint32_t>(4294967294u, 1), Vector<std::uint32_t>(1, 2).perp());
  EXPECT_EQ(Vector<std::uint32_t>(4294967295u, 0),
            Point<std::uint32_t>(0, 3) - Point<std::uint32_t>(1, 3));
  EXPECT_EQ(Vector<std::uint32_t>(2147483647u, 1), Vector<std::uint32_t>(4294967295u, 3) / 2u);
}

TEST(TwoDimensionalVector, DetSignNullityAndDivision) {
  EXPECT_GT(Vector<double>(1, 0).det(Vector<double>(0, 1)), 0.0);
  EXPECT_EQ(Vector<double>(-2, 1), Vector<double>(1, 2).perp());
  EXPECT_TRUE(Vector<double>(0.0, -0.0).getIsNull());
  EXPECT_FALSE(Vector<int>(0, 1).getIsNull());
  Vector<double> w(3.0, 1.0);
  w /= 2.0;
  EXPECT_EQ(Vector<double>(1.5, 0.5), w);
  EXPECT_TRUE(std::isnan((Vector<double>(0.0, 1.0) / 0.0).getdU()));
}

TEST(TwoDimensionalBox, IsHalfOpenAndExpandKeepsTheOriginOfADefaultBox) {
  BoundingBoxAA<int> box(Point<int>(0, 0), Vector<int>(2, 3));
  EXPECT_TRUE(box.isInside(Point<int>(0, 0)));
  EXPECT_TRUE(box.isInside(Point<int>(1, 2)));
  EXPECT_FALSE(box.isInside(Point<int>(2, 0)));
  EXPECT_FALSE(box.isInside(Point<int>(1, 3)));
  EXPECT_FALSE(box.isInside(Point<int>(-1, 0)));
  EXPECT_FALSE(Point<int>(1, 1).getBoundingBox().isInside(Point<int>(1, 1)));
  EXPECT_EQ(Point<int>(2, 3), box.getp1());

  box = BoundingBoxAA<int>(Point<int>(5, 5), Vector<int>(1, 1));
  box.expand(BoundingBoxAA<int>(Point<int>(0, 0), Vector<int>(1, 1)));
  EXPECT_EQ(Point<int>(0, 0), box.getp());
  EXPECT_EQ(Vector<int>(6, 6), box.getd());
  BoundingBoxAA<double> grown;
  grown.expand(BoundingBoxAA<double>(Point<double>(2.0, 3.0), Vector<double>(1.0, 1.0)));
  EXPECT_EQ(Point<double>(0.0, 0.0), grown.getp());
  EXPECT_EQ(Vector<double>(3.0, 4.0), grown.getd());
}

TEST(TwoDimensionalLinearMap, ConstructionRotationInverseAndUnknownDefault) {
  EXPECT_EQ(LinearMap<double>(0.0, 0.0, 0.0, 0.0), LinearMap<double>());
  EXPECT_EQ(LinearMap<double>(1.0, 0.0, 0.0, 1.0), LinearMap<double>(Identity));
  LinearMap<double> const R(1.0, 4.0, 2.0);
  Vector<double> const e0 = R * Vector<double>(1.0, 0.0);
  Vector<double> const e1 = R(Vector<double>(0.0, 1.0));
  EXPECT_NEAR(0.0, e0.getdU(), 1e-15);
  EXPECT_EQ(2.0, e0.getdV());
  EXPECT_EQ(-2.0, e1.getdU());
  EXPECT_NEAR(0.0, e1.getdV(), 1e-15);
  LinearMap<double> const M(2.0, 1.0, 1.0, 1.0);
  EXPECT_EQ(LinearMap<double>(1.0, -1.0, -1.0, 2.0), M.inverse());
  EXPECT_EQ(LinearMap<double>(Identity), M * M.inverse());
  EXPECT_EQ(LinearMap<double>(4.0, 3.0, 3.0, 2.0), M(M) - LinearMap<double>(1.0, 0.0, 0.0, 0.0));
  EXPECT_EQ("Unsupported linear map initialisation.",
            QARN::Test::messageOf([] { LinearMap<double>(static_cast<DefaultLinearMaps>(1)); }));
}

} // namespace
