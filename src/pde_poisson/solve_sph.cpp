// The spherical solves. The equation, multiplied through by ht^2 sin(theta) at commit, reads per
// longitude mode c with eigenvalue lam[c] (already scaled by (ht/hp)^2):
//   -S[j-1/2] u[j-1] + (S[j-1/2] + S[j+1/2] + lam[c]/s[j] + q s[j]) u[j] - S[j+1/2] u[j+1] = r[j]
// with s[j] the sine of the colatitude of row j, S[j+1/2] = (s[j] + s[j+1])/2 and q = ht^2 q.
// That is the conservative second-order form of the Laplace-Beltrami operator. On the whole
// globe the two pole rows carry one value each: zero for every mode but the mean (c = 0), whose
// pole rows have no neighbour beyond the pole.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "pde_poisson/lines.h"
#include "pde_poisson/poisson.h"
#include "pde_poisson/threads.h"
#include "service/service.h"

namespace zvx::poisson {
namespace {

// Solves rows first..last of the w columns at base[j*stride + c] (rows outside are zero), with
// the coefficients of the header. `pole_mean`: column 0 is the mean mode of the globe, solved
// over every row; when `singular` too (q = 0) by the partial sums of the fluxes.
template <class T>
int sph_block(T* base, std::ptrdiff_t stride, int w, const T* lam, const T* s, T q, int nt,
              int first, int last, T* alpha, T* beta) {
  constexpr int B = kColumnBlock;
  if (last < first) return 0;
  const auto S = [&](int j) {  // S[j+1/2]; nothing beyond the poles
    if (j < 0 || j >= nt) return T(0);
    return T(0.5) * (s[j] + s[j + 1]);
  };
  bool zero = false;
  for (int j = first; j <= last; ++j) {
    const T a = S(j - 1), c = S(j);
    const T* r = base + j * stride;
    T* al = alpha + j * B;
    T* be = beta + j * B;
    for (int k = 0; k < w; ++k) {
      const T lam_term = lam[k] == 0 ? T(0) : lam[k] / s[j];
      const T ap = j == first ? T(0) : alpha[(j - 1) * B + k];
      const T bp = j == first ? T(0) : beta[(j - 1) * B + k];
      const T piv = a + c + lam_term + q * s[j] - a * ap;
      zero |= piv == 0 || !std::isfinite(piv);
      al[k] = c / piv;
      be[k] = (r[k] + a * bp) / piv;
    }
  }
  if (zero) return kPivotZero;
  T* u = base + last * stride;
  for (int k = 0; k < w; ++k) u[k] = beta[last * B + k];
  for (int j = last - 1; j >= first; --j) {
    T* uj = base + j * stride;
    const T* un = base + (j + 1) * stride;
    for (int k = 0; k < w; ++k) uj[k] = alpha[j * B + k] * un[k] + beta[j * B + k];
  }
  return 0;
}

// The mean mode of the globe with q = 0: the flux through each parallel is the sum of the
// right-hand side beyond it, and u at the first pole is 0.
template <class T> void flux_sums(T* col, std::ptrdiff_t stride, const T* s, int nt) {
  T flux = 0;
  T prev = col[0];
  col[0] = 0;
  for (int j = 0; j < nt; ++j) {
    flux += prev;  // flux through j+1/2 = sum of r[0..j]
    prev = col[(j + 1) * stride];
    const T sh = T(0.5) * (s[j] + s[j + 1]);
    col[(j + 1) * stride] = col[j * stride] - flux / sh;
  }
}

template <class T>
int sph_tridiag(int threads, const work_area<T>& work, T* f, int columns,
                std::ptrdiff_t stride, const T* lam, const T* s, T q, int nt, bool globe,
                bool singular) {
  constexpr int B = kColumnBlock;
  const long blocks = (columns + B - 1) / B;
  return split(threads, blocks, [&](long first, long end, int t) {
    T* alpha = work.of(t);
    T* beta = alpha + static_cast<std::size_t>(B) * (nt + 1);
    for (long blk = first; blk < end; ++blk) {
      int c0 = static_cast<int>(blk * B);
      int w = std::min(B, columns - c0);
      if (globe && c0 == 0) {
        int st = 0;
        if (singular) {
          flux_sums(f, stride, s, nt);
        } else {
          st = sph_block(f, stride, 1, lam, s, q, nt, 0, nt, alpha, beta);
        }
        if (st != 0) return st;
        ++c0;
        --w;
        if (w == 0) continue;
      }
      if (globe) {
        for (int k = 0; k < w; ++k) {
          f[c0 + k] = 0;
          f[nt * stride + c0 + k] = 0;
        }
      }
      const int st = sph_block(f + c0, stride, w, lam + c0, s, q, nt, 1, nt - 1, alpha, beta);
      if (st != 0) return st;
    }
    return 0;
  });
}

}  // namespace

template <class T>
void solve_sph(bool periodic, T* f, DFTI_DESCRIPTOR_HANDLE* h1, DFTI_DESCRIPTOR_HANDLE* h2,
               int* ipar, const T* dpar, int* stat) {
  if (ipar[0] != 0 && ipar[0] != 1) {
    message(10012, ipar, dpar);
    set_status(stat, ipar, kWrongState);
    return;
  }
  const int np = ipar[10], nt = ipar[11];
  if (np < 1) {
    set_status(stat, ipar, kRunning);
    message(10000, ipar, dpar);
    set_status(stat, ipar, kBadParameter);
    return;
  }
  if (nt < 1) {
    set_status(stat, ipar, kRunning);
    message(10001, ipar, dpar);
    set_status(stat, ipar, kBadParameter);
    return;
  }
  set_status(stat, ipar, kRunning);
  bool agree = ipar[13] == 6 && ipar[14] == np + 7 && ipar[15] == np + 8 &&
               ipar[16] == np + nt + 9 && ipar[17] == ipar[16] + 1;
  if (periodic) {
    agree = agree && ipar[18] == (3 * np) / 4 + ipar[17] && ipar[19] == ipar[18] + 1 &&
            ipar[20] == (3 * np) / 4 + ipar[19];
  } else {
    agree = agree && ipar[18] == (3 * np) / 2 + ipar[17] && ipar[19] == 0;
  }
  int remembered = kOk;
  if (!agree) {
    if (ipar[2] != 0) message(10903, ipar, dpar);
    remembered = kWarned;
  }
  const bool globe = periodic && ipar[3] == 0;
  const int threads = solve_threads(ipar, periodic);
  const std::size_t per_thread =
      std::max<std::size_t>(2 * (np + 2), 2 * static_cast<std::size_t>(kColumnBlock) * (nt + 1));
  work_area<T> work;
  if (!take_work(work, per_thread, asked_threads(ipar))) {
    message(10027, ipar, dpar);
    set_status(stat, ipar, kNoMemory);
    return;
  }
  T* sblk = const_cast<T*>(dpar) + ipar[17] - 1;
  T* cblk = periodic ? const_cast<T*>(dpar) + ipar[19] - 1 : nullptr;
  const T* lam = dpar + 5;
  const T* s = dpar + ipar[15] - 1;
  const T q = dpar[3];
  const std::size_t w = static_cast<std::size_t>(np) + 1;
  const int n = np / 2;

  // Periodic rows: the even part by the cosine transform into columns 0..n, the odd part by the
  // sine transform into columns np-1 down to n+1, so that column c has the eigenvalue lam[c].
  const auto periodic_rows = [&](bool forward) {
    return split(threads, nt + 1, [&](long first, long end, int t) {
      T* bc = work.of(t);
      T* bs = bc + (n + 1);
      trig_block own_s(ipar + 40), own_c(ipar + 60);
      for (long j = first; j < end; ++j) {
        T* x = f + j * w;
        int st = 0;
        if (forward) {
          for (int i = 0; i <= n; ++i) bc[i] = x[i] + x[np - i];
          bs[0] = 0;
          bs[n] = 0;
          for (int i = 1; i < n; ++i) bs[i] = x[i] - x[np - i];
          trig<T>::forward(bc, h2, own_c.v, cblk, &st);
          if (st != 0) own_c.report();
          if (st == 0) trig<T>::forward(bs, h1, own_s.v, sblk, &st);
          if (st != 0) {
            if (own_s.v[kTrigStatus] != 0) own_s.report();
            return st;
          }
          for (int k = 0; k <= n; ++k) x[k] = bc[k];
          for (int k = 1; k < n; ++k) x[np - k] = bs[k];
          x[np] = 0;
        } else {
          for (int k = 0; k <= n; ++k) bc[k] = x[k];
          bs[0] = 0;
          bs[n] = 0;
          for (int k = 1; k < n; ++k) bs[k] = x[np - k];
          trig<T>::backward(bc, h2, own_c.v, cblk, &st);
          if (st != 0) own_c.report();
          if (st == 0) trig<T>::backward(bs, h1, own_s.v, sblk, &st);
          if (st != 0) {
            if (own_s.v[kTrigStatus] != 0) own_s.report();
            return st;
          }
          x[0] = T(0.5) * bc[0];
          x[n] = T(0.5) * bc[n];
          for (int i = 1; i < n; ++i) {
            x[i] = T(0.5) * (bc[i] + bs[i]);
            x[np - i] = T(0.5) * (bc[i] - bs[i]);
          }
          x[np] = x[0];
        }
      }
      return 0;
    });
  };
  const auto sine_rows = [&](bool forward) {
    return split(threads, nt + 1, [&](long first, long end, int t) {
      T* b = work.of(t);
      trig_block own(ipar + 40);
      for (long j = first; j < end; ++j) {
        const int st = transform_line(f + j * w, 1, np, kDD, forward, h1, own.v, sblk, b);
        if (st != 0) {
          own.report();
          return st;
        }
      }
      return 0;
    });
  };

  const bool singular = globe && std::fabs(q) <= dpar[4];
  *stat = kOk;
  int st = periodic ? periodic_rows(true) : sine_rows(true);
  if (st == 0) {
    st = sph_tridiag(threads, work, f, periodic ? np : np + 1,
                     static_cast<std::ptrdiff_t>(w), lam, s, q, nt, globe, singular);
    if (st != 0) {
      give_work(work);
      message(10026, ipar, dpar);
      *stat = st;
      ipar[0] = kDivisionByZero;
      return;
    }
    st = periodic ? periodic_rows(false) : sine_rows(false);
  }
  give_work(work);
  if (st != 0) {
    if (ipar[1] != 0) message(periodic ? 31 : 25, ipar, dpar);
    set_status(stat, ipar, kTrigFailure);
    return;
  }
  // The edges of a band or patch carry the boundary value u = 0.
  if (!globe) {
    for (int i = 0; i <= np; ++i) {
      f[i] = 0;
      f[nt * w + i] = 0;
    }
    if (!periodic)
      for (int j = 0; j <= nt; ++j) {
        f[j * w] = 0;
        f[j * w + np] = 0;
      }
  }
  if (singular) {
    if (ipar[2] != 0) message(10900, ipar, dpar);
    remembered = kWarned;
    long double sum = 0;
    const std::size_t count = w * (nt + 1);
    for (std::size_t p = 0; p < count; ++p) sum += f[p];
    const T mean = static_cast<T>(sum / static_cast<long double>(count));
    for (std::size_t p = 0; p < count; ++p) f[p] -= mean;
  }
  set_status(stat, ipar, remembered);
}

template void solve_sph<double>(bool, double*, DFTI_DESCRIPTOR_HANDLE*, DFTI_DESCRIPTOR_HANDLE*,
                                int*, const double*, int*);
template void solve_sph<float>(bool, float*, DFTI_DESCRIPTOR_HANDLE*, DFTI_DESCRIPTOR_HANDLE*,
                               int*, const float*, int*);

}  // namespace zvx::poisson
