// Version record and the two text forms, byte for byte.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "zvx.h"

namespace {

const std::string kLine =
    "Halvex(R) Zevrix Version 9.1.2 Product Build 073007.01 for 32-bit applications ";

TEST(Version, Record) {
  zvx_version v;
  zvxgetversion(&v);
  EXPECT_EQ(v.major_version, 9);
  EXPECT_EQ(v.minor_version, 1);
  EXPECT_EQ(v.update_version, 2);
  EXPECT_STREQ(v.product_status, "Product");
  EXPECT_STREQ(v.build, "073007.01");
  EXPECT_EQ(v.processor, gettargetprocessor());
  EXPECT_STREQ(gettargetprocessor(), "Halvex(R) Cadenza(R) III processor");
  EXPECT_EQ(gettargetprocessor(), gettargetprocessor());
  EXPECT_EQ(dll_cpu_version(), 1);
}

// The buffer is filled past `length` with a guard byte that must survive.
std::vector<char> blank_padded(int length) {
  std::vector<char> buf(static_cast<size_t>(length) + 8, '#');
  zvxgetversionstring(buf.data(), length);
  return buf;
}

TEST(Version, BlankPaddedForm) {
  const int n = static_cast<int>(kLine.size());
  for (int length : {0, 1, 10, n - 1, n, n + 1, n + 20}) {
    std::vector<char> buf = blank_padded(length);
    std::string expected = length <= n ? kLine.substr(0, static_cast<size_t>(length))
                                       : kLine + std::string(static_cast<size_t>(length - n), ' ');
    EXPECT_EQ(std::string(buf.data(), static_cast<size_t>(length)), expected) << length;
    for (size_t i = static_cast<size_t>(length); i < buf.size(); ++i) EXPECT_EQ(buf[i], '#') << length;
  }
}

TEST(Version, TerminatedForm) {
  const int n = static_cast<int>(kLine.size());
  for (int length : {1, 2, 10, n, n + 1, n + 2, n + 30}) {
    std::vector<char> buf(static_cast<size_t>(length) + 8, '#');
    zvxgetversionstring_c(buf.data(), length);
    std::string expected;
    if (n > length - 1) {
      expected = kLine.substr(0, static_cast<size_t>(length - 1)) + '\0';
    } else {
      expected = kLine + std::string(static_cast<size_t>(length - n), '\0');
    }
    EXPECT_EQ(std::string(buf.data(), static_cast<size_t>(length)), expected) << length;
    for (size_t i = static_cast<size_t>(length); i < buf.size(); ++i) EXPECT_EQ(buf[i], '#') << length;
  }
}

}  // namespace
