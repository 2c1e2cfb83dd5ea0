#ifndef QARN_PROGRESS_PROGRESSTERMINATOR_H
#define QARN_PROGRESS_PROGRESSTERMINATOR_H

namespace QARN {

/// Host callback through which a host may ask a running operation to stop. No operation of the
/// library consults it yet: hosts must not rely on early termination.
class ProgressTerminator {
public:
  ProgressTerminator() = default;
  ProgressTerminator(ProgressTerminator const&) = default;
  ProgressTerminator& operator=(ProgressTerminator const&) = default;
  virtual ~ProgressTerminator() = default;

  virtual bool getIsTerminated() = 0;
};

} // namespace QARN

#endif
