#include <Geometry/ThreeDimensional/TriMesh/MeshTextScanner.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using QARN::Geometry::ThreeDimensional::TriMesh::MeshTextScanner;

/// The records of the "v", "vt" and "f" passes: float bit patterns or indices, one line each.
using Records = std::vector<std::string>;

std::string record(char const* kind, float const* values, int count) {
  std::string line = kind;
  for (int i = 0; i < count; ++i) {
    std::uint32_t bits;
    std::memcpy(&bits, &values[i], sizeof bits);
    line += " " + std::to_string(bits);
  }
  return line;
}

/// The three passes with single-character reads and fscanf on a stream.
Records literalRecords(std::string const& text) {
  std::FILE* file = std::tmpfile();
  std::fwrite(text.data(), 1, text.size(), file);
  Records records;
  float f[3];
  int i[3];
  int c;
  for (int pass = 0; pass < 3; ++pass) {
    std::rewind(file);
    for (int matched = 0; matched != EOF;) {
      // Up to the next 'v', the next "vt" pair, or the next 'f'.
      for (int previous = 0; (c = std::fgetc(file)) != EOF; previous = c)
        if ((pass == 0 && c == 'v') || (pass == 1 && previous == 'v' && c == 't') ||
            (pass == 2 && c == 'f'))
          break;
      if (pass == 0 && (matched = std::fscanf(file, " %f %f %f", &f[0], &f[1], &f[2])) == 3)
        records.push_back(record("v", f, 3));
      if (pass == 1 && (matched = std::fscanf(file, " %f %f", &f[0], &f[1])) == 2)
        records.push_back(record("vt", f, 2));
      if (pass == 2 && (matched = std::fscanf(file, " %d %d %d", &i[0], &i[1], &i[2])) == 3)
        records.push_back("f " + std::to_string(i[0]) + " " + std::to_string(i[1]) + " " +
                          std::to_string(i[2]));
    }
  }
  std::fclose(file);
  return records;
}

Records scannedRecords(std::string const& text) {
  MeshTextScanner scanner(text);
  Records records;
  float f[3];
  std::int32_t i[3];
  while (scanner.skipPast('v'))
    if (scanner.readFloats(f, 3) == 3)
      records.push_back(record("v", f, 3));
  scanner.rewind();
  while (scanner.skipPast('v', 't'))
    if (scanner.readFloats(f, 2) == 2)
      records.push_back(record("vt", f, 2));
  scanner.rewind();
  while (scanner.skipPast('f'))
    if (scanner.readInts(i, 3) == 3)
      records.push_back("f " + std::to_string(i[0]) + " " + std::to_string(i[1]) + " " +
                        std::to_string(i[2]));
  return records;
}

TEST(TriMeshScanner, MatchesTheStreamReaderOnTrickyNumbers) {
  for (std::string const text :
       {"v 1e 2 3\nv 1e+ 2 3\nv 100ergs 2\nv .5 5. -.e1\n",
        "v inf -INFINITY nan\nv infix 1 2 3\nv nax 1 2 3 4\nv -nan(1) 2 3\n",
        "v inv 2 3\nv 1 2 naf 4 5 6\nvt 1 INFINITf 1 2 3 vt nvt 1 2\n",
        "v 0x1p-2 0X.8 0x1.fp+3\nv 0x 1 2 3\nv -0xp 1 2 3\nv 0x1fg 2 3\n",
        "v 3.4e39 -1e-46 1.17549435e-38\nv 16777217 0.1 340282356779733661637539395458142568448\n",
        "vt 0.25 0.5\nvvt 1 2\nv\tt 3 4\nvt+1-2 vt 5\n",
        "f 1 2 3\nf 1/1 2/2 3/3\nf -1 +2 3\nf 99999999999 4294967297 -2147483649\n",
        "# view 1 2 3 of the face\nf+-1 2 3 f- 1 2 f1\n2\n3 f 9223372036854775808 1 1", "v 1 2 3",
        "v 1 2", "v", "", "f 1 2 3", "vt 1 2 ", "v -", "v 1 2 3e",
        // Digit runs of 8, 9, 16, 17, 18, 19, 20 and more digits, read eight at a time.
        "f 12345678 123456789 1234567812345678\nf 12345678123456789 123456781234567890 -1\n",
        "f 1234567812345678901 -12345678123456789012 99999999999999999999999999\n",
        "f 00000000000000000000000000000000007 -0000000000000000000000000000000000000000002 3\n",
        "v 12345678.12345678 1234567.123456789012 0.0000000000000000000001\n",
        "v 1234567890123456789 12345678901234567890 0.00000000000000000000001\n",
        "v 9007199254740993 9007199254740992 900719925474099.3 1\n",
        "v 00000000000000000001.5 -000000000000.0000000000003 1.00000000000000000000\n",
        "f 1 2 12345678", "v 1 2 1234.5678", "v 1 2 12345678",
        // Characters just beside the digits in the code table end a number.
        "f 12:3 4;5 6 f 7 8/9 0 v 1.5:2 3 4 v 5 6 7:8\n"})
    EXPECT_EQ(literalRecords(text), scannedRecords(text)) << text;
}

TEST(TriMeshScanner, MatchesTheStreamReaderNearHalfwayFloats) {
  // Decimals of up to 19 digits at and beside the midpoints between neighbouring floats, where
  // rounding through a double can go the wrong way.
  std::mt19937 random(11);
  std::string text;
  char line[64];
  for (int i = 0; i < 3000; ++i) {
    float const f = std::ldexp(1.0f + float(random() % (1 << 23)) / (1 << 23),
                               static_cast<int>(random() % 40) - 20);
    double const halfway = (double(f) + double(std::nextafter(f, 2 * f))) / 2;
    for (double const x :
         {std::nextafter(halfway, 0.0), halfway, std::nextafter(halfway, 2 * halfway)}) {
      int const whole = x < 1 ? 1 : static_cast<int>(std::floor(std::log10(x))) + 1;
      std::snprintf(line, sizeof line, "v %.*f -%.*f 1\n", 19 - whole, x, 19 - whole, x);
      text += line;
    }
  }
  EXPECT_EQ(literalRecords(text), scannedRecords(text));
}

TEST(TriMeshScanner, MatchesTheStreamReaderOnRandomText) {
  // Lines of a keyword and whole or broken numbers, with random separators.
  std::vector<std::string> const keywords{"v", "vt", "f", "#", "g", "vv", "ft", "t"};
  std::vector<std::string> const numbers{
      "1",     "2",     "-3.5", ".25", "1e3", "8",           "3e",      "4e-",
      "+.5e2", "6.",    ".",    "-",   "+",   "0x1.8p",      "0x",      "0x.",
      "inf",   "in",    "nan",  "n",   "Inf", "infinity",    "INFINIT", "7/8",
      "1e39",  "1e-50", "42",   "e",   "-0",  "99999999999", "0e",      "0xAfp1"};
  std::vector<std::string> const separators{" ", " ", " ", "  ", "\t", "\n", "", "x"};
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
    found += expected.size();
    EXPECT_EQ(expected, scannedRecords(text)) << text;
  }
  EXPECT_GT(found, 1000u);
}

} // namespace
