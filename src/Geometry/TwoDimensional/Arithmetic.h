#ifndef QARN_SRC_GEOMETRY_TWODIMENSIONAL_ARITHMETIC_H
#define QARN_SRC_GEOMETRY_TWODIMENSIONAL_ARITHMETIC_H

#include <cstdint>

// Arithmetic of the 2-D coordinate types. int is carried out in std::uint32_t and converted
// back, so that it wraps modulo 2^32 instead of overflowing; std::uint32_t and double use their
// own operations.
namespace QARN::Geometry::TwoDimensional::Arithmetic {

template <typename T>
struct Carrier {
  using Type = T;
};

template <>
struct Carrier<int> {
  using Type = std::uint32_t;
};

template <typename T>
T add(T a, T b) {
  using W = typename Carrier<T>::Type;
  return static_cast<T>(static_cast<W>(a) + static_cast<W>(b));
}

template <typename T>
T sub(T a, T b) {
  using W = typename Carrier<T>::Type;
  return static_cast<T>(static_cast<W>(a) - static_cast<W>(b));
}

template <typename T>
T mul(T a, T b) {
  using W = typename Carrier<T>::Type;
  return static_cast<T>(static_cast<W>(a) * static_cast<W>(b));
}

template <typename T>
T neg(T a) {
  using W = typename Carrier<T>::Type;
  return static_cast<T>(-static_cast<W>(a));
}

} // namespace QARN::Geometry::TwoDimensional::Arithmetic

#endif
