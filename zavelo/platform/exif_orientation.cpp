#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "zavelo/platform/exif_orientation_internal.hpp"

namespace zavelo::detail {
namespace {

constexpr int uprightOrientation = 1;

/// Numbers of a TIFF file, absent where it ends before them.
class TiffReader {
 public:
  TiffReader(std::span<const std::byte> bytes, bool isBigEndian)
      : bytes_(bytes), isBigEndian_(isBigEndian) {}

  [[nodiscard]] std::optional<std::uint32_t> number(std::size_t offset, std::size_t size) const {
    if (offset > bytes_.size() || bytes_.size() - offset < size) return std::nullopt;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
      const std::size_t at = isBigEndian_ ? i : size - 1 - i;
      value = value << 8 | std::to_integer<std::uint32_t>(bytes_[offset + at]);
    }
    return value;
  }

 private:
  const std::span<const std::byte> bytes_;
  const bool isBigEndian_;
};

bool startsWith(std::span<const std::byte> bytes, std::string_view text) {
  return bytes.size() >= text.size() && std::memcmp(bytes.data(), text.data(), text.size()) == 0;
}

/// TIFF 6.0, section 2: a header with the offset of the first directory; there a count, and entries
/// of twelve bytes: tag, type, count, value.
std::optional<std::uint32_t> orientationIn(const TiffReader& tiff) {
  constexpr std::uint32_t orientationTag = 0x0112;
  constexpr std::uint32_t shortType = 3;
  constexpr std::size_t entrySize = 12;
  const auto directory = tiff.number(4, 4);
  const auto count = directory ? tiff.number(*directory, 2) : std::nullopt;
  if (!count) return std::nullopt;
  for (std::size_t i = 0; i < *count; ++i) {
    const std::size_t entry = std::size_t{*directory} + 2 + i * entrySize;
    const auto tag = tiff.number(entry, 2);
    if (!tag) return std::nullopt;
    if (*tag != orientationTag) continue;
    if (tiff.number(entry + 2, 2) != shortType || tiff.number(entry + 4, 4) != 1U)
      return std::nullopt;
    return tiff.number(entry + 8, 2);
  }
  return std::nullopt;
}

}  // namespace

int exifOrientation(std::span<const std::byte> segment) noexcept {
  constexpr std::string_view exif("Exif\0\0", 6);
  if (!startsWith(segment, exif)) return uprightOrientation;
  const auto tiff = segment.subspan(exif.size());
  const bool isBigEndian = startsWith(tiff, std::string_view("MM\0*", 4));
  if (!isBigEndian && !startsWith(tiff, std::string_view("II*\0", 4))) return uprightOrientation;
  const auto found = orientationIn(TiffReader(tiff, isBigEndian)).value_or(uprightOrientation);
  return found >= 1 && found <= 8 ? static_cast<int>(found) : uprightOrientation;
}

ZVImage upright(ZVImage image, int orientation) {
  if (orientation == uprightOrientation) return image;
  struct Change {
    bool swapsSides, mirrorsX, mirrorsY;
  };
  constexpr std::array<Change, 8> changes{{{false, false, false},
                                           {false, true, false},
                                           {false, true, true},
                                           {false, false, true},
                                           {true, false, false},
                                           {true, false, true},
                                           {true, true, true},
                                           {true, true, false}}};
  constexpr std::size_t bytesPerPixel = 4;
  const auto [swapsSides, mirrorsX, mirrorsY] =
      changes.at(static_cast<std::size_t>(orientation - 1));
  ZVImage result{image.width, image.height, std::vector<std::byte>(image.pixels.size())};
  if (swapsSides) std::swap(result.width, result.height);
  auto target = result.pixels.begin();
  for (std::size_t y = 0; y < result.height; ++y) {
    for (std::size_t x = 0; x < result.width; ++x) {
      const std::size_t along = swapsSides ? y : x;
      const std::size_t down = swapsSides ? x : y;
      const std::size_t column = mirrorsX ? image.width - 1 - along : along;
      const std::size_t row = mirrorsY ? image.height - 1 - down : down;
      const auto* source = image.pixels.data() + (row * image.width + column) * bytesPerPixel;
      target = std::copy_n(source, bytesPerPixel, target);
    }
  }
  return result;
}

}  // namespace zavelo::detail
