#include "PngWriter.h"

#include <png.h>

#include <cstring>
#include <stdexcept>

namespace qarn {

RgbImage::RgbImage(std::uint32_t width, std::uint32_t height)
    : width(width), height(height), pixels(std::size_t{3} * width * height, 0) {}

void RgbImage::set(std::uint32_t column, std::uint32_t row, std::uint8_t const (&rgb)[3]) {
  std::memcpy(&pixels[3 * (std::size_t{row} * width + column)], rgb, 3);
}

void writePng(std::string const& fileName, RgbImage const& image) {
  png_image png;
  std::memset(&png, 0, sizeof png);
  png.version = PNG_IMAGE_VERSION;
  png.width = image.getWidth();
  png.height = image.getHeight();
  png.format = PNG_FORMAT_RGB;
  if (png_image_write_to_file(&png, fileName.c_str(), 0, image.data(), 0, nullptr) == 0) {
    std::string const reason = png.message;
    png_image_free(&png);
    throw std::runtime_error("cannot write " + fileName + ": " + reason);
  }
}

} // namespace qarn
