#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/PointCloud/Registration.h>
#include <QARN/Geometry/ThreeDimensional/Quaternion.h>
#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>
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
using PointCloud::Registration;
using PointCloud::RegistrationResult;
using PointCloud::RegistrationSettings;
using QARN::Test::messageOf;
using TriMesh::Mesh;

/// A bumpy surface with features in every direction, so that only one placement fits.
double height(double x, double y) {
  return 0.6 * std::sin(x) * std::cos(0.8 * y) + 0.1 * x;
}

Cloud surface(std::uint32_t n, std::uint32_t seed, double noise = 0.0) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> along(0.0, 6.0);
  std::normal_distribution<double> off(0.0, noise > 0.0 ? noise : 1.0);
  Cloud cloud;
  for (std::uint32_t i = 0; i < n; ++i) {
    double const x = along(random);
    double const y = along(random);
    cloud.addPoint(Point(x, y, height(x, y) + (noise > 0.0 ? off(random) : 0.0)));
  }
  return cloud;
}

/// A turn of about 6 degrees about a skew axis and a shift of about half a unit.
AffineMap displacement() {
  LinearMap R;
  Quaternion(1.0, 0.03, -0.04, 0.02).getRotation(R);
  return AffineMap(R, Vector(0.3, -0.2, 0.25));
}

/// How far apart two maps take the points of a cloud, at most.
double mismatch(AffineMap const& a, AffineMap const& b, Cloud const& cloud) {
  double worst = 0.0;
  for (Point const& p : cloud.getPoints())
    worst = std::max(worst, std::sqrt((a(p - Point()) - b(p - Point())).lSqr()));
  return worst;
}

// Measured: points of the surface taken out of place, with noise σ = 0.002 and 3 % of stray
// points a unit or more off. The trimmed alignment must put them back within a few σ onto the
// mesh, and within about the reference cloud's spacing (0.03) onto the cloud.
TEST(Registration, RecoversAKnownPlacementOntoACloudAndOntoAMesh) {
  Cloud const reference = surface(20000, 1);
  Cloud truth = surface(1000, 2, 0.002);
  std::mt19937 random(3);
  for (std::uint32_t i = 0; i < truth.getNumberOfPoints(); i += 33)
    const_cast<Point&>(truth.getPoint(i)) += Vector(0.0, 0.0, 1.0 + (random() % 100) / 50.0);
  AffineMap const moved = displacement();
  Cloud measured(truth);
  measured.transform(moved);
  AffineMap const back = moved.inverse();

  Registration const ontoCloud(reference);
  RegistrationResult const viaCloud = ontoCloud.align(measured);
  EXPECT_EQ(RegistrationResult::Stop::Converged, viaCloud.stop);
  EXPECT_LT(mismatch(viaCloud.map, back, measured), 0.04);
  EXPECT_LT(viaCloud.rms, 0.03);
  EXPECT_EQ(900u, viaCloud.pairs);
  EXPECT_GT(viaCloud.iterations, 3u);

  Mesh mesh;
  Cloud const grid = [] {
    Cloud g;
    for (int j = 0; j <= 60; ++j)
      for (int i = 0; i <= 60; ++i)
        g.addPoint(Point(0.1 * i, 0.1 * j, height(0.1 * i, 0.1 * j)));
    return g;
  }();
  mesh.construct(grid, 1.0);
  Registration const ontoMesh(mesh);
  RegistrationResult const viaMesh = ontoMesh.align(measured);
  EXPECT_EQ(RegistrationResult::Stop::Converged, viaMesh.stop);
  EXPECT_LT(mismatch(viaMesh.map, back, measured), 0.01);
  EXPECT_LT(viaMesh.rms, 0.005);
}

