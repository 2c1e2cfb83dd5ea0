#include <QARN/Geometry/ThreeDimensional/AffineMap.h>
#include <QARN/Geometry/ThreeDimensional/LinearMap.h>
#include <QARN/Geometry/ThreeDimensional/Quaternion.h>
#include <QARN/Geometry/ThreeDimensional/Vector.h>

#include <common/Support.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using namespace QARN::Geometry::ThreeDimensional;
using QARN::Test::messageOf;

double const pi = 3.141592653589793;

void expectNear(Vector const& expected, Vector const& actual, double tolerance = 1e-12) {
  for (std::uint32_t i = 0; i < 3; ++i)
    EXPECT_NEAR(expected.get(i), actual.get(i), tolerance) << "component " << i;
}

void expectNear(LinearMap const& expected, LinearMap const& actual, double tolerance) {
  for (std::uint32_t r = 0; r < 3; ++r)
    for (std::uint32_t c = 0; c < 3; ++c)
      EXPECT_NEAR(expected.get(r, c), actual.get(r, c), tolerance) << r << "," << c;
}

Vector randomUnit(std::mt19937& random) {
  std::normal_distribution<double> normal;
  Vector v(normal(random), normal(random), normal(random));
  return v / std::sqrt(v.lSqr());
}

TEST(LinearMap, RotationSensesAndEulerOrder) {
  LinearMap R;
  R.setRotation(LinearMap::Z, pi / 2);
  expectNear(Vector(0, 1, 0), R * Vector(1, 0, 0));
  R.setRotation(LinearMap::X, pi / 2);
  expectNear(Vector(0, 0, 1), R(Vector(0, 1, 0)));
  R.setRotation(LinearMap::Y, pi / 2);
  expectNear(Vector(1, 0, 0), R(Vector(0, 0, 1)));
  // The first axis acts first: X takes (0,1,0) to (0,0,1), which Z leaves alone.
  LinearMap::RotationAxis const axes[3] = {LinearMap::X, LinearMap::Z, LinearMap::Y};
  LinearMap const E(axes, Vector(pi / 2, pi / 2, 0));
  expectNear(Vector(0, 0, 1), E * Vector(0, 1, 0));
  EXPECT_NEAR(1.0, E.det(), 1e-15);
  expectNear(E.inverse(), E.transpose(), 1e-15);
}

TEST(LinearMap, DerivativesMatchDifferenceQuotients) {
  LinearMap::RotationAxis const axes[3] = {LinearMap::Y, LinearMap::X, LinearMap::Z};
  Vector const angles(0.3, -1.1, 2.0);
  double const h = 1e-6;
  for (std::uint32_t k = 0; k < 3; ++k) {
    Vector up = angles, down = angles;
    up.inc(k, h);
    down.inc(k, -h);
    LinearMap const quotient = LinearMap(axes, up) - LinearMap(axes, down);
    LinearMap D;
    D.setRotationDerivative(k, axes, angles);
    for (std::uint32_t r = 0; r < 3; ++r)
      for (std::uint32_t c = 0; c < 3; ++c)
        EXPECT_NEAR(quotient.get(r, c), D.get(r, c) * 2 * h, 1e-14) << k << ": " << r << "," << c;
  }
}

TEST(LinearMap, ErrorsAndOutOfRangeAccess) {
  LinearMap M;
  LinearMap::RotationAxis const bad = static_cast<LinearMap::RotationAxis>(3);
  LinearMap::RotationAxis const axes[3] = {LinearMap::X, LinearMap::Y, LinearMap::Z};
  EXPECT_EQ("Invalid rotation axis.", messageOf([&] { M.setRotation(bad, 0.0); }));
  EXPECT_EQ("Invalid rotation axis.", messageOf([&] { M.setRotationDerivative(bad, 0.0); }));
  EXPECT_EQ("Invalid derivative axis.",
            messageOf([&] { M.setRotationDerivative(3, axes, Vector()); }));
  M = LinearMap(Vector(1, 2, 3), Vector(4, 5, 6), Vector(7, 8, 9));
  M.set(0, 3, 1.0);
  M.inc(3, 0, 1.0);
  EXPECT_EQ(0.0, M.get(3, 0));
  EXPECT_EQ(4.0, M.get(0, 1));
  EXPECT_EQ(15.0, M.trace());
  expectNear(Vector(0, 0, 0), M.getColumn(0), 0.0);
  expectNear(Vector(7, 8, 0), M.getColumn(2), 0.0);
  expectNear(Vector(0, 0, 0), M.getColumn(3), 0.0);
}

