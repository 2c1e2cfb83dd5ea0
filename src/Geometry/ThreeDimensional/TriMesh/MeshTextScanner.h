#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MESHTEXTSCANNER_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MESHTEXTSCANNER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// A cursor over the text of a mesh file, which it holds. Numbers are matched exactly as the C
/// library's formatted input (" %f", " %d") matches them from a stream on this platform: the same
/// characters are consumed on success and on failure, and the values are those it stores, so a
/// pass of skipPast/read calls gives the records a character-by-character reader driven by
/// fscanf would give. The text is followed by NUL bytes, at which the loops over digits and
/// spaces stop, enough of them for digits to be read eight at a time.
class MeshTextScanner {
public:
  /// NUL bytes kept after the text.
  static constexpr std::size_t padding = 8;

  /// Takes over a buffer of size characters and room for the padding after them.
  MeshTextScanner(std::unique_ptr<char[]> buffer, std::size_t size);
  /// A copy of text.
  explicit MeshTextScanner(std::string const& text);
  MeshTextScanner(MeshTextScanner const&) = delete;
  MeshTextScanner& operator=(MeshTextScanner const&) = delete;

  void rewind() { cursor = begin; }
  /// Moves past the next c; false (at the end) when there is none.
  bool skipPast(char c);
  /// Moves past the next occurrence of the pair ab; false (at the end) when there is none.
  bool skipPast(char a, char b);
  /// Reads up to count numbers as " %f %f ..." would; returns how many were converted.
  int readFloats(float* values, int count);
  /// Reads up to count numbers as " %d %d ..." would; returns how many were converted.
  int readInts(std::int32_t* values, int count);

  /// Occurrences of c in the whole text.
  std::size_t count(char c) const;
  /// Occurrences of the pair ab in the whole text.
  std::size_t count(char a, char b) const;
  /// Whether the pair ab occurs in the text.
  bool contains(char a, char b) const;

private:
  /// " %f" at the cursor, in the forms the fast path of readFloats leaves to it: infinities,
  /// NaNs, exponents, hexadecimal, long or halfway decimals.
  bool readFloat(float& value);
  /// Matches the rest of a word case-insensitively, consuming a mismatching character too.
  bool matchWord(char const* rest);

  std::unique_ptr<char[]> text;
  char const* begin;
  char const* end;
  char const* cursor;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
