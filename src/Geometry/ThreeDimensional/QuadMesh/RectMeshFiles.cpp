#include <QARN/Exception.h>
#include <QARN/Geometry/ThreeDimensional/QuadMesh/RectMesh.h>
#include <QARN/IOFailure.h>

#include <Progress/ProgressStage.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <type_traits>
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

[[noreturn]] void throwInsufficientMemory() {
  throw Exception("Insufficient memory to initialise quad-mesh.");
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

/// Uninitialised memory for count items of size bytes; null when it cannot be had.
void* allocate(std::uint64_t count, std::size_t size) {
  if (count > std::numeric_limits<std::size_t>::max() / size)
    return nullptr;
  return std::malloc(static_cast<std::size_t>(count) * size);
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

/// The bits of eight flag bytes that say whether each point is valid.
constexpr std::uint64_t validityBits = 0x0101010101010101u;

/// Flag bytes with the validity bit among the first n.
std::size_t countValid(signed char const* flags, std::size_t n) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < n; ++i)
    count += static_cast<unsigned char>(flags[i]) & 1u;
  return count;
}

/// Flag bytes with the validity bit among the next n bytes of the stream, read through a small
/// buffer. The caller has checked that n bytes are there.
std::uint64_t countValidFlags(std::istream& in, std::uint64_t n) {
  std::vector<signed char> buffer(static_cast<std::size_t>(std::min<std::uint64_t>(n, blockSize)));
  std::uint64_t count = 0;
  while (n > 0) {
    std::size_t const chunk = static_cast<std::size_t>(std::min<std::uint64_t>(n, buffer.size()));
    readBytes(in, buffer.data(), chunk);
    count += countValid(buffer.data(), chunk);
    n -= chunk;
  }
  return count;
}

/// The end of the run of points from i (below n) that are valid exactly when point i is.
std::size_t getRunEnd(signed char const* flags, std::size_t i, std::size_t n) {
  bool const valid = (flags[i] & 1) != 0;
  std::uint64_t const pattern = valid ? validityBits : 0;
  std::size_t j = i + 1;
  // Eight points at a time while all of them match, then point by point.
  for (std::uint64_t word; j + 8 <= n; j += 8) {
    std::memcpy(&word, flags + j, sizeof word);
    if (((word ^ pattern) & validityBits) != 0)
      break;
  }
  while (j < n && ((flags[j] & 1) != 0) == valid)
    ++j;
  return j;
}

/// A sequential reader of a point block whose bytes are all in the file (checked by the
/// caller): records are served from a buffer of whole records, and long stretches go straight
/// from the file into their destination.
class BlockReader {
public:
  BlockReader(std::istream& in, std::uint64_t size)
      : in(in), remaining(size),
        buffer(static_cast<std::size_t>(std::min<std::uint64_t>(size, blockSize))) {}

  /// The next record of n bytes (n divides blockSize).
  unsigned char const* next(std::size_t n) {
    if (position == filled)
      refill();
    unsigned char const* const record = buffer.data() + position;
    position += n;
    return record;
  }

  /// Copies the next n bytes (whole records) to destination.
  void read(void* destination, std::size_t n) {
    auto* out = static_cast<unsigned char*>(destination);
    std::size_t const buffered = std::min(n, filled - position);
    std::memcpy(out, buffer.data() + position, buffered);
    position += buffered;
    out += buffered;
    n -= buffered;
    if (n >= buffer.size()) {
      readBytes(in, out, n);
      remaining -= n;
    } else if (n > 0) {
      refill();
      std::memcpy(out, buffer.data(), n);
      position = n;
    }
  }

private:
  void refill() {
    filled = static_cast<std::size_t>(std::min<std::uint64_t>(remaining, buffer.size()));
    readBytes(in, buffer.data(), filled);
    remaining -= filled;
    position = 0;
  }

  std::istream& in;
  std::uint64_t remaining;
  std::vector<unsigned char> buffer;
  std::size_t position = 0;
  std::size_t filled = 0;
};

/// Fills the coordinates (three floats a point) of the n points from the point block. A valid
/// point takes the next record; an invalid one takes the next record too when every point has
/// one (version 0), dropping it, and is set to the origin. Float records of a little-endian file
/// on a little-endian host are the stored form and are copied as they are, a run of valid
/// points at a time. Should a read fail, the points not read are set to the origin before the
/// exception leaves.
template <typename Coordinate>
void readCoordinates(std::istream& in, std::uint64_t records, signed char const* flags, float* xyz,
                     std::size_t n, bool everyPointHasRecord) {
  constexpr std::size_t recordSize = 3 * Coordinate::width;
  constexpr bool isStoredForm = std::is_same_v<Coordinate, FloatCoordinate> && isLittleEndianHost;
  BlockReader reader(in, records * recordSize);
  std::size_t i = 0;
  try {
    while (i < n) {
      std::size_t const end = getRunEnd(flags, i, n);
      if ((flags[i] & 1) == 0) {
        std::fill(xyz + 3 * i, xyz + 3 * end, 0.0f);
        for (std::size_t k = i; k < end && everyPointHasRecord; ++k)
          reader.next(recordSize);
      } else if constexpr (isStoredForm) {
        reader.read(xyz + 3 * i, (end - i) * recordSize);
      } else {
        for (std::size_t k = i; k < end; ++k) {
          unsigned char const* const b = reader.next(recordSize);
          // As a Point stores the coordinates it is given.
          for (std::size_t c = 0; c < 3; ++c)
            xyz[3 * k + c] = static_cast<float>(Coordinate::get(b + c * Coordinate::width));
        }
      }
      i = end;
    }
  } catch (...) {
    std::fill(xyz + 3 * i, xyz + 3 * n, 0.0f);
    throw;
  }
}

