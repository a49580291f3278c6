// Tuning queries: the block sizes, smallest blocks and crossover points a LAPACK-style caller
// should use, the parameters of the eigenvalue iteration, the interface version and a probe of
// the arithmetic.
#include <cmath>

#include "service/service.h"

namespace {

inline char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; }

// The routine name split the way the tables read it: precision letter, C2 (characters 2-3), C3
// (characters 4-6) and C4 (the last two of C3). Characters past the given length read as blanks.
struct routine_name {
  char precision;
  char c2[3];
  char c3[4];
  const char* c4() const { return c3 + 1; }
  bool real() const { return precision == 'S' || precision == 'D'; }
  bool complex() const { return precision == 'C' || precision == 'Z'; }
};

routine_name parse_name(const char* name, int name_len) {
  char s[6];
  for (int i = 0; i < 6; ++i) s[i] = i < name_len ? upper(name[i]) : ' ';
  routine_name r{};
  r.precision = s[0];
  r.c2[0] = s[1], r.c2[1] = s[2], r.c2[2] = '\0';
  r.c3[0] = s[3], r.c3[1] = s[4], r.c3[2] = s[5], r.c3[3] = '\0';
  return r;
}

inline bool eq2(const char* a, const char* b) { return a[0] == b[0] && a[1] == b[1]; }
inline bool eq3(const char* a, const char* b) { return a[0] == b[0] && a[1] == b[1] && a[2] == b[2]; }

bool opts_parallel(const char* opts, int opts_len) { return opts_len > 0 && upper(opts[0]) == 'P'; }

int geqrf_block(int n2, bool parallel) {
  struct row { int upto, plain, par; };
  static constexpr row rows[] = {{200, 16, 8},   {300, 16, 16},  {350, 24, 16},
                                 {400, 48, 16},  {550, 48, 32},  {800, 48, 48},
                                 {1150, 64, 64}, {1350, 96, 64}};
  for (const row& r : rows)
    if (n2 <= r.upto) return parallel ? r.par : r.plain;
  return 96;
}

int dgetrf_block(int n2, bool parallel) {
  int nb;
  if (n2 <= 8) nb = 1;
  else if (n2 <= 32) nb = 8;
  else if (n2 <= 128) nb = 32;
  else {
    // Above 128: the power of two below n2 (129-256 gives 128, 257-512 gives 256, ...), at most
    // 32,768.
    nb = 128;
    while (nb < 32768 && static_cast<long>(nb) * 2 < n2) nb *= 2;
  }
  if (parallel && nb > 128) nb = 128;
  return nb;
}

// xBDSQR block size by n1: steps of 4, 100, 140, 160, 180 and 200.
int bdsqr_block(int n1) {
  if (n1 <= 210) return 4;
  if (n1 <= 630) return 100;
  if (n1 <= 1100) return 140;
  if (n1 <= 2000) return 160;
  if (n1 <= 4000) return 180;
  return 200;
}

bool orthogonal_kind(const char* c4) {
  static constexpr const char* kinds[] = {"QR", "RQ", "LQ", "QL", "HR", "TR", "BR"};
  for (const char* k : kinds)
    if (eq2(c4, k)) return true;
  return false;
}

struct answer { int nb, nbmin, nx; };

answer lookup(const routine_name& r, const char* opts, int opts_len, int n1, int n2, int n4) {
  const answer fallback{1, 2, 0};
  const char* c2 = r.c2;
  const char* c3 = r.c3;
  if (eq2(c2, "GE")) {
    if (eq3(c3, "TRF")) return {r.precision == 'D' ? dgetrf_block(n2, opts_parallel(opts, opts_len)) : 64, 2, 0};
    if (eq3(c3, "TRI")) return {64, 2, 0};
    if (eq3(c3, "QRF")) {
      const int small = n1 < n2 ? n1 : n2;
      int nx = 8;
      if (r.precision == 'S') {
        if (small < 9) nx = 128;
        else if (small <= 25) nx = 256;
      } else if (small <= 12) {
        nx = 128;
      }
      return {geqrf_block(n2, opts_parallel(opts, opts_len)), 2, nx};
    }
    if (eq3(c3, "RQF") || eq3(c3, "LQF") || eq3(c3, "QLF") || eq3(c3, "HRD") || eq3(c3, "BRD"))
      return {32, 2, 32};
    return fallback;
  }
  if (eq2(c2, "PO")) {
    if (eq3(c3, "TRF")) return {r.real() ? 128 : 64, 2, 128};
    if (eq3(c3, "TRI")) return {1, 2, 128};
    return fallback;
  }
  if (eq2(c2, "SY")) {
    if (eq3(c3, "TRF")) return {64, 8, r.real() ? 100 : 0};
    if (r.real() && eq3(c3, "TRD")) return {32, 2, 32};
    if (r.real() && eq3(c3, "GST")) return {64, 2, 0};
    return fallback;
  }
  if (eq2(c2, "HE") && r.complex()) {
    if (eq3(c3, "TRF") || eq3(c3, "GST")) return {64, 2, 0};
    if (eq3(c3, "TRD")) return {64, 2, 32};
    return fallback;
  }
  if ((eq2(c2, "OR") && r.real()) || (eq2(c2, "UN") && r.complex())) {
    if (c3[0] == 'G' && orthogonal_kind(r.c4())) return {32, 2, 32};
    if (c3[0] == 'M' && orthogonal_kind(r.c4())) return {32, 2, 0};
    return fallback;
  }
  if (eq2(c2, "GB") && eq3(c3, "TRF")) return {n4 > 64 ? 32 : 1, 2, 0};
  if (eq2(c2, "PB") && eq3(c3, "TRF")) return {n2 > 64 ? 32 : 1, 2, 0};
  if (eq2(c2, "TR") && eq3(c3, "TRI")) return {64, 2, 0};
  if (eq2(c2, "LA") && eq3(c3, "UUM")) return {64, 2, 0};
  if (eq2(c2, "BD") && eq3(c3, "SQR")) return {bdsqr_block(n1), 2, 210};
  return fallback;
}

}  // namespace

