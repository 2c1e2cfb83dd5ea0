#include "MeshTextScanner.h"

#include <algorithm>
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

constexpr bool isLittleEndianHost = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

/// The eight characters at p, the first in the lowest byte.
[[gnu::always_inline]] inline std::uint64_t loadEight(char const* p) {
  std::uint64_t word;
  std::memcpy(&word, p, sizeof word);
  if constexpr (!isLittleEndianHost)
    word = __builtin_bswap64(word);
  return word;
}

/// How many of the eight characters, from the first, are digits.
[[gnu::always_inline]] inline int countLeadingDigits(std::uint64_t word) {
  // A digit byte is 0x3d with d + 6 still below 0x40: both high nibbles are 3.
  std::uint64_t const highNibbles = 0xF0F0F0F0F0F0F0F0u;
  std::uint64_t const notDigit =
      ((word & highNibbles) | (((word + 0x0606060606060606u) & highNibbles) >> 4)) ^
      0x3333333333333333u;
  return notDigit == 0 ? 8 : __builtin_ctzll(notDigit) >> 3;
}

/// The number written by the first n (1 to 8) characters, all digits.
[[gnu::always_inline]] inline std::uint64_t getDigitsValue(std::uint64_t word, int n) {
  // The digits move to the top, behind leading zeros; then pairs, quadruples and the octet are
  // combined by multiplication.
  word <<= 8 * (8 - n);
  word = (word & 0x0F0F0F0F0F0F0F0Fu) * 2561 >> 8;
  word = (word & 0x00FF00FF00FF00FFu) * 6553601 >> 16;
  return (word & 0x0000FFFF0000FFFFu) * 42949672960001u >> 32;
}

/// 10^n for n from 0 to 8.
constexpr std::uint64_t digitScales[9] = {1,      10,      100,      1000,     10000,
                                          100000, 1000000, 10000000, 100000000};

/// Reads the digits at p, eight at a time, into mantissa (times ten per digit, wrapping beyond
/// 19 digits); returns how many there were. Eight characters must be readable at each digit.
[[gnu::always_inline]] inline std::size_t readDigits(char const*& p, std::uint64_t& mantissa) {
  char const* const first = p;
  for (int n = 8; n == 8; p += n) {
    std::uint64_t const word = loadEight(p);
    n = countLeadingDigits(word);
    if (n == 0)
      break;
    mantissa = mantissa * digitScales[n] + getDigitsValue(word, n);
  }
  return static_cast<std::size_t>(p - first);
}

[[gnu::always_inline]] inline void skipSpaces(char const*& p) {
  while (isSpace(*p))
    ++p;
}

/// The value the library stores for the digits [first, last) of a number beyond 18 digits: it
/// converts to a 64-bit long, saturating, and keeps the low 32 bits.
std::uint64_t getSaturatedMagnitude(char const* first, char const* last) {
  constexpr std::uint64_t limit = std::uint64_t(1) << 63;
  constexpr std::uint64_t safe = (limit - 9) / 10;
  std::uint64_t magnitude = 0;
  for (char const* p = first; p != last; ++p) {
    auto const digit = static_cast<std::uint64_t>(*p - '0');
    magnitude =
        magnitude <= safe || magnitude <= (limit - digit) / 10 ? magnitude * 10 + digit : limit;
  }
  return magnitude;
}

/// " %d" at p: spaces, a sign (consumed even when no digit follows) and digits. False when no
/// digit is there.
[[gnu::always_inline]] inline bool readInteger(char const*& p, char const* end,
                                               std::int32_t& value) {
  skipSpaces(p);
  if (p == end)
    return false;
  bool negative = false;
  if (*p == '-' || *p == '+')
    negative = *p++ == '-';
  if (!isDigit(*p))
    return false;
  char const* const first = p;
  std::uint64_t magnitude = 0;
  // Eighteen digits stay below 2^63.
  if (readDigits(p, magnitude) > 18)
    magnitude = getSaturatedMagnitude(first, p);
  constexpr std::uint64_t limit = std::uint64_t(1) << 63;
  std::uint64_t bits;
  if (negative)
    bits = magnitude >= limit ? limit : std::uint64_t(0) - magnitude;
  else
    bits = magnitude >= limit ? limit - 1 : magnitude;
  value = static_cast<std::int32_t>(static_cast<std::uint32_t>(bits));
  return true;
}

/// The common number form at p, [sign] digits [. digits] without exponent, where it converts
/// cheaply; false, p unmoved, otherwise.
[[gnu::always_inline]] inline bool readPlainDecimal(char const*& p, char const* end, float& value) {
  char const* q = p;
  bool const negative = *q == '-';
  if (*q == '-' || *q == '+')
    ++q;
  char const* const first = q;
  std::uint64_t mantissa = 0;
  std::size_t digits = readDigits(q, mantissa);
  std::size_t decimals = 0;
  if (q != end && *q == '.') {
    ++q;
    decimals = readDigits(q, mantissa);
    digits += decimals;
  }
  bool const hexadecimal = q == first + 1 && *first == '0' && q != end && lower(*q) == 'x';
  if (digits == 0 || digits > 19 || decimals > 22 || mantissa > (std::uint64_t(1) << 53) ||
      hexadecimal || (q != end && lower(*q) == 'e'))
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
  p = q;
  return true;
}

/// The C library's conversion of a matched number text (without its sign).
float convert(char const* first, char const* last) {
  std::string const text(first, last);
  return std::strtof(text.c_str(), nullptr);
}

} // namespace

MeshTextScanner::MeshTextScanner(std::unique_ptr<char[]> buffer, std::size_t size)
    : text(std::move(buffer)), begin(text.get()), end(begin + size), cursor(begin) {
  std::fill_n(text.get() + size, padding, '\0');
}

MeshTextScanner::MeshTextScanner(std::string const& text)
    : MeshTextScanner(std::make_unique<char[]>(text.size() + padding), text.size()) {
  std::copy(text.begin(), text.end(), this->text.get());
}

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
  // As skipPast from the start: b is sought from the second character on.
  for (char const* p = begin + (begin != end ? 1 : 0); p < end; ++p) {
    p = static_cast<char const*>(std::memchr(p, b, static_cast<std::size_t>(end - p)));
    if (p == nullptr)
      return false;
    if (p[-1] == a)
      return true;
  }
  return false;
}

int MeshTextScanner::readFloats(float* values, int count) {
  char const* p = cursor;
  for (int i = 0; i < count; ++i) {
    skipSpaces(p);
    if (p != end && readPlainDecimal(p, end, values[i]))
      continue;
    cursor = p;
    bool const read = readFloat(values[i]);
    p = cursor;
    if (!read)
      return i;
  }
  cursor = p;
  return count;
}

int MeshTextScanner::readInts(std::int32_t* values, int count) {
  char const* p = cursor;
  for (int i = 0; i < count; ++i)
    if (!readInteger(p, end, values[i])) {
      cursor = p;
      return i;
    }
  cursor = p;
  return count;
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
  skipSpaces(cursor);
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

} // namespace QARN::Geometry::ThreeDimensional::TriMesh
