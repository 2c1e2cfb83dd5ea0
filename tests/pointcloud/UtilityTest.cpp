#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/PointCloud/Cloud.h>
#include <QARN/Geometry/ThreeDimensional/Quaternion.h>
#include <QARN/Geometry/ThreeDimensional/Utility/CylinderFitFunction.h>
#include <QARN/Geometry/ThreeDimensional/Utility/Utility.h>

#include <common/Support.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace QARN::Geometry::ThreeDimensional;
using PointCloud::Cloud;
using QARN::Test::messageOf;

double const pi = 3.141592653589793;

Point at(Vector const& v) {
  return Point(v.getdX(), v.getdY(), v.getdZ());
}

Vector unit(Vector const& v) {
  return v / std::sqrt(v.lSqr());
}

double angleBetween(Vector const& u, Vector const& v) {
  return std::acos(std::min(1.0, std::fabs(unit(u).dot(unit(v)))));
}

/// Two unit vectors perpendicular to the unit axis and to each other, right-handed with it.
void across(Vector const& axis, Vector& e1, Vector& e2) {
  e1 = unit(axis.cross(std::fabs(axis.getdX()) < 0.9 ? Vector(1, 0, 0) : Vector(0, 1, 0)));
  e2 = axis.cross(e1);
}

TEST(UtilityTriangles, ClosestPointMatchesADenseSearchOfTheTriangle) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> coordinate(-2.0, 2.0);
  auto const point = [&] {
    return Point(coordinate(random), coordinate(random), coordinate(random));
  };
  for (int t = 0; t < 60; ++t) {
    Point const P0 = point();
    Point const P1 = t % 10 == 9 ? P0 : point();
    Point const P2 = t % 10 == 8 ? Utility::bary(P0, P1, P1, 0.5, 0.25, 0.25) : point();
    for (int k = 0; k < 10; ++k) {
      Point const q = point();
      double w[3];
      Vector const c = Utility::getClosestPointOnTriangle(P0, P1, P2, q, w);
      EXPECT_NEAR(1.0, w[0] + w[1] + w[2], 1e-12);
      for (double const wi : w) {
        EXPECT_GE(wi, 0.0);
        EXPECT_LE(wi, 1.0);
      }
      double const found = (c - (q - Point())).lSqr();
      // No point of a 200 x 200 barycentric grid is nearer.
      double best = std::numeric_limits<double>::infinity();
      for (int i = 0; i <= 200; ++i)
        for (int j = 0; i + j <= 200; ++j) {
          double const a = i / 200.0;
          double const b = j / 200.0;
          Vector const g = (1 - a - b) * (P0 - Point()) + a * (P1 - Point()) + b * (P2 - Point());
          best = std::min(best, (g - (q - Point())).lSqr());
        }
      EXPECT_LE(found, best + 1e-12);
      EXPECT_GE(found, best - 2e-3 * std::sqrt(best) - 1e-9);
    }
  }
}

TEST(UtilityTriangles, BarycentricCoordinatesAreThoseOfTheProjection) {
  Point const P0(1, 0, 0);
  Point const P1(0, 2, 0);
  Point const P2(0, 0, 3);
  double l0 = 0;
  double l1 = 0;
  double l2 = 0;
  Vector const n = Utility::getTriangleNormal(P0, P1, P2);
  Point const inside = Utility::bary(P0, P1, P2, 0.2, 0.3, 0.5);
  ASSERT_TRUE(Utility::getBarycentricCoordinates(P0, P1, P2, inside + 0.7 * n, l0, l1, l2));
  EXPECT_NEAR(0.2, l0, 1e-7);
  EXPECT_NEAR(0.3, l1, 1e-7);
  EXPECT_NEAR(0.5, l2, 1e-7);
  EXPECT_NEAR(0.5 * std::sqrt(n.lSqr()), Utility::getTriangleArea(P0, P1, P2), 1e-12);
  EXPECT_NEAR(std::sqrt(49.0) / 2.0, Utility::getTriangleArea(P0, P1, P2), 1e-12);
  EXPECT_FALSE(Utility::getBarycentricCoordinates(P0, P0, P2, inside, l0, l1, l2));
  EXPECT_NEAR(0.2, l0, 1e-7);
}

Cloud randomCloud(std::uint32_t n, std::uint32_t seed, double size) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> coordinate(-size, size);
  Cloud cloud;
  for (std::uint32_t i = 0; i < n; ++i)
    cloud.addPoint(Point(coordinate(random), coordinate(random), coordinate(random)));
  return cloud;
}

Cloud mapped(Cloud const& cloud, AffineMap const& A) {
  Cloud result(cloud);
  result.transform(A);
  return result;
}

