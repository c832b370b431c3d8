#include "zavelo/platform/jpeg.hpp"

#include "fuzz/fuzz.hpp"

// A picture that a user chose.

void zavelo::fuzz::run(std::string_view input) {
  constexpr std::size_t pixelLimit = std::size_t{256} * 256;
  const auto image = decodeJpeg(std::as_bytes(std::span(input)), pixelLimit);
  if (!image) return;
  const std::size_t count = std::size_t{image->width} * image->height;
  require(count > 0 && count <= pixelLimit && image->pixels.size() == count * 4,
          "a picture has its pixels");
  const auto written = TurboJpegEncoder().encode(*image, 0.5);
  require(written.has_value(), "a picture can be written");
  const auto again = decodeJpeg(*written);
  require(again && again->width == image->width && again->height == image->height,
          "and read again");
}
