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

TEST_F(IntersectionRecord, SmallRecordTypes) {
  EXPECT_THROW(Status().getQuadMesh(), QARN::Exception);
  try {
    throw QuadSearchFailure();
  } catch (std::exception const& e) {
    EXPECT_STREQ("QuadSearchFailure", e.what());
  }
  EXPECT_FALSE(QuadValidityGenerator().getValidity(GridPoint(0, 0)));
  EXPECT_EQ(0, QuadIndicesEllipseIntersectionInfo().getUnity());
}

} // namespace
} // namespace QuadMeshTest
