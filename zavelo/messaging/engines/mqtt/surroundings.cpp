#include "zavelo/messaging/engines/mqtt/surroundings_internal.hpp"

#include <algorithm>
#include <random>

#include "zavelo/core/log.hpp"
#include "zavelo/messaging/engines/mqtt/retry_internal.hpp"
#include "zavelo/messaging/engines/mqtt_topics.hpp"
#include "zavelo/platform/unicode.hpp"

namespace zavelo::detail {
namespace {

/// What a packet has besides its text: a topic of at most 64 KiB, and properties.
constexpr std::size_t largestRest = 66 * 1024;

}  // namespace

MqttSurroundings::MqttSurroundings(MqttEngineOptions theOptions, std::vector<MqttBroker> theBrokers,
                                   std::string theAppId, std::shared_ptr<MqttLoop> theLoop,
                                   std::shared_ptr<MqttResolver> theResolver,
                                   std::weak_ptr<AgoraRtmDelegate> theDelegate)
    : options(std::move(theOptions)),
      brokers(std::move(theBrokers)),
      appId(std::move(theAppId)),
      loop(std::move(theLoop)),
      resolver(std::move(theResolver)),
      delegate(std::move(theDelegate)),
      broker_(std::random_device{}() % brokers.size()) {}

std::chrono::milliseconds MqttSurroundings::pingInterval() const {
  return isInBackground ? std::max(options.keepAlive, options.backgroundKeepAlive)
                        : options.keepAlive;
}

MqttPlan MqttSurroundings::planFor(const std::string& userId,
                                   const std::optional<std::string>& loginToken,
                                   std::string willTopic) {
  MqttPlan plan;
  plan.broker = brokers[broker_];
  if (address_.empty()) report(plan.broker.text(), {});
  plan.resolver = resolver;
  if (plan.broker.tls && !trust_) trust_ = MqttTrust::read(options.caFile, plan.problem);
  if (plan.broker.tls) plan.trust = trust_;
  plan.largestBody = options.maximumTextSize + largestRest;
  plan.request = {randomMqttSession(),
                  options.userName ? options.userName(userId) : mqttLevel(userId),
                  options.token ? options.token(userId) : loginToken, std::move(willTopic),
                  // What was promised to the broker holds in the background, too.
                  std::max(options.keepAlive, options.backgroundKeepAlive),
                  static_cast<std::uint32_t>(plan.largestBody)};
  plan.pingInterval = pingInterval();
  plan.pongTimeout = options.keepAlive;
  plan.addressTimeout = options.addressTimeout;
  plan.requestTimeout = options.sendTimeout;
  return plan;
}

void MqttSurroundings::noteLoss(const MqttLoss& loss) {
  if (!loss.wasConnected) broker_ = (broker_ + 1) % brokers.size();
  if (problem_ != loss.problem || address_ != loss.address)
    ZVLog::w("Messaging: " + loss.address + ": " + loss.problem, ZVLogPosition("mqttEngine"));
  report(loss.address, loss.problem);
}

void MqttSurroundings::noteConnected(const std::string& address) {
  if (!problem_.empty())
    ZVLog::i("Messaging: connected to " + address, ZVLogPosition("mqttEngine"));
  report(address, {});
}

void MqttSurroundings::report(const std::string& address, const std::string& problem) {
  if (address_ == address && problem_ == problem) return;
  address_ = address, problem_ = problem;
  tellDelegate(&AgoraRtmDelegate::connectionProblemChanged, address, problem);
}

bool MqttSurroundings::accepts(const MqttMessage& text, bool isCut, const std::string& channelId) {
  if (text.retain) return false;
  if (!isCut && text.payload.size() <= options.maximumTextSize && unicode::isUtf8(text.payload))
    return true;
  tellDelegate(&AgoraRtmDelegate::textDropped, channelId);
  return false;
}

}  // namespace zavelo::detail
