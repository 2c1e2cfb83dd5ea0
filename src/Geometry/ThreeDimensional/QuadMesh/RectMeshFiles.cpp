#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/IOFailure.h>

#include <Progress/ProgressStage.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <limits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace QARN::Geometry::ThreeDimensional::QuadMesh {

namespace {

using GridPoint = TwoDimensional::Point<int>;

constexpr char quadsMagic[8] = {'Q', 'A', 'R', 'N', 'Q', 'u', 'a', 'd'};
constexpr std::size_t nameFieldSize = 128;
/// magic, version, name, U, V and the three areas; version 1 adds the coordinate type.
constexpr std::size_t headerSizeV0 = 8 + 4 + nameFieldSize + 4 + 4 + 3 * 8;
/// From this U or V on, an axis would have more points than int indices can address.
constexpr std::uint32_t extentLimit = 0x7FFFFFFF;
/// Transfer block: a multiple of every point record size (12 and 24 bytes).
constexpr std::size_t blockSize = 24 * 43690;

[[noreturn]] void throwInvalidFile() {
  throw Exception("Invalid .quads file.");
}

// Fields are little-endian; a little-endian host copies them as they are.
constexpr bool isLittleEndianHost = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

std::uint32_t getU32(unsigned char const* b) {
  std::uint32_t x;
  if constexpr (isLittleEndianHost)
    std::memcpy(&x, b, sizeof x);
  else
    x = std::uint32_t(b[0]) | std::uint32_t(b[1]) << 8 | std::uint32_t(b[2]) << 16 |
        std::uint32_t(b[3]) << 24;
  return x;
}

std::uint64_t getU64(unsigned char const* b) {
  return std::uint64_t(getU32(b)) | std::uint64_t(getU32(b + 4)) << 32;
}

void putU32(unsigned char* b, std::uint32_t x) {
  if constexpr (isLittleEndianHost) {
    std::memcpy(b, &x, sizeof x);
  } else {
    b[0] = static_cast<unsigned char>(x);
    b[1] = static_cast<unsigned char>(x >> 8);
    b[2] = static_cast<unsigned char>(x >> 16);
    b[3] = static_cast<unsigned char>(x >> 24);
  }
}

void putU64(unsigned char* b, std::uint64_t x) {
  putU32(b, static_cast<std::uint32_t>(x));
  putU32(b + 4, static_cast<std::uint32_t>(x >> 32));
}

double getF64(unsigned char const* b) {
  double x;
  std::uint64_t const bits = getU64(b);
  std::memcpy(&x, &bits, sizeof x);
  return x;
}

void putF64(unsigned char* b, double x) {
  std::uint64_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  putU64(b, bits);
}

/// The three coordinate encodings of a point record, as little-endian bytes.
struct FloatCoordinate {
  static constexpr std::size_t width = 4;
  static double get(unsigned char const* b) {
    float x;
    std::uint32_t const bits = getU32(b);
    std::memcpy(&x, &bits, sizeof x);
    return x;
  }
  static void put(unsigned char* b, float x) {
    std::uint32_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    putU32(b, bits);
  }
};

struct DoubleCoordinate {
  static constexpr std::size_t width = 8;
  static double get(unsigned char const* b) { return getF64(b); }
  static void put(unsigned char* b, float x) { putF64(b, x); }
};

struct IntCoordinate {
  static constexpr std::size_t width = 4;
  static double get(unsigned char const* b) { return static_cast<std::int32_t>(getU32(b)); }
  /// Truncation toward zero; NaN gives 0 and values beyond the int range saturate.
  static void put(unsigned char* b, float x) {
    std::int32_t i = 0;
    if (x >= 2147483648.0f)
      i = std::numeric_limits<std::int32_t>::max();
    else if (x < -2147483648.0f)
      i = std::numeric_limits<std::int32_t>::min();
    else if (x == x)
      i = static_cast<std::int32_t>(x);
    putU32(b, static_cast<std::uint32_t>(i));
  }
};

/// The file's record width of one coordinate; anything but the three known types is refused.
std::size_t getCoordinateWidth(std::uint32_t type) {
  switch (type) {
  case QuadFileHeader::Float:
    return FloatCoordinate::width;
  case QuadFileHeader::Double:
    return DoubleCoordinate::width;
  case QuadFileHeader::Int:
    return IntCoordinate::width;
  default:
    throw Exception("Unsupported coordinate data-type");
  }
}

/// Reads exactly n bytes; a short read means the file ends early.
void readBytes(std::istream& in, void* buffer, std::uint64_t n) {
  in.read(static_cast<char*>(buffer), static_cast<std::streamsize>(n));
  if (static_cast<std::uint64_t>(in.gcount()) != n)
    throwInvalidFile();
}

/// Bytes from the current position to the end of the file (which must be seekable).
std::uint64_t getRemainingBytes(std::istream& in) {
  std::streamoff const position = in.tellg();
  in.seekg(0, std::ios::end);
  std::streamoff const end = in.tellg();
  in.seekg(position);
  if (position < 0 || end < position || !in)
    throwInvalidFile();
  return static_cast<std::uint64_t>(end - position);
}

/// Counts the flag bytes with the validity bit among the next n bytes, then returns to where
/// it started. The caller has checked that n bytes are there.
std::uint64_t countValidFlags(std::istream& in, std::uint64_t n) {
  std::streamoff const start = in.tellg();
  std::vector<unsigned char> buffer(
      static_cast<std::size_t>(std::min<std::uint64_t>(n, blockSize)));
  std::uint64_t count = 0;
  while (n > 0) {
    std::size_t const chunk = static_cast<std::size_t>(std::min<std::uint64_t>(n, buffer.size()));
    readBytes(in, buffer.data(), chunk);
    for (std::size_t i = 0; i < chunk; ++i)
      count += buffer[i] & 1u;
    n -= chunk;
  }
  in.seekg(start);
  return count;
}

/// Collects output bytes and writes them to the stream in large chunks.
class BlockWriter {
public:
  /// A buffer of up to blockSize bytes, no larger than the expected output.
  BlockWriter(std::ostream& out, std::uint64_t expected)
      : out(out), buffer(static_cast<std::size_t>(std::min<std::uint64_t>(expected, blockSize))) {}
  ~BlockWriter() { flush(); }

