#include <array>
#include <memory>

#include "fuzz/fuzz.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/models/config.hpp"
#include "zavelo/models/event.hpp"
#include "zavelo/models/gift_message_data.hpp"
#include "zavelo/models/gift_store.hpp"
#include "zavelo/models/pagination.hpp"
#include "zavelo/models/stream.hpp"
#include "zavelo/models/stream_product.hpp"
#include "zavelo/models/stream_totals.hpp"
#include "zavelo/models/user.hpp"

// The records that a backend sends; the first byte chooses the one that is read.

namespace zavelo::fuzz {
namespace {

template <class T>
void readRecord(std::string_view text) {
  const auto record = json::decode<std::shared_ptr<T>>(text);
  if (!record) return require(!record.error().text().empty(), "a fault is described");
  const auto any = json::decode<json::Value>(text);
  require(any || any.error().reason == "number out of range", "a record is JSON");

  const auto written = json::encode(*record);
  require(written.hasValue(), "what was read can be written");
  const auto again = json::decode<std::shared_ptr<T>>(*written);
  require(again.hasValue(), "what was written can be read");
  require(json::encode(*again).value() == *written, "what was read again is the same");
}

using Reader = void (*)(std::string_view);

template <class... Records>
constexpr std::array<Reader, sizeof...(Records)> readersOf = {&readRecord<Records>...};

}  // namespace

void run(std::string_view input) {
  constexpr auto& readers =
      readersOf<ZVUser, ZVSearchUser, ZVEditUser, ZVRefreshToken, ZVConfig, ZVStream, ZVUserStream,
                ZVStreamTag, ZVLikeStream, ZVEndStream, ZVStreamStatistic, ZVStreamCoHostCredits,
                ZVPaginationResult<ZVStreamProduct>, ZVEvent, ZVGifts, ZVSentGift, ZVDailyTopFan,
                ZVGiftMessageData>;
  const unsigned chosen = takeByte(input) - 'a';
  readers[chosen % readers.size()](input);
}

}  // namespace zavelo::fuzz
