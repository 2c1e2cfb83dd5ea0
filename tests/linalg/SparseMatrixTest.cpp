#include <QARN/LinearAlgebra/SparseMatrix.h>

#include <common/Support.h>

#include <gtest/gtest.h>

namespace {

using QARN::LinearAlgebra::SparseMatrix;
using QARN::LinearAlgebra::Vector;
using QARN::Test::throwsPointer;
using DimensionError = SparseMatrix::SparseMatrixInvalidDimensionsException;

// Exposes the per-row bookkeeping.
struct Probe : SparseMatrix {
  using SparseMatrix::SparseMatrix;
  explicit Probe(SparseMatrix const& A) : SparseMatrix(A) {}
  using SparseMatrix::getApproxNonZeroElementsPerRow;
  using SparseMatrix::getNumberOfRowValues;
  using SparseMatrix::getRowCapacity;
};

TEST(SparseMatrix, SetKeepsOneEntryPerColumnAndExplicitZeros) {
  Probe m(3, 6, 8, SparseMatrix::Zero);
  m.set(0, 4, 1.0);
  m.set(0, 4, 2.0);
  m.set(0, 1, 0.0);
  m.acc(0, 4, 0.5);
  m.set(3, 0, 1.0);
  m.acc(0, 6, 1.0);
  EXPECT_EQ(2.5, m.get(0, 4));
  EXPECT_EQ(2u, m.getNumberOfRowValues(0));
  EXPECT_EQ(0u, m.getRowCapacity(1)); // never written: no arrays
}

TEST(SparseMatrix, RowsDoubleWhenOneShortOfFull) {
  Probe m(1, 8, 4, SparseMatrix::Zero);
  for (std::uint32_t c = 0; c < 3; ++c)
    m.set(0, c, c + 1.0);
  EXPECT_EQ(4u, m.getRowCapacity(0));
  m.set(0, 7, 4.0);
  EXPECT_EQ(8u, m.getRowCapacity(0));
  EXPECT_EQ(4u, m.getNumberOfRowValues(0));
  EXPECT_EQ(3.0, m.get(0, 2));
  // Replacing an entry grows a row that is one short of full, too.
  Probe r(1, 8, 3, SparseMatrix::Zero);
  r.set(0, 0, 1.0);
  r.set(0, 1, 1.0);
  r.set(0, 1, 2.0);
  EXPECT_EQ(6u, r.getRowCapacity(0));
}

TEST(SparseMatrix, ProductsSumInColumnOrderAndHaveFullRows) {
  SparseMatrix a(2, 3, 4, static_cast<SparseMatrix::Canonical>(7)); // taken as Zero
  a.set(0, 1, 1e16);
  a.set(0, 2, -1e16);
  a.set(0, 0, 1.0);
  Vector ones(3);
  ones.allOnes();
  EXPECT_EQ(0.0, (a * ones).get(0)); // 1 + 1e16 - 1e16; the write order would give 1
  SparseMatrix b(3, 4, 1, SparseMatrix::Zero);
  b.set(0, 1, 5.0);
  b.set(2, 1, 7.0);
  b.set(2, 3, 1.0);
  Probe c(a * b);
  EXPECT_EQ(4u, c.getNumberOfColumns());
  EXPECT_EQ(4u, c.getNumberOfRowValues(0));
  EXPECT_EQ(4u, c.getNumberOfRowValues(1)); // zeros, all stored
  EXPECT_EQ(5.0 - 7e16, c.get(0, 1));
  EXPECT_EQ(-1e16, c.get(0, 3));
}

TEST(SparseMatrix, ShapeChecksThrowPointers) {
  EXPECT_TRUE(throwsPointer<DimensionError>([] { SparseMatrix(2, 3, 4, SparseMatrix::Identity); }));
  EXPECT_TRUE(throwsPointer<DimensionError>([] { SparseMatrix(2, 2, 0, SparseMatrix::Zero); }));
  SparseMatrix a(2, 3, 4, SparseMatrix::Zero);
  SparseMatrix b(2, 2, 4, SparseMatrix::Zero);
  EXPECT_TRUE(throwsPointer<DimensionError>([&] { a* b; }));
  EXPECT_TRUE(throwsPointer<DimensionError>([&] { a - b; }));
  EXPECT_TRUE(throwsPointer<DimensionError>([&] { a* Vector(2); }));
  SparseMatrix::doUseSSE2 = true;
  bool const refused =
      throwsPointer<SparseMatrix::SparseMatrixUnsupportedSSE2Function>([&] { a + a; });
  SparseMatrix::doUseSSE2 = false;
  EXPECT_TRUE(refused);
}

TEST(SparseMatrix, SumsTransposeAndScalingKeepThePattern) {
  SparseMatrix a(2, 3, 2, SparseMatrix::Zero);
  a.set(0, 2, 4.0);
  a.set(1, 0, 0.0);
  a.set(1, 1, -1.0);
  SparseMatrix i(2, 3, 2, SparseMatrix::Zero);
  i.set(1, 1, 1.0);
  EXPECT_EQ(2u, Probe(a + (-1.0 * a)).getNumberOfRowValues(1));
  EXPECT_EQ(4u, Probe(a - i).getApproxNonZeroElementsPerRow());
  // Row sizes summing to 2^32 wrap to 0, which still gives rows room for one entry.
  SparseMatrix const huge(1, 2, 0x80000000u, SparseMatrix::Zero);
  Probe wrapped(huge + huge);
  wrapped.set(0, 1, 3.0);
  EXPECT_EQ(0u, wrapped.getApproxNonZeroElementsPerRow());
  EXPECT_EQ(1u, wrapped.getRowCapacity(0));
  EXPECT_EQ(-2.0, (a - i).get(1, 1));
  EXPECT_EQ(-4.0, (i - a).get(0, 2));
  Probe t(a.transpose());
  EXPECT_EQ(3u, t.getNumberOfRows());
  EXPECT_EQ(4.0, t.get(2, 0));
  EXPECT_EQ(1u, t.getNumberOfRowValues(0)); // the explicit zero
}

TEST(SparseMatrix, CopiesTrimRowsAndAdoptTheRowSizeOnlyWithTheRowCount) {
  Probe a(2, 4, 3, SparseMatrix::Zero);
  a.set(0, 1, 1.0);
  Probe same(2, 2, 5, SparseMatrix::Zero);
  Probe other(3, 4, 5, SparseMatrix::Zero);
  same = a;
  other = a;
  a.set(0, 1, 9.0);
  same.set(1, 0, 1.0);
  other.set(1, 0, 1.0);
  EXPECT_EQ(1u, same.getRowCapacity(0));
  EXPECT_EQ(5u, same.getRowCapacity(1));
  EXPECT_EQ(3u, other.getRowCapacity(1));
  EXPECT_EQ(1.0, other.get(0, 1));
}

} // namespace
