#include <Geometry/ThreeDimensional/TriMesh/MeshTextScanner.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using QARN::Geometry::ThreeDimensional::TriMesh::MeshTextScanner;

/// The records a reader finds: float bit patterns of the "v" and "vt" numbers, and face indices.
struct Records {
  std::vector<std::array<std::uint32_t, 3>> points3D;
  std::vector<std::array<std::uint32_t, 2>> points2D;
  std::vector<std::array<std::int32_t, 3>> faces;
  bool operator==(Records const& o) const {
    return points3D == o.points3D && points2D == o.points2D && faces == o.faces;
  }
};

template <std::size_t N>
std::array<std::uint32_t, N> bitsOf(float const* values) {
  std::array<std::uint32_t, N> bits;
  std::memcpy(bits.data(), values, sizeof(float) * N);
  return bits;
}

/// The three passes done with single-character reads and fscanf on a stream.
Records literalRecords(std::string const& text) {
  std::FILE* file = std::tmpfile();
  std::fwrite(text.data(), 1, text.size(), file);
  Records records;
  int c;
  float f[3];
  std::rewind(file);
  for (;;) {
    while ((c = std::fgetc(file)) != EOF && c != 'v') {
    }
    int const matched = std::fscanf(file, " %f %f %f", &f[0], &f[1], &f[2]);
    if (matched == 3)
      records.points3D.push_back(bitsOf<3>(f));
    if (matched == EOF)
      break;
  }
  std::rewind(file);
  for (;;) {
    int previous = 0;
    while ((c = std::fgetc(file)) != EOF && !(previous == 'v' && c == 't'))
      previous = c;
    int const matched = std::fscanf(file, " %f %f", &f[0], &f[1]);
    if (matched == 2)
      records.points2D.push_back(bitsOf<2>(f));
    if (matched == EOF)
      break;
  }
  std::rewind(file);
  for (;;) {
    while ((c = std::fgetc(file)) != EOF && c != 'f') {
    }
    std::array<int, 3> i;
    int const matched = std::fscanf(file, " %d %d %d", &i[0], &i[1], &i[2]);
    if (matched == 3)
      records.faces.push_back(i);
    if (matched == EOF)
      break;
  }
  std::fclose(file);
  return records;
}

Records scannedRecords(std::string const& text) {
  MeshTextScanner scanner(text);
  Records records;
  float f[3];
  while (scanner.skipPast('v'))
    if (scanner.readFloats(f, 3) == 3)
      records.points3D.push_back(bitsOf<3>(f));
  scanner.rewind();
  while (scanner.skipPast('v', 't'))
    if (scanner.readFloats(f, 2) == 2)
      records.points2D.push_back(bitsOf<2>(f));
  scanner.rewind();
  std::array<std::int32_t, 3> i;
  while (scanner.skipPast('f'))
    if (scanner.readInts(i.data(), 3) == 3)
      records.faces.push_back(i);
  return records;
}

TEST(TriMeshScanner, MatchesTheStreamReaderOnTrickyNumbers) {
  std::vector<std::string> const texts{
      "v 1e 2 3\nv 1e+ 2 3\nv 100ergs 2\nv .5 5. -.e1\n",
      "v inf -INFINITY nan\nv infix 1 2 3\nv nax 1 2 3 4\nv -nan(1) 2 3\n",
      "v 0x1p-2 0X.8 0x1.fp+3\nv 0x 1 2 3\nv -0xp 1 2 3\nv 0x1fg 2 3\n",
      "v 3.4e39 -1e-46 1.17549435e-38\nv 16777217 0.1 340282356779733661637539395458142568448\n",
      "vt 0.25 0.5\nvvt 1 2\nv\tt 3 4\nvt+1-2 vt 5\n",
      "f 1 2 3\nf 1/1 2/2 3/3\nf -1 +2 3\nf 99999999999 4294967297 -2147483649\n",
      "# view 1 2 3 of the face\nf+-1 2 3 f- 1 2 f1\n2\n3 f 9223372036854775808 1 1",
      "v 1 2 3",
      "v 1 2",
      "v",
      "",
      "f",
      "f 1 2 3",
      "vt 1 2 ",
      "v -",
      "v 1 2 3e",
  };
  for (std::string const& text : texts)
    EXPECT_EQ(literalRecords(text), scannedRecords(text)) << text;
}

TEST(TriMeshScanner, MatchesTheStreamReaderOnRandomText) {
  // Lines of a keyword and whole or broken numbers, with random separators and noise.
  std::vector<std::string> const keywords{"v", "vt", "f", "#", "g", "vv", "ft", "t"};
  std::vector<std::string> const numbers{
      "1",   "2",  "-3.5", ".25",      "1e3",     "8",           "3e",    "4e-",   "+.5e+2",
      "6.",  ".",  "-",    "+",        "0x1.8p",  "0x",          "0x.",   "inf",   "in",
      "nan", "n",  "Inf",  "infinity", "INFINIT", "7/8",         "1e39",  "1e-50", "42",
      "e",   "-0", "09",   "0e",       "00x",     "99999999999", "0xAfp1"};
  std::vector<std::string> const separators{" ", " ", " ", " ", "  ", "\t", "\n", "", "x"};
  std::mt19937 random(7);
  std::size_t found = 0;
  for (int trial = 0; trial < 5000; ++trial) {
    std::string text;
    for (int line = random() % 8; line >= 0; --line) {
      text += keywords[random() % keywords.size()];
      for (int i = 1 + random() % 4; i > 0; --i)
        text += separators[random() % separators.size()] + numbers[random() % numbers.size()];
      text += separators[random() % separators.size()];
    }
    Records const expected = literalRecords(text);
    found += expected.points3D.size() + expected.points2D.size() + expected.faces.size();
    EXPECT_EQ(expected, scannedRecords(text)) << text;
  }
  EXPECT_GT(found, 1000u);
}

} // namespace
