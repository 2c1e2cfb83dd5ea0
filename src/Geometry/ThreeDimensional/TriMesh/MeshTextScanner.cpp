#include "MeshTextScanner.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace QARN::Geometry::ThreeDimensional::TriMesh {

namespace {

bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
bool isHexDigit(char c) {
  return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
char lower(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The C library's conversion of a matched number text (without its sign).
float convert(char const* first, char const* last) {
  std::string const text(first, last);
  return std::strtof(text.c_str(), nullptr);
}

} // namespace

bool MeshTextScanner::skipPast(char c) {
  auto const* found =
      static_cast<char const*>(std::memchr(cursor, c, static_cast<std::size_t>(end - cursor)));
  cursor = found == nullptr ? end : found + 1;
  return found != nullptr;
}

bool MeshTextScanner::skipPast(char a, char b) {
  while (skipPast(a)) {
    if (cursor != end && *cursor == b) {
      ++cursor;
      return true;
    }
  }
  return false;
}

std::size_t MeshTextScanner::count(char c) const {
  std::size_t n = 0;
  for (char const* p = begin;
       (p = static_cast<char const*>(std::memchr(p, c, static_cast<std::size_t>(end - p)))) !=
       nullptr;
       ++p)
    ++n;
  return n;
}

std::size_t MeshTextScanner::count(char a, char b) const {
  std::size_t n = 0;
  for (char const* p = begin;
       (p = static_cast<char const*>(std::memchr(p, a, static_cast<std::size_t>(end - p)))) !=
       nullptr;
       ++p)
    if (p + 1 != end && p[1] == b)
      ++n;
  return n;
}

bool MeshTextScanner::contains(char a, char b) const {
  MeshTextScanner probe(*this);
  probe.rewind();
  return probe.skipPast(a, b);
}

int MeshTextScanner::readFloats(float* values, int count) {
  for (int i = 0; i < count; ++i)
    if (!readFloat(values[i]))
      return i;
  return count;
}

int MeshTextScanner::readInts(std::int32_t* values, int count) {
  for (int i = 0; i < count; ++i)
    if (!readInt(values[i]))
      return i;
  return count;
}

void MeshTextScanner::skipSpace() {
  while (cursor != end && isSpace(*cursor))
    ++cursor;
}

bool MeshTextScanner::matchWord(char const* rest) {
  for (; *rest != '\0'; ++rest) {
    if (cursor == end)
      return false;
    if (lower(*cursor++) != *rest)
      return false;
  }
  return true;
}

bool MeshTextScanner::readFloat(float& value) {
  skipSpace();
  if (cursor == end)
    return false;
  bool negative = false;
  if (*cursor == '-' || *cursor == '+') {
    negative = *cursor++ == '-';
    if (cursor == end)
      return false;
  }
  char const* const first = cursor;
  char const c = lower(*cursor);
  if (c == 'n' || c == 'i') {
    // "nan", "inf" or "infinity", any case; a mismatching character is consumed with the rest.
    ++cursor;
    if (!matchWord(c == 'n' ? "an" : "nf"))
      return false;
    if (c == 'i' && cursor != end && lower(*cursor) == 'i') {
      ++cursor;
      if (!matchWord("nity"))
        return false;
    }
    float const magnitude =
        c == 'n' ? std::numeric_limits<float>::quiet_NaN() : std::numeric_limits<float>::infinity();
    value = negative ? -magnitude : magnitude;
    return true;
  }
  // Digits with one point and an exponent after a digit; "0x" starts a hexadecimal number whose
  // exponent is introduced by 'p'. An exponent without digits is consumed and ignored.
  bool hexadecimal = false;
  bool gotDigit = false;
  bool gotDot = false;
  bool gotExponent = false;
  char exponent = 'e';
  char previous = '\0';
  if (*cursor == '0') {
    previous = *cursor++;
    if (cursor != end && lower(*cursor) == 'x') {
      previous = *cursor++;
      hexadecimal = true;
      exponent = 'p';
    } else {
      gotDigit = true;
    }
  }
  for (; cursor != end; previous = *cursor++) {
    char const d = *cursor;
    if (isDigit(d) || (hexadecimal && !gotExponent && isHexDigit(d))) {
      gotDigit = true;
    } else if (gotExponent && lower(previous) == exponent && (d == '-' || d == '+')) {
    } else if (gotDigit && !gotExponent && lower(d) == exponent) {
      gotExponent = gotDot = true;
    } else if (!gotDot && d == '.') {
      gotDot = true;
    } else {
      break;
    }
  }
  std::ptrdiff_t const length = cursor - first;
  if (length == 0 || (hexadecimal && length == 2))
    return false;
  float magnitude;
  if (hexadecimal) {
    magnitude = convert(first, cursor);
  } else {
    if (!gotDigit)
      return false;
    if (std::from_chars(first, cursor, magnitude).ec != std::errc())
      magnitude = convert(first, cursor);
  }
  value = negative ? -magnitude : magnitude;
  return true;
}

bool MeshTextScanner::readInt(std::int32_t& value) {
  skipSpace();
  if (cursor == end)
    return false;
  bool negative = false;
  if (*cursor == '-' || *cursor == '+')
    negative = *cursor++ == '-';
  if (cursor == end || !isDigit(*cursor))
    return false;
  // The library converts to a saturating 64-bit long and stores its low 32 bits.
  constexpr std::uint64_t limit = std::uint64_t(1) << 63;
  std::uint64_t magnitude = 0;
  for (; cursor != end && isDigit(*cursor); ++cursor) {
    auto const digit = static_cast<std::uint64_t>(*cursor - '0');
    magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
  }
  std::uint64_t bits;
  if (negative)
    bits = magnitude >= limit ? limit : std::uint64_t(0) - magnitude;
  else
    bits = magnitude >= limit ? limit - 1 : magnitude;
  value = static_cast<std::int32_t>(static_cast<std::uint32_t>(bits));
  return true;
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
