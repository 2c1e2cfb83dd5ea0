#include <QARN/Geometry/ThreeDimensional/TriMesh/Mesh.h>

#include "MeshTextScanner.h"

#include <Progress/ProgressStage.h>
#include <QARN/Exception.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <memory>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

namespace {

/// A mesh file name split at its last '/' or '\', whichever comes later. Without a separator the
/// directory is the whole name and the separator a backslash.
struct PathParts {
  std::string directory;
  char separator;
  /// After the separator.
  std::string shortName;
  /// The short name before its last dot.
  std::string baseName;
};

PathParts splitPath(std::string const& name) {
  std::size_t const slash = name.rfind('/');
  std::size_t const backslash = name.rfind('\\');
  std::size_t last = std::string::npos;
  if (slash != std::string::npos && (backslash == std::string::npos || slash > backslash))
    last = slash;
  else if (backslash != std::string::npos)
    last = backslash;
  PathParts parts;
  parts.directory = name.substr(0, last);
  parts.separator = last == std::string::npos ? '\\' : name[last];
  parts.shortName = last == std::string::npos ? name : name.substr(last + 1);
  parts.baseName = parts.shortName.substr(0, parts.shortName.rfind('.'));
  return parts;
}

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

/// The remaining size of a file read up to position, or 0 when it cannot be told.
std::size_t getRemainingSize(std::FILE* file, std::size_t position) {
  if (std::fseek(file, 0, SEEK_END) != 0)
    return 0;
  long const end = std::ftell(file);
  if (std::fseek(file, static_cast<long>(position), SEEK_SET) != 0)
    throw Exception("Cannot open file");
  return end > static_cast<long>(position) ? static_cast<std::size_t>(end) - position : 0;
}

/// The whole file, in a scanner. Its size is asked only once it has given some bytes: a
/// directory opens but reads nothing (as reading it character by character would), and reports
/// an absurd size.
MeshTextScanner readFile(char const* name) {
  File const file(std::fopen(name, "rb"));
  if (!file)
    throw Exception("Cannot open file");
  std::size_t capacity = std::size_t(1) << 16;
  std::unique_ptr<char[]> buffer(new char[capacity + MeshTextScanner::padding]);
  std::size_t size = std::fread(buffer.get(), 1, capacity, file.get());
  // Until fread gives less than asked: the end of the file, or a read error.
  for (bool first = true; size == capacity; first = false) {
    capacity = first ? size + getRemainingSize(file.get(), size) + 1 : 2 * capacity;
    std::unique_ptr<char[]> larger(new char[capacity + MeshTextScanner::padding]);
    std::copy_n(buffer.get(), size, larger.get());
    buffer = std::move(larger);
    size += std::fread(buffer.get() + size, 1, capacity - size, file.get());
  }
  return MeshTextScanner(std::move(buffer), size);
}

} // namespace

std::string const Mesh::getCutEdgeIndicesFileName(std::string const& baseName) const {
  return baseName + "_cut_indices.txt";
}

void Mesh::saveCutEdgeIndices(std::string const& path, CutEdgeIndices const& indices) const {
  if (indices.first.empty())
    return;
  std::ofstream out(path, std::ios::out | std::ios::trunc);
  for (std::size_t i = 0; i < indices.first.size(); ++i)
    out << indices.first[i].index << ", " << indices.second[i].index << '\n';
}

void Mesh::loadCutEdgeIndices(std::string const& path, CutEdgeIndices& indices) {
  std::ifstream in(path);
  // The test precedes the reads, so a final newline yields one more pair (0, 0).
  while (in.good()) {
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    std::string separator;
    in >> first >> separator >> second;
    indices.first.push_back(CutEdgeIndex{first});
    indices.second.push_back(CutEdgeIndex{second});
  }
}

