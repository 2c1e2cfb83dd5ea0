#ifndef QARN_TESTS_COMMON_TEMPFILES_H
#define QARN_TESTS_COMMON_TEMPFILES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace QARN::Test {

/// The scratch folder of the running test, one per test so that tests run in parallel
/// (each in its own process under CTest) never share files. Ends with a '/'.
inline std::string getTestFolder() {
  char const* root = std::getenv("QARN_TEST_TMPDIR");
  ::testing::TestInfo const* info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string name = std::string(info->test_suite_name()) + "." + info->name();
  std::replace(name.begin(), name.end(), '/', '_');
  std::filesystem::path const folder =
      std::filesystem::path(root != nullptr ? root : ::testing::TempDir()) / name;
  std::filesystem::create_directories(folder);
  return folder.string() + "/";
}

/// A path for a scratch file of the running test.
inline std::string getTestFilePath(std::string const& name) {
  return getTestFolder() + name;
}

} // namespace QARN::Test

#endif
