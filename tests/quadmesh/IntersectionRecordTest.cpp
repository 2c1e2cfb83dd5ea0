#include "QuadMeshTestSupport.h"

#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesEllipseIntersectionInfo.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIndicesIntersectionStatus.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadIntersectionData.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadSearchFailure.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/QuadValidityGenerator.h>

#include <gtest/gtest.h>

#include <cmath>

namespace QuadMeshTest {
namespace {

using namespace QARN::Geometry::ThreeDimensional::QuadMesh;
using Status = QuadIndicesIntersectionStatus;

double const pi = std::acos(-1.0);

/// A record whose angle error is the given one (angle = π − error).
Status record(bool valid, double distance, double angleError) {
  return Status(nullptr, Point(), GridPoint(1, 2), valid,
                QuadIntersectionData(distance, pi - angleError, 0.0), "a.quads");
}

class IntersectionRecord : public ::testing::Test {
protected:
  void TearDown() override {
    Status::setIntersectionQualityMode(Status::FacingThenNearest);
    QuadIntersectionData::isEnableFlipAngle = false;
  }
};

TEST_F(IntersectionRecord, MeasuresAndTheFlipAngleSwitch) {
  QuadIntersectionData const zero;
  EXPECT_EQ(0.0, zero.getDistanceToObject() + zero.getAngleToObjectNormal() +
                     zero.getDistanceSqrToQuadCentre());
  EXPECT_EQ(0.0, QuadIntersectionData(1, pi, 2).getAngleError());
  QuadIntersectionData::isEnableFlipAngle = true;
  QuadIntersectionData const flipped(1, pi, 2);
  EXPECT_EQ(0.0, flipped.getAngleToObjectNormal());
  EXPECT_EQ(pi, flipped.getAngleError());
}

TEST_F(IntersectionRecord, RankingInEachMode) {
  Status const invalid = record(false, 0, 0);
  Status const facingFar = record(true, 5, 0.5);
  Status const awayNear = record(true, 3, 2.0);
  Status const facingNear = record(true, 3, 1.0);
  Status const behind = record(true, -2, 1.0);
  Status const halfPi = record(true, 1, pi / 2);

  Status::setIntersectionQualityMode(Status::FacingThenNearest);
  EXPECT_FALSE(invalid.getIsBetterIntersection(invalid));
  EXPECT_TRUE(invalid.getIsBetterIntersection(facingFar));
  EXPECT_FALSE(facingFar.getIsBetterIntersection(invalid));
  EXPECT_TRUE(facingFar.getIsBetterIntersection(awayNear));     // nearer, although not facing
  EXPECT_TRUE(awayNear.getIsBetterIntersection(facingFar));     // facing beats not facing
  EXPECT_FALSE(facingNear.getIsBetterIntersection(facingNear)); // ties keep this one
  EXPECT_FALSE(halfPi.getIsBetterIntersection(facingFar));      // π/2 is not "not facing"
  EXPECT_TRUE(facingFar.getIsGoodIntersection());
  EXPECT_FALSE(awayNear.getIsGoodIntersection());
  EXPECT_FALSE(halfPi.getIsGoodIntersection());

  Status::setIntersectionQualityMode(Status::Nearest);
  EXPECT_TRUE(facingNear.getIsBetterIntersection(behind));
  EXPECT_FALSE(awayNear.getIsBetterIntersection(facingFar));
  EXPECT_TRUE(awayNear.getIsGoodIntersection());
  EXPECT_TRUE(invalid.getIsBetterIntersection(facingFar));

  Status::setIntersectionQualityMode(Status::BestAngle);
  EXPECT_TRUE(facingNear.getIsBetterIntersection(facingFar));
  EXPECT_FALSE(facingNear.getIsBetterIntersection(behind));
  EXPECT_TRUE(awayNear.getIsGoodIntersection());

  Status::setIntersectionQualityMode(static_cast<Status::IntersectionQualityMode>(3));
  EXPECT_EQ(3u, Status::getIntersectionQualityMode());
  EXPECT_FALSE(invalid.getIsBetterIntersection(facingFar));
  EXPECT_FALSE(awayNear.getIsBetterIntersection(facingNear));
  EXPECT_TRUE(awayNear.getIsGoodIntersection());
  EXPECT_FALSE(invalid.getIsGoodIntersection());
}

TEST_F(IntersectionRecord, RecordFieldsAndMeshAccess) {
  Status const empty;
  EXPECT_FALSE(empty.getIsValid());
  EXPECT_EQ(GridPoint(0, 0), empty.getIndices());
  EXPECT_EQ("", empty.getFileName());
  EXPECT_THROW(empty.getQuadMesh(), QARN::Exception);
  RectMesh mesh;
  Status const full(&mesh, Point(1, 2, 3), GridPoint(4, 5), true, QuadIntersectionData(6, 1, 7),
                    mesh.getFileName());
  EXPECT_EQ(&mesh, &full.getQuadMesh());
  EXPECT_EQ(Point(1, 2, 3), full.getQuadPoint());
  EXPECT_EQ(7.0, full.getIntersectionData().getDistanceSqrToQuadCentre());
  EXPECT_EQ(mesh.getFileName(), Status(full).getFileName());
}

struct EvenQuads : QuadValidityGenerator {
  bool getValidity(GridPoint const& p) override { return (p.getU() + p.getV()) % 2 == 0; }
};

TEST_F(IntersectionRecord, SmallRecordTypes) {
  try {
    throw QuadSearchFailure();
  } catch (std::exception const& e) {
    EXPECT_STREQ("QuadSearchFailure", e.what());
  }
  QuadValidityGenerator base;
  EvenQuads even;
  QuadValidityGenerator& generator = even;
  EXPECT_FALSE(base.getValidity(GridPoint(0, 0)));
  EXPECT_TRUE(generator.getValidity(GridPoint(1, 1)));

  EXPECT_EQ(0, QuadIndicesEllipseIntersectionInfo().getUnity());
  using V = QARN::Geometry::TwoDimensional::Vector<int>;
  QuadIndicesEllipseIntersectionInfo const info(GridPoint(1, 2), V(3, 4), V(5, 6), V(7, 8),
                                                V(9, 10), 4);
  EXPECT_EQ(V(5, 6), info.getAxisB1());
  EXPECT_EQ(V(9, 10), info.getAxisB2());
  EXPECT_EQ(4, info.getUnity());
}

} // namespace
} // namespace QuadMeshTest
