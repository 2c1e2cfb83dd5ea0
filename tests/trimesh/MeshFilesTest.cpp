#include "TriMeshTestSupport.h"

#include <filesystem>

#include <unistd.h>

namespace trimeshtest {
namespace {

std::string const banner = "#\n# Proprietary data of Tarvelin QARN - do not distribute\n#\n\n";
std::string const points = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
/// A unit square of two triangles with flattened coordinates (x/2, y/4).
std::string const square = "g Vertices\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\ng Vertices2D\n"
                           "vt 0 0\nvt 0.5 0\nvt 0.5 0.25\nvt 0 0.25\ng Faces\nf 1 2 3\nf 1 3 4\n";

TEST(TriMeshFiles, SaveWritesTheFormatAndLoadsBack) {
  Mesh mesh;
  EXPECT_TRUE(loadText(mesh, square).getDoesContain2D());
  std::string const path = tempPath("square.obj");
  std::string const xyz = "g Vertices\nv 0.000000 0.000000 0.000000\nv 1.000000 0.000000 "
                          "0.000000\nv 1.000000 1.000000 0.000000\nv 0.000000 1.000000 0.000000\n";
  std::string const faces = "\ng Faces\nf 1 2 3\nf 1 3 4\n";
  std::string const expected[4] = {
      banner + xyz + faces,
      banner + xyz + "\ng Vertices2D\nvt 0.000000 0.000000\nvt 0.500000 0.000000\n" +
          "vt 0.500000 0.250000\nvt 0.000000 0.250000\n" + faces,
      banner + faces,
      banner + "\ng Vertices3D\nv 0.000000 0.000000 0.0\nv 0.500000 0.000000 0.0\n" +
          "v 0.500000 0.250000 0.0\nv 0.000000 0.250000 0.0\n" + faces};
  for (int mode = 0; mode < 4; ++mode) {
    bool const write2D = mode % 2 == 1;
    bool const flatOnly = mode >= 2;
    mesh.save(path.c_str(), write2D, flatOnly);
    EXPECT_EQ(expected[mode], readFile(path)) << mode;
    Mesh copy;
    if (mode == 2) {
      EXPECT_EQ("File does not contain 3D data", errorOf([&] { copy.load(path.c_str()); }));
      continue;
    }
    // Flat-only files hold the flattened mesh as a surface at z = 0, without 2-D points.
    EXPECT_EQ(mode == 1, copy.load(path.c_str()).getDoesContain2D()) << mode;
    for (std::uint32_t v = 0; v < 4; ++v) {
      auto const uv = mesh.getVertex(v).getPoint2D();
      EXPECT_EQ(flatOnly ? Point(uv.getU(), uv.getV(), 0) : mesh.getVertex(v).getPoint3D(),
                copy.getVertex(v).getPoint3D());
      EXPECT_TRUE(mode != 1 || uv == copy.getVertex(v).getPoint2D());
    }
    EXPECT_EQ(cornersOf(trianglesOf(mesh)[1]), cornersOf(trianglesOf(copy)[1]));
  }
}

TEST(TriMeshFiles, ErrorTexts) {
  auto const load = [](std::string const& text) {
    return errorOf([&] {
      Mesh mesh;
      loadText(mesh, text);
    });
  };
  EXPECT_EQ("File does not contain 3D data", load("f 1 2 3\n"));
  EXPECT_EQ("Invalid number of 2D coordinates", load(points + "vt 0 0\nvt 1 0\nf 1 2 3\n"));
  EXPECT_EQ("Invalid number of 2D coordinates", load(points + "vt 0 0\nvt 1 0\nvt 2 0\nvt 3 0\n"));
  EXPECT_EQ("Invalid vertex index", load(points + "f 0 1 2\n"));
  EXPECT_EQ("Invalid vertex index", load(points + "f 1 2 3\nf 4 1 2\n"));
  // Only the first index is checked while reading; the others fail when the triangle is built.
  EXPECT_EQ("Mesh construction failure", load(points + "f 1 0 2\n"));
  EXPECT_EQ("Mesh construction failure", load(points + "f 1 2 3\nf 3 2 9\n"));
  EXPECT_EQ("Mesh construction failure", load(points));

  Mesh mesh;
  EXPECT_EQ("Invalid file extension", errorOf([&] { mesh.save("x.OBJ", false, false); }));
  EXPECT_EQ("Cannot open file",
            errorOf([&] { mesh.save(tempPath("no/dir.obj").c_str(), false, false); }));
  EXPECT_EQ("Invalid file extension", errorOf([&] { loadText(mesh, points, "upper.OBJ"); }));
  EXPECT_EQ("Cannot open file", errorOf([&] { mesh.load(tempPath("no.obj.txt").c_str()); }));
  // A directory opens but holds no characters.
  std::string const directory = tempPath("dir.obj");
  std::filesystem::create_directories(directory);
  EXPECT_EQ("File does not contain 3D data", errorOf([&] { mesh.load(directory.c_str()); }));
}

TEST(TriMeshFiles, TokensAreFoundAnywhere) {
  // The comment holds a vertex (unused, so dropped again) and, after "of", the only face; "view"
  // and "vt" give no 3-D vertex; the slash face is skipped.
  Mesh mesh;
  EXPECT_TRUE(loadText(mesh, "# v 7 8 9 in a view of 2 3 4\n" + points +
                                 "vt 5 6\nvt 1 2\nvt 3 4\nvt 5 6\nf 2/1 3/2 4/3\n")
                  .getDoesContain2D());
  ASSERT_EQ(3u, mesh.getNumberOfVertices());
  EXPECT_EQ(Point(0, 0, 0), mesh.getVertex(0).getPoint3D());
  EXPECT_EQ(1.0, mesh.getVertex(0).getPoint2D().getU());
  ASSERT_EQ(1u, trianglesOf(mesh).size());
  EXPECT_EQ((Face{0, 1, 2}), cornersOf(trianglesOf(mesh)[0]));
}

TEST(TriMeshFiles, CutPairsTravelInTheCompanionFile) {
  std::string const dir = tempPath("");
  writeFile(dir + "cut_cut_indices.txt", "3, 4\n5, 6\n");
  Mesh mesh;
  loadText(mesh, square, "cut.obj");
  EXPECT_EQ("cut", mesh.getFileName());
  auto const& pairs = mesh.getCutEdgeIndices();
  ASSERT_EQ(3u, pairs.first.size()); // the final newline yields (0, 0)
  EXPECT_TRUE(pairs.first[1].index == 5 && pairs.second[1].index == 6);
  EXPECT_TRUE(pairs.first[2].index == 0 && pairs.second[2].index == 0);
  // A backslash after the last slash separates the companion name.
  std::string const saved = dir + "sub\\copy.v1.obj";
  mesh.save(saved.c_str(), false, false);
  EXPECT_EQ("3, 4\n5, 6\n0, 0\n", readFile(dir + "sub\\copy.v1_cut_indices.txt"));
  mesh.load(saved.c_str());
  EXPECT_EQ("copy.v1", mesh.getFileName());
  EXPECT_EQ(4u, mesh.getCutEdgeIndices().second.size());
  // Loading replaces the pairs; without pairs no companion is written.
  loadText(mesh, square, "bare.obj");
  EXPECT_TRUE(mesh.getCutEdgeIndices().first.empty());
  mesh.save((dir + "bare2.obj").c_str(), false, false);
  EXPECT_FALSE(std::ifstream(dir + "bare2_cut_indices.txt").good());
  // Without a separator the companion lies under the whole name.
  char previous[4096];
  ASSERT_TRUE(getcwd(previous, sizeof previous) != nullptr && chdir(dir.c_str()) == 0);
  writeFile("plain.obj", square);
  writeFile("plain.obj\\plain_cut_indices.txt", "1, 2\n");
  mesh.load("plain.obj");
  mesh.save("other.obj", false, false);
  EXPECT_EQ("1, 2\n0, 0\n", readFile("other.obj\\other_cut_indices.txt"));
  ASSERT_EQ(0, chdir(previous));
}

TEST(TriMeshFiles, ProgressTextsAndValues) {
  Mesh mesh;
  QARN::Test::ProgressLog listener;
  mesh.setProgressListener(&listener);
  loadText(mesh, banner + square, "progress.obj");
  // 4 vertices over 4 "v " + 1; 4 "vt" over 4 vertices (up to 101); 2 faces over 3 'f' + 1 (one
  // in the banner's "of"); 1 grown triangle over 2 faces.
  EXPECT_EQ("Initialising file load: progress.obj. Reading 3D coordinates... 21 41 61 81 "
            "Reading 2D coordinates... 26 51 76 101 Reading connectivity information... 26 51 "
            "Constructing triangle mesh... 51 ",
            listener.log);
  listener.log.clear();
  std::string const path = tempPath("progress.obj");
  mesh.save(path.c_str(), true, false);
  // Item c of n reports c*100/n + 1, counting from 0.
  EXPECT_EQ("Initialising file save: " + path +
                ". Writing 3D coordinates... 1 26 51 76 Writing 2D coordinates... 1 26 51 76 "
                "Writing connectivity information... 1 51 ",
            listener.log);
}

} // namespace
} // namespace trimeshtest
