#ifndef QARN_IOFAILURE_H
#define QARN_IOFAILURE_H

#include <ios>
#include <string>

namespace QARN {

/// A file that cannot be opened: a std::ios_base::failure whose what() is the message exactly
/// (the standard class would append an error-category description).
class IOFailure : public std::ios_base::failure {
public:
  explicit IOFailure(std::string const& message)
      : std::ios_base::failure(message), message(message) {}

  char const* what() const noexcept override;

private:
  std::string message;
};

} // namespace QARN

#endif