/// Marks each valid point of a grid of validity flags (0 or 1) Boundary when one of its in-grid
/// neighbours (±u, ±v) is invalid, else Interior.
void markRegions(signed char* flags, std::size_t columns, std::size_t rows) {
  auto const isInvalid = [flags](std::size_t i) { return (flags[i] & 1) == 0; };
  for (std::size_t v = 0; v < rows; ++v)
    for (std::size_t u = 0; u < columns; ++u) {
      std::size_t const i = v * columns + u;
      if (isInvalid(i))
        continue;
      bool const boundary = (u + 1 < columns && isInvalid(i + 1)) || (u > 0 && isInvalid(i - 1)) ||
                            (v + 1 < rows && isInvalid(i + columns)) ||
                            (v > 0 && isInvalid(i - columns));
      flags[i] = static_cast<signed char>(
          flags[i] | (boundary ? 1 << RectMesh::Boundary : 1 << RectMesh::Interior));
    }
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
    *writer.reserve(1) = static_cast<unsigned char>(getPointFlags(p));
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

// Both versions read the flag block straight into a new flag block, before the old grid is
// given up, so that a file refused for a short point block leaves the mesh as it was; then the
// old grid goes, and the points are read straight into the new coordinates, once.
void RectMesh::loadv0(QuadFileHeader const& header, std::ifstream& in) {
  TwoDimensional::Vector<std::uint32_t> const size(header.quadCountU, header.quadCountV);
  std::uint64_t const points = getPointCount(size);
  std::uint64_t const available = getRemainingBytes(in);
  if (available < points || (available - points) / (3 * DoubleCoordinate::width) < points)
    throwInvalidFile();
  auto const n = static_cast<std::size_t>(points);
  FlagBlock flags(static_cast<signed char*>(allocate(n, 1)));
  if (!flags) {
    clear();
    throwInsufficientMemory();
  }
  readBytes(in, flags.get(), n);
  for (std::size_t i = 0; i < n; ++i)
    flags[i] = flags[i] != 0 ? 1 : 0;
  markRegions(flags.get(), std::size_t{size.getdU()} + 1, std::size_t{size.getdV()} + 1);
  clear();
  CoordinateBlock xyz(static_cast<float*>(allocate(n, 3 * sizeof(float))));
  if (!xyz)
    throwInsufficientMemory();
  setStorage(size, std::move(xyz), std::move(flags));
  meanQuadArea = header.meanQuadArea;
  minQuadArea = header.minQuadArea;
  maxQuadArea = header.maxQuadArea;
  readCoordinates<DoubleCoordinate>(in, points, flagBytes.get(), coordinates.get(), n, true);
}

void RectMesh::loadv1(QuadFileHeader const& header, std::ifstream& in) {
  std::uint64_t const recordSize = 3 * getCoordinateWidth(header.coordinateDataType);
  TwoDimensional::Vector<std::uint32_t> const size(header.quadCountU, header.quadCountV);
  std::uint64_t const points = getPointCount(size);
  std::uint64_t const available = getRemainingBytes(in);
  if (available < points)
    throwInvalidFile();
  auto const n = static_cast<std::size_t>(points);
  FlagBlock flags(static_cast<signed char*>(allocate(n, 1)));
  std::uint64_t records = 0;
  if (flags) {
    readBytes(in, flags.get(), n);
    records = countValid(flags.get(), n);
  } else {
    // Without memory for the flags, the file is still refused first when it is short.
    records = countValidFlags(in, points);
  }
  if ((available - points) / recordSize < records)
    throwInvalidFile();
  clear();
  CoordinateBlock xyz(static_cast<float*>(allocate(n, 3 * sizeof(float))));
  if (!flags || !xyz)
    throwInsufficientMemory();
  setStorage(size, std::move(xyz), std::move(flags));
  meanQuadArea = header.meanQuadArea;
  minQuadArea = header.minQuadArea;
  maxQuadArea = header.maxQuadArea;
  meshName = header.meshName;
  float* const out = coordinates.get();
  switch (header.coordinateDataType) {
  case QuadFileHeader::Float:
    readCoordinates<FloatCoordinate>(in, records, flagBytes.get(), out, n, false);
    break;
  case QuadFileHeader::Double:
    readCoordinates<DoubleCoordinate>(in, records, flagBytes.get(), out, n, false);
    break;
  case QuadFileHeader::Int:
    readCoordinates<IntCoordinate>(in, records, flagBytes.get(), out, n, false);
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
