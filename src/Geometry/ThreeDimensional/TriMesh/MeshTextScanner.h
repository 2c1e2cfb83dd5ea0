#ifndef QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MESHTEXTSCANNER_H
#define QARN_SRC_GEOMETRY_THREEDIMENSIONAL_TRIMESH_MESHTEXTSCANNER_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

/// A cursor over the text of a mesh file held in memory. Numbers are matched exactly as the C
/// library's formatted input (" %f", " %d") matches them from a stream on this platform: the same
/// characters are consumed on success and on failure, and the values are those it stores, so a
/// pass of skipPast/read calls gives the records a character-by-character reader driven by
/// fscanf would give. The loops over digits and spaces stop at the NUL that follows the text of a
/// std::string.
class MeshTextScanner {
public:
  explicit MeshTextScanner(std::string const& text)
      : begin(text.data()), end(text.data() + text.size()), cursor(begin) {}

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
  void skipSpace();
  /// The common number form, [sign] digits [. digits] without exponent, where it converts
  /// cheaply; false (nothing consumed) otherwise.
  bool readPlainDecimal(float& value);
  bool readFloat(float& value);
  bool readInt(std::int32_t& value);
  /// Matches the rest of a word case-insensitively, consuming a mismatching character too.
  bool matchWord(char const* rest);

  char const* begin;
  char const* end;
  char const* cursor;
};

} // namespace QARN::Geometry::ThreeDimensional::TriMesh

#endif
