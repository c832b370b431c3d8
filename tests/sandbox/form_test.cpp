#include "sandbox/http/form.hpp"

#include <gtest/gtest.h>

#include <string>

namespace zavelo::sandbox {
namespace {

const std::string type = "multipart/form-data; boundary=b";

std::string part(const std::string& disposition, const std::string& content) {
  return "--b\r\nContent-Disposition: form-data; " + disposition + "\r\n\r\n" + content + "\r\n";
}

/// "name(fileName,contentType)=content", one behind the other; "none" when it is no form.
std::string read(const std::string& body, const std::string& contentType = type) {
  const auto parts = formParts(contentType, body);
  if (!parts) return "none";
  std::string text;
  for (const auto& each : *parts) {
    text += each.name + "(" + each.fileName + "," + each.contentType + ")=" + each.content + " ";
  }
  return text;
}

TEST(FormTest, EndsWithOrWithoutALineEndAndAnEpilogue) {
  const std::string one = part("name=\"a\"", "1");
  for (const char* end : {"--b--", "--b--\r\n", "--b-- \r\nwhatever\r\n--b"})
    EXPECT_EQ(read(one + end), "a(,)=1 ") << end;
  EXPECT_EQ(read("preamble\r\n" + one + "--b \t\r\nContent-Disposition: form-data; name=c\r\n\r\n" +
                 "\r\n--b--"),
            "a(,)=1 c(,)= ");
  EXPECT_EQ(read("--b--\r\n"), "");
}

TEST(FormTest, ReadsQuotedAndBareValuesInAnyCaseAndOrder) {
  EXPECT_EQ(read("--b\r\ncontent-type: image/jpeg \r\nCONTENT-DISPOSITION: form-data; "
                 "filename=\"C:\\x; \\\"1\\\".jpg\";Name = \"p\"\r\n\r\n\r\n--x\r\n\r\n--b--"),
            "p(C:\\x; \"1\".jpg,image/jpeg)=\r\n--x\r\n ");
  EXPECT_EQ(read("--a b\r\nContent-Disposition: form-data; name=n\r\n\r\n1\r\n--a b--",
                 "multipart/form-data; charset=utf-8; boundary=\"a b\""),
            "n(,)=1 ");
}

TEST(FormTest, WhatIsNoWholeFormIsRefused) {
  const std::string one = part("name=\"a\"", "1");
  std::string many;
  for (int i = 0; i < 101; ++i) many += one;
  const std::string bodies[] = {"",
                                "--b",
                                one,
                                one + "--b",
                                one + "--b-",
                                part("filename=\"a\"", "1") + "--b--",
                                many + "--b--",
                                "--b\r\n\r\n1\r\n--b--",
                                "--b\r\nContent-Disposition: form-data; name=a\r\n--b--"};
  for (const auto& body : bodies) EXPECT_EQ(read(body), "none") << body.substr(0, 100);
  EXPECT_EQ(read(one + "--b--", "multipart/form-data"), "none");
  EXPECT_EQ(read(one + "--b--", "multipart/form-data; boundary="), "none");
}

}  // namespace
}  // namespace zavelo::sandbox
