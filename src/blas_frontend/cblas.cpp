// The CBLAS interface over the same checks and bodies as the Fortran interface.
//
// Column-major calls map onto the Fortran routine one to one. A row-major matrix is the
// column-major storage of its transpose, so a row-major call becomes the Fortran call of the
// transposed problem: the triangle, the side and the transposition letters swap, the dimensions
// trade places, the operands of a product change order. Where the transposed problem needs a
// conjugate without a transpose (complex gemv/gbmv/triangular with ConjTrans, hemv, her, her2,
// gerc), the conjugate is taken on the vectors: a conjugated copy of a read-only vector, and a
// vector that is written is conjugated in place before and after the call (exactly, so a call
// that reports a bad argument leaves it as it was).
//
// Bad arguments: an enumeration outside its values is reported here with its number in the
// CBLAS argument list; the others by the Fortran check of the call that is made, with its number
// plus one (the CBLAS list starts with the layout). For a row-major call that is the number in
// the transposed call; RowMajorStrg is set while such a call runs so that cblas_xerbla can
// translate it back to the caller's argument (the default handler does).
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>
#include "blas_frontend/common.h"
#include "fortran_bodies.inc"
#include "zvx_cblas.h"

extern "C" {
__attribute__((visibility("default"))) int CBLAS_CallFromC = 0;
__attribute__((visibility("default"))) int RowMajorStrg = 0;
}