// Nearest points on a mesh equal those of a search through every triangle, also on a mesh of
// a few huge triangles beside many small ones (which the sampling covers with lattice points).
TEST(Registration, ClosestPointsOnAMeshAreExact) {
  Cloud points;
  for (int j = 0; j <= 20; ++j)
    for (int i = 0; i <= 20; ++i)
      points.addPoint(Point(0.1 * i, 0.1 * j, 0.05 * std::sin(3.0 * i) * std::cos(0.5 * j)));
  points.addPoint(Point(40.0, 1.0, 2.0));
  points.addPoint(Point(40.0, -30.0, -1.0));
  Mesh mesh;
  mesh.construct(points, std::numeric_limits<double>::infinity());
  std::vector<TriMesh::Triangle*> list;
  std::vector<TriMesh::Triangle*>::const_iterator begin;
  std::vector<TriMesh::Triangle*>::const_iterator end;
  mesh.getTriangles(list, begin, end);
  Registration const registration(mesh);
  std::mt19937 random(4);
  std::uniform_real_distribution<double> x(-5.0, 45.0);
  std::uniform_real_distribution<double> y(-35.0, 5.0);
  std::uniform_real_distribution<double> z(-3.0, 3.0);
  for (int q = 0; q < 120; ++q) {
    Point const p(q % 2 ? x(random) : 0.05 * (q % 40), q % 2 ? y(random) : 0.04 * (q % 50),
                  q % 3 ? z(random) : 0.01);
    double best = std::numeric_limits<double>::infinity();
    for (auto t = begin; t != end; ++t) {
      std::uint32_t a;
      std::uint32_t b;
      std::uint32_t c;
      (*t)->getVertexIndices(a, b, c);
      Vector const near = Utility::getClosestPointOnTriangle(mesh.getVertex(a).getPoint3D(),
                                                             mesh.getVertex(b).getPoint3D(),
                                                             mesh.getVertex(c).getPoint3D(), p);
      best = std::min(best, std::sqrt((near - (p - Point())).lSqr()));
    }
    double distance = 0.0;
    Vector const found = registration.getClosestPoint(p, &distance);
    EXPECT_EQ(best, distance) << "query " << q;
    EXPECT_EQ(distance, std::sqrt((found - (p - Point())).lSqr()));
  }
}

TEST(Registration, StopsForTheRightReason) {
  Cloud const reference = surface(5000, 5);
  Cloud measured = surface(300, 6);
  measured.transform(displacement());
  Registration const registration(reference);
  QARN::Test::ProgressLog log;
  RegistrationSettings settings;
  settings.maxIterations = 0;
  settings.listener = &log;
  RegistrationResult const none = registration.align(measured, settings);
  EXPECT_EQ(RegistrationResult::Stop::IterationLimit, none.stop);
  EXPECT_EQ(0u, none.iterations);
  EXPECT_EQ(0.0, mismatch(none.map, settings.initialMap, measured));
  EXPECT_EQ("Registering point cloud... ", log.log);

  settings.maxIterations = 2;
  RegistrationResult const two = registration.align(measured, settings);
  EXPECT_EQ(RegistrationResult::Stop::IterationLimit, two.stop);
  EXPECT_EQ(2u, two.iterations);
  EXPECT_LT(two.rms, none.rms);

  settings.maxDistance = 1e-6;
  EXPECT_EQ(RegistrationResult::Stop::TooFewPairs, registration.align(measured, settings).stop);

  // Starting from the true placement, nothing moves much and a few steps converge.
  RegistrationSettings exact;
  exact.initialMap = displacement().inverse();
  exact.overlap = 1.0;
  RegistrationResult const there = registration.align(measured, exact);
  EXPECT_EQ(RegistrationResult::Stop::Converged, there.stop);
  EXPECT_LE(there.iterations, 5u);
  EXPECT_EQ(300u, there.pairs);
  EXPECT_LT(there.rms, 0.05);
}

TEST(Registration, RefusesBadInput) {
  EXPECT_EQ("Empty point cloud", messageOf([] { Registration r{Cloud()}; }));
  EXPECT_EQ("Mesh has no triangles", messageOf([] { Registration r{Mesh()}; }));
  Cloud const reference = surface(100, 7);
  Registration const registration(reference);
  Cloud two;
  two.addPoint(Point());
  two.addPoint(Point(1, 1, 1));
  EXPECT_EQ("Too few points", messageOf([&] { registration.align(two); }));
  Cloud withNaN(reference);
  withNaN.addPoint(Point(std::nan(""), 0, 0));
  EXPECT_EQ("Point cloud holds a non-finite point",
            messageOf([&] { registration.align(withNaN); }));
  EXPECT_EQ("Point cloud holds a non-finite point", messageOf([&] { Registration r{withNaN}; }));
  for (double const overlap : {0.0, 1.5, std::nan("")}) {
    RegistrationSettings settings;
    settings.overlap = overlap;
    EXPECT_EQ("Invalid registration settings",
              messageOf([&] { registration.align(reference, settings); }));
  }
  RegistrationSettings settings;
  settings.maxDistance = 0.0;
  EXPECT_EQ("Invalid registration settings",
            messageOf([&] { registration.align(reference, settings); }));
  settings = RegistrationSettings();
  settings.initialMap.setTranslation(Vector(std::nan(""), 0, 0));
  EXPECT_EQ("Invalid registration settings",
            messageOf([&] { registration.align(reference, settings); }));
}

} // namespace
