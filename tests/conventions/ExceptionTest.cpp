#include <Progress/ProgressStage.h>
#include <QARN/Exception.h>
#include <QARN/IOFailure.h>
#include <QARN/Progress/ProgressListener.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(Exception, WhatIsTheMessageExactly) {
  try {
    throw QARN::Exception("Invalid rotation axis.");
  } catch (std::exception const& e) {
    EXPECT_STREQ("Invalid rotation axis.", e.what());
  }
}

TEST(IOFailure, IsAnIosFailureWhoseWhatIsTheMessageExactly) {
  try {
    throw QARN::IOFailure("Quad-mesh file open failure.");
  } catch (std::ios_base::failure const& e) {
    EXPECT_STREQ("Quad-mesh file open failure.", e.what());
  }
}

struct RecordingListener : QARN::ProgressListener {
  std::vector<std::string> texts;
  std::vector<std::uint32_t> percents;
  void setStatusText(char const* text) override { texts.emplace_back(text); }
  void setProgress(std::uint32_t percent) override { percents.push_back(percent); }
  void setValue(char const*, double) override {}
  void setIteration(std::uint32_t) override {}
};

TEST(ProgressStage, SendsTextThenOnlyChangedPercentages) {
  RecordingListener listener;
  QARN::ProgressStage stage(&listener, "Working...", 400);
  for (std::uint64_t i = 0; i < 400; ++i)
    stage.step(i);
  ASSERT_EQ(1u, listener.texts.size());
  EXPECT_EQ("Working...", listener.texts[0]);
  ASSERT_EQ(100u, listener.percents.size());
  EXPECT_EQ(1u, listener.percents.front());
  EXPECT_EQ(100u, listener.percents.back());
}

TEST(ProgressStage, FewStepsSkipPercentagesAndNullListenerIsSilent) {
  RecordingListener listener;
  QARN::ProgressStage stage(&listener, "Few...", 3);
  for (std::uint64_t i = 0; i < 3; ++i)
    stage.step(i);
  EXPECT_EQ((std::vector<std::uint32_t>{1, 34, 67}), listener.percents);
  QARN::ProgressStage silent(nullptr, "Nobody...", 3);
  silent.step(1);
}

} // namespace
