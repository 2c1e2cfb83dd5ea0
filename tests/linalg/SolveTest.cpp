#include "Throws.h"

#include <QARN/LinearAlgebra/RowVector.h>
#include <QARN/LinearAlgebra/Utility.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace {

using QARN::LinearAlgebra::SparseMatrix;
using QARN::LinearAlgebra::Utility;
using QARN::LinearAlgebra::Vector;

struct Recorder : QARN::ProgressListener {
  std::vector<std::string> texts;
  std::vector<std::string> names;
  std::vector<double> values;
  int others = 0;
  void setStatusText(char const* text) override { texts.emplace_back(text); }
  void setProgress(std::uint32_t) override { ++others; }
  void setValue(char const* name, double value) override {
    names.emplace_back(name);
    values.push_back(value);
  }
  void setIteration(std::uint32_t) override { ++others; }
};

struct Terminator : QARN::ProgressTerminator {
  int calls = 0;
  bool getIsTerminated() override { return ++calls > 0; }
};

// Conjugate gradients written out with the vector operators, one temporary per step.
bool plainSolve(SparseMatrix const& A, Vector& x, Vector const& b, std::uint32_t& k,
                std::vector<double>& residuals) {
  std::uint32_t const n = b.getNumberOfValues();
  Vector r(n), rCur(n), rPrev(n), xK(n), xOld(n), p(n), pOld(n);
  xK = x;
  r = b - A * xK;
  double res = r.normL2();
  for (k = 0; res > 1e-20 && k < 262144;) {
    ++k;
    rPrev = rCur;
    rCur = r;
    xOld = xK;
    pOld = p;
    if (k == 1)
      p = rCur;
    else
      p = rCur + ((rCur.transpose() * rCur) / (rPrev.transpose() * rPrev)) * pOld;
    double const alpha = (rCur.transpose() * rCur) / (p.transpose() * (A * p));
    xK = xOld + alpha * p;
    r = rCur - alpha * (A * p);
    res = r.normL2();
    residuals.push_back(res);
  }
  x = xK;
  return res <= 1e-20;
}

bool sameBits(double const* a, double const* b, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i)
    if (std::memcmp(a + i, b + i, sizeof(double)) != 0)
      return false;
  return true;
}

bool sameBits(Vector const& a, Vector const& b) {
  return a.getNumberOfValues() == b.getNumberOfValues() &&
         sameBits(a.begin(), b.begin(), a.getNumberOfValues());
}

// Solves with a recording listener, checks the reports and the plain recurrence's iterates.
bool solveAndCompare(SparseMatrix const& A, Vector& x, Vector const& b, std::uint32_t& k) {
  Vector plainX(x);
  std::uint32_t plainK = 0;
  std::vector<double> plainResiduals;
  bool const plainResult = plainSolve(A, plainX, b, plainK, plainResiduals);
  Recorder listener;
  Terminator terminator;
  bool const result = Utility::solve(A, x, b, &k, &listener, &terminator);
  EXPECT_EQ(plainResult, result);
  EXPECT_EQ(plainK, k);
  EXPECT_TRUE(sameBits(plainX, x));
  EXPECT_EQ(plainResiduals.size(), listener.values.size());
  EXPECT_TRUE(sameBits(plainResiduals.data(), listener.values.data(),
                       std::min(plainResiduals.size(), listener.values.size())));
  EXPECT_EQ(std::vector<std::string>{"Solving linear system..."}, listener.texts);
  EXPECT_EQ(std::vector<std::string>(k, "Residual L2 norm"), listener.names);
  EXPECT_EQ(0, listener.others);
  EXPECT_EQ(0, terminator.calls);
  return result;
}

SparseMatrix gridLaplacian(std::uint32_t side) {
  SparseMatrix A(side * side, side * side, 6, SparseMatrix::Zero);
  for (std::uint32_t v = 0; v < side; ++v)
    for (std::uint32_t u = 0; u < side; ++u) {
      std::uint32_t const i = v * side + u;
      A.set(i, i, 4.0);
      if (u > 0)
        A.set(i, i - 1, -1.0);
      if (u + 1 < side)
        A.set(i, i + 1, -1.0);
      if (v > 0)
        A.set(i, i - side, -1.0);
      if (v + 1 < side)
        A.set(i, i + side, -1.0);
    }
  return A;
}

