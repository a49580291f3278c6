// Bad arguments through the standard interfaces of libzvx_blas.so.3: the report reaches the
// program's own xerbla_ / cblas_xerbla (defined below, as test programs define them) with the
// standard routine name and parameter number, the two CBLAS globals say where the report comes
// from, and the caller's arrays are left exactly as they were, including on the row-major paths
// that conjugate vectors around the call.
#include <gtest/gtest.h>

#include <complex>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "zvx_cblas.h"

extern "C" {
using cd = std::complex<double>;
void dgemv_(const char*, const int*, const int*, const double*, const double*, const int*,
            const double*, const int*, const double*, double*, const int*, size_t);
void zgemv_(const char*, const int*, const int*, const cd*, const cd*, const int*, const cd*,
            const int*, const cd*, cd*, const int*, size_t);
void dgbmv_(const char*, const int*, const int*, const int*, const int*, const double*,
            const double*, const int*, const double*, const int*, const double*, double*,
            const int*, size_t);
void zhemv_(const char*, const int*, const cd*, const cd*, const int*, const cd*, const int*,
            const cd*, cd*, const int*, size_t);
void zhbmv_(const char*, const int*, const int*, const cd*, const cd*, const int*, const cd*,
            const int*, const cd*, cd*, const int*, size_t);
void zhpmv_(const char*, const int*, const cd*, const cd*, const cd*, const int*, const cd*,
            cd*, const int*, size_t);
void ztrmv_(const char*, const char*, const char*, const int*, const cd*, const int*, cd*,
            const int*, size_t, size_t, size_t);
void dtbsv_(const char*, const char*, const char*, const int*, const int*, const double*,
            const int*, double*, const int*, size_t, size_t, size_t);
void ztpsv_(const char*, const char*, const char*, const int*, const cd*, cd*, const int*,
            size_t, size_t, size_t);
void dger_(const int*, const int*, const double*, const double*, const int*, const double*,
           const int*, double*, const int*);
void zgerc_(const int*, const int*, const cd*, const cd*, const int*, const cd*, const int*,
            cd*, const int*);
void zher_(const char*, const int*, const double*, const cd*, const int*, cd*, const int*,
           size_t);
void zher2_(const char*, const int*, const cd*, const cd*, const int*, const cd*, const int*,
            cd*, const int*, size_t);
void dspr2_(const char*, const int*, const double*, const double*, const int*, const double*,
            const int*, double*, size_t);
void dgemm_(const char*, const char*, const int*, const int*, const int*, const double*,
            const double*, const int*, const double*, const int*, const double*, double*,
            const int*, size_t, size_t);
void zgemm_(const char*, const char*, const int*, const int*, const int*, const cd*, const cd*,
            const int*, const cd*, const int*, const cd*, cd*, const int*, size_t, size_t);
void dsymm_(const char*, const char*, const int*, const int*, const double*, const double*,
            const int*, const double*, const int*, const double*, double*, const int*, size_t,
            size_t);
void zhemm_(const char*, const char*, const int*, const int*, const cd*, const cd*, const int*,
            const cd*, const int*, const cd*, cd*, const int*, size_t, size_t);
void zsyrk_(const char*, const char*, const int*, const int*, const cd*, const cd*, const int*,
            const cd*, cd*, const int*, size_t, size_t);
void zherk_(const char*, const char*, const int*, const int*, const double*, const cd*,
            const int*, const double*, cd*, const int*, size_t, size_t);
void dsyr2k_(const char*, const char*, const int*, const int*, const double*, const double*,
             const int*, const double*, const int*, const double*, double*, const int*, size_t,
             size_t);
void zher2k_(const char*, const char*, const int*, const int*, const cd*, const cd*,
             const int*, const cd*, const int*, const double*, cd*, const int*, size_t, size_t);
void dtrmm_(const char*, const char*, const char*, const char*, const int*, const int*,
            const double*, const double*, const int*, double*, const int*, size_t, size_t,
            size_t, size_t);
void ztrsm_(const char*, const char*, const char*, const char*, const int*, const int*,
            const cd*, const cd*, const int*, cd*, const int*, size_t, size_t, size_t, size_t);
float sdsdot_(const int*, const float*, const float*, const int*, const float*, const int*);
void xerbla_array_(const char*, const int*, const int*, size_t);
int lsame_(const char*, const char*, size_t, size_t);
}

