#ifndef QARN_EXCEPTION_H
#define QARN_EXCEPTION_H

#include <exception>
#include <string>

namespace QARN {

/// The library's error for geometry, mesh and file code: what() returns the message exactly.
class Exception : public std::exception {
public:
  explicit Exception(std::string message) : message(std::move(message)) {}

  char const* what() const noexcept override;

private:
  std::string message;
};

} // namespace QARN

#endif
