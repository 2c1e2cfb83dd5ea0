#include "QuadMeshTestSupport.h"

#include <QARN/Geometry/ThreeDimensional/QuadMesh/LinearScaleRectMesh.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace QuadMeshTest {
namespace {

using QARN::Geometry::ThreeDimensional::QuadMesh::LinearScaleRectMesh;
using Bytes = std::string;

// Appends x little-endian, independently of the library's own field writers.
template <typename T>
void put(Bytes& b, T x) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &x, sizeof x);
  for (std::size_t i = 0; i < sizeof x; ++i)
    b.push_back(static_cast<char>(bits >> (8 * i)));
}

// Magic, version, name field, U, V and the areas (mean, min, max).
Bytes header(std::uint32_t version, std::string name, std::uint32_t U, std::uint32_t V, double mean,
             double min, double max) {
  Bytes b = "QARNQuad";
  put(b, version);
  name.resize(128, '\0');
  b += name;
  for (std::uint32_t x : {U, V})
    put(b, x);
  for (double x : {mean, min, max})
    put(b, x);
  return b;
}

// The coordinates of grid point (u, v) in the tests' meshes.
Point pointAt(int u, int v) {
  return Point(0.1 * u, -2.5 * v, u + 10.0 * v);
}

void pointRecord(Bytes& b, Point const& p) {
  for (float x : {p.getX(), p.getY(), p.getZ()})
    put(b, x);
}

TEST(RectMeshFiles, Version0LoadsValidityRebuildsRegionsAndSavesAsVersion1) {
  // 2 x 1 quads; point (2, 0) is invalid and its record holds garbage.
  Bytes file = header(0, "ignored", 2, 1, 1.5, 0.25, 4.0);
  file += {2, 1, 0, 7, 1, char(255)};
  for (int i = 0; i < 6; ++i)
    for (double x : {0.1 * (i % 3), -2.5 * (i / 3), i % 3 + 10.0 * (i / 3)})
      put(file, i == 2 ? 99.0 : x);
  std::string const path = tempPath("v0\\mesh.v2.quads");
  writeFile(path, file);
  RectMesh mesh;
  mesh.load(path.c_str());
  EXPECT_EQ("mesh.v2", mesh.getFileName());
  EXPECT_EQ("", mesh.getMeshName());
  EXPECT_EQ(Extents(2, 1), mesh.getExtents());
  EXPECT_EQ(1.5, mesh.getMeanQuadArea());
  EXPECT_EQ(0.25, mesh.getMinQuadArea());
  EXPECT_EQ(4.0, mesh.getMaxQuadArea());
  // Valid plus interior (bit 1) or boundary (bit 2): (1, 0) and (2, 1) border on (2, 0).
  signed char const flags[] = {3, 5, 0, 3, 3, 5};
  for (int i = 0; i < 6; ++i) {
    GridPoint const p(i % 3, i / 3);
    EXPECT_EQ(flags[i], mesh.getPointFlags(p)) << i;
    if (i != 2) {
      EXPECT_EQ(pointAt(i % 3, i / 3), mesh.getPoint(p)) << i;
    }
  }

  Bytes expected = header(1, "", 2, 1, 1.5, 0.25, 4.0);
  put(expected, 0u);
  expected.append(std::begin(flags), std::end(flags));
  for (int i : {0, 1, 3, 4, 5})
    pointRecord(expected, pointAt(i % 3, i / 3));
  std::string const saved = tempPath("out\\saved.quads");
  mesh.save(saved.c_str());
  EXPECT_EQ(expected, readFile(saved));
  EXPECT_EQ(saved, mesh.getFileName());
  EXPECT_EQ("\\saved.quads", mesh.getShortFileName());
}

TEST(RectMeshFiles, Version1RoundTripKeepsFlagBytesNameAndScaledPoints) {
  LinearScaleRectMesh mesh;
  static_cast<RectMesh&>(mesh) = GridMesh(3, 2, pointAt);
  mesh.setScale(2.0);
  mesh.setPointFlags(GridPoint(1, 1), 0x1D);       // valid, boundary, bit 3, marked
  mesh.setPointFlags(GridPoint(2, 0), char(0xF6)); // invalid, other bits set
  mesh.setMeshName(std::string(100, 'a') + std::string(100, 'b'));
  std::string const path = tempPath("roundtrip.quads");
  mesh.save(path.c_str());
  EXPECT_EQ(176u + 12 + 11 * 12, readFile(path).size());

  RectMesh loaded;
  loaded.load(path.c_str());
  EXPECT_EQ(std::string(100, 'a') + std::string(27, 'b'), loaded.getMeshName());
  EXPECT_EQ("roundtrip", loaded.getFileName());
  for (int v = 0; v <= 2; ++v)
    for (int u = 0; u <= 3; ++u) {
      GridPoint const p(u, v);
      EXPECT_EQ(mesh.getPointFlags(p), loaded.getPointFlags(p));
      if (loaded.getIsPointValid(p)) {
        EXPECT_EQ(mesh.getPoint(p), loaded.getPoint(p));
      }
    }
  std::uint32_t U = 0, V = 0;
  double mean = 1, min = 1, max = 1;
  RectMesh::getFileHeaderItems(path.c_str(), U, V, mean, min, max);
  EXPECT_EQ(3u, U);
  EXPECT_EQ(2u, V);
  EXPECT_EQ(0.0, mean + min + max);
}

