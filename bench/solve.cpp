// Conjugate gradients on the 5-point Laplacian of a 500 x 500 grid (Dirichlet boundary, so the
// matrix is SPD with diagonal 4) against one sparse matrix-vector product on the same matrix.
// The right-hand side is all ones: the solve runs to the fixed 1e-20 residual in a few thousand
// iterations, a few seconds, so each solve benchmark is a single timed run.
#include <QARN/LinearAlgebra/Utility.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>

namespace {

using QARN::LinearAlgebra::SparseMatrix;
using QARN::LinearAlgebra::Utility;
using QARN::LinearAlgebra::Vector;

constexpr std::uint32_t side = 500;
constexpr std::uint32_t unknowns = side * side;

SparseMatrix const& laplacian() {
  static SparseMatrix const A = [] {
    SparseMatrix m(unknowns, unknowns, 6, SparseMatrix::Zero);
    for (std::uint32_t v = 0; v < side; ++v)
      for (std::uint32_t u = 0; u < side; ++u) {
        std::uint32_t const i = v * side + u;
        m.set(i, i, 4.0);
        if (u > 0)
          m.set(i, i - 1, -1.0);
        if (u + 1 < side)
          m.set(i, i + 1, -1.0);
        if (v > 0)
          m.set(i, i - side, -1.0);
        if (v + 1 < side)
          m.set(i, i + side, -1.0);
      }
    return m;
  }();
  return A;
}

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Mean time of one product through the public operator (which also allocates the result).
double productSeconds(SparseMatrix const& A, Vector const& v, int count) {
  auto const start = std::chrono::steady_clock::now();
  for (int i = 0; i < count; ++i) {
    Vector y = A * v;
    benchmark::DoNotOptimize(y.begin());
  }
  return secondsSince(start) / count;
}

void BM_SparseProduct(benchmark::State& state) {
  SparseMatrix const& A = laplacian();
  Vector v(unknowns);
  v.allOnes();
  for (auto _ : state) {
    Vector y = A * v;
    benchmark::DoNotOptimize(y.begin());
  }
  state.SetItemsProcessed(state.iterations() * unknowns);
}
BENCHMARK(BM_SparseProduct)->Unit(benchmark::kMicrosecond);

void BM_Solve(benchmark::State& state) {
  SparseMatrix const& A = laplacian();
  Vector b(unknowns);
  b.allOnes();
  double const product = productSeconds(A, b, 50);
  std::uint32_t iterations = 0;
  double seconds = 0.0;
  for (auto _ : state) {
    Vector x(unknowns);
    auto const start = std::chrono::steady_clock::now();
    bool const converged = Utility::solve(A, x, b, &iterations, nullptr, nullptr);
    seconds += secondsSince(start);
    if (!converged)
      state.SkipWithError("solve did not converge");
  }
  double const total = static_cast<double>(iterations) * state.iterations();
  state.counters["cg_iterations"] = iterations;
  state.counters["iterations_per_s"] = total / seconds;
  state.counters["us_per_iteration"] = seconds / total * 1e6;
  state.counters["us_per_product"] = product * 1e6;
  state.counters["iteration_over_product"] = seconds / total / product;
}
BENCHMARK(BM_Solve)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
