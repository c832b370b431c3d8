#include "zavelo/json/value.hpp"

#include <algorithm>
#include <unordered_map>

namespace zavelo::json {

Object::Object(std::initializer_list<Member> members) {
  members_.reserve(members.size());
  for (const auto& [key, value] : members) set(key, value);
}

Object::Object(std::vector<Member> members) : members_(std::move(members)) {
  std::unordered_map<std::string_view, std::size_t> last;
  last.reserve(members_.size());
  for (std::size_t i = 0; i < members_.size(); ++i) last[members_[i].first] = i;
  if (last.size() == members_.size()) return;
  std::vector<Member> once;
  for (std::size_t i = 0; i < members_.size(); ++i)
    if (last[members_[i].first] == i) once.push_back(members_[i]);
  members_ = std::move(once);
}

bool Object::empty() const noexcept {
  return members_.empty();
}
std::size_t Object::size() const noexcept {
  return members_.size();
}
const Object::Member* Object::begin() const noexcept {
  return members_.data();
}
const Object::Member* Object::end() const noexcept {
  return members_.data() + members_.size();
}

void Object::set(std::string key, Value value) {
  const auto known = std::find_if(members_.begin(), members_.end(),
                                  [&](const Member& member) { return member.first == key; });
  if (known != members_.end())
    known->second = std::move(value);
  else
    members_.emplace_back(std::move(key), std::move(value));
}

const Value* Object::find(std::string_view key) const noexcept {
  for (const auto& [name, value] : members_)
    if (name == key) return &value;
  return nullptr;
}

bool Object::operator==(const Object& other) const {
  return size() == other.size() && std::all_of(begin(), end(), [&](const Member& member) {
           const Value* value = other.find(member.first);
           return value != nullptr && *value == member.second;
         });
}

}  // namespace zavelo::json
