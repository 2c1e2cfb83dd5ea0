#ifndef QARN_PROGRESS_PROGRESSLISTENER_H
#define QARN_PROGRESS_PROGRESSLISTENER_H

#include <cstdint>

namespace QARN {

/// Host callback for long operations. The library holds it as a nullable plain pointer, never
/// owns it, and calls it synchronously on the caller's thread.
class ProgressListener {
public:
  ProgressListener() = default;
  ProgressListener(ProgressListener const&) = default;
  ProgressListener& operator=(ProgressListener const&) = default;
  virtual ~ProgressListener() = default;

  /// A new stage has begun; the text ends in "...".
  virtual void setStatusText(char const* text) = 0;
  /// Integer percentage of the current stage, sent only when it changes.
  virtual void setProgress(std::uint32_t percent) = 0;
  /// A named quantity of the current stage, e.g. "Residual L2 norm".
  virtual void setValue(char const* name, double value) = 0;
  /// The number of the current iteration of an iterative stage.
  virtual void setIteration(std::uint32_t iteration) = 0;
};

} // namespace QARN

#endif
