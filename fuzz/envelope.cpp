#include "zavelo/api/envelope.hpp"

#include "fuzz/fuzz.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/models/user.hpp"

// A reply's envelope, and what it means.

void zavelo::fuzz::run(std::string_view input) {
  using Envelope = ZVAPIResonse<std::shared_ptr<ZVUser>>;
  const auto envelope = json::decode<Envelope>(input);
  if (!envelope) return;
  const auto verdict = judge(envelope->code, envelope->message, envelope->codeDetails);
  require(verdict.error.has_value() == (envelope->code != 1), "code 1 and no other is success");
  if (verdict.error)
    require(!verdict.error->description.empty() || envelope->codeDetails,
            "an error has a text, unless the backend sent an empty one");
  require(verdict.sessionEnd.empty() || envelope->code == 603 || envelope->code == 1341,
          "two codes end the session");
  const auto written = json::encode(*envelope);
  require(json::encode(json::decode<Envelope>(written.value()).value()).value() == *written,
          "what was written reads back the same");
}
