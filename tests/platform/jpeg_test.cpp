#include "zavelo/platform/jpeg.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace zavelo {
namespace {

ZVImage gradient(std::uint32_t width, std::uint32_t height) {
  ZVImage image{width, height, {}};
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      image.pixels.push_back(static_cast<std::byte>(x * 255 / width));
      image.pixels.push_back(static_cast<std::byte>(y * 255 / height));
      image.pixels.push_back(static_cast<std::byte>(128));
      image.pixels.push_back(static_cast<std::byte>(x));
    }
  }
  return image;
}

double meanError(const ZVImage& a, const ZVImage& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i) {
    if (i % 4 == 3) continue;
    sum += std::abs(std::to_integer<int>(a.pixels[i]) - std::to_integer<int>(b.pixels[i]));
  }
  return sum / static_cast<double>(a.pixels.size() / 4 * 3);
}

TEST(Jpeg, ReadsBackWhatItWroteOpaquely) {
  TurboJpegEncoder encoder;
  const auto image = gradient(65, 33);
  const auto file = encoder.encode(image, 0.9);
  ASSERT_TRUE(file);
  const auto decoded = decodeJpeg(*file);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->width, 65U);
  EXPECT_EQ(decoded->height, 33U);
  ASSERT_EQ(decoded->pixels.size(), image.pixels.size());
  EXPECT_LT(meanError(image, *decoded), 4);
  EXPECT_EQ(decoded->pixels[3], std::byte{255});
}

TEST(Jpeg, RefusesPicturesThatCannotBeEncoded) {
  TurboJpegEncoder encoder;
  auto tooFewPixels = gradient(8, 8);
  tooFewPixels.pixels.pop_back();
  const ZVImage tooWide{70000, 1, std::vector<std::byte>(70000 * 4)};
  EXPECT_FALSE(encoder.encode(tooFewPixels, 0.5));
  EXPECT_FALSE(encoder.encode(tooWide, 0.5));
  EXPECT_FALSE(encoder.encode(ZVImage(), 0.5));
  EXPECT_FALSE(encoder.encode(gradient(8, 8), std::numeric_limits<double>::quiet_NaN()));
}

TEST(Jpeg, RefusesFilesThatAreNotSound) {
  const auto file = TurboJpegEncoder().encode(gradient(64, 64), 0.8).value();
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{3}, file.size() / 2, file.size() - 2}) {
    EXPECT_FALSE(decodeJpeg(std::span(file).first(size))) << size;
  }
  const std::vector<std::byte> garbage(1000, std::byte{'x'});
  EXPECT_FALSE(decodeJpeg(garbage));
}

TEST(Jpeg, ChecksTheSizeBeforeItAllocates) {
  auto file = TurboJpegEncoder().encode(gradient(64, 64), 0.8).value();
  EXPECT_FALSE(decodeJpeg(file, 64 * 64 - 1));
  EXPECT_TRUE(decodeJpeg(file, 64 * 64));
  // Height and width stand behind the marker of the frame (ITU-T T.81, B.2.2): 65,500 squared.
  const std::vector marker{std::byte{0xff}, std::byte{0xc0}};
  const auto frame = std::search(file.begin(), file.end(), marker.begin(), marker.end());
  ASSERT_NE(frame, file.end());
  for (const int offset : {5, 7}) {
    frame[offset] = std::byte{0xff};
    frame[offset + 1] = std::byte{0xdc};
  }
  EXPECT_FALSE(decodeJpeg(file));
}

}  // namespace
}  // namespace zavelo