TEST(RectMeshFiles, Version1ReadsDoubleAndIntCoordinatesOfValidPointsOnly) {
  for (std::uint32_t type : {1u, 2u}) {
    Bytes file = header(1, "name", 1, 0, 0, 0, 0);
    put(file, type);
    file += {0, 0x11};
    for (std::int32_t x : {-7, 3, 2147483647})
      type == 1 ? put(file, double(x)) : put(file, x);
    std::string const path = tempPath("typed.quads");
    writeFile(path, file);
    RectMesh mesh;
    mesh.load(path.c_str());
    EXPECT_EQ("name", mesh.getMeshName());
    EXPECT_EQ(0, mesh.getPointFlags(GridPoint(0, 0)));
    EXPECT_EQ(0x11, mesh.getPointFlags(GridPoint(1, 0)));
    EXPECT_EQ(Point(-7, 3, 2147483647.0), mesh.getPoint(GridPoint(1, 0))) << type;
  }
}

/// Flag bytes of a w x h grid in runs of random lengths, short and long, valid and invalid,
/// with random upper bits.
std::vector<unsigned char> randomFlags(std::size_t count, std::mt19937& random) {
  std::vector<unsigned char> flags;
  while (flags.size() < count) {
    std::size_t const run = random() % 4 == 0 ? random() % 100000 : random() % 12;
    unsigned char const validity = flags.size() % 2 == 0 ? 1 : 0;
    for (std::size_t i = 0; i < run && flags.size() < count; ++i)
      flags.push_back(
          static_cast<unsigned char>((random() % 2 == 0 ? random() & 0xFE : 0) | validity));
  }
  return flags;
}

TEST(RectMeshFiles, LoadAgreesWithAPlainDecodingOfTheFile) {
  // Point blocks larger than the reader's buffer, in every coordinate type and version 0;
  // coordinates with fractions that float cannot hold and halfway cases for int.
  std::mt19937 random(5);
  std::uint32_t const U = 699, V = 299;
  std::size_t const count = std::size_t{U + 1} * (V + 1);
  for (std::uint32_t const version : {1u, 0u})
    for (std::uint32_t const type : {0u, 1u, 2u}) {
      if (version == 0 && type != 1)
        continue;
      std::vector<unsigned char> const flags = randomFlags(count, random);
      Bytes file = header(version, "random", U, V, 2.0, 1.0, 3.0);
      if (version == 1)
        put(file, type);
      file.append(flags.begin(), flags.end());
      std::vector<std::array<double, 3>> values(count);
      for (std::size_t i = 0; i < count; ++i) {
        for (double& x : values[i])
          x = type == 2 ? double(std::int32_t(random())) : (double(random()) - 2e9) / 3e4;
        if (version == 1 && (flags[i] & 1) == 0)
          continue;
        for (double x : values[i])
          type == 0 ? put(file, float(x)) : type == 1 ? put(file, x) : put(file, std::int32_t(x));
      }
      std::string const path = tempPath("random.quads");
      writeFile(path, file);
      RectMesh mesh;
      mesh.load(path.c_str());
      ASSERT_EQ(Extents(U, V), mesh.getExtents());
      std::size_t wrong = 0;
      // Version 0 files hold validity only: any byte but 0.
      auto const isValid = [&](std::size_t i) {
        return version == 0 ? flags[i] != 0 : (flags[i] & 1) != 0;
      };
      for (std::size_t i = 0; i < count; ++i) {
        int const u = static_cast<int>(i % (U + 1));
        int const v = static_cast<int>(i / (U + 1));
        auto const isValidBeside = [&](int du, int dv) {
          bool const inside = u + du >= 0 && u + du <= int(U) && v + dv >= 0 && v + dv <= int(V);
          return !inside || isValid(i + du + dv * std::ptrdiff_t(U + 1));
        };
        // Version 0 marks boundary (4) or interior (2) points.
        int expected = flags[i];
        if (version == 0 && isValid(i))
          expected = isValidBeside(1, 0) && isValidBeside(-1, 0) && isValidBeside(0, 1) &&
                             isValidBeside(0, -1)
                         ? 3
                         : 5;
        else if (version == 0)
          expected = 0;
        Point const x = mesh.getPoint(GridPoint(u, v));
        Point const y = isValid(i) ? Point(values[i][0], values[i][1], values[i][2]) : Point();
        float const stored[3] = {x.getX(), x.getY(), x.getZ()};
        float const plain[3] = {y.getX(), y.getY(), y.getZ()};
        if (static_cast<unsigned char>(mesh.getPointFlags(GridPoint(u, v))) != expected ||
            std::memcmp(stored, plain, sizeof stored) != 0)
          ++wrong;
      }
      EXPECT_EQ(0u, wrong) << version << " " << type;
    }
}