// Noise-free: the points differ from the exact map only by their rounding to float.
TEST(UtilityMaps, RigidAndAffineMapsRecoverKnownMaps) {
  Cloud const from = randomCloud(50, 3, 10.0);
  LinearMap R;
  Quaternion(0.3, -0.5, 0.7, 0.2).getRotation(R);
  AffineMap const rigid(R, Vector(100.0, -20.0, 3.0));
  AffineMap const found = Utility::getRigidBodyMap(from, mapped(from, rigid));
  for (std::uint32_t r = 0; r < 3; ++r) {
    for (std::uint32_t c = 0; c < 3; ++c)
      EXPECT_NEAR(R.get(r, c), found.getLinearMap().get(r, c), 1e-7);
    EXPECT_NEAR(rigid.getTranslation().get(r), found.getTranslation().get(r), 2e-5);
  }
  EXPECT_NEAR(1.0, found.getLinearMap().det(), 1e-12);

  LinearMap L(Vector(2.0, 0.1, -0.3), Vector(0.5, 1.5, 0.2), Vector(-0.4, 0.3, 0.8));
  AffineMap const affine(L, Vector(-5.0, 7.0, 1.0));
  AffineMap const fitted = Utility::getAffineMap(from, mapped(from, affine));
  for (std::uint32_t r = 0; r < 3; ++r) {
    for (std::uint32_t c = 0; c < 3; ++c)
      EXPECT_NEAR(L.get(r, c), fitted.getLinearMap().get(r, c), 1e-6);
    EXPECT_NEAR(affine.getTranslation().get(r), fitted.getTranslation().get(r), 1e-5);
  }

  // One pair: the identity rotation and the translation between the points.
  Cloud one;
  one.addPoint(Point(1, 2, 3));
  Cloud other;
  other.addPoint(Point(4, 6, 8));
  AffineMap const shift = Utility::getRigidBodyMap(one, other);
  EXPECT_EQ(1.0, shift.getLinearMap().get(0, 0));
  EXPECT_EQ(0.0, shift.getLinearMap().get(0, 1));
  EXPECT_EQ(5.0, shift.getTranslation().getdZ());
}

TEST(UtilityMaps, RefuseBadPointSets) {
  Cloud const four = randomCloud(4, 1, 1.0);
  Cloud const five = randomCloud(5, 1, 1.0);
  EXPECT_EQ("Point sets differ in size", messageOf([&] { Utility::getRigidBodyMap(four, five); }));
  EXPECT_EQ("Too few points", messageOf([&] { Utility::getRigidBodyMap(Cloud(), Cloud()); }));
  Cloud withNaN(four);
  withNaN.addPoint(Point(0, std::nan(""), 0));
  EXPECT_EQ("Point cloud holds a non-finite point",
            messageOf([&] { Utility::getAffineMap(withNaN, five); }));
  Cloud flat;
  for (int i = 0; i < 10; ++i)
    flat.addPoint(Point(i % 3, i / 3, 0));
  EXPECT_EQ("Degenerate point configuration",
            messageOf([&] { Utility::getAffineMap(flat, flat); }));
  EXPECT_EQ("Degenerate point configuration", messageOf([&] { Utility::getSphereFit(flat); }));
  EXPECT_EQ("Too few points", messageOf([&] { Utility::getSphereFit(randomCloud(3, 2, 1.0)); }));
  EXPECT_EQ("Too few points", messageOf([&] { Utility::getCylinderFit(four); }));
  EXPECT_EQ("Too few points", messageOf([&] { Utility::getEllipticParaboloidFit(five); }));
  Cloud line;
  for (int i = 0; i < 10; ++i)
    line.addPoint(Point(i, 2 * i, 3 * i));
  EXPECT_EQ("Degenerate point configuration", messageOf([&] { Utility::getCylinderFit(line); }));
  EXPECT_EQ("Degenerate point configuration",
            messageOf([&] { Utility::getEllipticParaboloidFit(line); }));
}

// Noise: Gaussian, σ = 0.01 on a part of size 10; the fits must land within about σ.
TEST(UtilityFits, SphereFromANoisyCap) {
  std::mt19937 random(5);
  std::normal_distribution<double> noise(0.0, 0.01);
  std::uniform_real_distribution<double> unitDist(0.0, 1.0);
  Vector const centre(10.0, -20.0, 5.0);
  double const radius = 3.0;
  Cloud cloud;
  for (int i = 0; i < 2000; ++i) {
    // A cap of 60 degrees around +Z.
    double const polar = std::acos(1.0 - 0.5 * unitDist(random));
    double const azimuth = 2.0 * pi * unitDist(random);
    Vector const d(std::sin(polar) * std::cos(azimuth), std::sin(polar) * std::sin(azimuth),
                   std::cos(polar));
    cloud.addPoint(at(centre + (radius + noise(random)) * d));
  }
  SphereFit const fit = Utility::getSphereFit(cloud);
  EXPECT_LT(std::sqrt((fit.centre - centre).lSqr()), 0.02);
  EXPECT_NEAR(radius, fit.radius, 0.02);
  EXPECT_NEAR(0.01, fit.residual, 0.001);
}

