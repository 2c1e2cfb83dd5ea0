#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

// The umbrella header must name every public header (scripts/umbrella.sh regenerates it).
TEST(UmbrellaHeader, IncludesEveryPublicHeader) {
  namespace fs = std::filesystem;
  fs::path const include = fs::path(QARN_SOURCE_DIR) / "include";
  std::ifstream in(include / "QARN" / "QARNGeometry.h");
  ASSERT_TRUE(in) << "umbrella header missing";
  std::stringstream text;
  text << in.rdbuf();
  int headers = 0;
  for (auto const& entry : fs::recursive_directory_iterator(include / "QARN")) {
    std::string const relative = fs::relative(entry.path(), include).generic_string();
    if (entry.path().extension() != ".h" || relative == "QARN/QARNGeometry.h")
      continue;
    ++headers;
    EXPECT_NE(std::string::npos, text.str().find("#include <" + relative + ">"))
        << relative << " is not in QARNGeometry.h: run scripts/umbrella.sh";
  }
  EXPECT_GT(headers, 0);
}

} // namespace
