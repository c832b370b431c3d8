#include "zavelo/testing/fault_script.hpp"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

#include "zavelo/json/json.hpp"

namespace zavelo::testing {

namespace {

constexpr std::int64_t mostCalls = 1'000'000;
constexpr std::int64_t longestDelay = 600'000;
constexpr std::int64_t greatestCode = 1'000'000;
constexpr std::size_t longestMessage = 4'000;

/// No value when all is well, else what is wrong.
using Complaint = std::optional<std::string>;

std::string about(std::string_view name, std::string_view what) {
  return '"' + std::string(name) + "\": " + std::string(what);
}

Complaint read(std::string_view name, const json::Value& value, std::string& text) {
  const auto* given = value.as<std::string>();
  if (given == nullptr) return about(name, "expected text");
  if (given->size() > longestMessage) return about(name, "is longer than 4000 bytes");
  text = *given;
  return {};
}

Complaint read(std::string_view name, const json::Value& value, std::int64_t least,
               std::int64_t most, std::int64_t& number) {
  const auto* given = value.as<std::int64_t>();
  if (given == nullptr) return about(name, "expected integer");
  if (*given < least || *given > most) {
    return about(name, "must be from " + std::to_string(least) + " to " + std::to_string(most));
  }
  number = *given;
  return {};
}

Complaint readEndpoint(const json::Value& value, Fault& fault) {
  if (auto complaint = read("endpoint", value, fault.endpoint)) return complaint;
  if (fault.endpoint == "*" || fault.endpoint.starts_with("/api/")) return {};
  return about("endpoint", R"(expected "*" or a path under /api/)");
}

Complaint readKind(const json::Value& value, Fault& fault) {
  std::string name;
  if (auto complaint = read("fault", value, name)) return complaint;
  const auto kind = faultKindOf(name);
  if (!kind)
    return about("fault",
                 "expected delay, cut, refuse, unauthorized, code, wrongType or invalidJson");
  fault.kind = *kind;
  return {};
}

Complaint readDelay(const json::Value& value, Fault& fault) {
  std::int64_t milliseconds = 0;
  auto complaint = read("milliseconds", value, 0, longestDelay, milliseconds);
  fault.delay = std::chrono::milliseconds(milliseconds);
  return complaint;
}

/// One member of a fault's object.
struct Field {
  std::string_view name;
  Complaint (*read)(const json::Value& value, Fault& fault);
  std::optional<FaultKind> owner{};  ///< the only kind that takes it; none: all do
  bool isRequired = false;
};

constexpr std::array<Field, 7> fields{{
    {.name = "endpoint", .read = readEndpoint, .isRequired = true},
    {.name = "fault", .read = readKind, .isRequired = true},
    {.name = "after",
     .read = [](const json::Value& value,
                Fault& fault) { return read("after", value, 0, mostCalls, fault.after); }},
    {.name = "count",
     .read = [](const json::Value& value,
                Fault& fault) { return read("count", value, 1, mostCalls, fault.count); }},
    {.name = "milliseconds", .read = readDelay, .owner = FaultKind::delay, .isRequired = true},
    {.name = "code",
     .read =
         [](const json::Value& value, Fault& fault) {
           return read("code", value, -greatestCode, greatestCode, fault.code);
         },
     .owner = FaultKind::code,
     .isRequired = true},
    {.name = "message",
     .read = [](const json::Value& value,
                Fault& fault) { return read("message", value, fault.message); },
     .owner = FaultKind::code},
}};

/// What each kind takes and what it must have, when the kind is known.
Complaint misplaced(const json::Object& object, FaultKind kind) {
  for (const auto& field : fields) {
    const bool isGiven = object.find(field.name) != nullptr;
    const bool isTaken = !field.owner || *field.owner == kind;
    if (isGiven && !isTaken) {
      return about(field.name, "belongs to the fault \"" + std::string(nameOf(*field.owner)) + '"');
    }
    if (!isGiven && isTaken && field.isRequired) return about(field.name, "missing");
  }
  return {};
}

Complaint readFault(const json::Object& object, Fault& fault) {
  for (const auto& [name, value] : object) {
    const auto field = std::ranges::find(fields, name, &Field::name);
    if (field == fields.end()) return about(name.size() <= 64 ? name : "?", "unknown");
    if (auto complaint = field->read(value, fault)) return complaint;
  }
  // Without a kind there is no telling what belongs to it.
  if (object.find("fault") == nullptr) return about("fault", "missing");
  return misplaced(object, fault.kind);
}

Complaint readList(const json::Value& value, std::vector<Fault>& faults) {
  const auto* list = value.as<json::Array>();
  if (list == nullptr) return about("faults", "expected a list");
  for (const auto& element : *list) {
    const std::string where = "faults[" + std::to_string(faults.size()) + "]: ";
    const auto* object = element.as<json::Object>();
    if (object == nullptr) return where + "expected an object";
    if (auto complaint = readFault(*object, faults.emplace_back())) return where + *complaint;
  }
  return {};
}

}  // namespace

FaultScript readFaults(const json::Object& script) {
  std::vector<Fault> faults;
  const auto* list = script.find("faults");
  auto complaint =
      list != nullptr ? readList(*list, faults) : readFault(script, faults.emplace_back());
  if (!complaint && list != nullptr && script.size() > 1) {
    complaint = "beside \"faults\" nothing may stand";
  }
  if (complaint) return Failure{*std::move(complaint)};
  return faults;
}

FaultScript readFaults(std::string_view text) {
  const auto value = json::decode<json::Value>(text);
  if (!value) return Failure{"it is not JSON: " + value.error().text()};
  const auto* object = value->as<json::Object>();
  if (object == nullptr) return Failure{std::string("it is not a JSON object")};
  return readFaults(*object);
}

FaultScript readFaultFile(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) {
    return Failure{error ? error.message() : std::string("it is not a file")};
  }
  std::ifstream stream(file, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(stream), {});
  if (!stream) return Failure{std::string("it cannot be read")};
  return readFaults(text);
}

json::Object scriptOf(const Fault& fault) {
  json::Object object{{"endpoint", fault.endpoint}, {"fault", nameOf(fault.kind)}};
  if (fault.after > 0) object.set("after", fault.after);
  object.set("count", fault.count);
  if (fault.kind == FaultKind::delay) object.set("milliseconds", fault.delay.count());
  if (fault.kind == FaultKind::code) {
    object.set("code", fault.code);
    object.set("message", fault.message);
  }
  return object;
}

}  // namespace zavelo::testing
