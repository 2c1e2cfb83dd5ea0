#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

#include "DenseSolvers.h"

#include <QARN/Exception.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace QARN::Geometry::ThreeDimensional {

namespace {

Vector position(Point const& p) {
  return Vector(p.getX(), p.getY(), p.getZ());
}

/// The point of segment [a, b] nearest p as the fraction along it.
double closestOnSegment(Vector const& a, Vector const& b, Vector const& p) {
  Vector const ab = b - a;
  double const length = ab.lSqr();
  if (length == 0.0)
    return 0.0;
  return std::clamp((p - a).dot(ab) / length, 0.0, 1.0);
}

} // namespace

double Utility::twopi() {
  return 6.283185307179586;
}

Point Utility::bary(Point const& P0, Point const& P1, Point const& P2, double l0, double l1,
                    double l2) {
  Point B;
  for (std::uint32_t i = 0; i < 3; ++i)
    B.seti(i, l0 * P0.get(i) + l1 * P1.get(i) + l2 * P2.get(i));
  return B;
}

Vector Utility::getTriangleNormal(Point const& P0, Point const& P1, Point const& P2) {
  return (P1 - P0).cross(P2 - P0);
}

double Utility::getTriangleArea(Point const& P0, Point const& P1, Point const& P2) {
  return 0.5 * std::sqrt(getTriangleNormal(P0, P1, P2).lSqr());
}

bool Utility::getBarycentricCoordinates(Point const& P0, Point const& P1, Point const& P2,
                                        Point const& q, double& l0, double& l1, double& l2) {
  Vector const e1 = P1 - P0;
  Vector const e2 = P2 - P0;
  Vector const n = e1.cross(e2);
  double const nn = n.lSqr();
  if (!(nn > 0.0))
    return false;
  Vector const w = q - P0;
  l1 = w.cross(e2).dot(n) / nn;
  l2 = e1.cross(w).dot(n) / nn;
  l0 = 1.0 - l1 - l2;
  return true;
}

// By the Voronoi regions of the corners, then of the sides, then the face (as in Ericson's
// "Real-Time Collision Detection").
Vector Utility::getClosestPointOnTriangle(Point const& P0, Point const& P1, Point const& P2,
                                          Point const& q, double* weights) {
  Vector const a = position(P0);
  Vector const b = position(P1);
  Vector const c = position(P2);
  Vector const p = position(q);
  double w[3] = {1.0, 0.0, 0.0};
  Vector const ab = b - a;
  Vector const ac = c - a;
  Vector const ap = p - a;
  double const d1 = ab.dot(ap);
  double const d2 = ac.dot(ap);
  Vector const bp = p - b;
  double const d3 = ab.dot(bp);
  double const d4 = ac.dot(bp);
  Vector const cp = p - c;
  double const d5 = ab.dot(cp);
  double const d6 = ac.dot(cp);
  double const vc = d1 * d4 - d3 * d2;
  double const vb = d5 * d2 - d1 * d6;
  double const va = d3 * d6 - d5 * d4;
  auto const set = [&](double w0, double w1, double w2) {
    w[0] = w0;
    w[1] = w1;
    w[2] = w2;
  };
  if (d1 <= 0.0 && d2 <= 0.0) {
    set(1.0, 0.0, 0.0);
  } else if (d3 >= 0.0 && d4 <= d3) {
    set(0.0, 1.0, 0.0);
  } else if (d6 >= 0.0 && d5 <= d6) {
    set(0.0, 0.0, 1.0);
  } else if (vc <= 0.0 && d1 >= 0.0 && d3 <= 0.0 && d1 - d3 > 0.0) {
    double const v = d1 / (d1 - d3);
    set(1.0 - v, v, 0.0);
  } else if (vb <= 0.0 && d2 >= 0.0 && d6 <= 0.0 && d2 - d6 > 0.0) {
    double const v = d2 / (d2 - d6);
    set(1.0 - v, 0.0, v);
  } else if (va <= 0.0 && d4 - d3 >= 0.0 && d5 - d6 >= 0.0 && (d4 - d3) + (d5 - d6) > 0.0) {
    double const v = (d4 - d3) / ((d4 - d3) + (d5 - d6));
    set(0.0, 1.0 - v, v);
  } else if (va + vb + vc > 0.0) {
    double const v = vb / (va + vb + vc);
    double const u = vc / (va + vb + vc);
    set(1.0 - v - u, v, u);
  } else {
    // No area: the nearest point of the three sides.
    Vector const corners[3] = {a, b, c};
    double best = -1.0;
    for (std::uint32_t k = 0; k < 3; ++k) {
      Vector const& from = corners[k];
      Vector const& to = corners[(k + 1) % 3];
      double const t = closestOnSegment(from, to, p);
      double const distance = (from + t * (to - from) - p).lSqr();
      if (best < 0.0 || distance < best) {
        best = distance;
        w[k] = 1.0 - t;
        w[(k + 1) % 3] = t;
        w[(k + 2) % 3] = 0.0;
      }
    }
  }
  if (weights != nullptr)
    std::copy(w, w + 3, weights);
  return w[0] * a + w[1] * b + w[2] * c;
}

