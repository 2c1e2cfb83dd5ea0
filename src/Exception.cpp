#include <QARN/Exception.h>
#include <QARN/IOFailure.h>

namespace QARN {

char const* Exception::what() const noexcept {
  return message.c_str();
}

char const* IOFailure::what() const noexcept {
  return message.c_str();
}

} // namespace QARN
