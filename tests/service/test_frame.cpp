// Option letters and the error reporter, compared byte for byte with what a person sees on fd 2.
#include <gtest/gtest.h>

#include <string>

#include "common/capture.h"
#include "zvx.h"

namespace {

TEST(Lsame, FoldsOnlyLowerCaseLetters) {
  for (int a = 0; a < 256; ++a) {
    for (int b = 0; b < 256; ++b) {
      const char ca = static_cast<char>(a), cb = static_cast<char>(b);
      const int ua = (a >= 'a' && a <= 'z') ? a - 32 : a;
      const int ub = (b >= 'a' && b <= 'z') ? b - 32 : b;
      const int expected = ua == ub ? -1 : 0;
      ASSERT_EQ(lsame(&ca, &cb), expected) << a << " " << b;
    }
  }
  EXPECT_EQ(lsame("n", "N"), -1);
  EXPECT_EQ(lsame("a", "B"), 0);
  EXPECT_EQ(lsame("[", "{"), 0);  // 91 and 123 differ by 32 but are not letters
  EXPECT_EQ(lsame("TRANS", "t"), -1);  // only the first character is read
}

TEST(Lsamen, LengthsAndPrefixes) {
  int n = 0;
  EXPECT_EQ(lsamen(&n, "", "", 0, 0), -1);
  n = 3;
  // n beyond a length: FALSE without reading; the null pointers would fault if read.
  EXPECT_EQ(lsamen(&n, nullptr, nullptr, 2, 5), 0);
  EXPECT_EQ(lsamen(&n, nullptr, nullptr, 5, 2), 0);
  EXPECT_EQ(lsamen(&n, "abcX", "ABCy", 4, 4), -1);
  n = 4;
  EXPECT_EQ(lsamen(&n, "abcX", "ABCy", 4, 4), 0);
  n = -2;
  EXPECT_EQ(lsamen(&n, "a", "b", 1, 1), -1);
}

std::string report(const char* name, int info, int name_len) {
  return zvx_test::capture_stderr([&] { default_xerbla(name, &info, name_len); });
}

TEST(DefaultXerbla, MessageForms) {
  EXPECT_EQ(report("CSPR  ", 0, 6), "ZVX INTERNAL ERROR : Condition 0 detected in function CSPR  \n");
  EXPECT_EQ(report("CSPR  ", -7, 6), "ZVX INTERNAL ERROR : Condition 7 detected in function CSPR  \n");
  EXPECT_EQ(report("CSPR  ", -42, 6), "ZVX INTERNAL ERROR : Condition 42 detected in function CSPR  \n");
  EXPECT_EQ(report("CSPR  ", 3, 6), "ZVX ERROR : Parameter 3 was incorrect on entry to CSPR  \n");
  EXPECT_EQ(report("CSPR  ", 12, 6), "ZVX ERROR : Parameter 12 was incorrect on entry to CSPR  \n");
  EXPECT_EQ(report("CSPR  ", 999, 6),
            std::string("ZVX ERROR : Parameter ") + char(48 + 99) + char(48 + 9) +
                " was incorrect on entry to CSPR  \n");
  EXPECT_EQ(report("DGEMM", 1000, 5), "ZVX INTERNAL ERROR : Not enough work memory in function DGEMM\n");
  EXPECT_EQ(report("DGEMM", 1001, 5),
            "ZVX ERROR : Incompatible optional parameters on entry to DGEMM\n");
  // 1002 and above take the parameter form; the first of the two characters is no digit.
  EXPECT_EQ(report("DGEMM", 1002, 5),
            std::string("ZVX ERROR : Parameter ") + char(48 + 100) + "2 was incorrect on entry to DGEMM\n");
  EXPECT_EQ(report("X", 123, 1), std::string("ZVX ERROR : Parameter ") + char(60) + char(51) +
                                     " was incorrect on entry to X\n");
}

TEST(DefaultXerbla, NameIsCutAtTwelveAndAtZero) {
  EXPECT_EQ(report("ABCDEFGHIJKLMNOPQRST", 1, 20),
            "ZVX ERROR : Parameter 1 was incorrect on entry to ABCDEFGHIJKL\n");
  const char with_zero[6] = {'A', 'B', 'C', 'D', '\0', 'F'};
  EXPECT_EQ(report(with_zero, 2, 6), "ZVX ERROR : Parameter 2 was incorrect on entry to ABCD\n");
  EXPECT_EQ(report("ABCDEF", 2, 3), "ZVX ERROR : Parameter 2 was incorrect on entry to ABC\n");
  EXPECT_EQ(report("ABC", 2, 0), "ZVX ERROR : Parameter 2 was incorrect on entry to \n");
}

TEST(DefaultXerbla, WritesEachPieceSeparately) {
  // Standard error is a pipe in a child: the pieces arrive in order, and reporting returns.
  const zvx_test::child_result r = zvx_test::run_in_child([] {
    int info = 4;
    default_xerbla("ZGEMM ", &info, 6);
    default_xerbla("ZGEMM ", &info, 6);
  });
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_EQ(r.stderr_text, "ZVX ERROR : Parameter 4 was incorrect on entry to ZGEMM \n"
                           "ZVX ERROR : Parameter 4 was incorrect on entry to ZGEMM \n");
}

}  // namespace