  /// Room for n bytes (at most the buffer size) at the end of the buffer.
  unsigned char* reserve(std::size_t n) {
    if (used + n > buffer.size())
      flush();
    unsigned char* const b = buffer.data() + used;
    used += n;
    return b;
  }

  void flush() {
    out.write(reinterpret_cast<char const*>(buffer.data()), static_cast<std::streamsize>(used));
    used = 0;
  }

private:
  std::ostream& out;
  std::vector<unsigned char> buffer;
  std::size_t used = 0;
};

/// The type in which Point stores a coordinate, as a CoordinateDataType.
std::uint32_t getCoordinateDataType() {
  std::type_info const& scalar = typeid(decltype(std::declval<Point const&>().getX()));
  if (scalar == typeid(double))
    return QuadFileHeader::Double;
  if (scalar == typeid(float))
    return QuadFileHeader::Float;
  if (scalar == typeid(int))
    return QuadFileHeader::Int;
  return QuadFileHeader::Unsupported;
}

/// (U + 1)·(V + 1).
std::uint64_t getPointCount(TwoDimensional::Vector<std::uint32_t> const& extents) {
  return (std::uint64_t(extents.getdU()) + 1) * (std::uint64_t(extents.getdV()) + 1);
}

/// Calls visit(p) for every grid point p, v outer and u inner.
template <typename Visit>
void forEachGridPoint(TwoDimensional::Vector<std::uint32_t> const& extents, Visit visit) {
  GridPoint p;
  for (std::int64_t v = 0; v <= std::int64_t(extents.getdV()); ++v) {
    p.setV(static_cast<int>(v));
    for (std::int64_t u = 0; u <= std::int64_t(extents.getdU()); ++u) {
      p.setU(static_cast<int>(u));
      visit(p);
    }
  }
}

/// Reads a point block of `records` records in large chunks, visiting the grid points v outer
/// and u inner: each point p for which hasRecord(p) holds takes the next record, which is
/// handed to store(p, point) once all three coordinates are read. The caller has checked that
/// the block is in the file.
template <typename Coordinate, typename HasRecord, typename Store>
void readPointBlock(std::istream& in, std::uint64_t records,
                    TwoDimensional::Vector<std::uint32_t> const& extents, HasRecord hasRecord,
                    Store store) {
  constexpr std::size_t recordSize = 3 * Coordinate::width;
  std::uint64_t remaining = records * recordSize;
  std::vector<unsigned char> buffer(
      static_cast<std::size_t>(std::min<std::uint64_t>(remaining, blockSize)));
  std::size_t position = 0;
  std::size_t filled = 0;
  forEachGridPoint(extents, [&](GridPoint const& p) {
    if (!hasRecord(p))
      return;
    if (position == filled) {
      filled = static_cast<std::size_t>(std::min<std::uint64_t>(remaining, buffer.size()));
      readBytes(in, buffer.data(), filled);
      remaining -= filled;
      position = 0;
    }
    unsigned char const* const b = buffer.data() + position;
    position += recordSize;
    store(p, Point(Coordinate::get(b), Coordinate::get(b + Coordinate::width),
                   Coordinate::get(b + 2 * Coordinate::width)));
  });
}

/// x, y and z of every point for which isValid holds, read through the virtual getPoint, v
/// outer and u inner.
template <typename Coordinate, typename IsValid>
void writePoints(RectMesh const& mesh, IsValid isValid, ProgressListener* listener,
                 BlockWriter& writer) {
  TwoDimensional::Vector<std::uint32_t> const extents = mesh.getExtents();
  ProgressStage stage(listener, "Writing quad points...", getPointCount(extents));
  std::uint64_t count = 0;
  forEachGridPoint(extents, [&](GridPoint const& p) {
    if (isValid(p)) {
      Point const x = mesh.getPoint(p);
      unsigned char* const b = writer.reserve(3 * Coordinate::width);
      Coordinate::put(b, x.getX());
      Coordinate::put(b + Coordinate::width, x.getY());
      Coordinate::put(b + 2 * Coordinate::width, x.getZ());
    }
    stage.step(count++);
  });
}

/// Position of the last directory separator ('/' or '\'), or npos.
std::size_t findLastSeparator(std::string const& name) {
  return name.find_last_of("/\\");
}

} // namespace

