#ifndef QARN_LINEARALGEBRA_SPARSEMATRIX_H
#define QARN_LINEARALGEBRA_SPARSEMATRIX_H

#include <QARN/LinearAlgebra/Vector.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace QARN {
namespace LinearAlgebra {

class Utility;

/// A sparse matrix of doubles stored row by row, each row holding its entries with strictly
/// increasing column indices. Stored entries are never removed, so an entry set to 0.0 stays an
/// explicit zero. Out-of-range set/acc are ignored and get reads 0.0; shape mismatches throw a
/// new SparseMatrixInvalidDimensionsException, which the catcher deletes.
class SparseMatrix {
public:
  class SparseMatrixInvalidDimensionsException {};
  class SparseMatrixUnsupportedSSE2Function {};

  /// Zero: no entries. Identity: ones on the diagonal. Any other value is taken as Zero.
  enum Canonical : std::uint32_t { Zero = 0, Identity = 1 };

  /// The SIMD storage switch, read from Utility::isSSE2Present() at the first construction.
  /// It is off; when a host turns it on, + and - throw SparseMatrixUnsupportedSSE2Function.
  static bool doUseSSE2;
  static bool isSSE2Checked;

  /// A rows x columns matrix whose rows get room for approxNonZeroElementsPerRow entries at
  /// their first write. Throws SparseMatrixInvalidDimensionsException* when that size is 0, or
  /// for Identity when rows != columns.
  SparseMatrix(std::uint32_t rows, std::uint32_t columns, std::uint32_t approxNonZeroElementsPerRow,
               Canonical c);
  SparseMatrix(SparseMatrix const& A);
  SparseMatrix& operator=(SparseMatrix const& A);
  virtual ~SparseMatrix() = default;

  std::uint32_t getNumberOfRows() const { return numberOfRows; }
  std::uint32_t getNumberOfColumns() const { return numberOfColumns; }

  /// Stores v at (r, c), 0.0 included. A full row (count + 1 >= capacity) doubles its capacity
  /// before the column is looked up, even when the call replaces an existing entry.
  void set(std::uint32_t r, std::uint32_t c, double v);
  /// set(r, c, get(r, c) + v).
  void acc(std::uint32_t r, std::uint32_t c, double v);
  double get(std::uint32_t r, std::uint32_t c) const;
  /// Makes this a copy of A; each copied row's capacity equals its entry count. The approximate
  /// row size is taken from A only when the row counts differ.
  void set(SparseMatrix const* A);

  /// Merges the two patterns; coinciding entries are summed and kept even when the sum is 0.0.
  SparseMatrix operator+(SparseMatrix const& B) const;
  SparseMatrix operator-(SparseMatrix const& B) const;
  /// Entry i is the sum over row i's entries, in column order, of value times v[column].
  Vector operator*(Vector const& v) const;
  /// The product has full rows: every (i, j) is stored, zeros included.
  SparseMatrix operator*(SparseMatrix const& B) const;
  SparseMatrix transpose() const;

  friend SparseMatrix operator*(double s, SparseMatrix const& A);

protected:
  /// Stored entries and allocated room of row r (0 when r is out of range or never written).
  std::uint32_t getNumberOfRowValues(std::uint32_t r) const;
  std::uint32_t getRowCapacity(std::uint32_t r) const;
  std::uint32_t getApproxNonZeroElementsPerRow() const { return approxNonZeroElementsPerRow; }

private:
  /// A row with capacity 0 owns no arrays.
  struct Row {
    std::unique_ptr<double[]> values;
    std::unique_ptr<std::uint32_t[]> indices;
    std::uint32_t count = 0;
    std::uint32_t capacity = 0;
  };

  void setNumberOfRows(std::uint32_t rows);
  /// Gives row r room for one more entry by the allocation and growth rule of set.
  Row& makeRoom(std::uint32_t r);
  /// Stores (r, c, v) after the row's last entry; c must exceed every stored column of row r.
  void append(std::uint32_t r, std::uint32_t c, double v);
  /// Replaces row r, freeing its arrays; an out-of-range r leaves the matrix unchanged.
  void replaceRow(std::uint32_t r, Row&& row);
  SparseMatrix merge(SparseMatrix const& B, double scaleB) const;
  void multiply(double const* v, double* result) const;

  std::vector<Row> rowTable;
  std::uint32_t numberOfRows = 0;
  std::uint32_t numberOfColumns = 0;
  std::uint32_t approxNonZeroElementsPerRow = 0;

  friend class Utility;
};

SparseMatrix operator*(double s, SparseMatrix const& A);

} // namespace LinearAlgebra
} // namespace QARN

#endif
