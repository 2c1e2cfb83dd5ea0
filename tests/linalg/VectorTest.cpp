#include "Throws.h"

#include <QARN/LinearAlgebra/RowVector.h>
#include <QARN/LinearAlgebra/Vector.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using QARN::LinearAlgebra::RowVector;
using QARN::LinearAlgebra::Vector;
using VectorError = Vector::VectorInvalidDimensionsException;
using RowVectorError = RowVector::RowVectorInvalidDimensionsException;

Vector make(std::initializer_list<double> values) {
  Vector v(static_cast<std::uint32_t>(values.size()));
  std::uint32_t i = 0;
  for (double x : values)
    v.set(i++, x);
  return v;
}

TEST(Vector, ZeroFilledWithSilentOutOfRangeAccess) {
  Vector v(3);
  EXPECT_EQ(0.0, v.get(0) + v.get(1) + v.get(2));
  v.set(3, 1.0);
  v.acc(3, 1.0);
  v.acc(1, 2.5);
  v.acc(1, 2.5);
  EXPECT_EQ(0.0, v.get(3));
  EXPECT_EQ(5.0, v.get(1));
  EXPECT_EQ(3, v.end() - v.begin());
  EXPECT_TRUE(Vector::isSSE2Checked);
  EXPECT_FALSE(Vector::doUseSSE2);
}

TEST(Vector, CopiesAreDeepAndSetTakesTheSourceLength) {
  Vector v = make({1, 2});
  Vector copy(v);
  v.set(0, 9.0);
  EXPECT_EQ(1.0, copy.get(0));
  Vector w = make({4, 5, 6});
  v.set(&w);
  EXPECT_EQ(3u, v.getNumberOfValues());
  EXPECT_EQ(6.0, v.get(2));
  copy = w;
  EXPECT_EQ(3u, copy.getNumberOfValues());
}

TEST(Vector, ArithmeticAndNorms) {
  Vector a = make({3, -4});
  Vector b = make({1, 2});
  EXPECT_EQ(4.0, (a + b).get(0));
  EXPECT_EQ(-6.0, (a - b).get(1));
  EXPECT_EQ(4.0, (-a).get(1));
  EXPECT_EQ(-8.0, (a * 2.0).get(1));
  EXPECT_EQ(6.0, (2.0 * a).get(0));
  EXPECT_EQ(1.5, (a / 2.0).get(0));
  EXPECT_EQ(25.0, a.normL2Sqr());
  EXPECT_EQ(5.0, a.normL2());
  EXPECT_EQ(0.0, Vector(0).normL2());
  a += b;
  a -= make({10});
  EXPECT_EQ(-6.0, a.get(0));
  EXPECT_EQ(-2.0, a.get(1));
  a.allOnes();
  EXPECT_EQ(2.0, a.normL2Sqr());
  a.zero();
  EXPECT_EQ(0.0, a.normL2Sqr());
}

TEST(Vector, InnerProductIsSummedInIndexOrder) {
  // 1 + 1e16 rounds the 1 away; summing from the other end would keep it.
  Vector a = make({1, 1e16, -1e16});
  RowVector row = a.transpose();
  EXPECT_EQ(0.0, row * make({1, 1, 1}));
  EXPECT_EQ(-3e16, (row * 3.0).get(2));
  EXPECT_EQ(1e16 + 2, make({1, 1, 1e8}).normL2Sqr());
}

TEST(Vector, LengthMismatchesThrowPointers) {
  EXPECT_TRUE(throwsPointer<VectorError>([] { Vector(2) + Vector(3); }));
  EXPECT_TRUE(throwsPointer<VectorError>([] { Vector(2) - Vector(3); }));
  EXPECT_TRUE(throwsPointer<RowVectorError>([] { Vector(2).transpose() * Vector(3); }));
}

TEST(Vector, SimdSwitchRefusesLengthsNotMultipleOfEight) {
  Vector::doUseSSE2 = true;
  bool const refused = throwsPointer<VectorError>([] { Vector(3); });
  Vector eight(8);
  Vector::doUseSSE2 = false;
  EXPECT_TRUE(refused);
  EXPECT_EQ(8u, eight.getNumberOfValues());
}

} // namespace
