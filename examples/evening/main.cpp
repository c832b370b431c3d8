// A viewer's evening: signs up, lists a host's streams, joins the first one's chat, gives a gift,
// votes in a poll, and signs out when the stream ends.

#include <cstdlib>
#include <iostream>
#include <zavelo/await.hpp>
#include <zavelo/messaging/engines/mqtt.hpp>
#include <zavelo/zavelo.hpp>

using namespace zavelo;

namespace {

class Evening {
 public:
  Task<> begin(std::string zaveloId, std::string password, std::string host) {
    const auto user = co_await users_->registerZavelo(zaveloId, password, "", awaitable);
    if (!user.isOk()) co_return stop(user.error().description);

    const auto list = co_await users_->getUserStreams(host, 0, 20, awaitable);
    if (!list.isOk()) co_return stop(list.error().description);
    for (const auto& stream : list.data()->result.value_or(Streams())) {
      std::cout << "stream: " << stream->title.value_or("") << std::endl;
      if (slug_.empty()) slug_ = stream->slug.value_or("");
    }
    if (slug_.empty()) co_return stop(host + " has no stream");

    const auto watching = co_await streams_->updateStreamViewCount(slug_, awaitable);
    if (!watching.isOk()) co_return stop(watching.error().description);
    if (!co_await chat_->connect(awaitable)) co_return stop("no connection");
    if (!co_await chat_->joinChannel(slug_, awaitable)) co_return stop("no chat");
    events_ = onChannelEvent(slug_, MainQueue::shared(),
                             [this](const ZVChannelEvent& event) { show(event); });
    co_await say("good evening");
    co_await give();
    std::cout << "in " << slug_ << std::endl;
  }
  [[nodiscard]] int status() const { return status_; }

 private:
  using Streams = std::vector<std::shared_ptr<ZVStream>>;

  void show(const ZVChannelEvent& event) {
    if (event.is(ZVMessageType::hostStreamEnd)) leaving_ = leave();
    visit(event, overloaded{[&](const ZVPollMessage& poll) {
                              if (!event.is(ZVMessageType::startPoll) || !poll.pollData) return;
                              std::cout << poll.pollData->question.value_or("") << std::endl;
                              voting_ = say("1");
                            },
                            [&](const ZVStreamMessage& line) {
                              if (!event.is(ZVMessageType::message)) return;
                              std::cout << line.senderDisplayName.value_or("") << ": "
                                        << line.message.value_or("") << std::endl;
                            }});
  }
  Task<> say(std::string text) {
    const auto line = ZVStreamMessageFactory(ZVMessageType::message).createMessage(text, 0);
    const auto json = ZVMessage(*line).toJsonString().value_or("");
    if (!co_await chat_->writeChannel(slug_, json, awaitable)) stop("not sent: " + text);
  }
  Task<> give() {
    const auto gift = co_await gifts_->sendGift(slug_, 1, 1, std::nullopt, awaitable);
    if (!gift.isOk()) co_return stop(gift.error().description);
    const auto wallet = gift.data().sender.value_or(ZVGiftValue());
    std::cout << "gold left: " << wallet.totalGold.value_or(0) << std::endl;
  }
  Task<> leave() {
    const auto out = co_await users_->logoutZavelo(awaitable);
    stop(out.isOk() ? "" : out.error().description);
  }
  void stop(const std::string& problem) {
    if (!problem.empty()) std::cerr << "evening: " << problem << std::endl;
    status_ = problem.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
    MainQueue::shared()->stop();
  }

  const std::shared_ptr<ZVUserService> users_ = ZaveloSDK::shared().userService();
  const std::shared_ptr<ZVStreamService> streams_ = ZaveloSDK::shared().streamService();
  const std::shared_ptr<ZVGiftService> gifts_ = ZaveloSDK::shared().giftService();
  const std::shared_ptr<ZVRTMService> chat_ = ZaveloSDK::shared().rtmService();
  std::string slug_;
  int status_ = EXIT_SUCCESS;
  ObserverToken events_;
  Task<> voting_, leaving_;
};

}  // namespace

int main(int count, char** arguments) {
  const auto engine = count == 6 ? mqttEngine({.address = arguments[2]}) : mqttEngine({});
  if (!engine || count != 6)
    return std::cerr << "usage: evening API RTM ZAVELO_ID PASSWORD HOST\n", 2;
  ZaveloSDK::shared().initWith(ZVEnvironment::custom({arguments[1]}), /*enableLog=*/false);
  installMessagingEngine(*engine);
  Evening evening;
  const auto task = evening.begin(arguments[3], arguments[4], arguments[5]);
  MainQueue::shared()->run();
  return evening.status();
}
