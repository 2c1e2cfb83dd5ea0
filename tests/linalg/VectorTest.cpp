#include <QARN/LinearAlgebra/RowVector.h>

#include <common/Support.h>

#include <gtest/gtest.h>

namespace {

using QARN::LinearAlgebra::RowVector;
using QARN::LinearAlgebra::Vector;
using QARN::Test::throwsPointer;

Vector make(std::initializer_list<double> values) {
  Vector v(static_cast<std::uint32_t>(values.size()));
  std::uint32_t i = 0;
  for (double x : values)
    v.set(i++, x);
  return v;
}

TEST(Vector, OutOfRangeAccessIsSilentAndSetTakesTheSourceLength) {
  Vector v(3);
  v.set(3, 1.0);
  v.acc(3, 1.0);
  v.acc(1, 2.5);
  EXPECT_EQ(0.0, v.get(3));
  EXPECT_EQ(6.25, v.normL2Sqr());
  Vector const w = make({4, 5, 6, 7});
  Vector copy(v);
  v.set(&w);
  EXPECT_EQ(4u, v.getNumberOfValues());
  EXPECT_EQ(2.5, copy.get(1));
  copy += w; // over copy's own length
  EXPECT_EQ(7.5, copy.get(1));
  EXPECT_TRUE(Vector::isSSE2Checked);
  EXPECT_FALSE(Vector::doUseSSE2);
}

TEST(Vector, SumsRunInIndexOrder) {
  // 1 + 1e16 rounds the 1 away; summing from the other end would keep it.
  RowVector const row = make({1, 1e16, -1e16}).transpose();
  EXPECT_EQ(0.0, row * make({1, 1, 1}));
  EXPECT_EQ(1e16 + 2, make({1, 1, 1e8}).normL2Sqr());
  EXPECT_EQ(5.0, make({3, -4}).normL2());
  EXPECT_EQ(0.0, Vector(0).normL2());
  EXPECT_EQ(-3e16, (row * 3.0).get(2));
  EXPECT_EQ(-1.5, (make({1, 2}) - 2.0 * make({1, 1}) - make({1, 0}) / 2.0).get(0));
}

TEST(Vector, LengthMismatchesThrowPointers) {
  using VectorError = Vector::VectorInvalidDimensionsException;
  EXPECT_TRUE(throwsPointer<VectorError>([] { Vector(2) + Vector(3); }));
  EXPECT_TRUE(throwsPointer<VectorError>([] { Vector(2) - Vector(3); }));
  EXPECT_TRUE(throwsPointer<RowVector::RowVectorInvalidDimensionsException>(
      [] { Vector(2).transpose() * Vector(3); }));
  Vector::doUseSSE2 = true; // the SIMD switch refuses lengths that are not a multiple of 8
  bool const refused = throwsPointer<VectorError>([] { Vector(3); });
  Vector eight(8);
  Vector::doUseSSE2 = false;
  EXPECT_TRUE(refused);
}

} // namespace
