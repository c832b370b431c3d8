#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/child_process.hpp"
#include "zavelo/messaging/engines/mqtt_topics.hpp"

namespace zavelo::sandbox {

/// Users of a broker, by the command line's publisher and subscriber.
class ChannelClient {
 public:
  ChannelClient(const std::string& rtmUrl, std::string channelId)
      : port_(rtmUrl.substr(rtmUrl.rfind(':') + 1)), channel_(std::move(channelId)) {}

  /// Publishes under the name of `user` and returns when the broker has answered.
  void publish(const std::string& user, const std::string& topic, const std::string& text,
               bool isRetained = false) const {
    auto words = program("mosquitto_pub", user);
    words.insert(words.end(), {"-q", "1", "-t", topic, "-m", text});
    if (isRetained) words.emplace_back("-r");
    test::ChildProcess(words).wait();
  }
  void say(const std::string& user, const std::string& text) const {
    publish(user, mqttChannelTopic("app", channel_, user), text);
  }
  void enter(const std::string& user) const {
    publish(user, mqttPresenceTopic("app", channel_, user, "s1"), "here", true);
  }

  /// Hears the channel's texts from now on, each a line of the sender's topic and the text.
  [[nodiscard]] std::unique_ptr<test::ChildProcess> listen() const {
    const auto fence = "rt1/app/c/" + channel_ + "/m/fence";
    auto words = program("mosquitto_sub", "listener");
    words.insert(words.end(), {"-v", "-t", "rt1/app/c/" + channel_ + "/m/#"});
    publish("fence", fence, "fence", true);
    auto listener = std::make_unique<test::ChildProcess>(words);
    // What is retained comes when the subscription stands.
    while (listener->readLine() != fence + " fence") {
    }
    return listener;
  }

 private:
  [[nodiscard]] std::vector<std::string> program(const std::string& name,
                                                 const std::string& user) const {
    return {"/usr/bin/env", name, "-h", "127.0.0.1", "-p", port_, "-u", user};
  }

  const std::string port_;
  const std::string channel_;
};

}  // namespace zavelo::sandbox
