#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "zavelo/json/json.hpp"

namespace zavelo {

/// What is read comes back, key by key in the same order.
template <class T>
void expectKept(const std::string& text) {
  const auto record = json::decode<std::shared_ptr<T>>(text);
  ASSERT_TRUE(record) << record.error().text();
  EXPECT_EQ(json::encode(**record).value(), text);
}

}  // namespace zavelo
