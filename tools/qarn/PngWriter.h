#ifndef QARN_TOOLS_QARN_PNGWRITER_H
#define QARN_TOOLS_QARN_PNGWRITER_H

#include <cstdint>
#include <string>
#include <vector>

namespace qarn {

/// An 8-bit RGB image, rows top to bottom, three bytes per pixel, all black at first.
class RgbImage {
public:
  RgbImage(std::uint32_t width, std::uint32_t height);

  std::uint32_t getWidth() const { return width; }
  std::uint32_t getHeight() const { return height; }
  void set(std::uint32_t column, std::uint32_t row, std::uint8_t const (&rgb)[3]);
  std::uint8_t const* data() const { return pixels.data(); }

private:
  std::uint32_t width;
  std::uint32_t height;
  std::vector<std::uint8_t> pixels;
};

/// Writes the image as a PNG file; throws std::runtime_error naming the file on failure.
void writePng(std::string const& fileName, RgbImage const& image);

} // namespace qarn

#endif
