#define SIMDJSON_EXCEPTIONS 0
#include <simdjson.h>

#include <limits>

#include "zavelo/json/tokens_internal.hpp"

namespace zavelo::json::detail {
namespace {

static_assert(paddingBytes >= simdjson::SIMDJSON_PADDING);

// Memory that is kept for the next text.
constexpr std::size_t keptCapacity = std::size_t{4} * 1024 * 1024;
constexpr std::size_t smallestCapacity = 4096;

}  // namespace

struct Tokens::Sweep {
  std::unique_ptr<simdjson::internal::dom_parser_implementation> parser;
};

void Tokens::SweepDeleter::operator()(Sweep* sweep) const {
  delete sweep;
}

std::optional<std::string> Tokens::load(Input text) {
  if (text.size >= std::numeric_limits<std::uint32_t>::max() - paddingBytes)
    return "the text is too large";
  if (text.capacity - text.size < paddingBytes) {
    copy_.reserve(text.size + paddingBytes);
    copy_.assign(text.data, text.size);
    text.data = copy_.data();
  }
  if (!sweep_) sweep_.reset(new Sweep);
  auto& parser = sweep_->parser;
  simdjson::error_code fault = simdjson::SUCCESS;
  if (!parser || parser->capacity() < text.size) {
    const std::size_t capacity = std::max(text.size, smallestCapacity);
    fault = simdjson::get_active_implementation()->create_dom_parser_implementation(
        capacity, depthLimit, parser);
  }
  if (!fault)
    fault = parser->stage1(reinterpret_cast<const std::uint8_t*>(text.data), text.size,
                           simdjson::stage1_mode::regular);
  if (fault == simdjson::UTF8_ERROR) return "invalid UTF-8";
  if (fault) return std::string("invalid JSON: ") + simdjson::error_message(fault);
  text_ = text.data;
  begin_ = parser->structural_indexes.get();
  end_ = begin_ + parser->n_structural_indexes;
  return std::nullopt;
}

void Tokens::shrink() {
  if (copy_.capacity() > keptCapacity) std::string().swap(copy_);  // assigning keeps the capacity
  if (sweep_ && sweep_->parser && sweep_->parser->capacity() > keptCapacity) sweep_.reset();
}

}  // namespace zavelo::json::detail
