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
  return static_cast<unsigned char>(c - '0') < 10;
}
bool isHexDigit(char c) {
  return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
char lower(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The powers of ten that doubles hold exactly.
constexpr double powersOfTen[23] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                    1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                    1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

/// The C library's conversion of a matched number text (without its sign).
float convert(char const* first, char const* last) {
  std::string const text(first, last);
  return std::strtof(text.c_str(), nullptr);
}

} // namespace

bool MeshTextScanner::skipPast(char c) {
  // Records follow one another: the next is usually a line break away.
  for (int i = 0; i < 2 && cursor != end; ++i)
    if (*cursor++ == c)
      return true;
  auto const* found =
      static_cast<char const*>(std::memchr(cursor, c, static_cast<std::size_t>(end - cursor)));
  cursor = found == nullptr ? end : found + 1;
  return found != nullptr;
}

bool MeshTextScanner::skipPast(char a, char b) {
  // The pair is sought by its second character, which is the rarer in mesh files ('t' of "vt").
  if (cursor == end)
    return false;
  ++cursor;
  while (skipPast(b))
    if (cursor[-2] == a)
      return true;
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
  char const* p = cursor;
  while (isSpace(*p))
    ++p;
  cursor = p;
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

bool MeshTextScanner::readPlainDecimal(float& value) {
  char const* p = cursor;
  bool const negative = *p == '-';
  if (*p == '-' || *p == '+')
    ++p;
  char const* const first = p;
  std::uint64_t mantissa = 0;
  for (; isDigit(*p); ++p)
    mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - '0');
  std::ptrdiff_t digits = p - first;
  std::ptrdiff_t decimals = 0;
  if (p != end && *p == '.') {
    char const* const point = p++;
    for (; isDigit(*p); ++p)
      mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - '0');
    decimals = p - point - 1;
    digits += decimals;
  }
  bool const hexadecimal = p == first + 1 && *first == '0' && p != end && lower(*p) == 'x';
  if (digits == 0 || digits > 19 || decimals > 22 || mantissa > (std::uint64_t(1) << 53) ||
      hexadecimal || (p != end && lower(*p) == 'e'))
    return false;
  // Exact operands: one division gives the nearest double. Its nearest float is the text's unless
  // the double lies halfway between two floats (its 29 bits below a float's precision are
  // 1000...0), where the text may lie on either side.
  double const nearest = static_cast<double>(mantissa) / powersOfTen[decimals];
  std::uint64_t bits;
  std::memcpy(&bits, &nearest, sizeof bits);
  if ((bits & 0x1FFFFFFFu) == 0x10000000u)
    return false;
  auto const magnitude = static_cast<float>(nearest);
  value = negative ? -magnitude : magnitude;
  cursor = p;
  return true;
}

bool MeshTextScanner::readFloat(float& value) {
  skipSpace();
  if (cursor == end)
    return false;
  if (readPlainDecimal(value))
    return true;
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
  if (!isDigit(*cursor))
    return false;
  // The library converts to a saturating 64-bit long and stores its low 32 bits.
  constexpr std::uint64_t limit = std::uint64_t(1) << 63;
  constexpr std::uint64_t safe = (limit - 9) / 10;
  std::uint64_t magnitude = 0;
  char const* p = cursor;
  for (; isDigit(*p); ++p) {
    auto const digit = static_cast<std::uint64_t>(*p - '0');
    magnitude =
        magnitude <= safe || magnitude <= (limit - digit) / 10 ? magnitude * 10 + digit : limit;
  }
  cursor = p;
  std::uint64_t bits;
  if (negative)
    bits = magnitude >= limit ? limit : std::uint64_t(0) - magnitude;
  else
    bits = magnitude >= limit ? limit - 1 : magnitude;
  value = static_cast<std::int32_t>(static_cast<std::uint32_t>(bits));
  return true;
}

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
