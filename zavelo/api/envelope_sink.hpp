#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/api/api_result.hpp"
#include "zavelo/api/envelope.hpp"
#include "zavelo/base/completion.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::detail {

/// Where a reply of some payload type ends up: decodes the envelope and answers the completion.
/// One of the two answers is given, once.
class EnvelopeSink {
 public:
  virtual ~EnvelopeSink() = default;

  [[nodiscard]] virtual std::optional<json::Error> decode(json::Input body) = 0;
  /// Of the decoded envelope.
  [[nodiscard]] virtual Verdict verdict() const = 0;
  [[nodiscard]] virtual bool hasData() const = 0;

  /// Answers with the decoded data.
  virtual void ok() = 0;
  virtual void error(ZVAPIError error) = 0;
  /// Nobody is left to answer: the queue that would call was destroyed.
  virtual void drop() = 0;
};

template <class T>
class EnvelopeSinkOf final : public EnvelopeSink {
 public:
  explicit EnvelopeSinkOf(ZVCompletion<T> completion)
      : completion_([answer = std::move(completion)](ZVAPIResult<T> result) mutable {
          if (answer) answer(std::move(result));
        }) {}

  std::optional<json::Error> decode(json::Input body) override {
    return json::detail::decodeInto(body, json::codecOf<ZVAPIResonse<T>>, &envelope_);
  }
  Verdict verdict() const override {
    return judge(envelope_.code, envelope_.message, envelope_.codeDetails);
  }
  bool hasData() const override { return envelope_.data.has_value(); }
  void ok() override { std::move(completion_)(ZVAPIResult<T>::ok(std::move(*envelope_.data))); }
  void error(ZVAPIError error) override {
    std::move(completion_)(ZVAPIResult<T>::error(std::move(error)));
  }
  void drop() override { std::move(completion_).drop(); }

 private:
  ZVAPIResonse<T> envelope_;
  Completion<ZVAPIResult<T>> completion_;
};

template <class T>
std::unique_ptr<EnvelopeSink> envelopeSink(ZVCompletion<T> completion) {
  return std::make_unique<EnvelopeSinkOf<T>>(std::move(completion));
}

}  // namespace zavelo::detail
