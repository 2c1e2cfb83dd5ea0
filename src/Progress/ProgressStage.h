#ifndef QARN_SRC_PROGRESS_PROGRESSSTAGE_H
#define QARN_SRC_PROGRESS_PROGRESSSTAGE_H

#include <QARN/Progress/ProgressListener.h>

#include <cstdint>

namespace QARN {

/// One announced stage of a long operation: sends the status text, then the percentage
/// step·100/steps + 1 whenever it differs from the last one sent. A null listener is silent.
class ProgressStage {
public:
  ProgressStage(ProgressListener* listener, char const* text, std::uint64_t steps)
      : listener(listener), steps(steps) {
    if (listener != nullptr)
      listener->setStatusText(text);
  }

  void step(std::uint64_t step) {
    if (listener == nullptr || steps == 0)
      return;
    auto const percent = static_cast<std::uint32_t>(step * 100 / steps + 1);
    if (percent != last) {
      last = percent;
      listener->setProgress(percent);
    }
  }

private:
  ProgressListener* listener;
  std::uint64_t steps;
  std::uint32_t last = UINT32_MAX;
};

} // namespace QARN

#endif
