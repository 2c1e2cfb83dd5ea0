#ifndef QARN_LINEARALGEBRA_VECTOR_H
#define QARN_LINEARALGEBRA_VECTOR_H

#include <cstdint>
#include <vector>

namespace QARN {
namespace LinearAlgebra {

class RowVector;

/// A column vector of doubles of any length: the unknowns and right-hand sides of sparse systems.
/// Element access past the end is silent (reads give 0.0, writes are ignored); length mismatches
/// in + and - throw a new VectorInvalidDimensionsException, which the catcher deletes.
class Vector {
public:
  class VectorInvalidDimensionsException {};

  /// The SIMD arithmetic switch, read from Utility::isSSE2Present() at the first construction.
  /// It is off; when a host turns it on, lengths that are not a multiple of 8 are refused.
  static bool doUseSSE2;
  static bool isSSE2Checked;

  /// n values, all 0.0.
  explicit Vector(std::uint32_t n);
  Vector(Vector const& v);
  Vector& operator=(Vector const& v);
  virtual ~Vector() = default;

  std::uint32_t getNumberOfValues() const { return static_cast<std::uint32_t>(values.size()); }
  double* begin() { return values.data(); }
  double* end() { return values.data() + values.size(); }
  double const* begin() const { return values.data(); }
  double const* end() const { return values.data() + values.size(); }

  double get(std::uint32_t i) const { return i < values.size() ? values[i] : 0.0; }
  void set(std::uint32_t i, double x);
  void acc(std::uint32_t i, double x);
  /// Makes this a copy of v, taking v's length.
  void set(Vector const* v);
  void zero();
  void allOnes();

  /// Sum of the squared values in index order; normL2() is its square root.
  double normL2Sqr() const;
  double normL2() const;

  Vector operator+(Vector const& v) const;
  Vector operator-(Vector const& v) const;
  Vector operator-() const;
  Vector operator*(double s) const;
  Vector operator/(double s) const;
  /// Entrywise over this vector's length; entries past the end of v are left unchanged.
  Vector& operator+=(Vector const& v);
  Vector& operator-=(Vector const& v);

  RowVector transpose() const;

protected:
  bool getDoUseSSE2() const { return doUseSSE2; }
  double* getpValues() { return values.data(); }
  double const* getpValues() const { return values.data(); }

private:
  std::vector<double> values;
};

Vector operator*(double s, Vector const& v);

} // namespace LinearAlgebra
} // namespace QARN

#endif
