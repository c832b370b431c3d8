#include <gtest/gtest.h>

#include "tests/support/fault_of.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/json/record.hpp"

namespace zavelo {
namespace {

struct AnimalFields {
  std::optional<std::string> name;
};
struct Animal : AnimalFields {
  virtual ~Animal() = default;
  virtual json::RecordView asRecord() const;
};

struct Tag {
  virtual ~Tag() = default;
  std::int64_t number = 7;
};
struct DogFields {
  std::shared_ptr<Animal> friendly;
};
// The base record does not stand first in the object.
struct Dog final : Tag, Animal, DogFields {
  json::RecordView asRecord() const override;
};

}  // namespace

template <>
struct json::RecordOf<Animal> {
  static const Record& get() {
    static const Record record = fieldsOf<Animal, &Animal::name>(AbsentFields::null);
    return record;
  }
};
template <>
struct json::RecordOf<Dog> {
  static const Record& get() {
    static const Record record = subclassFieldsOf<Dog, Animal, &Dog::friendly>();
    return record;
  }
};

namespace {

json::RecordView Animal::asRecord() const {
  return json::viewOf(*this);
}
json::RecordView Dog::asRecord() const {
  return json::viewOf(*this);
}

TEST(SubclassRecord, IsReadFromOneObjectAndWrittenWholeWhereItsBaseIsExpected) {
  const auto dog =
      json::decode<std::shared_ptr<Dog>>(R"({"number":1,"friendly":{"name":"cat"},"name":"rex"})")
          .value();
  EXPECT_EQ(dog->name, "rex");
  EXPECT_EQ(dog->number, 7);
  EXPECT_EQ(faultOf<std::shared_ptr<Dog>>(R"({"friendly":{"name":1}})"),
            "friendly.name: expected text");
  dog->friendly = std::make_shared<Dog>();
  const std::vector<std::shared_ptr<Animal>> animals{dog, std::make_shared<Animal>()};
  EXPECT_EQ(json::encode(animals).value(),
            R"([{"friendly":{"friendly":null,"name":null},"name":"rex"},{"name":null}])");
}

}  // namespace
}  // namespace zavelo