TEST(Solve, LaplacianConvergesWithThePlainIterates) {
  SparseMatrix const A = gridLaplacian(12);
  Vector b(144), x(144);
  for (std::uint32_t i = 0; i < 144; ++i) {
    b.set(i, 1.0 + (i * 37 % 11) / 7.0);
    x.set(i, (i % 5) * 0.25);
  }
  std::uint32_t k = 0;
  EXPECT_TRUE(solveAndCompare(A, x, b, k));
  EXPECT_GT(k, 10u);
  EXPECT_LT(k, 144u);
  EXPECT_LT((A * x - b).normL2(), 1e-12);
  // Null listener and terminator: the same run, silently.
  Vector y(144);
  std::uint32_t plainK = 0;
  std::vector<double> residuals;
  plainSolve(A, y, b, plainK, residuals);
  Vector z(144);
  EXPECT_TRUE(Utility::solve(A, z, b, nullptr, nullptr, nullptr));
  EXPECT_TRUE(sameBits(y, z));
}

TEST(Solve, IdentityTakesOneExactIteration) {
  SparseMatrix const I(3, 3, 1, SparseMatrix::Identity);
  Vector b(3), x(3);
  b.set(0, 0.1);
  b.set(1, -7.0);
  b.set(2, 3e100);
  std::uint32_t k = 0;
  EXPECT_TRUE(solveAndCompare(I, x, b, k));
  EXPECT_EQ(1u, k);
  EXPECT_TRUE(sameBits(b, x));
}

TEST(Solve, SolvedStartsTakeNoIteration) {
  SparseMatrix const A = gridLaplacian(3);
  Vector x(9);
  for (std::uint32_t i = 0; i < 9; ++i)
    x.set(i, i * 2.0 - 5.0);
  Vector const b = A * x;
  std::uint32_t k = 7;
  EXPECT_TRUE(solveAndCompare(A, x, b, k));
  EXPECT_EQ(0u, k);
  Vector none(0);
  EXPECT_TRUE(solveAndCompare(SparseMatrix(0, 0, 1, SparseMatrix::Zero), none, none, k));
  EXPECT_EQ(0u, k);
}

TEST(Solve, SingularAndNonSymmetricSystemsFail) {
  Vector b(2), x(2);
  b.set(0, 1.0);
  std::uint32_t k = 0;
  EXPECT_FALSE(solveAndCompare(SparseMatrix(2, 2, 1, SparseMatrix::Zero), x, b, k));
  EXPECT_EQ(1u, k);
  // A rotation-like matrix keeps the iterates finite until the iteration limit.
  SparseMatrix A(2, 2, 2, SparseMatrix::Identity);
  A.set(0, 1, -2.0);
  A.set(1, 0, 2.0);
  x.zero();
  b.set(1, 0.5);
  EXPECT_FALSE(solveAndCompare(A, x, b, k));
  EXPECT_EQ(262144u, k);
  EXPECT_TRUE(std::isfinite(x.get(0)));
}

TEST(Solve, ShapeMismatchesThrowPointers) {
  using MatrixError = SparseMatrix::SparseMatrixInvalidDimensionsException;
  SparseMatrix const rectangular(4, 2, 2, SparseMatrix::Zero);
  SparseMatrix const square(2, 2, 2, SparseMatrix::Identity);
  Vector x2(2), x3(3), b4(4), b3(3);
  Recorder listener;
  EXPECT_TRUE(throwsPointer<MatrixError>(
      [&] { Utility::solve(rectangular, x2, b4, nullptr, &listener, nullptr); }));
  EXPECT_TRUE(throwsPointer<MatrixError>(
      [&] { Utility::solve(square, x3, x2, nullptr, nullptr, nullptr); }));
  EXPECT_TRUE(throwsPointer<Vector::VectorInvalidDimensionsException>(
      [&] { Utility::solve(square, x2, b3, nullptr, nullptr, nullptr); }));
  EXPECT_EQ(1u, listener.texts.size());
  EXPECT_TRUE(listener.values.empty());
  EXPECT_FALSE(Utility::isSSEPresent() || Utility::isSSE2Present());
}

} // namespace