void RectMesh::save(char const* fileName) {
  std::string const name(fileName);
  if (name.find(".quads") == std::string::npos) {
    if (name.find(".obj") == std::string::npos)
      throw Exception("Unsupported file extension");
    saveAsOBJ(fileName);
    setFileName(name);
    return;
  }
  std::ofstream out(fileName, std::ios::binary | std::ios::trunc);
  if (!out)
    throw IOFailure("Quad-mesh file open failure.");
  std::uint32_t const type = getCoordinateDataType();
  std::uint64_t const total = getPointCount(extents);
  BlockWriter writer(out, headerSizeV0 + 4 + total * (1 + 3 * sizeof(double)));
  unsigned char* const header = writer.reserve(headerSizeV0 + 4);
  std::memset(header, 0, headerSizeV0 + 4);
  std::memcpy(header, quadsMagic, sizeof quadsMagic);
  putU32(header + 8, 1);
  meshName.copy(reinterpret_cast<char*>(header + 12), nameFieldSize - 1);
  putU32(header + 140, extents.getdU());
  putU32(header + 144, extents.getdV());
  putF64(header + 148, meanQuadArea);
  putF64(header + 156, minQuadArea);
  putF64(header + 164, maxQuadArea);
  putU32(header + 172, type);
  ProgressStage flagStage(progressListener, "Writing point flags...", total);
  std::uint64_t count = 0;
  forEachGridPoint(extents, [&](GridPoint const& p) {
    // An empty mesh is written as one invalid point.
    *writer.reserve(1) = pointRows.empty() ? 0 : flagRows[p.getV()][p.getU()];
    flagStage.step(count++);
  });
  auto const isValid = [this](GridPoint const& p) { return getIsValidAt(p.getU(), p.getV()); };
  switch (type) {
  case QuadFileHeader::Double:
    writePoints<DoubleCoordinate>(*this, isValid, progressListener, writer);
    break;
  case QuadFileHeader::Float:
    writePoints<FloatCoordinate>(*this, isValid, progressListener, writer);
    break;
  case QuadFileHeader::Int:
    writePoints<IntCoordinate>(*this, isValid, progressListener, writer);
    break;
  default:
    throw Exception("Unsupported coordinate data-type.");
  }
  writer.flush();
  out.close();
  setFileName(name);
}

