#include "sandbox/gifts/gift_pictures.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "zavelo/base/number_text.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::string_view root = "/media/gifts/";

std::string drawnAddress(const Gift& gift, const std::string& site, std::string_view ending) {
  return std::string(site).append(root).append(std::to_string(gift.id)).append(ending);
}

/// Text is safe between tags.
std::string escaped(std::string_view text) {
  std::string safe;
  for (const char c : text) {
    if (c == '<')
      safe += "&lt;";
    else if (c == '&')
      safe += "&amp;";
    else
      safe += c;
  }
  return safe;
}

std::string pictureOf(const Gift& gift) {
  std::array<char, 8> color{};
  std::snprintf(color.data(), color.size(), "#%06x", static_cast<unsigned>(gift.color & 0xFFFFFF));
  return std::string(R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 96 96" width="96" )")
      .append(R"(height="96"><title>)")
      .append(escaped(gift.name))
      .append(R"(</title><circle cx="48" cy="48" r="46" fill=")")
      .append(color.data())
      .append(R"("/><text x="48" y="52" font-size="48" text-anchor="middle" )")
      .append(R"(dominant-baseline="middle">)")
      .append(escaped(gift.symbol))
      .append("</text></svg>");
}

/// A disc of the gift's colour that grows and fades within two seconds.
std::string animationOf(const Gift& gift) {
  const auto share = [&](unsigned shift) {
    return numberText(static_cast<double>(gift.color >> shift & 0xFF) / 255);
  };
  return std::string(R"({"v":"5.7.0","fr":30,"ip":0,"op":60,"w":300,"h":300,"ddd":0,"assets":[],)")
      .append(
          R"("layers":[{"ddd":0,"ind":1,"ty":4,"nm":"disc","sr":1,"ip":0,"op":60,"st":0,"bm":0,)")
      .append(R"("ks":{"o":{"a":1,"k":[{"t":0,"s":[100],"i":{"x":[0.8],"y":[1]},)")
      .append(R"("o":{"x":[0.2],"y":[0]}},{"t":59,"s":[0]}]},"r":{"a":0,"k":0},)")
      .append(R"("p":{"a":0,"k":[150,150,0]},"a":{"a":0,"k":[0,0,0]},)")
      .append(R"("s":{"a":1,"k":[{"t":0,"s":[20,20,100],"i":{"x":[0.8,0.8,0.8],"y":[1,1,1]},)")
      .append(R"("o":{"x":[0.2,0.2,0.2],"y":[0,0,0]}},{"t":59,"s":[100,100,100]}]}},)")
      .append(R"("shapes":[{"ty":"el","p":{"a":0,"k":[0,0]},"s":{"a":0,"k":[280,280]}},)")
      .append(R"({"ty":"fl","o":{"a":0,"k":100},"c":{"a":0,"k":[)")
      .append(share(16).append(",").append(share(8)).append(",").append(share(0)))
      .append(",1]}}]}]}");
}

Response serve(const Settings& settings, const Call& call) {
  const auto name = std::string_view(call.request.path).substr(root.size());
  const auto dot = name.find('.');
  const auto gift = std::ranges::find_if(settings.gifts, [&](const Gift& offered) {
    return std::to_string(offered.id) == name.substr(0, dot);
  });
  const auto ending = dot == std::string_view::npos ? "" : name.substr(dot);
  if (gift != settings.gifts.end() && ending == ".svg") {
    return {.contentType = "image/svg+xml", .body = pictureOf(*gift)};
  }
  if (gift != settings.gifts.end() && ending == ".json") return jsonResponse(animationOf(*gift));
  return failWithStatus(404, "There is no such file");
}

}  // namespace

std::string imageAddress(const Gift& gift, const std::string& site) {
  return gift.image.empty() ? drawnAddress(gift, site, ".svg") : gift.image;
}

std::string animationAddress(const Gift& gift, const std::string& site) {
  if (!gift.file.empty() || gift.animation != ZVGiftAnimationType::json) return gift.file;
  return drawnAddress(gift, site, ".json");
}

std::vector<Endpoint> giftPictureEndpoints(const Settings& settings) {
  return {get("/media/gifts/*", handlersIn(settings)(serve))};
}

}  // namespace zavelo::sandbox