double Utility::minimiseSumOfSquares(RealValuedVectorFunction const& f, double* x,
                                     std::uint32_t maxIterations) {
  std::uint32_t const n = f.getNumberOfVariables();
  std::uint32_t const m = f.getNumberOfValues();
  if (n < 1 || n > DenseSolvers::maxSize)
    throw Exception("Invalid number of variables");
  constexpr std::uint32_t block = 256;
  std::vector<double> values(block);
  std::vector<double> jacobian(std::size_t(block) * n);
  // The sum of squares at y and, when normal is not null, JᵀJ into normal and Jᵀf into gradient.
  auto const accumulate = [&](double const* y, double* normal, double* gradient) {
    double sum = 0.0;
    if (normal != nullptr) {
      std::fill(normal, normal + n * n, 0.0);
      std::fill(gradient, gradient + n, 0.0);
    }
    for (std::uint32_t first = 0; first < m; first += block) {
      std::uint32_t const count = std::min(block, m - first);
      f.evaluate(y, first, count, values.data(), normal != nullptr ? jacobian.data() : nullptr);
      for (std::uint32_t i = 0; i < count; ++i) {
        sum += values[i] * values[i];
        if (normal == nullptr)
          continue;
        double const* row = jacobian.data() + std::size_t(i) * n;
        for (std::uint32_t r = 0; r < n; ++r) {
          gradient[r] += row[r] * values[i];
          for (std::uint32_t c = r; c < n; ++c)
            normal[r * n + c] += row[r] * row[c];
        }
      }
    }
    return sum;
  };

  double normal[DenseSolvers::maxSize * DenseSolvers::maxSize];
  double gradient[DenseSolvers::maxSize];
  double trial[DenseSolvers::maxSize];
  double cost = accumulate(x, normal, gradient);
  double damping = 1e-3;
  for (std::uint32_t iteration = 0; iteration < maxIterations && std::isfinite(cost); ++iteration) {
    double largest = 0.0;
    for (std::uint32_t r = 0; r < n; ++r)
      largest = std::max(largest, normal[r * n + r]);
    if (!(largest > 0.0))
      break;
    // Raise the damping until a step lowers the sum (or the damping is beyond use).
    bool accepted = false;
    double step[DenseSolvers::maxSize];
    double trialCost = cost;
    while (!accepted && damping < 1e20) {
      double A[DenseSolvers::maxSize * DenseSolvers::maxSize];
      std::copy(normal, normal + n * n, A);
      double rhs[DenseSolvers::maxSize];
      for (std::uint32_t r = 0; r < n; ++r) {
        A[r * n + r] += damping * std::max(normal[r * n + r], 1e-12 * largest);
        rhs[r] = -gradient[r];
      }
      if (DenseSolvers::solveSymmetric(n, A, rhs, step, 0.0)) {
        for (std::uint32_t r = 0; r < n; ++r)
          trial[r] = x[r] + step[r];
        trialCost = accumulate(trial, nullptr, nullptr);
        accepted = trialCost < cost;
      }
      if (!accepted)
        damping *= 4.0;
    }
    if (!accepted)
      break;
    double stepSize = 0.0;
    double size = 0.0;
    for (std::uint32_t r = 0; r < n; ++r) {
      stepSize += step[r] * step[r];
      size += x[r] * x[r];
      x[r] = trial[r];
    }
    bool const done = cost - trialCost <= 1e-14 * cost ||
                      std::sqrt(stepSize) <= 1e-12 * (std::sqrt(size) + 1e-12);
    damping = std::max(damping / 3.0, 1e-12);
    cost = accumulate(x, normal, gradient);
    if (done)
      break;
  }
  return cost;
}

} // namespace QARN::Geometry::ThreeDimensional
