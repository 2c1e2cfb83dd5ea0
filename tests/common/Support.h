#ifndef QARN_TESTS_COMMON_SUPPORT_H
#define QARN_TESTS_COMMON_SUPPORT_H

#include <QARN/Progress/ProgressListener.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace QARN::Test {

/// A path in the scratch folder of the running test: one folder per test, so that tests run in
/// parallel (each in its own process under CTest) never share files.
inline std::string tempPath(std::string const& name) {
  char const* root = std::getenv("QARN_TEST_TMPDIR");
  ::testing::TestInfo const* info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string test = std::string(info->test_suite_name()) + "." + info->name();
  std::replace(test.begin(), test.end(), '/', '_');
  std::filesystem::path const folder =
      std::filesystem::path(root != nullptr ? root : ::testing::TempDir()) / test;
  std::filesystem::create_directories(folder);
  return folder.string() + "/" + name;
}

/// The bytes of a file; empty when it cannot be read.
inline std::string readFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void writeFile(std::string const& path, std::string const& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

/// The what() of the E that call throws, or "no exception" when it returns.
template <typename E = std::exception, typename Call>
std::string messageOf(Call&& call) {
  try {
    call();
  } catch (E const& e) {
    return e.what();
  }
  return "no exception";
}

/// Logs the status texts and percentages it receives, each followed by a space.
struct ProgressLog : ProgressListener {
  std::string log;
  void setStatusText(char const* text) override { log += std::string(text) + " "; }
  void setProgress(std::uint32_t percent) override { log += std::to_string(percent) + " "; }
  void setValue(char const*, double) override {}
  void setIteration(std::uint32_t) override {}
};

/// True when call throws a pointer to a new E; the pointer is deleted, as every catcher must.
template <typename E, typename Call>
bool throwsPointer(Call&& call) {
  try {
    call();
  } catch (E* e) {
    delete e;
    return true;
  }
  return false;
}

} // namespace QARN::Test

#endif
