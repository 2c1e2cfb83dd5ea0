#include <QARN/LinearAlgebra/SparseMatrix.h>
#include <QARN/LinearAlgebra/Utility.h>

#include <algorithm>
#include <cstdint>

namespace QARN {
namespace LinearAlgebra {

bool SparseMatrix::doUseSSE2 = false;
bool SparseMatrix::isSSE2Checked = false;

SparseMatrix::SparseMatrix(std::uint32_t rows, std::uint32_t columns,
                           std::uint32_t approxNonZeroElementsPerRow, Canonical c)
    : numberOfColumns(columns), approxNonZeroElementsPerRow(approxNonZeroElementsPerRow) {
  if (!isSSE2Checked) {
    doUseSSE2 = Utility::isSSE2Present();
    isSSE2Checked = true;
  }
  if (approxNonZeroElementsPerRow == 0 || (c == Identity && rows != columns))
    throw new SparseMatrixInvalidDimensionsException;
  setNumberOfRows(rows);
  if (c == Identity)
    for (std::uint32_t i = 0; i < rows; ++i)
      set(i, i, 1.0);
}

SparseMatrix::SparseMatrix(SparseMatrix const& A)
    : approxNonZeroElementsPerRow(A.approxNonZeroElementsPerRow) {
  set(&A);
}

SparseMatrix& SparseMatrix::operator=(SparseMatrix const& A) {
  set(&A);
  return *this;
}

void SparseMatrix::setNumberOfRows(std::uint32_t rows) {
  rowTable.clear();
  rowTable.resize(rows);
  numberOfRows = rows;
}

SparseMatrix::Row& SparseMatrix::makeRoom(std::uint32_t r) {
  Row& row = rowTable[r];
  if (row.capacity == 0) {
    // A wrapped-around approximate size (from + or - of two huge ones) still gives a usable row.
    std::uint32_t const capacity = std::max<std::uint32_t>(approxNonZeroElementsPerRow, 1);
    row.values.reset(new double[capacity]);
    row.indices.reset(new std::uint32_t[capacity]);
    row.capacity = capacity;
  } else if (row.count + 1 >= row.capacity) {
    std::uint32_t const capacity =
        row.capacity > UINT32_MAX / 2 ? std::uint32_t{UINT32_MAX} : row.capacity * 2;
    std::unique_ptr<double[]> values(new double[capacity]);
    std::unique_ptr<std::uint32_t[]> indices(new std::uint32_t[capacity]);
    std::copy(row.values.get(), row.values.get() + row.count, values.get());
    std::copy(row.indices.get(), row.indices.get() + row.count, indices.get());
    row.values = std::move(values);
    row.indices = std::move(indices);
    row.capacity = capacity;
  }
  return row;
}

void SparseMatrix::set(std::uint32_t r, std::uint32_t c, double v) {
  if (r >= numberOfRows || c >= numberOfColumns)
    return;
  Row& row = makeRoom(r);
  std::uint32_t p = 0;
  while (p < row.count && row.indices[p] < c)
    ++p;
  if (p == row.count || row.indices[p] != c) {
    std::copy_backward(row.values.get() + p, row.values.get() + row.count,
                       row.values.get() + row.count + 1);
    std::copy_backward(row.indices.get() + p, row.indices.get() + row.count,
                       row.indices.get() + row.count + 1);
    ++row.count;
  }
  row.values[p] = v;
  row.indices[p] = c;
}

void SparseMatrix::append(std::uint32_t r, std::uint32_t c, double v) {
  Row& row = makeRoom(r);
  row.values[row.count] = v;
  row.indices[row.count] = c;
  ++row.count;
}

void SparseMatrix::acc(std::uint32_t r, std::uint32_t c, double v) {
  set(r, c, get(r, c) + v);
}

double SparseMatrix::get(std::uint32_t r, std::uint32_t c) const {
  if (r >= numberOfRows)
    return 0.0;
  Row const& row = rowTable[r];
  for (std::uint32_t p = 0; p < row.count; ++p)
    if (row.indices[p] == c)
      return row.values[p];
  return 0.0;
}

void SparseMatrix::replaceRow(std::uint32_t r, Row&& row) {
  if (r < numberOfRows)
    rowTable[r] = std::move(row);
}

void SparseMatrix::set(SparseMatrix const* A) {
  if (A->numberOfRows != numberOfRows) {
    approxNonZeroElementsPerRow = A->approxNonZeroElementsPerRow;
    setNumberOfRows(A->numberOfRows);
  }
  numberOfColumns = A->numberOfColumns;
  for (std::uint32_t r = 0; r < numberOfRows; ++r) {
    Row const& source = A->rowTable[r];
    Row copy;
    if (source.count > 0) {
      copy.values.reset(new double[source.count]);
      copy.indices.reset(new std::uint32_t[source.count]);
      std::copy(source.values.get(), source.values.get() + source.count, copy.values.get());
      std::copy(source.indices.get(), source.indices.get() + source.count, copy.indices.get());
      copy.count = copy.capacity = source.count;
    }
    replaceRow(r, std::move(copy));
  }
}

std::uint32_t SparseMatrix::getNumberOfRowValues(std::uint32_t r) const {
  return r < numberOfRows ? rowTable[r].count : 0;
}

std::uint32_t SparseMatrix::getRowCapacity(std::uint32_t r) const {
  return r < numberOfRows ? rowTable[r].capacity : 0;
}

SparseMatrix SparseMatrix::merge(SparseMatrix const& B, double scaleB) const {
  if (doUseSSE2)
    throw new SparseMatrixUnsupportedSSE2Function;
  if (B.numberOfRows != numberOfRows || B.numberOfColumns != numberOfColumns)
    throw new SparseMatrixInvalidDimensionsException;
  // The approximate row size is the sum, which wraps modulo 2^32; a wrapped 0 is not refused
  // like a 0 given to the constructor, since makeRoom still gives such rows one entry.
  SparseMatrix result(numberOfRows, numberOfColumns, 1, Zero);
  result.approxNonZeroElementsPerRow = approxNonZeroElementsPerRow + B.approxNonZeroElementsPerRow;
  for (std::uint32_t r = 0; r < numberOfRows; ++r) {
    Row const& a = rowTable[r];
    Row const& b = B.rowTable[r];
    if (a.count + b.count == 0)
      continue;
    Row merged;
    merged.capacity = a.count + b.count;
    merged.values.reset(new double[merged.capacity]);
    merged.indices.reset(new std::uint32_t[merged.capacity]);
    std::uint32_t i = 0;
    std::uint32_t j = 0;
    std::uint32_t& n = merged.count;
    while (i < a.count && j < b.count) {
      if (a.indices[i] == b.indices[j]) {
        merged.values[n] = a.values[i] + b.values[j] * scaleB;
        merged.indices[n++] = a.indices[i];
        ++i;
        ++j;
      } else if (a.indices[i] < b.indices[j]) {
        merged.values[n] = a.values[i];
        merged.indices[n++] = a.indices[i++];
      } else {
        merged.values[n] = b.values[j] * scaleB;
        merged.indices[n++] = b.indices[j++];
      }
    }
    for (; i < a.count; ++i) {
      merged.values[n] = a.values[i];
      merged.indices[n++] = a.indices[i];
    }
    for (; j < b.count; ++j) {
      merged.values[n] = b.values[j] * scaleB;
      merged.indices[n++] = b.indices[j];
    }
    result.replaceRow(r, std::move(merged));
  }
  return result;
}

SparseMatrix SparseMatrix::operator+(SparseMatrix const& B) const {
  return merge(B, 1.0);
}

// Subtraction adds B scaled by -1.0, so a - b is computed as a + (b * -1.0).
SparseMatrix SparseMatrix::operator-(SparseMatrix const& B) const {
  return merge(B, -1.0);
}

void SparseMatrix::multiply(double const* v, double* result) const {
  for (std::uint32_t r = 0; r < numberOfRows; ++r) {
    Row const& row = rowTable[r];
    double sum = 0.0;
    for (std::uint32_t p = 0; p < row.count; ++p)
      sum += row.values[p] * v[row.indices[p]];
    result[r] = sum;
  }
}

Vector SparseMatrix::operator*(Vector const& v) const {
  if (v.getNumberOfValues() != numberOfColumns)
    throw new SparseMatrixInvalidDimensionsException;
  Vector result(numberOfRows);
  multiply(v.begin(), result.begin());
  return result;
}

SparseMatrix SparseMatrix::operator*(SparseMatrix const& B) const {
  if (numberOfColumns != B.numberOfRows)
    throw new SparseMatrixInvalidDimensionsException;
  SparseMatrix result(numberOfRows, B.numberOfColumns,
                      std::max(approxNonZeroElementsPerRow, B.approxNonZeroElementsPerRow), Zero);
  // cursor[k]: position in B's row k of the next entry not yet used by the current row.
  std::vector<std::uint32_t> cursor(B.numberOfRows);
  for (std::uint32_t i = 0; i < numberOfRows; ++i) {
    Row const& a = rowTable[i];
    for (std::uint32_t e = 0; e < a.count; ++e)
      cursor[a.indices[e]] = 0;
    for (std::uint32_t j = 0; j < B.numberOfColumns; ++j) {
      double sum = 0.0;
      for (std::uint32_t e = 0; e < a.count; ++e) {
        std::uint32_t const k = a.indices[e];
        Row const& b = B.rowTable[k];
        if (cursor[k] < b.count && b.indices[cursor[k]] == j)
          sum += a.values[e] * b.values[cursor[k]++];
      }
      result.append(i, j, sum);
    }
  }
  return result;
}

SparseMatrix SparseMatrix::transpose() const {
  SparseMatrix result(numberOfColumns, numberOfRows, approxNonZeroElementsPerRow, Zero);
  for (std::uint32_t r = 0; r < numberOfRows; ++r) {
    Row const& row = rowTable[r];
    for (std::uint32_t p = 0; p < row.count; ++p)
      result.append(row.indices[p], r, row.values[p]);
  }
  return result;
}

SparseMatrix operator*(double s, SparseMatrix const& A) {
  SparseMatrix result(A);
  for (SparseMatrix::Row& row : result.rowTable)
    for (std::uint32_t p = 0; p < row.count; ++p)
      row.values[p] *= s;
  return result;
}

} // namespace LinearAlgebra
} // namespace QARN