TEST(UtilityFits, CylinderFromANoisyArc) {
  std::mt19937 random(6);
  std::normal_distribution<double> noise(0.0, 0.01);
  std::uniform_real_distribution<double> unitDist(0.0, 1.0);
  Vector const axis = unit(Vector(1.0, 1.0, 0.2));
  Vector const through(1.0, 2.0, 3.0);
  double const radius = 4.0;
  Vector e1;
  Vector e2;
  across(axis, e1, e2);
  Cloud cloud;
  for (int i = 0; i < 3000; ++i) {
    double const angle = (2.0 * pi / 3.0) * unitDist(random);
    double const along = 10.0 * unitDist(random) - 5.0;
    cloud.addPoint(at(through + along * axis +
                      (radius + noise(random)) * (std::cos(angle) * e1 + std::sin(angle) * e2)));
  }
  CylinderFit const fit = Utility::getCylinderFit(cloud);
  EXPECT_LT(angleBetween(axis, fit.axisDirection), 2e-3);
  EXPECT_NEAR(1.0, fit.axisDirection.lSqr(), 1e-12);
  EXPECT_GT(fit.axisDirection.getdY(), 0.0);
  Vector const off = fit.axisPoint - through;
  EXPECT_LT(std::sqrt((off - off.dot(axis) * axis).lSqr()), 0.03);
  EXPECT_NEAR(radius, fit.radius, 0.03);
  EXPECT_NEAR(0.01, fit.residual, 0.001);
}

TEST(UtilityFits, EllipticParaboloidFromANoisyPatch) {
  std::mt19937 random(8);
  std::normal_distribution<double> noise(0.0, 0.002);
  std::uniform_real_distribution<double> unitDist(-1.0, 1.0);
  Vector const apex(0.5, -1.0, 2.0);
  Vector const axis = unit(Vector(0.2, -0.1, 1.0));
  Vector first;
  Vector second;
  across(axis, first, second);
  double const k1 = 0.8;
  double const k2 = 0.3;
  Cloud cloud;
  for (int i = 0; i < 3000; ++i) {
    double const u = 1.5 * unitDist(random);
    double const v = 1.5 * unitDist(random);
    double const h = k1 * u * u + k2 * v * v + noise(random);
    cloud.addPoint(at(apex + u * first + v * second + h * axis));
  }
  EllipticParaboloidFit const fit = Utility::getEllipticParaboloidFit(cloud);
  EXPECT_LT(std::sqrt((fit.apex - apex).lSqr()), 0.01);
  EXPECT_GT(fit.axis.dot(axis), 0.999);
  EXPECT_LT(angleBetween(first, fit.firstDirection), 0.01);
  EXPECT_NEAR(k1, fit.firstCurvature, 0.005);
  EXPECT_NEAR(k2, fit.secondCurvature, 0.005);
  EXPECT_NEAR(0.002, fit.residual, 0.0003);

  // The same surface upside down: the axis turns round, the curvatures stay positive.
  Cloud flipped;
  for (Point const& p : cloud.getPoints())
    flipped.addPoint(at(2.0 * apex - (p - Point())));
  EllipticParaboloidFit const down = Utility::getEllipticParaboloidFit(flipped);
  EXPECT_LT(down.axis.dot(axis), -0.999);
  EXPECT_NEAR(k1, down.firstCurvature, 0.005);
}

// The analytic Jacobian against central differences, away from the axis.
TEST(UtilityFits, CylinderFunctionJacobianMatchesDifferences) {
  Cloud const cloud = randomCloud(20, 4, 3.0);
  LinearMap turn;
  turn.setRotation(LinearMap::Y, 0.3);
  CylinderFitFunction const f(cloud, AffineMap(turn, Vector(0.1, 0.2, 0.3)));
  double const x[5] = {0.4, -0.7, 0.5, -0.2, 2.0};
  double values[20];
  double jacobian[100];
  f.evaluate(x, 0, 20, values, jacobian);
  for (std::uint32_t j = 0; j < 5; ++j) {
    double up[5];
    double down[5];
    std::copy(x, x + 5, up);
    std::copy(x, x + 5, down);
    up[j] += 1e-6;
    down[j] -= 1e-6;
    double valuesUp[20];
    double valuesDown[20];
    f.evaluate(up, 0, 20, valuesUp, nullptr);
    f.evaluate(down, 0, 20, valuesDown, nullptr);
    for (std::uint32_t i = 0; i < 20; ++i)
      EXPECT_NEAR((valuesUp[i] - valuesDown[i]) / 2e-6, jacobian[i * 5 + j], 1e-6)
          << "value " << i << ", variable " << j;
  }
  // A run in the middle equals the same rows of a whole evaluation.
  double part[3];
  f.evaluate(x, 7, 3, part, nullptr);
  EXPECT_EQ(values[8], part[1]);
}

} // namespace