void Mesh::save(char const* name, bool write2D, bool flatOnly) const {
  std::string const path(name);
  if (path.find(".obj") == std::string::npos)
    throw Exception("Invalid file extension");
  ProgressListener* const listener = progressListener;
  if (listener != nullptr)
    listener->setStatusText(("Initialising file save: " + path + ".").c_str());
  File file(std::fopen(name, "w"));
  if (!file)
    throw Exception("Cannot open file");
  std::FILE* const out = file.get();

  // One last value for all stages; item c of count reports c*100/count + 1.
  std::uint32_t last = 0;
  auto const progress = [&](std::uint64_t c, std::uint64_t count) {
    auto const percent = static_cast<std::uint32_t>(c * 100 / count + 1);
    if (listener != nullptr && percent != last) {
      last = percent;
      listener->setProgress(percent);
    }
  };
  auto const status = [&](char const* text) {
    if (listener != nullptr)
      listener->setStatusText(text);
  };

  std::uint32_t const n = getNumberOfVertices();
  std::fputs("#\n# Proprietary data of Tarvelin QARN - do not distribute\n#\n\n", out);
  if (!flatOnly) {
    status("Writing 3D coordinates...");
    std::fputs("g Vertices\n", out);
    for (std::uint32_t i = 0; i < n; ++i) {
      Point const& p = vertices[i].getPoint3D();
      std::fprintf(out, "v %f %f %f\n", double(p.getX()), double(p.getY()), double(p.getZ()));
      progress(i, n);
    }
  }
  if (write2D) {
    std::fputs("\n", out);
    status(flatOnly ? "Writing 3D coordinates..." : "Writing 2D coordinates...");
    std::fputs(flatOnly ? "g Vertices3D\n" : "g Vertices2D\n", out);
    for (std::uint32_t i = 0; i < n; ++i) {
      TwoDimensional::Point<double> const p = vertices[i].getPoint2D();
      std::fprintf(out, flatOnly ? "v %f %f 0.0\n" : "vt %f %f\n", p.getU(), p.getV());
      progress(i, n);
    }
  }
  std::fputs("\ng Faces\n", out);
  status("Writing connectivity information...");
  std::vector<Triangle*> list;
  std::vector<Triangle*>::const_iterator begin;
  std::vector<Triangle*>::const_iterator end;
  getTriangles(list, begin, end);
  auto const count = static_cast<std::uint64_t>(end - begin);
  for (auto it = begin; it != end; ++it) {
    auto const corner = [&](int k) { return static_cast<int>((*it)->vertexIndices[k] + 1); };
    std::fprintf(out, "f %d %d %d\n", corner(0), corner(1), corner(2));
    progress(static_cast<std::uint64_t>(it - begin), count);
  }
  file.reset();

  PathParts const parts = splitPath(path);
  saveCutEdgeIndices(parts.directory + parts.separator + getCutEdgeIndicesFileName(parts.baseName),
                     cutEdgeIndices);
}

FileContents Mesh::load(char const* name) {
  std::string const path(name);
  PathParts const parts = splitPath(path);
  fileName = parts.baseName;
  if (path.find(".obj") == std::string::npos)
    throw Exception("Invalid file extension");
  ProgressListener* const listener = progressListener;
  if (listener != nullptr)
    listener->setStatusText(("Initialising file load: " + parts.shortName + ".").c_str());
  clear();
  cutEdgeIndices = CutEdgeIndices();
  MeshTextScanner scanner = readFile(name);

  // 3-D points: "v" and three numbers. The count of "v " only scales the progress. The numbers
  // are gathered first so that the vertices are built in place, once.
  {
    ProgressStage stage(listener, "Reading 3D coordinates...",
                        listener != nullptr ? scanner.count('v', ' ') + 1 : 0);
    std::vector<std::array<float, 3>> points;
    std::array<float, 3> xyz;
    while (scanner.skipPast('v'))
      if (scanner.readFloats(xyz.data(), 3) == 3) {
        points.push_back(xyz);
        stage.step(points.size());
      }
    vertices.reserve(points.size());
    vertexTriangles.reserve(points.size());
    for (auto const& p : points)
      addVertex(Vertex(Point(p[0], p[1], p[2])));
  }
  if (vertices.empty())
    throw Exception("File does not contain 3D data");
  std::uint32_t const n = getNumberOfVertices();

  // 2-D points: "vt" and two numbers, given to the vertices in order.
  std::uint64_t points2D = 0;
  {
    bool const announced = listener != nullptr && scanner.contains('v', 't');
    ProgressStage stage(announced ? listener : nullptr, "Reading 2D coordinates...", n);
    scanner.rewind();
    float uv[2];
    while (scanner.skipPast('v', 't'))
      if (scanner.readFloats(uv, 2) == 2) {
        if (points2D < n)
          vertices[points2D].setPoint2D(TwoDimensional::Point<double>(uv[0], uv[1]));
        stage.step(++points2D);
      }
  }
  if (points2D != 0 && points2D != n)
    throw Exception("Invalid number of 2D coordinates");

  // Faces: "f" and three 1-based indices; only the first is checked here.
  std::vector<Face> faces;
  {
    ProgressStage stage(listener, "Reading connectivity information...",
                        listener != nullptr ? scanner.count('f') + 1 : 0);
    scanner.rewind();
    std::int32_t abc[3];
    while (scanner.skipPast('f'))
      if (scanner.readInts(abc, 3) == 3) {
        Face const face{static_cast<std::uint32_t>(abc[0]) - 1,
                        static_cast<std::uint32_t>(abc[1]) - 1,
                        static_cast<std::uint32_t>(abc[2]) - 1};
        if (face[0] >= n)
          throw Exception("Invalid vertex index");
        faces.push_back(face);
        stage.step(faces.size());
      }
  }
  constructFromFaces(faces);
  faces = std::vector<Face>();
  clean();
  calculateVertexNormals();
  loadCutEdgeIndices(parts.directory + parts.separator + getCutEdgeIndicesFileName(fileName),
                     cutEdgeIndices);
  return FileContents(true, points2D == n);
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
