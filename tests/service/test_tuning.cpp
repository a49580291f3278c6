// The tuning tables, row by row, from the published table of this library's answers.
#include <gtest/gtest.h>

#include <string>

#include "zvx.h"

namespace {

int ask(int ispec, const std::string& name, const std::string& opts = " ", int n1 = 1000, int n2 = 1000,
        int n3 = 1000, int n4 = 1000) {
  return ilaenv(&ispec, name.data(), opts.data(), &n1, &n2, &n3, &n4, static_cast<int>(name.size()),
                static_cast<int>(opts.size()));
}

struct row {
  const char* routine;  // without the precision letter
  const char* precisions;
  int nb, nbmin, nx;
};

// Answers at n1 = n2 = n3 = n4 = 1000 and opts " ".
const row kRows[] = {
    {"GETRF", "SCZ", 64, 2, 0},     {"GETRF", "D", 512, 2, 0},     {"GETRI", "SDCZ", 64, 2, 0},
    {"GEQRF", "SDCZ", 64, 2, 8},    {"GERQF", "SDCZ", 32, 2, 32},  {"GELQF", "SDCZ", 32, 2, 32},
    {"GEQLF", "SDCZ", 32, 2, 32},   {"GEHRD", "SDCZ", 32, 2, 32},  {"GEBRD", "SDCZ", 32, 2, 32},
    {"GEQPF", "SDCZ", 1, 2, 0},     {"GEQP3", "SDCZ", 1, 2, 0},    {"GESVD", "SDCZ", 1, 2, 0},
    {"POTRF", "SD", 128, 2, 128},   {"POTRF", "CZ", 64, 2, 128},   {"POTRI", "SDCZ", 1, 2, 128},
    {"SYTRF", "SD", 64, 8, 100},    {"SYTRF", "CZ", 64, 8, 0},     {"SYTRD", "SD", 32, 2, 32},
    {"SYTRD", "CZ", 1, 2, 0},       {"SYGST", "SD", 64, 2, 0},     {"HETRF", "CZ", 64, 2, 0},
    {"HETRF", "SD", 1, 2, 0},       {"HEGST", "CZ", 64, 2, 0},     {"HETRD", "CZ", 64, 2, 32},
    {"ORGQR", "SD", 32, 2, 32},     {"ORGRQ", "SD", 32, 2, 32},    {"ORGLQ", "SD", 32, 2, 32},
    {"ORGQL", "SD", 32, 2, 32},     {"ORGHR", "SD", 32, 2, 32},    {"ORGTR", "SD", 32, 2, 32},
    {"ORGBR", "SD", 32, 2, 32},     {"ORMQR", "SD", 32, 2, 0},     {"ORMTR", "SD", 32, 2, 0},
    {"ORMBR", "SD", 32, 2, 0},      {"UNGQR", "CZ", 32, 2, 32},    {"UNGBR", "CZ", 32, 2, 32},
    {"UNMQR", "CZ", 32, 2, 0},      {"UNMHR", "CZ", 32, 2, 0},     {"ORGQR", "CZ", 1, 2, 0},
    {"UNMQR", "SD", 1, 2, 0},       {"GBTRF", "SDCZ", 32, 2, 0},   {"PBTRF", "SDCZ", 32, 2, 0},
    {"TRTRI", "SDCZ", 64, 2, 0},    {"LAUUM", "SDCZ", 64, 2, 0},   {"BDSQR", "SDCZ", 140, 2, 210},
    {"XXXXX", "SDCZ", 1, 2, 0},     {"GEMM ", "SDCZ", 1, 2, 0},
};

TEST(Ilaenv, TableRows) {
  for (const row& r : kRows) {
    for (const char* p = r.precisions; *p; ++p) {
      const std::string name = std::string(1, *p) + r.routine;
      EXPECT_EQ(ask(1, name), r.nb) << name;
      EXPECT_EQ(ask(2, name), r.nbmin) << name;
      EXPECT_EQ(ask(3, name), r.nx) << name;
      std::string lower = name;
      for (char& c : lower) c = static_cast<char>(tolower(c));
      EXPECT_EQ(ask(1, lower), r.nb) << lower;
      EXPECT_EQ(ask(3, lower), r.nx) << lower;
    }
  }
}

TEST(Ilaenv, UnknownPrecisionAnswersOne) {
  for (int ispec : {1, 2, 3, 12}) EXPECT_EQ(ask(ispec, "XGETRF"), 1);
  EXPECT_EQ(ask(1, "AGEQRF"), 1);
}

TEST(Ilaenv, FixedAnswers) {
  EXPECT_EQ(ask(0, "DGETRF"), -1);
  EXPECT_EQ(ask(17, "DGETRF"), -1);
  EXPECT_EQ(ask(-5, "DGETRF"), -1);
  EXPECT_EQ(ask(4, "DGETRF"), 6);
  EXPECT_EQ(ask(5, "DGETRF"), 2);
  EXPECT_EQ(ask(6, "DGESVD", " ", 1000, 700), 1120);
  EXPECT_EQ(ask(6, "DGESVD", " ", 3, 900), 4);  // 3 * 1.6 = 4.8 truncates
  EXPECT_EQ(ask(7, "DGETRF"), 1);
  EXPECT_EQ(ask(8, "DGETRF"), 50);
  EXPECT_EQ(ask(9, "DGETRF"), 25);
  EXPECT_EQ(ask(10, "DGETRF"), 1);
  EXPECT_EQ(ask(11, "DGETRF"), 0);
}

TEST(Ilaenv, DgetrfBlockBySize) {
  const int sizes[][2] = {{1, 1},       {8, 1},        {9, 8},        {32, 8},        {33, 32},
                          {128, 32},    {129, 128},    {256, 128},    {257, 256},     {512, 256},
                          {513, 512},   {1024, 512},   {1025, 1024},  {2048, 1024},   {2049, 2048},
                          {4097, 4096}, {40000, 32768}, {1 << 30, 32768}};
  for (const auto& s : sizes) {
    EXPECT_EQ(ask(1, "DGETRF", " ", 1000, s[0]), s[1]) << s[0];
    EXPECT_EQ(ask(1, "DGETRF", "P", 1000, s[0]), s[1] < 128 ? s[1] : 128) << s[0];
    EXPECT_EQ(ask(1, "SGETRF", " ", 1000, s[0]), 64);
    EXPECT_EQ(ask(1, "ZGETRF", "p", 1000, s[0]), 64);
  }
}

TEST(Ilaenv, GeqrfBlockBySize) {
  const int sizes[][3] = {{1, 16, 8},      {200, 16, 8},    {201, 16, 16},   {300, 16, 16},
                          {301, 24, 16},   {350, 24, 16},   {351, 48, 16},   {400, 48, 16},
                          {401, 48, 32},   {550, 48, 32},   {551, 48, 48},   {800, 48, 48},
                          {801, 64, 64},   {1150, 64, 64},  {1151, 96, 64},  {1350, 96, 64},
                          {1351, 96, 96},  {100000, 96, 96}};
  for (const char* name : {"SGEQRF", "DGEQRF", "CGEQRF", "ZGEQRF"}) {
    for (const auto& s : sizes) {
      EXPECT_EQ(ask(1, name, "N", 1000, s[0]), s[1]) << name << " " << s[0];
      EXPECT_EQ(ask(1, name, "P", 1000, s[0]), s[2]) << name << " " << s[0];
    }
  }
}

TEST(Ilaenv, GeqrfCrossoverForSmallSides) {
  EXPECT_EQ(ask(3, "DGEQRF", " ", 12, 1000), 128);
  EXPECT_EQ(ask(3, "DGEQRF", " ", 1000, 12), 128);
  EXPECT_EQ(ask(3, "DGEQRF", " ", 13, 1000), 8);
  EXPECT_EQ(ask(3, "ZGEQRF", " ", 5, 5), 128);
  EXPECT_EQ(ask(3, "SGEQRF", " ", 8, 1000), 128);
  EXPECT_EQ(ask(3, "SGEQRF", " ", 9, 1000), 256);
  EXPECT_EQ(ask(3, "SGEQRF", " ", 1000, 25), 256);
  EXPECT_EQ(ask(3, "SGEQRF", " ", 26, 1000), 8);
}

TEST(Ilaenv, BandAndBidiagonalBySize) {
  EXPECT_EQ(ask(1, "DGBTRF", " ", 1000, 1000, 1000, 64), 1);
  EXPECT_EQ(ask(1, "DGBTRF", " ", 1000, 1000, 1000, 65), 32);
  EXPECT_EQ(ask(1, "ZPBTRF", " ", 1000, 64), 1);
  EXPECT_EQ(ask(1, "ZPBTRF", " ", 1000, 65), 32);
  const int steps[][2] = {{1, 4},      {210, 4},     {211, 100},   {630, 100},   {631, 140},
                          {1100, 140}, {1101, 160},  {2000, 160},  {2001, 180},  {4000, 180},
                          {4001, 200}, {100000, 200}};
  for (const auto& s : steps) EXPECT_EQ(ask(1, "DBDSQR", " ", s[0]), s[1]) << s[0];
}

TEST(Ilaenv, Ispec12) {
  for (const char* name : {"DGETRF", "SPOTRF", "ZSYTRF", "CHETRF", "DGBTRF"}) EXPECT_EQ(ask(12, name), 16);
  EXPECT_EQ(ask(12, "DGEQRF", "N"), 16);
  const int sizes[][2] = {{400, 24}, {401, 32}, {550, 32}, {551, 48}, {800, 48}, {801, 64},
                          {1350, 64}, {1351, 96}, {1900, 96}, {1901, 128}};
  for (const auto& s : sizes) EXPECT_EQ(ask(12, "DGEQRF", "P", 1000, s[0]), s[1]) << s[0];
  EXPECT_EQ(ask(12, "DGEHRD"), 75);
  EXPECT_EQ(ask(12, "ZHSEQR"), 75);
}

int parmq(int ispec, int ilo, int ihi) {
  int n = ihi, lwork = 1;
  return iparmq(&ispec, "DHSEQR", "EN", &n, &ilo, &ihi, &lwork, 6, 2);
}

TEST(Iparmq, ShiftCounts) {
  // nh -> ns before the final even rounding, from the table of shift counts.
  const int table[][2] = {{1, 2},    {29, 2},   {30, 4},    {59, 4},     {60, 10},    {149, 10},
                          {150, 20}, {200, 26}, {589, 64},  {590, 64},   {2999, 64},  {3000, 128},
                          {5999, 128}, {6000, 256}, {20000, 256}};
  for (const auto& t : table) {
    EXPECT_EQ(parmq(15, 1, t[0]), t[1]) << t[0];
    EXPECT_EQ(parmq(13, 1, t[0]), t[0] <= 500 ? t[1] : t[1] * 3 / 2) << t[0];
    EXPECT_EQ(parmq(16, 1, t[0]), t[1] < 14 ? 0 : 2) << t[0];
  }
  EXPECT_EQ(parmq(15, 11, 210), 26);  // nh = ihi - ilo + 1
  EXPECT_EQ(parmq(12, 1, 100), 75);
  EXPECT_EQ(parmq(14, 1, 100), 14);
  EXPECT_EQ(parmq(11, 1, 100), -1);
  EXPECT_EQ(parmq(17, 1, 100), -1);
  // ilaenv forwards 13 to 16 with n1..n4 as n, ilo, ihi, lwork.
  EXPECT_EQ(ask(15, "DHSEQR", "EN", 300, 1, 300, 1), parmq(15, 1, 300));
  EXPECT_EQ(ask(13, "DHSEQR", "EN", 3000, 1, 3000, 1), 192);
}

TEST(Ilaver, Version) {
  int major = 0, minor = 0, patch = 0;
  ilaver(&major, &minor, &patch);
  EXPECT_EQ(major, 3);
  EXPECT_EQ(minor, 1);
  EXPECT_EQ(patch, 0);
}

TEST(Ieeeck, InfinityChain) {
  const float zero = 0.0f, one = 1.0f;
  int query = 0;
  EXPECT_EQ(ieeeck(&query, &zero, &one), 1);
  query = 1;
  EXPECT_EQ(ieeeck(&query, &zero, &one), 0);  // the NaN probes are not in this routine
  query = 0;
  const float not_zero = 2.0f;
  EXPECT_EQ(ieeeck(&query, &not_zero, &one), 0);
}

}  // namespace