void RectMesh::saveAsOBJ(char const* fileName) const {
  std::ofstream out(fileName, std::ios::trunc);
  if (!out)
    throw IOFailure("Quad-mesh file open failure.");
  out << "#\n# Proprietary data of Tarvelin QARN - do not distribute\n#\n\ng Vertices\n";
  forEachGridPoint(extents, [&](GridPoint const& p) {
    Point const x = getPoint(p);
    out << "v " << double(x.getX()) << " " << double(x.getY()) << " " << double(x.getZ()) << "\n";
  });
  out << "\ng Faces\n";
  std::uint64_t const rowLength = std::uint64_t(extents.getdU()) + 1;
  forEachGridPoint(extents, [&](GridPoint const& p) {
    if (getIsQuadValid(p)) {
      std::uint64_t const a = std::uint64_t(p.getU()) + rowLength * std::uint64_t(p.getV()) + 1;
      out << "f " << a << " " << a + 1 << " " << a + rowLength + 1 << " " << a + rowLength << "\n";
    }
  });
}

void RectMesh::readFileHeader(std::ifstream& in, QuadFileHeader& header) {
  unsigned char raw[headerSizeV0 + 4];
  readBytes(in, raw, sizeof quadsMagic);
  if (std::memcmp(raw, quadsMagic, sizeof quadsMagic) != 0)
    throwInvalidFile();
  readBytes(in, raw + 8, headerSizeV0 - 8);
  std::uint32_t const version = getU32(raw + 8);
  std::uint32_t coordinateDataType = QuadFileHeader::Double;
  if (version != 0) {
    readBytes(in, raw + headerSizeV0, 4);
    coordinateDataType = getU32(raw + headerSizeV0);
  }
  unsigned char const* const name = raw + 12;
  void const* const end = std::memchr(name, 0, nameFieldSize);
  std::uint32_t const quadCountU = getU32(raw + 140);
  std::uint32_t const quadCountV = getU32(raw + 144);
  if (end == nullptr || quadCountU >= extentLimit || quadCountV >= extentLimit)
    throwInvalidFile();
  header.version = version;
  std::memcpy(header.meshName, name,
              static_cast<std::size_t>(static_cast<unsigned char const*>(end) - name) + 1);
  header.quadCountU = quadCountU;
  header.quadCountV = quadCountV;
  header.meanQuadArea = getF64(raw + 148);
  header.minQuadArea = getF64(raw + 156);
  header.maxQuadArea = getF64(raw + 164);
  header.coordinateDataType = coordinateDataType;
}

void RectMesh::getFileHeaderItems(char const* fileName, std::uint32_t& quadCountU,
                                  std::uint32_t& quadCountV, double& meanQuadArea,
                                  double& minQuadArea, double& maxQuadArea) {
  std::ifstream in(fileName, std::ios::binary);
  if (!in)
    throw IOFailure("Quad-mesh file open failure.");
  QuadFileHeader header;
  readFileHeader(in, header);
  quadCountU = header.quadCountU;
  quadCountV = header.quadCountV;
  meanQuadArea = header.meanQuadArea;
  minQuadArea = header.minQuadArea;
  maxQuadArea = header.maxQuadArea;
}

void RectMesh::load(char const* fileName) {
  std::ifstream in(fileName, std::ios::binary);
  if (!in)
    throw IOFailure("Quad-mesh file open failure.");
  QuadFileHeader header;
  readFileHeader(in, header);
  std::string name(fileName);
  std::size_t const separator = findLastSeparator(name);
  if (separator != std::string::npos)
    name.erase(0, separator + 1);
  std::size_t const dot = name.rfind('.');
  if (dot != std::string::npos)
    name.erase(dot);
  setFileName(name);
  switch (header.version) {
  case 0:
    loadv0(header, in);
    break;
  case 1:
    loadv1(header, in);
    break;
  default:
    throw Exception("Unsupported .quad file version.");
  }
  calculateSearchPoints(searchPointBudget, numberOfSearchPointsU, numberOfSearchPointsV);
}

