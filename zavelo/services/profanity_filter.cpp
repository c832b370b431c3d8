#include "zavelo/services/profanity_filter.hpp"

#include <algorithm>

#include "zavelo/platform/unicode.hpp"
#include "zavelo/services/setting_service.hpp"
#include "zavelo/services/user_service.hpp"
#include "zavelo/services/word_masking_internal.hpp"

namespace zavelo {
namespace {

constexpr std::string_view plainMask = "***";
constexpr char padding = '*';

/// The banned words among the text's words, in the order of their list.
std::vector<std::string> bannedWordsIn(std::string_view text, const ZVBannedWords& banned) {
  std::vector<std::size_t> indices;
  for (const auto piece : unicode::splitAtPunctuationAndWhiteSpace(text))
    if (const auto index = banned.indexOfLowercased(piece)) indices.push_back(*index);
  std::ranges::sort(indices);
  indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
  std::vector<std::string> words;
  for (const std::size_t index : indices) words.push_back(banned.words()[index]);
  return words;
}

std::vector<ZVAttributedString::Replacement> replacementsIn(std::string_view text,
                                                            const std::vector<std::string>& words) {
  std::vector<ZVAttributedString::Replacement> replacements;
  std::size_t byte = 0;
  std::size_t location = 0;
  for (const auto& place : detail::maskedPlaces(text, words)) {
    location += unicode::utf16Length(text.substr(byte, place.begin - byte));
    const auto length = unicode::utf16Length(text.substr(place.begin, place.end - place.begin));
    replacements.push_back(
        {{location, length}, std::string(unicode::characterCount(words[place.word]), padding)});
    byte = place.end;
    location += length;
  }
  return replacements;
}

}  // namespace

void ZVProfanityFilter::reloadProfaneWords() {
  static_cast<void>(ZVSettingService::shared()->getNaughtyWords({}));
}

std::string ZVProfanityFilter::censored(std::string_view text) {
  return censored(text, *ZVUserService::shared()->bannedWords());
}

void ZVProfanityFilter::censor(std::string& text) {
  text = censored(text);
}

ZVProfanityFilter::AttributedText ZVProfanityFilter::censored(const AttributedText& text) {
  return censored(text, *ZVUserService::shared()->bannedWords());
}

std::string ZVProfanityFilter::censored(std::string_view text, const ZVBannedWords& words) {
  if (text.empty() || words.words().empty()) return std::string(text);
  if (words.bans(text)) return std::string(plainMask);
  std::string result;
  result.reserve(text.size());
  for (;;) {
    const std::size_t blank = text.find(' ');
    const std::string_view token = text.substr(0, blank);
    result += words.bans(token) ? plainMask : token;
    if (blank == std::string_view::npos) return result;
    result += ' ';
    text.remove_prefix(blank + 1);
  }
}

ZVProfanityFilter::AttributedText ZVProfanityFilter::censored(const AttributedText& text,
                                                              const ZVBannedWords& words) {
  if (!text || words.words().empty()) return text;
  const auto found = bannedWordsIn(text->text(), words);
  if (found.empty()) return text;
  auto masked = text->replacing(replacementsIn(text->text(), found));
  return masked ? std::make_shared<const ZVAttributedString>(*std::move(masked)) : text;
}

}  // namespace zavelo
