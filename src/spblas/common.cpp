// What every sparse entry shares: the two readings of the matrix descriptor, the scaling of the
// output, and the choice of the vector kernels.
#include <cstdlib>

#include "service/cpu_features.h"
#include "spblas/spblas.h"

namespace zvx::spblas {

descr read_multiply(const char* matdescra, bool skyline) {
  descr d{matrix_type::symmetric, true, true};
  const char* t = matdescra;
  // Skyline stores the lower triangle by rows and the upper one by columns and names the lower
  // one explicitly; every other format names the upper one.
  auto read_triangle = [&] {
    d.lower = skyline ? is_letter(matdescra + 1, 'L') : !is_letter(matdescra + 1, 'U');
  };
  auto read_diagonal = [&] { d.nonunit = !is_letter(matdescra + 2, 'U'); };
  if (is_letter(t, 'G')) {
    d.type = matrix_type::general;
  } else if (is_letter(t, 'T')) {
    d.type = matrix_type::triangular;
    read_triangle();
    read_diagonal();
  } else if (is_letter(t, 'S') || is_letter(t, 'H')) {
    d.type = matrix_type::symmetric;
    read_triangle();
    read_diagonal();
  } else if (is_letter(t, 'D')) {
    d.type = matrix_type::diagonal;
    read_diagonal();
  } else if (is_letter(t, 'A')) {
    d.type = matrix_type::skew;
    read_triangle();
  } else if (skyline) {
    d.type = matrix_type::none;
  }
  if (skyline && d.type == matrix_type::general) d.type = matrix_type::none;
  return d;
}

descr read_solve(const char* matdescra) {
  descr d;
  d.type = is_letter(matdescra, 'D') ? matrix_type::diagonal : matrix_type::triangular;
  d.lower = is_letter(matdescra + 1, 'L');
  d.nonunit = is_letter(matdescra + 2, 'N');
  return d;
}

void* must_allocate(size_t bytes) {
  void* p = std::malloc(bytes ? bytes : 1);
  if (!p) {
    console_piece("ZVX ERROR : sparse BLAS could not allocate its work memory\n");
    std::abort();
  }
  return p;
}

void scale_columns(long len, long n, double beta, dense c, bool wipe_on_zero) {
  if (beta == 1.0 || len <= 0) return;
  for (long j = 0; j < n; ++j) {
    if (c.rs == 1) {
      double* col = &c(0, j);
      if (beta == 0.0 && wipe_on_zero) {
        for (long i = 0; i < len; ++i) col[i] = 0.0;
      } else {
        l1().scal(len, beta, col);
      }
    } else {
      for (long i = 0; i < len; ++i) c(i, j) = (beta == 0.0 && wipe_on_zero) ? 0.0 : c(i, j) * beta;
    }
  }
}

void add_identity(long len, long n, double alpha, cdense b, dense c) {
  if (len <= 0) return;
  for (long j = 0; j < n; ++j) {
    if (b.rs == 1 && c.rs == 1) {
      l1().axpy(len, alpha, b.p + j * b.cs, &c(0, j));
    } else {
      for (long i = 0; i < len; ++i) c(i, j) += alpha * b(i, j);
    }
  }
}

}  // namespace zvx::spblas

namespace zvx::spblas::simd {
const kernel_set& kernels() {
  static const kernel_set* chosen =
      zvx::select_by_isa(isa_portable::table(), isa_avx2::table(), isa_avx512::table());
  return *chosen;
}
}  // namespace zvx::spblas::simd