void RectMesh::loadv0(QuadFileHeader const& header, std::ifstream& in) {
  TwoDimensional::Vector<std::uint32_t> const size(header.quadCountU, header.quadCountV);
  std::uint64_t const points = getPointCount(size);
  std::uint64_t const available = getRemainingBytes(in);
  if (available < points || (available - points) / (3 * DoubleCoordinate::width) < points)
    throwInvalidFile();
  init(size);
  meanQuadArea = header.meanQuadArea;
  minQuadArea = header.minQuadArea;
  maxQuadArea = header.maxQuadArea;
  std::size_t const rowLength = std::size_t(header.quadCountU) + 1;
  for (auto const& row : flagRows) {
    readBytes(in, row.get(), rowLength);
    for (std::size_t u = 0; u < rowLength; ++u)
      row[u] = row[u] != 0 ? 1 : 0;
  }
  readPointBlock<DoubleCoordinate>(
      in, points, size, [](GridPoint const&) { return true; },
      [this](GridPoint const& p, Point const& x) {
        if (flagRows[p.getV()][p.getU()] != 0)
          setPoint(p, x);
      });
  forEachGridPoint(size, [this](GridPoint const& p) {
    if (getIsPointValid(p))
      setPointFlag(p, getIsBoundaryPoint(p) ? Boundary : Interior, true);
  });
}

void RectMesh::loadv1(QuadFileHeader const& header, std::ifstream& in) {
  std::uint64_t const recordSize = 3 * getCoordinateWidth(header.coordinateDataType);
  TwoDimensional::Vector<std::uint32_t> const size(header.quadCountU, header.quadCountV);
  std::uint64_t const points = getPointCount(size);
  std::uint64_t const available = getRemainingBytes(in);
  if (available < points)
    throwInvalidFile();
  std::uint64_t const records = countValidFlags(in, points);
  if ((available - points) / recordSize < records)
    throwInvalidFile();
  init(size);
  meanQuadArea = header.meanQuadArea;
  minQuadArea = header.minQuadArea;
  maxQuadArea = header.maxQuadArea;
  meshName = header.meshName;
  for (auto const& row : flagRows)
    readBytes(in, row.get(), std::uint64_t(header.quadCountU) + 1);
  auto const hasRecord = [this](GridPoint const& p) {
    return (flagRows[p.getV()][p.getU()] & 1) != 0;
  };
  auto const store = [this](GridPoint const& p, Point const& x) { setPoint(p, x); };
  switch (header.coordinateDataType) {
  case QuadFileHeader::Float:
    readPointBlock<FloatCoordinate>(in, records, size, hasRecord, store);
    break;
  case QuadFileHeader::Double:
    readPointBlock<DoubleCoordinate>(in, records, size, hasRecord, store);
    break;
  case QuadFileHeader::Int:
    readPointBlock<IntCoordinate>(in, records, size, hasRecord, store);
    break;
  }
}

std::string RectMesh::getShortFileName() const {
  std::size_t const separator = findLastSeparator(fileName);
  return separator == std::string::npos ? fileName : fileName.substr(separator);
}

void RectMesh::saveQuadAreaDistribution(std::string const& fileName) const {
  constexpr std::uint32_t bins = 1024;
  std::vector<std::uint32_t> counts(bins);
  std::uint32_t total = 0;
  getQuadAreaDistribution(minQuadArea, maxQuadArea, bins, counts.data(), &total);
  std::ofstream out(fileName, std::ios::trunc);
  if (!out)
    throw IOFailure("Quad area distribution file open failure.");
  for (std::uint32_t i = 0; i < bins; ++i) {
    double const centre = (i + 0.5) / bins * (maxQuadArea - minQuadArea) + minQuadArea;
    out << centre / meanQuadArea << " " << double(counts[i]) / double(total) << "\n";
  }
}

} // namespace QARN::Geometry::ThreeDimensional::QuadMesh