TEST(AffineMap, ComposesAndInverts) {
  LinearMap::RotationAxis const axes[3] = {LinearMap::X, LinearMap::Y, LinearMap::Z};
  AffineMap const A(LinearMap(axes, Vector(0.1, 0.2, 0.3)), Vector(1, 2, 3));
  AffineMap const B(LinearMap(Vector(2, 0, 0), Vector(0, 3, 0), Vector(1, 0, 1)), Vector(-1, 0, 4));
  Vector const v(0.5, -0.25, 2);
  expectNear(A(B(v)), (A * B)(v));
  expectNear(v, A.inverse()(A(v)));
  expectNear(v, (B * B.inverse())(v));
}

TEST(Quaternion, RotAgreesWithItsMatrixForNonUnitQuaternions) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> uniform(-3.0, 3.0);
  for (int i = 0; i < 50; ++i) {
    Quaternion const q(uniform(random), uniform(random), uniform(random), uniform(random));
    Vector const v(uniform(random), uniform(random), uniform(random));
    expectNear(LinearMap(q) * v, v.rot(q), 1e-12);
    EXPECT_NEAR(v.lSqr(), v.rot(q).lSqr(), 1e-12);
  }
  LinearMap R;
  Quaternion(2, 0, 0, 0).getRotation(R);
  LinearMap I;
  I.setAsIdentity();
  expectNear(I, R, 0.0);
  EXPECT_EQ(2.0, Quaternion(1, 2, 3, 4).get(5));
  EXPECT_EQ(-4.0, (Quaternion(0, 1, 0, 0) * Quaternion(0, 0, 1, 0) * -4.0).getd());
}

TEST(Quaternion, RotBetweenDirections) {
  Quaternion const opposite = Quaternion::rot(Vector(1, 0, 0), Vector(-1, 0, 0));
  EXPECT_EQ(0.0, opposite.geta());
  expectNear(Vector(0, 1, 0), opposite.getbcd(), 0.0);
  std::mt19937 random(11);
  for (int i = 0; i < 20; ++i) {
    Vector const u = randomUnit(random), w = randomUnit(random);
    expectNear(w, u.rot(Quaternion(u, w)));
    Quaternion const half = Quaternion::rot(u, w, 0.5);
    expectNear(w, u.rot(half).rot(half));
    expectNear(u, u.rot(Quaternion::rot(u, w, 0.0)));
  }
}

TEST(Quaternion, RotOfTwoPairsMapsFirstExactlyAndSecondAsCloseAsAllowed) {
  std::mt19937 random(3);
  for (int i = 0; i < 20; ++i) {
    Vector const u1 = randomUnit(random), w1 = randomUnit(random);
    Vector const u2 = randomUnit(random), w2 = randomUnit(random);
    Quaternion const q = Quaternion::rot(u1, w1, u2, w2, 1.0);
    expectNear(w1, u1.rot(q));
    // No further turn about w1 brings u2 closer to w2.
    double const reached = u2.rot(q).dot(w2);
    for (double angle : {1e-3, -1e-3, 0.5, -2.0})
      EXPECT_LE(u2.rot(q).rot(Quaternion(std::cos(angle), std::sin(angle) * w1)).dot(w2),
                reached + 1e-15);
    // A reachable pair is reached; half the way twice is the whole way.
    Quaternion const p(0.5, randomUnit(random));
    Vector const v1 = u1.rot(p), v2 = u2.rot(p);
    Quaternion const exact = Quaternion::rot(u1, v1, u2, v2, 1.0);
    expectNear(v2, u2.rot(exact));
    Quaternion const half = Quaternion::rot(u1, v1, u2, v2, 0.5);
    expectNear(v2, u2.rot(half * half));
    Quaternion const none = Quaternion::rot(u1, w1, u2, w2, 0.0);
    EXPECT_EQ(1.0, none.geta());
    EXPECT_EQ(0.0, none.getbcd().lSqr());
  }
}

} // namespace