namespace {

struct report {
  std::string name;
  int info = 0;
  int calls = 0;
  int call_from_c = -1;
  int row_major = -1;
};
report last;

}  // namespace

// The program's own handlers; the library must call these, not its defaults.
extern "C" void xerbla_(const char* name, const int* info, size_t len) {
  last.name.assign(name, len);
  last.info = *info;
  ++last.calls;
}
extern "C" void cblas_xerbla(int info, const char* rout, const char* form, ...) {
  last.name = rout;
  last.info = info;
  ++last.calls;
  last.call_from_c = CBLAS_CallFromC;
  last.row_major = RowMajorStrg;
}

namespace {

// Arrays with a recognisable content, large enough for every call below.
struct arrays {
  static constexpr int size = 256;
  std::vector<cd> a, b, c, x, y;
  arrays() {
    for (auto* v : {&a, &b, &c, &x, &y}) v->resize(size);
    int k = 0;
    for (auto* v : {&a, &b, &c, &x, &y})
      for (cd& e : *v) e = cd(0.25 * ++k - 3.0, 1.0 / k);
  }
  double* d(std::vector<cd>& v) { return reinterpret_cast<double*>(v.data()); }
  bool operator==(const arrays& o) const {
    auto same = [](const std::vector<cd>& p, const std::vector<cd>& q) {
      return std::memcmp(p.data(), q.data(), p.size() * sizeof(cd)) == 0;
    };
    return same(a, o.a) && same(b, o.b) && same(c, o.c) && same(x, o.x) && same(y, o.y);
  }
};

struct bad_call {
  const char* name;  // as the handler must receive it
  int info;
  std::function<void(arrays&)> call;
};

void expect_report(const bad_call& c) {
  arrays data;
  const arrays before;
  last = report{};
  c.call(data);
  EXPECT_EQ(last.calls, 1) << c.name << " " << c.info;
  EXPECT_EQ(last.name, c.name);
  EXPECT_EQ(last.info, c.info) << c.name;
  EXPECT_TRUE(data == before) << c.name << " " << c.info << " changed the caller's arrays";
}

const double one = 1.0, half = 0.5;
const cd zone(1.0, 0.0), zalpha(0.5, -0.25);
const int n3 = 3, n4 = 4, neg = -1, zero = 0, inc1 = 1, ld1 = 1, ld4 = 4, k1 = 1;

TEST(FortranInterface, BadArgumentsReachTheProgramsXerblaAndChangeNothing) {
  const std::vector<bad_call> calls = {
      {"DGEMV ", 1, [](arrays& s) { dgemv_("X", &n3, &n3, &one, s.d(s.a), &ld4, s.d(s.x), &inc1, &half, s.d(s.y), &inc1, 1); }},
      {"DGEMV ", 6, [](arrays& s) { dgemv_("N", &n4, &n3, &one, s.d(s.a), &n3, s.d(s.x), &inc1, &half, s.d(s.y), &inc1, 1); }},
      {"ZGEMV ", 11, [](arrays& s) { zgemv_("C", &n3, &n3, &zalpha, s.a.data(), &ld4, s.x.data(), &inc1, &zone, s.y.data(), &zero, 1); }},
      {"DGBMV ", 8, [](arrays& s) { dgbmv_("T", &n4, &n4, &k1, &k1, &one, s.d(s.a), &k1, s.d(s.x), &inc1, &half, s.d(s.y), &inc1, 1); }},
      {"ZHEMV ", 1, [](arrays& s) { zhemv_("Q", &n3, &zalpha, s.a.data(), &ld4, s.x.data(), &inc1, &zone, s.y.data(), &inc1, 1); }},
      {"ZHBMV ", 3, [](arrays& s) { zhbmv_("U", &n3, &neg, &zalpha, s.a.data(), &ld4, s.x.data(), &inc1, &zone, s.y.data(), &inc1, 1); }},
      {"ZHPMV ", 6, [](arrays& s) { zhpmv_("L", &n3, &zalpha, s.a.data(), s.x.data(), &zero, &zone, s.y.data(), &inc1, 1); }},
      {"ZTRMV ", 3, [](arrays& s) { ztrmv_("U", "N", "X", &n3, s.a.data(), &ld4, s.x.data(), &inc1, 1, 1, 1); }},
      {"DTBSV ", 7, [](arrays& s) { dtbsv_("L", "T", "U", &n4, &n3, s.d(s.a), &n3, s.d(s.x), &inc1, 1, 1, 1); }},
      {"ZTPSV ", 4, [](arrays& s) { ztpsv_("U", "C", "N", &neg, s.a.data(), s.x.data(), &inc1, 1, 1, 1); }},
      {"DGER  ", 9, [](arrays& s) { dger_(&n4, &n3, &one, s.d(s.x), &inc1, s.d(s.y), &inc1, s.d(s.a), &n3); }},
      {"ZGERC ", 7, [](arrays& s) { zgerc_(&n3, &n3, &zalpha, s.x.data(), &inc1, s.y.data(), &zero, s.a.data(), &ld4); }},
      {"ZHER  ", 5, [](arrays& s) { zher_("U", &n3, &half, s.x.data(), &zero, s.a.data(), &ld4, 1); }},
      {"ZHER2 ", 9, [](arrays& s) { zher2_("L", &n4, &zalpha, s.x.data(), &inc1, s.y.data(), &inc1, s.a.data(), &n3, 1); }},
      {"DSPR2 ", 7, [](arrays& s) { dspr2_("U", &n3, &one, s.d(s.x), &inc1, s.d(s.y), &zero, s.d(s.a), 1); }},
      {"DGEMM ", 2, [](arrays& s) { dgemm_("N", "Y", &n3, &n3, &n3, &one, s.d(s.a), &ld4, s.d(s.b), &ld4, &half, s.d(s.c), &ld4, 1, 1); }},
      {"DGEMM ", 8, [](arrays& s) { dgemm_("T", "N", &n3, &n3, &n4, &one, s.d(s.a), &n3, s.d(s.b), &ld4, &half, s.d(s.c), &ld4, 1, 1); }},
      {"ZGEMM ", 10, [](arrays& s) { zgemm_("N", "C", &n3, &n4, &n3, &zalpha, s.a.data(), &ld4, s.b.data(), &n3, &zone, s.c.data(), &ld4, 1, 1); }},
      {"ZGEMM ", 13, [](arrays& s) { zgemm_("N", "N", &n4, &n3, &n3, &zalpha, s.a.data(), &ld4, s.b.data(), &ld4, &zone, s.c.data(), &n3, 1, 1); }},
      {"DSYMM ", 1, [](arrays& s) { dsymm_("X", "U", &n3, &n3, &one, s.d(s.a), &ld4, s.d(s.b), &ld4, &half, s.d(s.c), &ld4, 1, 1); }},
      {"ZHEMM ", 7, [](arrays& s) { zhemm_("R", "L", &n3, &n4, &zalpha, s.a.data(), &n3, s.b.data(), &ld4, &zone, s.c.data(), &ld4, 1, 1); }},
      {"ZSYRK ", 2, [](arrays& s) { zsyrk_("U", "C", &n3, &n3, &zalpha, s.a.data(), &ld4, &zone, s.c.data(), &ld4, 1, 1); }},
      {"ZHERK ", 2, [](arrays& s) { zherk_("U", "T", &n3, &n3, &half, s.a.data(), &ld4, &one, s.c.data(), &ld4, 1, 1); }},
      {"DSYR2K", 9, [](arrays& s) { dsyr2k_("L", "T", &n3, &n4, &one, s.d(s.a), &ld4, s.d(s.b), &n3, &half, s.d(s.c), &ld4, 1, 1); }},
      {"ZHER2K", 12, [](arrays& s) { zher2k_("U", "N", &n4, &n3, &zalpha, s.a.data(), &ld4, s.b.data(), &ld4, &one, s.c.data(), &n3, 1, 1); }},
      {"DTRMM ", 4, [](arrays& s) { dtrmm_("L", "U", "N", "Z", &n3, &n3, &one, s.d(s.a), &ld4, s.d(s.b), &ld4, 1, 1, 1, 1); }},
      {"ZTRSM ", 11, [](arrays& s) { ztrsm_("R", "L", "C", "U", &n4, &n3, &zalpha, s.a.data(), &ld4, s.b.data(), &n3, 1, 1, 1, 1); }},
  };
  for (const bad_call& c : calls) expect_report(c);
}

TEST(FortranInterface, HelpersOfTheStandardSet) {
  // xerbla_array_ hands the name to xerbla_ blank-padded to 32 characters.
  last = report{};
  const char name[] = {'D', 'G', 'E', 'S', 'V', 'X', 'Y'};
  const int len = 6, info = -3;
  xerbla_array_(name, &len, &info, 1);
  EXPECT_EQ(last.calls, 1);
  EXPECT_EQ(last.name, "DGESVX" + std::string(26, ' '));
  EXPECT_EQ(last.info, -3);
  // lsame_: one letter, either case; other characters only themselves.
  EXPECT_TRUE(lsame_("u", "U", 1, 1));
  EXPECT_TRUE(lsame_("N", "n", 1, 1));
  EXPECT_TRUE(lsame_("Trans", "T", 5, 1));
  EXPECT_FALSE(lsame_("L", "U", 1, 1));
  EXPECT_FALSE(lsame_("[", "{", 1, 1));
  EXPECT_TRUE(lsame_("1", "1", 1, 1));
}

TEST(FortranInterface, LegalCallsReportNothingAndQuickReturnsAsTheStandard) {
  arrays s;
  last = report{};
  // Lower-case letters and a leading dimension of exactly max(1, m) are legal.
  dgemm_("t", "n", &n3, &n3, &n3, &one, s.d(s.a), &n3, s.d(s.b), &n3, &half, s.d(s.c), &n3, 1, 1);
  ztrsm_("l", "u", "c", "n", &n3, &n3, &zalpha, s.a.data(), &n3, s.b.data(), &n3, 1, 1, 1, 1);
  const int m0 = 0;
  dgemv_("N", &m0, &n3, &one, s.d(s.a), &ld1, s.d(s.x), &inc1, &half, s.d(s.y), &inc1, 1);
  EXPECT_EQ(last.calls, 0);
  // sdsdot with n below 1 returns sb.
  const float sb = 2.5f, fx[2] = {1, 2};
  EXPECT_EQ(sdsdot_(&zero, &sb, fx, &inc1, fx, &inc1), 2.5f);
  EXPECT_EQ(sdsdot_(&neg, &sb, fx, &inc1, fx, &inc1), 2.5f);
  EXPECT_EQ(cblas_sdsdot(0, 2.5f, fx, 1, fx, 1), 2.5f);
}

TEST(CInterface, BadArgumentsReachTheProgramsHandlerWithTheGlobalsSet) {
  // Numbers as the standard CBLAS layer hands them over: enumerations in the CBLAS list; other
  // arguments as the Fortran check of the call made (the transposed one for row-major), plus 1.
  const CBLAS_LAYOUT R = CblasRowMajor, C = CblasColMajor;
  const std::vector<bad_call> calls = {
      {"cblas_zgemv", 1, [](arrays& s) { cblas_zgemv((CBLAS_LAYOUT)99, CblasNoTrans, 3, 3, &zalpha, s.a.data(), 4, s.x.data(), 1, &zone, s.y.data(), 1); }},
      {"cblas_zgemv", 2, [R](arrays& s) { cblas_zgemv(R, (CBLAS_TRANSPOSE)0, 3, 3, &zalpha, s.a.data(), 4, s.x.data(), 1, &zone, s.y.data(), 1); }},
      {"cblas_zgemv", 12, [R](arrays& s) { cblas_zgemv(R, CblasConjTrans, 3, 3, &zalpha, s.a.data(), 4, s.x.data(), 1, &zone, s.y.data(), 0); }},
      {"cblas_dgemv", 4, [R](arrays& s) { cblas_dgemv(R, CblasNoTrans, -1, 3, 1.0, s.d(s.a), 4, s.d(s.x), 1, 0.5, s.d(s.y), 1); }},
      {"cblas_ztrmv", 9, [R](arrays& s) { cblas_ztrmv(R, CblasUpper, CblasConjTrans, CblasNonUnit, 3, s.a.data(), 4, s.x.data(), 0); }},
      {"cblas_ztbsv", 4, [C](arrays& s) { cblas_ztbsv(C, CblasUpper, CblasNoTrans, (CBLAS_DIAG)7, 3, 1, s.a.data(), 4, s.x.data(), 1); }},
      {"cblas_zhemv", 11, [R](arrays& s) { cblas_zhemv(R, CblasLower, 3, &zalpha, s.a.data(), 4, s.x.data(), 1, &zone, s.y.data(), 0); }},
      {"cblas_zhpmv", 7, [R](arrays& s) { cblas_zhpmv(R, CblasLower, 3, &zalpha, s.a.data(), s.x.data(), 0, &zone, s.y.data(), 1); }},
      {"cblas_zgerc", 6, [R](arrays& s) { cblas_zgerc(R, 3, 3, &zalpha, s.x.data(), 1, s.y.data(), 0, s.a.data(), 4); }},
      {"cblas_zher", 6, [R](arrays& s) { cblas_zher(R, CblasUpper, 3, 0.5, s.x.data(), 0, s.a.data(), 4); }},
      {"cblas_zher2", 8, [R](arrays& s) { cblas_zher2(R, CblasUpper, 3, &zalpha, s.x.data(), 0, s.y.data(), 1, s.a.data(), 4); }},
      {"cblas_zhpr2", 6, [R](arrays& s) { cblas_zhpr2(R, CblasLower, 3, &zalpha, s.x.data(), 1, s.y.data(), 0, s.a.data()); }},
      {"cblas_zher2", 6, [C](arrays& s) { cblas_zher2(C, CblasUpper, 3, &zalpha, s.x.data(), 0, s.y.data(), 1, s.a.data(), 4); }},
      {"cblas_dgemm", 5, [R](arrays& s) { cblas_dgemm(R, CblasNoTrans, CblasNoTrans, -1, 3, 3, 1.0, s.d(s.a), 4, s.d(s.b), 4, 0.5, s.d(s.c), 4); }},
      {"cblas_dgemm", 4, [C](arrays& s) { cblas_dgemm(C, CblasNoTrans, CblasNoTrans, -1, 3, 3, 1.0, s.d(s.a), 4, s.d(s.b), 4, 0.5, s.d(s.c), 4); }},
      {"cblas_zgemm", 3, [R](arrays& s) { cblas_zgemm(R, CblasNoTrans, (CBLAS_TRANSPOSE)1, 3, 3, 3, &zalpha, s.a.data(), 4, s.b.data(), 4, &zone, s.c.data(), 4); }},
      {"cblas_zhemm", 2, [R](arrays& s) { cblas_zhemm(R, (CBLAS_SIDE)0, CblasUpper, 3, 3, &zalpha, s.a.data(), 4, s.b.data(), 4, &zone, s.c.data(), 4); }},
      {"cblas_zherk", 3, [R](arrays& s) { cblas_zherk(R, CblasUpper, CblasTrans, 3, 3, 0.5, s.a.data(), 4, 1.0, s.c.data(), 4); }},
      {"cblas_csyrk", 3, [C](arrays& s) { cblas_csyrk(C, CblasUpper, CblasConjTrans, 3, 3, &zalpha, s.a.data(), 4, &zone, s.c.data(), 4); }},
      {"cblas_zher2k", 13, [R](arrays& s) { cblas_zher2k(R, CblasLower, CblasNoTrans, 4, 3, &zalpha, s.a.data(), 4, s.b.data(), 4, 1.0, s.c.data(), 3); }},
      {"cblas_dtrsm", 5, [C](arrays& s) { cblas_dtrsm(C, CblasLeft, CblasUpper, CblasNoTrans, (CBLAS_DIAG)0, 3, 3, 1.0, s.d(s.a), 4, s.d(s.b), 4); }},
      {"cblas_ztrmm", 6, [R](arrays& s) { cblas_ztrmm(R, CblasLeft, CblasUpper, CblasNoTrans, CblasUnit, 3, -1, &zalpha, s.a.data(), 4, s.b.data(), 4); }},
  };
  for (const bad_call& c : calls) {
    expect_report(c);
    EXPECT_EQ(last.call_from_c, 1) << c.name;
  }
  // RowMajorStrg tells the handler that the numbers come from the transposed call.
  arrays s;
  cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, 3, -1, 3, 1.0, s.d(s.a), 4, s.d(s.b),
              4, 0.5, s.d(s.c), 4);
  EXPECT_EQ(last.row_major, 1);
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, 3, -1, 3, 1.0, s.d(s.a), 4, s.d(s.b),
              4, 0.5, s.d(s.c), 4);
  EXPECT_EQ(last.row_major, 0);
  // Outside a call both globals are 0.
  EXPECT_EQ(CBLAS_CallFromC, 0);
  EXPECT_EQ(RowMajorStrg, 0);
}

}  // namespace
