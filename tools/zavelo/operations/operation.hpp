#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "tools/zavelo/arguments/argument.hpp"
#include "zavelo/api/api_result.hpp"
#include "zavelo/base/call.hpp"
#include "zavelo/base/entity_name.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {

/// What came of an operation: its value as one line of JSON, or the error.
using JsonResult = Result<std::string, ZVAPIError>;
using JsonCompletion = std::function<void(JsonResult)>;

/// An operation of the library with its types erased: arguments and result are JSON.
struct Operation {
  std::string_view name;  ///< as the library names it: "searchForUser"
  std::string_view help;  ///< one line
  std::vector<Argument> arguments;
  bool hasResult;  ///< else it answers with null
  bool isPaged;    ///< the result is a page, which says how to ask for the next one
  /// Carries the operation out on the shared service. `done` is called exactly once, on the main
  /// queue or, by operations that send nothing, before this returns; not at all after an error.
  std::function<Result<ZVCall, ArgumentError>(const std::vector<Argument>& arguments,
                                              const json::Object& given, JsonCompletion done)>
      invoke;
  /// The value for a person; null: as any value is shown.
  std::string (*readable)(const std::string& json) = nullptr;
};

namespace detail {

template <class T>
JsonResult jsonOf(const T& value) {
  auto text = json::encode(value);
  if (text) return std::move(*text);
  return Failure{
      ZVAPIError{ZVAPIErrorType::invalidData, errorText::invalidData, text.error().text()}};
}

template <class T>
ZVCompletion<T> answering(JsonCompletion done) {
  return [done = std::move(done)](ZVAPIResult<T> result) {
    done(result.isOk() ? jsonOf(result.data()) : JsonResult(Failure{result.error()}));
  };
}

template <class Completion>
struct PayloadOf;
template <class T>
struct PayloadOf<ZVCompletion<T>> {
  using Type = T;
};

template <class T>
concept Page = requires(const T& page) {
  page->result;
  page->nextId;
  page->isEnd;
};

/// Operations that answer at once: the result is what they return.
template <class S, class R, class... Parameters>
struct Immediate {
  using Service = S;
  using Values = std::tuple<std::decay_t<Parameters>...>;
  static constexpr bool hasResult = !std::is_void_v<R>;
  static constexpr bool isPaged = false;

  template <class Member, class... Arguments>
  static ZVCall call(Member member, const JsonCompletion& done, Arguments&... arguments) {
    auto run = [&]() -> R { return (S::shared().get()->*member)(std::move(arguments)...); };
    if constexpr (hasResult) {
      done(jsonOf(run()));
    } else {
      run();
      done(std::string("null"));
    }
    return {};
  }
};

/// Operations that answer through their last parameter, a completion.
template <class S, class Front, class Completion>
struct Deferred;
template <class S, class... Front, class Completion>
struct Deferred<S, std::tuple<Front...>, Completion> {
  using Service = S;
  using Values = std::tuple<Front...>;
  using Payload = typename PayloadOf<Completion>::Type;
  static constexpr bool hasResult = true;
  static constexpr bool isPaged = Page<Payload>;

  template <class Member, class... Arguments>
  static ZVCall call(Member member, JsonCompletion done, Arguments&... arguments) {
    return (S::shared().get()->*member)(std::move(arguments)...,
                                        answering<Payload>(std::move(done)));
  }
};

template <class S, class Parameters, class Indices>
struct SplitLast;
template <class S, class Parameters, std::size_t... Front>
struct SplitLast<S, Parameters, std::index_sequence<Front...>>
    : Deferred<S, std::tuple<std::tuple_element_t<Front, Parameters>...>,
               std::tuple_element_t<sizeof...(Front), Parameters>> {};

template <class Member>
struct Shape;
template <class S, class R, class... Parameters>
struct Shape<R (S::*)(Parameters...)> : Immediate<S, R, Parameters...> {};
template <class S, class R, class... Parameters>
struct Shape<R (S::*)(Parameters...) const> : Immediate<S, R, Parameters...> {};
template <class S, class R, class... Parameters>
struct Shape<AwaitableCall<R> (S::*)(Parameters...)>
    : SplitLast<S, std::tuple<std::decay_t<Parameters>...>,
                std::make_index_sequence<sizeof...(Parameters) - 1>> {};

template <auto Member>
Result<ZVCall, ArgumentError> invokeMember(const std::vector<Argument>& arguments,
                                           const json::Object& given, JsonCompletion done) {
  using Of = Shape<decltype(Member)>;
  typename Of::Values values;
  const auto fill = [&](auto&... value) {
    const std::array<void*, sizeof...(value)> places{&value...};
    return readArguments(arguments, given, places);
  };
  if (auto error = std::apply(fill, values)) return Failure{std::move(*error)};
  return std::apply([&](auto&... value) { return Of::call(Member, std::move(done), value...); },
                    values);
}

}  // namespace detail

/// The operation that a service's member is; the names are its parameters' in their order, without
/// the completion. Which of several members of one name is meant, a cast says:
///
///     operation<&ZVUserService::currentUser>("Shows the session.")
///     operation<member<ZVUserService, ZVAPICall<bool>(const std::string&, ZVCompletion<bool>)>(
///         &ZVUserService::pick)>("Picks one.", "name")
template <auto Member, std::convertible_to<std::string_view>... Names>
[[nodiscard]] Operation operation(std::string_view help, Names... names) {
  using Of = detail::Shape<decltype(Member)>;
  using Values = typename Of::Values;
  static_assert(sizeof...(Names) == std::tuple_size_v<Values>,
                "an operation's arguments are named all");
  const auto list = [&]<class... T>(std::type_identity<std::tuple<T...>>) {
    return std::vector<Argument>{{names, argumentType<T>()}...};
  };
  return {zavelo::detail::entityName<Member>(),
          help,
          list(std::type_identity<Values>{}),
          Of::hasResult,
          Of::isPaged,
          &detail::invokeMember<Member>};
}

/// Of an operation that also takes its arguments as a record: the one that takes them one by one.
/// With a record it has three parameters at most.
template <class Service, class Call, class A, class B, class C, class D, class... More>
constexpr auto positional(Call (Service::*chosen)(A, B, C, D, More...)) {
  return chosen;
}

template <class Service, class Signature>
constexpr auto member(Signature Service::*chosen) {
  return chosen;
}

}  // namespace zavelo::command
