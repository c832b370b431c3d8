#include "sandbox/seed/seed_endpoints.hpp"

#include <string>

#include "sandbox/seed/export.hpp"

namespace zavelo::sandbox {
namespace {

template <bool WithPictures>
Response tellSeed(SeedContext& context, const Call&) {
  const auto seed = exportSeed(context.database, context.settings, WithPictures);
  if (!seed) return fail({Code::error, seed.error()});
  json::Array notes;
  for (const auto& note : seed->notes) notes.emplace_back(note);
  const auto facts = json::encode(json::Value(std::move(notes)));
  if (!facts) return succeedWith(facts);
  return succeedWith("{\"notes\":" + *facts + ",\"seed\":" + seed->text + "}");
}

}  // namespace

std::vector<Endpoint> seedEndpoints(SeedContext& context) {
  const auto at = handlersIn(context);
  return {get("/sandbox/seed", at(tellSeed<false>)),
          get("/sandbox/seed/pictures", at(tellSeed<true>))};
}

}  // namespace zavelo::sandbox
