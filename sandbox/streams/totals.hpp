#pragma once

#include <string_view>

/// What a stream has collected, each as a column that a query of `streams` computes.
namespace zavelo::sandbox::totals {

inline constexpr std::string_view views =
    "(SELECT count(*) FROM view_sessions WHERE stream = streams.id)";
inline constexpr std::string_view viewersNow =
    "(SELECT count(*) FROM view_sessions WHERE stream = streams.id AND ended IS NULL)";
inline constexpr std::string_view likes =
    "(SELECT coalesce(sum(likes), 0) FROM reactions WHERE stream = streams.id)";
inline constexpr std::string_view gifts =
    "(SELECT coalesce(sum(amount), 0) FROM gifts WHERE stream = streams.id)";
inline constexpr std::string_view gold =
    "(SELECT coalesce(sum(gold), 0) FROM gifts WHERE stream = streams.id)";

}  // namespace zavelo::sandbox::totals
