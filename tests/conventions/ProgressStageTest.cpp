#include <Progress/ProgressStage.h>

#include <common/Support.h>

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(ProgressStage, SendsTheTextThenOnlyChangedPercentages) {
  QARN::Test::ProgressLog listener;
  QARN::ProgressStage few(&listener, "Few...", 3);
  for (std::uint64_t i = 0; i < 3; ++i)
    few.step(i);
  EXPECT_EQ("Few... 1 34 67 ", listener.log);

  listener.log.clear();
  QARN::ProgressStage many(&listener, "Working...", 400);
  for (std::uint64_t i = 0; i < 400; ++i)
    many.step(i);
  std::string expected = "Working... ";
  for (int percent = 1; percent <= 100; ++percent)
    expected += std::to_string(percent) + " ";
  EXPECT_EQ(expected, listener.log);

  QARN::ProgressStage silent(nullptr, "Nobody...", 3);
  silent.step(1);
}

} // namespace
