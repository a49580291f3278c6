// The readers of option letters, for every subsystem. An option is a pointer to a character and
// only its first character is read, in either case; what an unknown letter means differs by
// family, so each family has its reader here and nowhere else.
#pragma once
#include "common/scalar.h"

namespace zvx {

// The first character of `option` is `upper` or its lower-case form.
inline bool is_letter(const char* option, char upper) {
  return *option == upper || *option == upper + ('a' - 'A');
}

inline bool is_left(const char* side) { return is_letter(side, 'L'); }
inline bool is_upper(const char* uplo) { return is_letter(uplo, 'U'); }
inline bool is_no_transpose(const char* trans) { return is_letter(trans, 'N'); }
inline bool is_nonunit(const char* diag) { return is_letter(diag, 'N'); }

// How an operand enters: as stored, transposed, or conjugate-transposed.
enum class op : int { n = 0, t = 1, c = 2 };

// The products (gemm, gemv, the level-3 triangular operations): "N" as stored; the real types
// transpose for any other letter; the complex types transpose for "T" and conjugate-transpose for
// anything else.
// The same rule with the element type given as a flag: the GEMM engines know it only as their
// count of reals per element.
inline op read_op(const char* trans, bool complex) {
  if (is_no_transpose(trans)) return op::n;
  if (!complex || is_letter(trans, 'T')) return op::t;
  return op::c;
}
template <class T> inline op read_op(const char* trans) { return read_op(trans, is_complex<T>); }

// The level-2 triangular, band and packed family: "N" as stored, "C" conjugate-transposes
// (complex types only), anything else transposes.
template <class T> inline op read_triangular_op(const char* trans) {
  if (is_no_transpose(trans)) return op::n;
  if (is_complex<T> && is_letter(trans, 'C')) return op::c;
  return op::t;
}

}  // namespace zvx