namespace zvx::front {
namespace {

using c8 = zvx_complex8;
using c16 = zvx_complex16;
template <class E> constexpr bool is_complex = std::is_same_v<E, c8> || std::is_same_v<E, c16>;

// Marks the extent of one CBLAS call in the two globals.
struct call_scope {
  call_scope() { CBLAS_CallFromC = 1; RowMajorStrg = 0; }
  ~call_scope() { CBLAS_CallFromC = 0; RowMajorStrg = 0; }
  call_scope(const call_scope&) = delete;
  call_scope& operator=(const call_scope&) = delete;
};

// Reads the layout: true for row-major; reports argument 1 when it is neither.
bool bad_layout(CBLAS_LAYOUT layout, const char* name) {
  if (layout == CblasColMajor) return false;
  if (layout == CblasRowMajor) { RowMajorStrg = 1; return false; }
  cblas_xerbla(1, name, "Illegal layout setting, %d\n", (int)layout);
  return true;
}
bool row(CBLAS_LAYOUT layout) { return layout == CblasRowMajor; }

char uplo_letter(CBLAS_UPLO u, bool swap) {
  if (u == CblasUpper) return swap ? 'L' : 'U';
  if (u == CblasLower) return swap ? 'U' : 'L';
  return 0;
}
char side_letter(CBLAS_SIDE s, bool swap) {
  if (s == CblasLeft) return swap ? 'R' : 'L';
  if (s == CblasRight) return swap ? 'L' : 'R';
  return 0;
}
char diag_letter(CBLAS_DIAG d) { return d == CblasUnit ? 'U' : d == CblasNonUnit ? 'N' : 0; }
char trans_letter(CBLAS_TRANSPOSE t) {
  return t == CblasNoTrans ? 'N' : t == CblasTrans ? 'T' : t == CblasConjTrans ? 'C' : 0;
}
// A bad enumeration is reported with its CBLAS number and ends the call.
bool bad_enum(char letter, int number, const char* what, int value, const char* name) {
  if (letter != 0) return false;
  char form[48];
  std::snprintf(form, sizeof form, "Illegal %s setting, %%d\n", what);
  cblas_xerbla(number, name, form, value);
  return true;
}
bool report_check(int info, const char* name) {
  if (info == 0) return false;
  cblas_xerbla(info + 1, name, "");
  return true;
}

inline c8 conj(c8 a) { return {a.real, -a.imag}; }
inline c16 conj(c16 a) { return {a.real, -a.imag}; }
inline float conj(float a) { return a; }
inline double conj(double a) { return a; }

// Element i (0-based, in the order the vector is read) of a strided vector.
inline long at(long i, long n, int inc) { return inc >= 0 ? i * inc : (n - 1 - i) * (long)-inc; }
template <class E> void conj_in_place(int n, E* v, int inc) {
  for (long i = 0; i < n; ++i) v[at(i, n, inc)] = conj(v[at(i, n, inc)]);
}
// A conjugated unit-stride copy; the caller frees it.
template <class E> E* conj_copy(int n, const E* v, int inc) {
  E* c = static_cast<E*>(std::malloc(sizeof(E) * (n > 0 ? n : 1)));
  if (c == nullptr) {
    std::fputs("libzvx_blas: out of memory for a conjugated vector\n", stderr);
    std::abort();
  }
  for (long i = 0; i < n; ++i) c[i] = conj(v[at(i, n, inc)]);
  return c;
}

// --- Level 2 ---------------------------------------------------------------------------------

template <class E>
void gemv(const char* name, bool band, CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, int m, int n,
          int kl, int ku, const E* alpha, const E* a, int lda, const E* x, int incx,
          const E* beta, E* y, int incy) {
  call_scope scope;
  if (bad_layout(layout, name)) return;
  char t = trans_letter(trans);
  if (bad_enum(t, 2, "TransA", trans, name)) return;
  if (!row(layout)) {
    int info = band ? run_gbmv(&t, &m, &n, &kl, &ku, alpha, a, &lda, x, &incx, beta, y, &incy)
                    : run_gemv(&t, &m, &n, alpha, a, &lda, x, &incx, beta, y, &incy);
    report_check(info, name);
    return;
  }
  // Row-major: the transpose of the matrix is stored column-major, n by m.
  bool conj_notrans = is_complex<E> && t == 'C';
  t = t == 'N' ? 'T' : 'N';
  int info = band ? check_gbmv(&t, &n, &m, &ku, &kl, alpha, a, &lda, x, &incx, beta, y, &incy)
                  : check_gemv(&t, &n, &m, alpha, a, &lda, x, &incx, beta, y, &incy);
  if (report_check(info, name)) return;
  if (!conj_notrans) {
    if (band) run_gbmv(&t, &n, &m, &ku, &kl, alpha, a, &lda, x, &incx, beta, y, &incy);
    else run_gemv(&t, &n, &m, alpha, a, &lda, x, &incx, beta, y, &incy);
    return;
  }
  // y = alpha conj(At) x + beta y, i.e. conj(y) = conj(alpha) At conj(x) + conj(beta) conj(y).
  if (m == 0 || n == 0) return;
  E ca = conj(*alpha), cb = conj(*beta);
  E* xc = conj_copy(m, x, incx);
  int one = 1;
  conj_in_place(n, y, incy);
  if (band) run_gbmv(&t, &n, &m, &ku, &kl, &ca, a, &lda, xc, &one, &cb, y, &incy);
  else run_gemv(&t, &n, &m, &ca, a, &lda, xc, &one, &cb, y, &incy);
  conj_in_place(n, y, incy);
  std::free(xc);
}

// Triangular multiply and solve, full, band and packed: `body(u, t, d, run)` checks the Fortran
// call (run false) or makes it (run true).
template <class E, class Body>
void triangular_vector(const char* name, CBLAS_LAYOUT layout, CBLAS_UPLO uplo,
                       CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, E* x, int incx, Body body) {
  call_scope scope;
  if (bad_layout(layout, name)) return;
  bool r = row(layout);
  char u = uplo_letter(uplo, r), t = trans_letter(trans), d = diag_letter(diag);
  if (bad_enum(u, 2, "Uplo", uplo, name) || bad_enum(t, 3, "TransA", trans, name) ||
      bad_enum(d, 4, "Diag", diag, name))
    return;
  bool conj_notrans = r && is_complex<E> && t == 'C';
  if (r) t = t == 'N' ? 'T' : 'N';
  if (report_check(body(&u, &t, &d, false), name)) return;
  if (conj_notrans) conj_in_place(n, x, incx);
  body(&u, &t, &d, true);
  if (conj_notrans) conj_in_place(n, x, incx);
}

// Symmetric and Hermitian multiplies (full, band, packed): `body(u, alpha, x, incx, beta, run)`.
template <class E, class Body>
void symmetric_vector(const char* name, CBLAS_LAYOUT layout, CBLAS_UPLO uplo, int n,
                      const E* alpha, const E* x, int incx, const E* beta, E* y, int incy,
                      Body body) {
  call_scope scope;
  if (bad_layout(layout, name)) return;
  bool r = row(layout);
  char u = uplo_letter(uplo, r);
  if (bad_enum(u, 2, "Uplo", uplo, name)) return;
  if (report_check(body(&u, alpha, x, &incx, beta, false), name)) return;
  if (!r || !is_complex<E>) { body(&u, alpha, x, &incx, beta, true); return; }
  // The stored triangle read the other way is the conjugate of the matrix.
  if (n == 0) return;
  E ca = conj(*alpha), cb = conj(*beta);
  E* xc = conj_copy(n, x, incx);
  int one = 1;
  conj_in_place(n, y, incy);
  body(&u, &ca, xc, &one, &cb, true);
  conj_in_place(n, y, incy);
  std::free(xc);
}

// Rank-1 and rank-2 updates of a symmetric or Hermitian matrix (full or packed):
// `body(u, alpha, x, incx, y, incy, run)`; `scalar_alpha` is the real alpha of her/hpr.
template <class E, class A, class Body>
void symmetric_update(const char* name, CBLAS_LAYOUT layout, CBLAS_UPLO uplo, int n, A alpha,
                      const E* x, int incx, const E* y, int incy, Body body) {
  call_scope scope;
  if (bad_layout(layout, name)) return;
  bool r = row(layout);
  char u = uplo_letter(uplo, r);
  if (bad_enum(u, 2, "Uplo", uplo, name)) return;
  if (!r || !is_complex<E>) {
    if (report_check(body(&u, alpha, x, &incx, y, &incy, false), name)) return;
    body(&u, alpha, x, &incx, y, &incy, true);
    return;
  }
  // The other triangle holds the conjugate: her/hpr update it with conj(x); her2/hpr2 with
  // alpha conj(y) conj(x)^H + conj(alpha) conj(x) conj(y)^H, the call with the two vectors in
  // each other's places (and so the numbers of their increments reported in each other's).
  bool two = y != nullptr;
  int info = two ? body(&u, alpha, y, &incy, x, &incx, false)
                 : body(&u, alpha, x, &incx, y, &incy, false);
  if (report_check(info, name) || n == 0) return;
  E* xc = conj_copy(n, x, incx);
  E* yc = two ? conj_copy(n, y, incy) : nullptr;
  int one = 1;
  if (two) body(&u, alpha, yc, &one, xc, &one, true);
  else body(&u, alpha, xc, &one, yc, &one, true);
  std::free(xc);
  std::free(yc);
}

template <class E>
void ger(const char* name, bool conjugate, CBLAS_LAYOUT layout, int m, int n, const E* alpha,
         const E* x, int incx, const E* y, int incy, E* a, int lda) {
  call_scope scope;
  if (bad_layout(layout, name)) return;
  auto run = [&](int mm, int nn, const E* u, int incu, const E* v, int incv, bool conj_v) {
    if constexpr (is_complex<E>) {
      return conj_v ? run_gerc(&mm, &nn, alpha, u, &incu, v, &incv, a, &lda)
                    : run_geru(&mm, &nn, alpha, u, &incu, v, &incv, a, &lda);
    } else {
      return run_ger(&mm, &nn, alpha, u, &incu, v, &incv, a, &lda);
    }
  };
  if (!row(layout)) { report_check(run(m, n, x, incx, y, incy, conjugate), name); return; }
  // A' += alpha y x' (conjugated: A' += alpha conj(y) x').
  if (!conjugate) { report_check(run(n, m, y, incy, x, incx, false), name); return; }
  int info;
  if constexpr (is_complex<E>) info = check_geru(&n, &m, alpha, y, &incy, x, &incx, a, &lda);
  else info = 0;
  if (report_check(info, name) || m == 0 || n == 0) return;
  E* yc = conj_copy(n, y, incy);
  run(n, m, yc, 1, x, incx, false);
  std::free(yc);
}

// --- Level 3 ---------------------------------------------------------------------------------

template <class E>
void gemm(const char* name, CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb,
          int m, int n, int k, const E* alpha, const E* a, int lda, const E* b, int ldb,
          const E* beta, E* c, int ldc) {
  call_scope scope;
  if (bad_layout(layout, name)) return;
  char ta = trans_letter(transa), tb = trans_letter(transb);
  if (bad_enum(ta, 2, "TransA", transa, name) || bad_enum(tb, 3, "TransB", transb, name)) return;
  int info = row(layout) ? run_gemm(&tb, &ta, &n, &m, &k, alpha, b, &ldb, a, &lda, beta, c, &ldc)
                         : run_gemm(&ta, &tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
  report_check(info, name);
}

template <class E>
void symm(const char* name, bool hermitian, CBLAS_LAYOUT layout, CBLAS_SIDE side,
          CBLAS_UPLO uplo, int m, int n, const E* alpha, const E* a, int lda, const E* b,
          int ldb, const E* beta, E* c, int ldc) {
  call_scope scope;
  if (bad_layout(layout, name)) return;
  bool r = row(layout);
  char s = side_letter(side, r), u = uplo_letter(uplo, r);
  if (bad_enum(s, 2, "Side", side, name) || bad_enum(u, 3, "Uplo", uplo, name)) return;
  if (r) std::swap(m, n);
  int info;
  if constexpr (is_complex<E>) {
    info = hermitian ? run_hemm(&s, &u, &m, &n, alpha, a, &lda, b, &ldb, beta, c, &ldc)
                     : run_symm(&s, &u, &m, &n, alpha, a, &lda, b, &ldb, beta, c, &ldc);
  } else {
    info = run_symm(&s, &u, &m, &n, alpha, a, &lda, b, &ldb, beta, c, &ldc);
  }
  report_check(info, name);
}

// The transposition letter of the transposed rank-k problem: the real routines take N, T or C
// (C as T), the complex symmetric ones N or T, the Hermitian ones N or C; a letter the routine
// does not take stays as it is, for the Fortran check to report.
char rank_trans(char t, bool is_cx, bool hermitian) {
  if (!is_cx) return t == 'N' ? 'T' : 'N';
  if (hermitian) return t == 'N' ? 'C' : t == 'C' ? 'N' : t;
  return t == 'N' ? 'T' : t == 'T' ? 'N' : t;
}

// syrk, herk, syr2k, her2k: `body(u, t, alpha, run)`; her2k conjugates alpha in row-major.
template <class E, class A, class Body>
void rank_k(const char* name, bool hermitian, CBLAS_LAYOUT layout, CBLAS_UPLO uplo,
            CBLAS_TRANSPOSE trans, A alpha, Body body) {
  call_scope scope;
  if (bad_layout(layout, name)) return;
  bool r = row(layout);
  char u = uplo_letter(uplo, r), t = trans_letter(trans);
  if (bad_enum(u, 2, "Uplo", uplo, name) || bad_enum(t, 3, "Trans", trans, name)) return;
  if (r) t = rank_trans(t, is_complex<E>, hermitian);
  report_check(body(&u, &t, r && hermitian ? conj(alpha) : alpha), name);
}

template <class E>
void trmm(const char* name, bool solve, CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo,
          CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m, int n, const E* alpha, const E* a,
          int lda, E* b, int ldb) {
  call_scope scope;
  if (bad_layout(layout, name)) return;
  bool r = row(layout);
  char s = side_letter(side, r), u = uplo_letter(uplo, r), t = trans_letter(transa),
       d = diag_letter(diag);
  if (bad_enum(s, 2, "Side", side, name) || bad_enum(u, 3, "Uplo", uplo, name) ||
      bad_enum(t, 4, "TransA", transa, name) || bad_enum(d, 5, "Diag", diag, name))
    return;
  if (r) std::swap(m, n);
  int info = solve ? run_trsm(&s, &u, &t, &d, &m, &n, alpha, a, &lda, b, &ldb)
                   : run_trmm(&s, &u, &t, &d, &m, &n, alpha, a, &lda, b, &ldb);
  report_check(info, name);
}

}  // namespace
}  // namespace zvx::front

using namespace zvx::front;

// --- The default error handler ---------------------------------------------------------------

namespace {
// The number of the caller's argument for a number reported by the transposed row-major call.
int caller_number(int info, const char* rout) {
  struct swap_rule { const char* family; int a, b, c, d; };
  static constexpr swap_rule rules[] = {
      {"gemm", 4, 5, 9, 11}, {"symm", 4, 5, 0, 0}, {"hemm", 4, 5, 0, 0},
      {"trmm", 6, 7, 0, 0},  {"trsm", 6, 7, 0, 0}, {"gemv", 3, 4, 0, 0},
      {"gbmv", 3, 4, 5, 6},  {"ger", 2, 3, 6, 8},  {"her2k", 0, 0, 0, 0},
      {"her2", 6, 8, 0, 0},  {"hpr2", 6, 8, 0, 0}};
  for (const swap_rule& r : rules) {
    if (std::strstr(rout, r.family) == nullptr) continue;
    if (info == r.a) return r.b;
    if (info == r.b) return r.a;
    if (r.c != 0 && info == r.c) return r.d;
    if (r.c != 0 && info == r.d) return r.c;
    return info;
  }
  return info;
}
}  // namespace

FRONT_API void cblas_xerbla(int info, const char* rout, const char* form, ...) {
  if (RowMajorStrg) info = caller_number(info, rout);
  if (info != 0) std::fprintf(stderr, "Parameter %d to routine %s was incorrect\n", info, rout);
  va_list args;
  va_start(args, form);
  std::vfprintf(stderr, form, args);
  va_end(args);
  std::exit(-1);
}

// --- The exported routines ---------------------------------------------------------------------

// Complex arguments arrive as untyped pointers; a scalar argument of the real types by value.
#define CX(E, p) static_cast<const E*>(p)
#define WX(E, p) static_cast<E*>(p)
#define REAL_SP(x) (&x)
#define C8_SP(x) CX(c8, x)
#define C16_SP(x) CX(c16, x)

#include "cblas_level1.inc"
#include "cblas_level23.inc"
