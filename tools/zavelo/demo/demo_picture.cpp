#include "tools/zavelo/demo/demo_picture.hpp"

#include <fstream>
#include <span>

#include "zavelo/platform/jpeg.hpp"

namespace zavelo::command {
namespace {

constexpr std::uint32_t pictureWidth = 320;

/// A sky that grows lighter towards the horizon.
ZVImage sky(std::uint32_t height) {
  ZVImage image{pictureWidth, height, {}};
  image.pixels.reserve(std::size_t{pictureWidth} * height * 4);
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t x = 0; x < pictureWidth; ++x)
      for (const std::uint32_t channel : {y * 255 / height, 120U, 220U, 255U})
        image.pixels.push_back(static_cast<std::byte>(channel));
  return image;
}

}  // namespace

std::string drawPicture(const DemoStage& stage, const std::string& name, std::uint32_t height) {
  const auto jpeg = TurboJpegEncoder().encode(sky(height), 0.9);
  if (!jpeg) throw Surprise{"the picture could not be encoded"};
  const auto file = stage.folder() / (name + ".jpeg");
  std::ofstream out(file, std::ios::binary);
  out.write(reinterpret_cast<const char*>(jpeg->data()),
            static_cast<std::streamsize>(jpeg->size()));
  if (!out.flush()) throw Surprise{"cannot write " + file.string()};
  return file.string();
}

void expectPicture(DemoStage& stage, const std::string& url, std::uint32_t height) {
  stage.show("picture", url);
  const std::string file = stage.fetch(url);
  const auto image = decodeJpeg(std::as_bytes(std::span(file)));
  if (!image) throw Surprise{"expected a JPEG at " + url};
  expectEqual("the picture's height", height, image->height);
  stage.show("fetched", std::to_string(file.size()) + " bytes, " + std::to_string(image->width) +
                            " x " + std::to_string(image->height) + " pixels");
}

}  // namespace zavelo::command
