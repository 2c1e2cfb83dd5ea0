#ifndef QARN_TOOLS_QARN_PROGRESSBAR_H
#define QARN_TOOLS_QARN_PROGRESSBAR_H

#include <QARN/Progress/ProgressListener.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace qarn {

/// Draws the library's progress reports as one self-overwriting line per stage:
/// "Writing quad points...    [##########          ]  50%", followed by the last named value
/// and iteration when the stage reports them.
class ProgressBar : public QARN::ProgressListener {
public:
  /// A bar on standard error, or null when quiet is set or standard error is not a terminal.
  static std::unique_ptr<ProgressBar> createForStderr(bool quiet);

  explicit ProgressBar(std::FILE* out) : out(out) {}
  ProgressBar(ProgressBar const&) = delete;
  ProgressBar& operator=(ProgressBar const&) = delete;
  /// Ends an open line.
  ~ProgressBar() override;

  void setStatusText(char const* text) override;
  void setProgress(std::uint32_t percent) override;
  void setValue(char const* name, double value) override;
  void setIteration(std::uint32_t iteration) override;
  /// Ends the current stage's line.
  void finish();

private:
  void draw();

  std::FILE* out;
  std::string text;
  std::string detail;
  std::uint32_t percent = 0;
  bool isLineOpen = false;
};

} // namespace qarn

#endif
