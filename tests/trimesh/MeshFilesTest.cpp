#include "TriMeshTestSupport.h"

#include <QARN/Exception.h>

#include <unistd.h>

namespace trimeshtest {
namespace {

std::string const banner = "#\n# Proprietary data of Tarvelin QARN - do not distribute\n#\n\n";

/// A unit square of two triangles, with flattened coordinates (u, v) = (x/2, y/4).
std::string const square = "g Vertices\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n"
                           "g Vertices2D\nvt 0 0\nvt 0.5 0\nvt 0.5 0.25\nvt 0 0.25\n"
                           "g Faces\nf 1 2 3\nf 1 3 4\n";

FileContents loadText(Mesh& mesh, std::string const& text, std::string const& name = "in.obj") {
  std::string const path = tempPath(name);
  writeText(path, text);
  return mesh.load(path.c_str());
}

std::string loadError(std::string const& text) {
  try {
    Mesh mesh;
    loadText(mesh, text);
  } catch (QARN::Exception const& e) {
    return e.what();
  }
  return "no error";
}

std::string saveError(Mesh const& mesh, std::string const& path) {
  try {
    mesh.save(path.c_str(), false, false);
  } catch (QARN::Exception const& e) {
    return e.what();
  }
  return "no error";
}

TEST(TriMeshFiles, SaveWritesTheFormatByteForByte) {
  Mesh mesh;
  FileContents const contents = loadText(mesh, square);
  EXPECT_TRUE(contents.getDoesContain3D());
  EXPECT_TRUE(contents.getDoesContain2D());
  std::string const path = tempPath("square.obj");
  std::string const points =
      "g Vertices\nv 0.000000 0.000000 0.000000\nv 1.000000 0.000000 "
      "0.000000\nv 1.000000 1.000000 0.000000\nv 0.000000 1.000000 0.000000\n";
  std::string const faces = "\ng Faces\nf 1 2 3\nf 1 3 4\n";
  mesh.save(path.c_str(), true, false);
  EXPECT_EQ(banner + points +
                "\ng Vertices2D\nvt 0.000000 0.000000\nvt 0.500000 0.000000\nvt 0.500000 "
                "0.250000\nvt 0.000000 0.250000\n" +
                faces,
            readText(path));
  mesh.save(path.c_str(), false, false);
  EXPECT_EQ(banner + points + faces, readText(path));
  mesh.save(path.c_str(), true, true);
  EXPECT_EQ(banner +
                "\ng Vertices3D\nv 0.000000 0.000000 0.0\nv 0.500000 0.000000 0.0\nv 0.500000 "
                "0.250000 0.0\nv 0.000000 0.250000 0.0\n" +
                faces,
            readText(path));
  mesh.save(path.c_str(), false, true);
  EXPECT_EQ(banner + faces, readText(path));
  EXPECT_EQ("File does not contain 3D data", loadError(readText(path)));
}

TEST(TriMeshFiles, SavedFilesLoadBack) {
  Mesh mesh;
  loadText(mesh, square);
  std::string const path = tempPath("roundtrip.obj");
  for (int mode = 0; mode < 3; ++mode) {
    bool const write2D = mode != 1;
    bool const flatOnly = mode == 2;
    mesh.save(path.c_str(), write2D, flatOnly);
    Mesh copy;
    FileContents const contents = copy.load(path.c_str());
    EXPECT_EQ(write2D && !flatOnly, contents.getDoesContain2D()) << mode;
    ASSERT_EQ(4u, copy.getNumberOfVertices());
    for (std::uint32_t v = 0; v < 4; ++v) {
      Point const p = mesh.getVertex(v).getPoint3D();
      auto const uv = mesh.getVertex(v).getPoint2D();
      Point const expected = flatOnly ? Point(uv.getU(), uv.getV(), 0.0) : p;
      EXPECT_EQ(expected, copy.getVertex(v).getPoint3D()) << mode;
      if (contents.getDoesContain2D()) {
        EXPECT_EQ(uv, copy.getVertex(v).getPoint2D());
      }
    }
    auto const a = trianglesOf(mesh);
    auto const b = trianglesOf(copy);
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t t = 0; t < a.size(); ++t)
      EXPECT_EQ(cornersOf(a[t]), cornersOf(b[t]));
  }
}

TEST(TriMeshFiles, ErrorTexts) {
  std::string const points = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
  EXPECT_EQ("File does not contain 3D data", loadError("f 1 2 3\n"));
  EXPECT_EQ("Invalid number of 2D coordinates", loadError(points + "vt 0 0\nvt 1 0\nf 1 2 3\n"));
  EXPECT_EQ("Invalid number of 2D coordinates",
            loadError(points + "vt 0 0\nvt 1 0\nvt 2 0\nvt 3 0\nf 1 2 3\n"));
  EXPECT_EQ("Invalid vertex index", loadError(points + "f 0 1 2\n"));
  EXPECT_EQ("Invalid vertex index", loadError(points + "f 1 2 3\nf 4 1 2\n"));
  // Only the first index is checked while reading; the others fail when the triangle is built.
  EXPECT_EQ("Mesh construction failure", loadError(points + "f 1 0 2\n"));
  EXPECT_EQ("Mesh construction failure", loadError(points + "f 1 2 3\nf 3 2 9\n"));
  EXPECT_EQ("Mesh construction failure", loadError(points));

  Mesh mesh;
  EXPECT_EQ("Invalid file extension", saveError(mesh, tempPath("upper.OBJ")));
  EXPECT_EQ("Cannot open file", saveError(mesh, tempPath("missing/dir.obj")));
  for (std::string const name : {"upper.OBJ", "plain.txt"}) {
    std::string const path = tempPath(name);
    writeText(path, points + "f 1 2 3\n");
    try {
      mesh.load(path.c_str());
      FAIL() << name;
    } catch (QARN::Exception const& e) {
      EXPECT_STREQ("Invalid file extension", e.what());
    }
  }
  try {
    mesh.load(tempPath("missing.obj.txt").c_str()); // ".obj" anywhere is accepted
    FAIL();
  } catch (QARN::Exception const& e) {
    EXPECT_STREQ("Cannot open file", e.what());
  }
}

TEST(TriMeshFiles, TokensAreFoundAnywhere) {
  // Tokens count wherever they stand: the comment holds a vertex (unused, so dropped again) and,
  // after "of", the only face; "view" and "vt" give no 3-D vertex; the slash face is skipped.
  Mesh mesh;
  FileContents const contents =
      loadText(mesh, "# v 7 8 9 in a view of 2 3 4\n"
                     "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 5 6\nvt 1 2\nvt 3 4\nvt 5 6\n"
                     "f 2/1 3/2 4/3\n");
  EXPECT_TRUE(contents.getDoesContain2D());
  ASSERT_EQ(3u, mesh.getNumberOfVertices());
  EXPECT_EQ(Point(0, 0, 0), mesh.getVertex(0).getPoint3D());
  EXPECT_EQ(1.0, mesh.getVertex(0).getPoint2D().getU());
  auto const triangles = trianglesOf(mesh);
  ASSERT_EQ(1u, triangles.size());
  EXPECT_EQ((Face{0, 1, 2}), cornersOf(triangles[0]));
}

TEST(TriMeshFiles, CutPairsTravelInTheCompanionFile) {
  std::string const dir = tempPath("");
  writeText(dir + "cut.obj", square);
  writeText(dir + "cut_cut_indices.txt", "3, 4\n5, 6\n");
  Mesh mesh;
  mesh.load((dir + "cut.obj").c_str());
  EXPECT_EQ("cut", mesh.getFileName());
  auto const& pairs = mesh.getCutEdgeIndices();
  ASSERT_EQ(3u, pairs.first.size()); // the final newline yields (0, 0)
  EXPECT_EQ(5u, pairs.first[1].index);
  EXPECT_EQ(6u, pairs.second[1].index);
  EXPECT_EQ(0u, pairs.first[2].index + pairs.second[2].index);

  // A backslash after the last slash is the separator of the companion name.
  std::string const saved = dir + "sub\\copy.v1.obj";
  std::remove((dir + "sub\\copy.v1_cut_indices.txt").c_str());
  mesh.save(saved.c_str(), false, false);
  EXPECT_EQ("3, 4\n5, 6\n0, 0\n", readText(dir + "sub\\copy.v1_cut_indices.txt"));
  mesh.load(saved.c_str());
  EXPECT_EQ("copy.v1", mesh.getFileName());
  EXPECT_EQ(4u, mesh.getCutEdgeIndices().second.size());

  // Loading replaces the pairs; a mesh without pairs writes no companion.
  loadText(mesh, square, "bare.obj");
  EXPECT_TRUE(mesh.getCutEdgeIndices().first.empty());
  mesh.save((dir + "bare2.obj").c_str(), false, false);
  EXPECT_FALSE(std::ifstream(dir + "bare2_cut_indices.txt").good());
}

TEST(TriMeshFiles, NameWithoutSeparatorPutsTheCompanionUnderTheWholeName) {
  char previous[4096];
  ASSERT_NE(nullptr, getcwd(previous, sizeof previous));
  ASSERT_EQ(0, chdir(tempPath("").c_str()));
  writeText("plain.obj", square);
  writeText("plain.obj\\plain_cut_indices.txt", "1, 2\n");
  Mesh mesh;
  mesh.load("plain.obj");
  EXPECT_EQ("plain", mesh.getFileName());
  EXPECT_EQ(2u, mesh.getCutEdgeIndices().first.size());
  mesh.save("other.obj", false, false);
  EXPECT_EQ("1, 2\n0, 0\n", readText("other.obj\\other_cut_indices.txt"));
  ASSERT_EQ(0, chdir(previous));
}

TEST(TriMeshFiles, ProgressTextsAndValues) {
  Mesh mesh;
  RecordingListener listener;
  mesh.setProgressListener(&listener);
  std::string const path = tempPath("progress.obj");
  writeText(path, banner + square);
  mesh.load(path.c_str());
  // 4 vertices over 4 "v " + 1; 4 "vt" over 4 vertices (reaching 101); 2 faces over 3 'f' + 1
  // (one in the banner's "of"); 1 grown triangle over 2 faces.
  EXPECT_EQ((std::vector<std::string>{"Initialising file load: progress.obj.",
                                      "Reading 3D coordinates...", "21", "41", "61", "81",
                                      "Reading 2D coordinates...", "26", "51", "76", "101",
                                      "Reading connectivity information...", "26", "51",
                                      "Constructing triangle mesh...", "51"}),
            listener.calls);
  listener.calls.clear();
  mesh.save(path.c_str(), true, false);
  EXPECT_EQ((std::vector<std::string>{"Initialising file save: " + path + ".",
                                      "Writing 3D coordinates...", "1", "26", "51", "76",
                                      "Writing 2D coordinates...", "1", "26", "51", "76",
                                      "Writing connectivity information...", "1", "51"}),
            listener.calls);
}

} // namespace
} // namespace trimeshtest
