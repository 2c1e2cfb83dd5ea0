#include <QARN/LinearAlgebra/RowVector.h>
#include <QARN/LinearAlgebra/Utility.h>

#include <common/Support.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace {

using QARN::LinearAlgebra::SparseMatrix;
using QARN::LinearAlgebra::Utility;
using QARN::LinearAlgebra::Vector;
using QARN::Test::throwsPointer;

struct Recorder : QARN::ProgressListener, QARN::ProgressTerminator {
  std::vector<std::string> texts, names;
  std::vector<double> values;
  int others = 0;
  void setStatusText(char const* text) override { texts.emplace_back(text); }
  void setProgress(std::uint32_t) override { ++others; }
  void setValue(char const* name, double value) override {
    names.emplace_back(name);
    values.push_back(value);
  }
  void setIteration(std::uint32_t) override { ++others; }
  bool getIsTerminated() override { return ++others > 0; }
};

bool sameBits(double const* a, double const* b, std::size_t n) {
  return n == 0 || std::memcmp(a, b, n * sizeof(double)) == 0;
}

// Conjugate gradients written out plainly with the vector operators.
bool plainSolve(SparseMatrix const& A, Vector& x, Vector const& b, std::uint32_t& k,
                std::vector<double>& residuals) {
  Vector r = b - A * x, rPrev(r), p(r);
  double res = r.normL2();
  for (k = 0; res > 1e-20 && k < 262144; ++k) {
    if (k > 0)
      p = r + ((r.transpose() * r) / (rPrev.transpose() * rPrev)) * p;
    double const alpha = (r.transpose() * r) / (p.transpose() * (A * p));
    x = x + alpha * p;
    rPrev = r;
    r = r - alpha * (A * p);
    res = r.normL2();
    residuals.push_back(res);
  }
  return res <= 1e-20;
}

// Solves with a recording listener and terminator, then checks the reports and that the
// iterates, residuals and result are bitwise those of the plain recurrence.
bool solveAndCompare(SparseMatrix const& A, Vector& x, Vector const& b, std::uint32_t& k) {
  Vector plainX(x);
  std::uint32_t plainK = 0;
  std::vector<double> residuals;
  bool const plainResult = plainSolve(A, plainX, b, plainK, residuals);
  Recorder recorder;
  bool const result = Utility::solve(A, x, b, &k, &recorder, &recorder);
  EXPECT_EQ(plainResult, result);
  EXPECT_EQ(plainK, k);
  EXPECT_TRUE(sameBits(plainX.begin(), x.begin(), x.getNumberOfValues()));
  EXPECT_EQ(residuals.size(), recorder.values.size());
  EXPECT_TRUE(sameBits(residuals.data(), recorder.values.data(), recorder.values.size()));
  EXPECT_EQ(std::vector<std::string>{"Solving linear system..."}, recorder.texts);
  EXPECT_EQ(std::vector<std::string>(k, "Residual L2 norm"), recorder.names);
  EXPECT_EQ(0, recorder.others);
  return result;
}

// The Dirichlet Laplacian of a path of n vertices.
SparseMatrix laplacian(std::uint32_t n) {
  SparseMatrix A(n, n, 4, SparseMatrix::Zero);
  for (std::uint32_t i = 0; i < n; ++i) {
    A.set(i, i, 2.0);
    A.set(i, i + 1, -1.0);
    A.set(i + 1, i, -1.0);
  }
  return A;
}

TEST(Solve, LaplacianConvergesWithThePlainIterates) {
  SparseMatrix const A = laplacian(40);
  Vector b(40), x(40);
  for (std::uint32_t i = 0; i < 40; ++i) {
    b.set(i, 1.0 + (i * 37 % 11) / 7.0);
    x.set(i, (i % 5) * 0.25);
  }
  Vector start(x);
  std::uint32_t k = 0;
  EXPECT_TRUE(solveAndCompare(A, x, b, k));
  EXPECT_GT(k, 10u);
  EXPECT_LT((A * x - b).normL2(), 1e-10);
  EXPECT_TRUE(Utility::solve(A, start, b, nullptr, nullptr, nullptr)); // silently, the same run
  EXPECT_TRUE(sameBits(x.begin(), start.begin(), 40));
}

TEST(Solve, IdentityTakesOneIterationAndSolvedStartsNone) {
  Vector b(3), x(3);
  b.set(0, 0.1);
  b.set(2, 3e100);
  std::uint32_t k = 7;
  EXPECT_TRUE(solveAndCompare(SparseMatrix(3, 3, 1, SparseMatrix::Identity), x, b, k));
  EXPECT_EQ(1u, k);
  EXPECT_TRUE(sameBits(b.begin(), x.begin(), 3));
  SparseMatrix const A = laplacian(9);
  Vector y(9);
  y.allOnes();
  EXPECT_TRUE(solveAndCompare(A, y, A * y, k));
  EXPECT_EQ(0u, k);
  // The bound is the absolute residual norm 1e-20, met with equality.
  SparseMatrix const one(1, 1, 1, SparseMatrix::Identity);
  for (double const residual : {1e-20, 5e-20}) {
    Vector tiny(1), zero(1);
    tiny.set(0, residual);
    EXPECT_TRUE(Utility::solve(one, zero, tiny, &k, nullptr, nullptr));
    EXPECT_EQ(residual > 1e-20 ? 1u : 0u, k) << residual;
  }
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

TEST(Solve, ShapesAreCheckedWhereTheProductsNeedThem) {
  using MatrixError = SparseMatrix::SparseMatrixInvalidDimensionsException;
  SparseMatrix const rectangular(4, 2, 2, SparseMatrix::Zero);
  SparseMatrix const square(2, 2, 2, SparseMatrix::Identity);
  Vector x2(2), x3(3), b4(4);
  // A start that already meets the tolerance needs no A·p, rectangular or not.
  std::uint32_t k = 7;
  EXPECT_TRUE(Utility::solve(rectangular, x2, b4, &k, nullptr, nullptr));
  EXPECT_EQ(0u, k);
  b4.set(3, 1.0);
  x2.set(0, 5.0);
  Recorder recorder;
  EXPECT_TRUE(throwsPointer<MatrixError>(
      [&] { Utility::solve(rectangular, x2, b4, &k, &recorder, nullptr); }));
  EXPECT_EQ(1u, recorder.texts.size());
  EXPECT_TRUE(recorder.names.empty());
  EXPECT_EQ(0u, k);
  EXPECT_EQ(5.0, x2.get(0));
  // A·x is formed before b − A·x.
  EXPECT_TRUE(throwsPointer<MatrixError>(
      [&] { Utility::solve(square, x3, x3, nullptr, nullptr, nullptr); }));
  EXPECT_TRUE(throwsPointer<Vector::VectorInvalidDimensionsException>(
      [&] { Utility::solve(square, x2, x3, nullptr, nullptr, nullptr); }));
}

} // namespace
