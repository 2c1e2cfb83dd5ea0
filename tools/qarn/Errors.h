#ifndef QARN_TOOLS_QARN_ERRORS_H
#define QARN_TOOLS_QARN_ERRORS_H

#include <exception>
#include <stdexcept>
#include <string>

namespace qarn {

/// A command line that parses but asks for something impossible (three offsets for two files):
/// reported like the parser's own errors, with exit status 2.
class UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// Runs f; an exception leaving it comes back as std::runtime_error "<fileName>: <message>",
/// since the library's file messages do not name the file.
template <typename F>
void withFileName(std::string const& fileName, F&& f) {
  try {
    f();
  } catch (std::exception const& e) {
    throw std::runtime_error(fileName + ": " + e.what());
  }
}

} // namespace qarn

#endif