TEST(RectMeshFiles, EmptyAndOnePointMeshesWriteOneFlagByte) {
  std::string const path = tempPath("one.quads");
  Bytes expected = header(1, "", 0, 0, 0, 0, 0);
  put(expected, 0u);
  expected.push_back(0);
  RectMesh().save(path.c_str());
  EXPECT_EQ(expected, readFile(path));
  GridMesh(0, 0, [](int, int) { return pointAt(3, 4); }).save(path.c_str());
  expected.back() = 1;
  pointRecord(expected, pointAt(3, 4));
  EXPECT_EQ(expected, readFile(path));
}

TEST(RectMeshFiles, MalformedFilesAreRefusedBeforeTheGridChanges) {
  auto v1 = [](std::uint32_t U, std::uint32_t V, std::uint32_t type, Bytes const& body) {
    Bytes b = header(1, "", U, V, 0, 0, 0);
    put(b, type);
    b += body;
    return b;
  };
  Bytes const valid = v1(1, 0, 0, Bytes(1, 1) + Bytes(13, 0));
  Bytes badMagic = valid, noNul = valid, version2 = valid, v0 = header(0, "", 0, 0, 0, 0, 0);
  badMagic[7] = 'D';
  std::fill(noNul.begin() + 12, noNul.begin() + 140, 'n');
  version2[8] = 2;
  v0.append(1 + 23, 1); // one byte short of its point
  std::string const invalid = "Invalid .quads file.";
  std::pair<Bytes, std::string> const cases[] = {
      {Bytes(valid.begin(), valid.begin() + 5), invalid},
      {Bytes(valid.begin(), valid.begin() + 175), invalid},
      {badMagic, invalid},
      {noNul, invalid},
      {v1(1, 0, 0, Bytes(1, 1)), invalid},
      {Bytes(valid.begin(), valid.end() - 1), invalid},
      {v0, invalid},
      {v1(0x7FFFFFFF, 0, 0, Bytes(1 << 16, 0)), invalid},
      {v1(0x7FFFFFFE, 0x7FFFFFFE, 0, Bytes(1 << 16, 0)), invalid},
      {v1(1, 0, 3, Bytes(2, 0)), "Unsupported coordinate data-type"},
      {version2, "Unsupported .quad file version."},
  };
  std::string const path = tempPath("bad.quads");
  for (auto const& [bytes, message] : cases) {
    writeFile(path, bytes);
    GridMesh mesh = flatGrid(4, 5);
    EXPECT_EQ(message, messageOf([&] { mesh.load(path.c_str()); })) << bytes.size();
    EXPECT_EQ(Extents(4, 5), mesh.getExtents());
  }
  writeFile(path, valid);
  EXPECT_EQ("no exception", messageOf([&] { RectMesh().load(path.c_str()); }));
  // The header alone decides here: the largest extents whose indices fit in int pass.
  std::uint32_t U, V;
  double a, b, c;
  writeFile(path, v1(0x7FFFFFFE, 0x7FFFFFFE, 0, ""));
  RectMesh::getFileHeaderItems(path.c_str(), U, V, a, b, c);
  EXPECT_EQ(0x7FFFFFFEu, U);
  EXPECT_EQ(0x7FFFFFFEu, V);
  writeFile(path, v1(0, 0x7FFFFFFF, 0, ""));
  EXPECT_EQ(invalid, messageOf([&] { RectMesh::getFileHeaderItems(path.c_str(), U, V, a, b, c); }));
}

