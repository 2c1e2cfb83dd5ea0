#include "ProgressBar.h"

#include <unistd.h>

#include <algorithm>

namespace qarn {

std::unique_ptr<ProgressBar> ProgressBar::createForStderr(bool quiet) {
  if (quiet || isatty(fileno(stderr)) == 0)
    return nullptr;
  return std::make_unique<ProgressBar>(stderr);
}

ProgressBar::~ProgressBar() {
  finish();
}

void ProgressBar::setStatusText(char const* text) {
  finish();
  this->text = text;
  detail.clear();
  percent = 0;
  draw();
}

void ProgressBar::setProgress(std::uint32_t percent) {
  this->percent = std::min<std::uint32_t>(percent, 100);
  draw();
}

void ProgressBar::setValue(char const* name, double value) {
  char buffer[96];
  std::snprintf(buffer, sizeof buffer, "%.40s %.6g", name, value);
  detail = buffer;
  draw();
}

void ProgressBar::setIteration(std::uint32_t iteration) {
  detail = "iteration " + std::to_string(iteration);
  draw();
}

void ProgressBar::finish() {
  if (!isLineOpen)
    return;
  std::fputc('\n', out);
  std::fflush(out);
  isLineOpen = false;
}

void ProgressBar::draw() {
  constexpr std::uint32_t width = 30;
  std::uint32_t const filled = percent * width / 100;
  std::fprintf(out, "\r%-28s [%.*s%*s] %3u%%", text.c_str(), static_cast<int>(filled),
               "##############################", static_cast<int>(width - filled), "",
               static_cast<unsigned>(percent));
  if (!detail.empty())
    std::fprintf(out, "  %s", detail.c_str());
  std::fputs("\x1b[K", out);
  std::fflush(out);
  isLineOpen = true;
}

} // namespace qarn