ZVX_EXPORT int iparmq(const int* ispec, const char* name, const char* opts, const int* n,
                      const int* ilo, const int* ihi, const int* lwork, int name_len, int opts_len) {
  const int query = *ispec;
  if (query == 12) return 75;
  if (query == 14) return 14;
  if (query != 13 && query != 15 && query != 16) return -1;
  const int nh = *ihi - *ilo + 1;
  int ns;
  if (nh < 30) ns = 2;
  else if (nh < 60) ns = 4;
  else if (nh < 150) ns = 10;
  else {
    ns = static_cast<int>(nh / std::log2(static_cast<double>(nh)));
    if (ns < 10) ns = 10;
  }
  if (nh >= 6000) ns = 256;
  else if (nh >= 3000) ns = 128;
  else if (nh >= 590) ns = 64;
  ns -= ns % 2;
  if (ns < 2) ns = 2;
  if (query == 15) return ns;
  if (query == 13) return nh <= 500 ? ns : ns * 3 / 2;
  return ns < 14 ? 0 : 2;
}

ZVX_EXPORT int ilaenv(const int* ispec, const char* name, const char* opts, const int* n1,
                      const int* n2, const int* n3, const int* n4, int name_len, int opts_len) {
  const int query = *ispec;
  switch (query) {
    case 4: return 6;
    case 5: return 2;
    case 6: {
      const int small = *n1 < *n2 ? *n1 : *n2;
      return static_cast<int>(static_cast<float>(small) * 1.6f);
    }
    case 7: return 1;
    case 8: return 50;
    case 9: return 25;
    case 10: return 1;
    case 11: return 0;
    case 13: case 14: case 15: case 16:
      return iparmq(ispec, name, opts, n1, n2, n3, n4, 6, 6);
    case 1: case 2: case 3: case 12: break;
    default: return -1;
  }
  const routine_name r = parse_name(name, name_len);
  if (!r.real() && !r.complex()) return 1;
  if (query == 12) {
    if (eq3(r.c3, "TRF")) return 16;
    if (eq2(r.c2, "GE") && eq3(r.c3, "QRF")) {
      if (!opts_parallel(opts, opts_len)) return 16;
      const int v = *n2;
      if (v < 401) return 24;
      if (v < 551) return 32;
      if (v < 801) return 48;
      if (v < 1351) return 64;
      if (v < 1901) return 96;
      return 128;
    }
    return iparmq(ispec, name, opts, n1, n2, n3, n4, 6, 6);
  }
  const answer a = lookup(r, opts, opts_len, *n1, *n2, *n4);
  return query == 1 ? a.nb : query == 2 ? a.nbmin : a.nx;
}

ZVX_EXPORT void ilaver(int* major, int* minor, int* patch) {
  *major = 3;
  *minor = 1;
  *patch = 0;
}

ZVX_EXPORT int ieeeck(const int* ispec, const float* zero, const float* one) {
  // Volatile so that the compiler evaluates the chain in single precision at run time.
  volatile float z = *zero, o = *one;
  volatile float posinf = o / z;
  if (posinf <= o) return 0;
  volatile float neginf = -o / z;
  if (neginf >= z) return 0;
  volatile float negzro = o / (neginf + o);
  if (negzro != z) return 0;
  neginf = o / negzro;
  if (neginf >= z) return 0;
  volatile float newzro = negzro + z;
  if (newzro != z) return 0;
  posinf = o / newzro;
  if (posinf <= o) return 0;
  neginf = neginf * posinf;
  if (neginf >= z) return 0;
  posinf = posinf * posinf;
  if (posinf <= o) return 0;
  return *ispec == 0 ? 1 : 0;
}