TEST(RectMeshFiles, SaveChoosesTheFormatByNameAndReportsOpenFailures) {
  GridMesh mesh(2, 1, pointAt);
  mesh.setPointValidity(GridPoint(2, 1), false); // still written as a vertex, in no face
  std::string const obj = tempPath("grid.obj");
  mesh.save(obj.c_str());
  EXPECT_EQ(obj, mesh.getFileName());
  EXPECT_EQ("#\n# Proprietary data of Tarvelin QARN - do not distribute\n#\n\ng Vertices\n"
            "v 0 -0 0\nv 0.1 -0 1\nv 0.2 -0 2\nv 0 -2.5 10\nv 0.1 -2.5 11\nv 0.2 -2.5 12\n"
            "\ng Faces\nf 1 2 5 4\n",
            readFile(obj));
  for (char const* name : {"a.obj.quads", "a.quads.obj"}) {
    mesh.save(tempPath(name).c_str());
    EXPECT_EQ('Q', readFile(tempPath(name)).at(0)) << name;
  }

  std::string const missing = tempPath("missing/dir/mesh.quads");
  std::string const open = "Quad-mesh file open failure.";
  EXPECT_EQ("Unsupported file extension", messageOf([&] { mesh.save("mesh.QUADS"); }));
  EXPECT_EQ(open, messageOf<std::ios_base::failure>([&] { mesh.save(missing.c_str()); }));
  EXPECT_EQ(open, messageOf<std::ios_base::failure>([&] { mesh.saveAsOBJ(missing.c_str()); }));
  EXPECT_EQ(open, messageOf<std::ios_base::failure>([&] { mesh.load(missing.c_str()); }));
  std::uint32_t U, V;
  double a, b, c;
  EXPECT_EQ(open, messageOf<std::ios_base::failure>(
                      [&] { RectMesh::getFileHeaderItems(missing.c_str(), U, V, a, b, c); }));
  EXPECT_EQ(tempPath("a.quads.obj"), mesh.getFileName());
}

TEST(RectMeshFiles, QuadAreaDistributionUsesTheStoredStatistics) {
  // Quads of area 1 and 2, stored as min 1, max 2, mean 1.5: they fall in the first and last bin.
  Bytes file = header(1, "", 2, 1, 1.5, 1.0, 2.0);
  put(file, 0u);
  file.append(6, 1);
  for (Point const& p : {Point(0, 0, 0), Point(1, 0, 0), Point(2, 0, 0), Point(0, 1, 0),
                         Point(1, 1, 0), Point(2, 3, 0)})
    pointRecord(file, p);
  std::string const path = tempPath("areas.quads");
  writeFile(path, file);
  RectMesh mesh;
  mesh.load(path.c_str());
  EXPECT_EQ(8u, mesh.getSearchPoints().size()); // rebuilt for the new grid
  mesh.saveQuadAreaDistribution(tempPath("areas.txt"));
  std::ifstream in(tempPath("areas.txt"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);)
    lines.push_back(line);
  ASSERT_EQ(1024u, lines.size());
  EXPECT_EQ("0.666992 0.5", lines[0]);
  EXPECT_EQ("0.667643 0", lines[1]);
  EXPECT_EQ("1.33301 0.5", lines[1023]);
  // Without a quad both columns are 0/0.
  RectMesh().saveQuadAreaDistribution(tempPath("none.txt"));
  std::ifstream none(tempPath("none.txt"));
  std::string area, fraction;
  none >> area >> fraction;
  EXPECT_TRUE(std::isnan(std::stod(area)) && std::isnan(std::stod(fraction))) << area << fraction;
  EXPECT_EQ("Quad area distribution file open failure.", messageOf<std::ios_base::failure>([&] {
              mesh.saveQuadAreaDistribution(tempPath("missing/areas.txt"));
            }));
}

TEST(RectMeshFiles, SaveReportsBothStagesInPercent) {
  QARN::Test::ProgressLog listener;
  GridMesh mesh = flatGrid(2, 1);
  mesh.setProgressListener(&listener);
  mesh.save(tempPath("progress.quads").c_str());
  EXPECT_EQ("Writing point flags... 1 17 34 51 67 84 Writing quad points... 1 17 34 51 67 84 ",
            listener.log);
}

TEST(RectMeshFiles, ShortNamesKeepTheirLastSeparator) {
  RectMesh mesh;
  EXPECT_EQ(mesh.getFileName(), mesh.getShortFileName());
  std::filesystem::create_directories(tempPath("sub.dir\\x"));
  std::string const path = tempPath("sub.dir\\x/mesh");
  mesh.save((path + ".quads").c_str());
  EXPECT_EQ("/mesh.quads", mesh.getShortFileName());
  std::filesystem::rename(path + ".quads", path);
  mesh.load(path.c_str());
  EXPECT_EQ("mesh", mesh.getFileName());
}

} // namespace
} // namespace QuadMeshTest
