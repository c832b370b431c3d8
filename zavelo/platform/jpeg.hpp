#pragma once

#include "zavelo/platform/image.hpp"

namespace zavelo {

/// The default encoder, by libjpeg-turbo. Alpha is dropped.
class ZAVELO_EXPORT TurboJpegEncoder final : public JpegEncoder {
 public:
  std::optional<std::vector<std::byte>> encode(const ZVImage& image, double quality) override;
};

/// Reads a whole JPEG file, and turns the picture upright if the camera was not (Exif orientation).
/// No value when the bytes are not a valid JPEG or the picture has more than `pixelLimit` pixels.
[[nodiscard]] ZAVELO_EXPORT std::optional<ZVImage> decodeJpeg(
    std::span<const std::byte> file, std::size_t pixelLimit = std::size_t{64} * 1024 * 1024);

}  // namespace zavelo
