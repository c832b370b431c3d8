#include <gtest/gtest.h>

#include "tests/support/fault_of.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/json/record.hpp"

namespace zavelo {
namespace {

struct AnimalFields {
  std::optional<std::string> name;
  std::optional<std::int64_t> age;
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
  std::optional<bool> barks;
  std::shared_ptr<Animal> friendly;
};
// The base record does not stand first in the object.
struct Dog final : Tag, Animal, DogFields {
  json::RecordView asRecord() const override;
  std::optional<double> unlisted;
};

struct Kennel {
  std::optional<std::vector<std::shared_ptr<Animal>>> animals;
};

}  // namespace

template <>
struct json::RecordOf<Animal> {
  static const Record& get() {
    using T = Animal;
    static const Record record = fieldsOf<T, &T::name, &T::age>(AbsentFields::null);
    return record;
  }
};
template <>
struct json::RecordOf<Dog> {
  static const Record& get() {
    using T = Dog;
    static const Record record = subclassFieldsOf<T, Animal, &T::barks, &T::friendly>();
    return record;
  }
};
template <>
struct json::RecordOf<Kennel> {
  static const Record& get() {
    static const Record record = fieldsOf<Kennel, &Kennel::animals>();
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

TEST(SubclassRecord, ReadsItsOwnAndItsBasesFieldsFromOneObject) {
  const auto dog =
      json::decode<std::shared_ptr<Dog>>(
          R"({"age":3,"unlisted":1.5,"friendly":{"name":"cat"},"name":"rex","barks":true})")
          .value();
  EXPECT_EQ(dog->name, "rex");
  EXPECT_EQ(dog->age, 3);
  EXPECT_EQ(dog->barks, true);
  EXPECT_EQ(dog->friendly->name, "cat");
  EXPECT_EQ(dog->unlisted, std::nullopt);
  EXPECT_EQ(dog->number, 7);
  EXPECT_EQ(faultOf<std::shared_ptr<Dog>>(R"({"friendly":{"age":"3"}})"),
            "friendly.age: expected integer");
}

TEST(SubclassRecord, IsWrittenWholeWhereItsBaseIsExpected) {
  const auto dog = std::make_shared<Dog>();
  dog->barks = false;
  dog->name = "rex";
  dog->friendly = std::make_shared<Dog>();
  const std::string written =
      R"({"barks":false,"friendly":{"barks":null,"friendly":null,"name":null,"age":null},)"
      R"("name":"rex","age":null})";
  EXPECT_EQ(json::encode(*dog).value(), written);
  EXPECT_EQ(json::encode(static_cast<const Animal&>(*dog)).value(), written);
  EXPECT_EQ(json::encode(dog->Animal::asRecord()).value(), R"({"name":"rex","age":null})");
  Kennel kennel;
  kennel.animals = {dog, std::make_shared<Animal>()};
  EXPECT_EQ(json::encode(kennel).value(),
            R"({"animals":[)" + written + R"(,{"name":null,"age":null}]})");
}

}  // namespace
}  // namespace zavelo
