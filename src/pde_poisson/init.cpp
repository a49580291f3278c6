// The init stage: the parameter arrays, the boundary code and the release of the transforms.
#include <cmath>

#include "pde_poisson/lines.h"
#include "pde_poisson/poisson.h"
#include "service/cpu_features.h"
#include "pde_poisson/trig_calls.h"
#include "nvo/nvo_internal.h"

namespace zvx::poisson {

double sine(double x) {
  double r = 0;
  nvo::vector_sin(1, &x, &r);
  return r;
}
float sine(float x) {
  float r = 0;
  nvo::vector_sin(1, &x, &r);
  return r;
}

namespace {

// Reads the side letters into ipar[4...] and returns the boundary code; a bad letter makes the
// code negative. A short string counts as bad letters from its end on.
int read_sides(const char* bc, int sides, int* ipar) {
  bool ended = bc == nullptr;
  for (int i = 0; i < sides; ++i) {
    const char c = ended ? '\0' : bc[i];
    if (c == '\0') ended = true;
    ipar[4 + i] = (c == 'D' || c == 'd') ? 0 : (c == 'N' || c == 'n') ? 1 : -1;
  }
  int code = 0;
  for (int i = 0; i < sides; ++i) {
    const int weight = 1 << (sides - 1 - i);
    if (ipar[4 + i] == 1) {
      code += weight;
    } else if (ipar[4 + i] != 0) {
      code -= 100;
    }
  }
  return code;
}

}  // namespace

template <class T>
void init_2d(T ax, T bx, T ay, T by, int nx, int ny, const char* bc, T q, int* ipar, T* dpar,
             int* stat) {
  set_status(stat, ipar, kRunning);
  ipar[1] = 1;
  ipar[2] = 1;
  ipar[10] = nx;
  ipar[11] = ny;
  ipar[3] = read_sides(bc, 4, ipar);
  // A bad last letter leaves the running status, which commit refuses.
  if (ipar[7] == -1) return;
  dpar[0] = bx - ax;
  dpar[1] = by - ay;
  dpar[3] = q;
  dpar[4] = default_tolerance<T>();
  ipar[21] = 1;
  ipar[22] = 1;
  set_status(stat, ipar, kOk);
}

template <class T>
void init_3d(T ax, T bx, T ay, T by, T az, T bz, int nx, int ny, int nz, const char* bc, T q,
             int* ipar, T* dpar, int* stat) {
  set_status(stat, ipar, kRunning);
  ipar[1] = 1;
  ipar[2] = 1;
  ipar[10] = nx;
  ipar[11] = ny;
  ipar[12] = nz;
  ipar[3] = read_sides(bc, 6, ipar);
  if (ipar[9] == -1) return;
  dpar[0] = bx - ax;
  dpar[1] = by - ay;
  dpar[2] = bz - az;
  dpar[3] = q;
  dpar[4] = default_tolerance<T>();
  ipar[21] = 1;
  ipar[22] = 1;
  set_status(stat, ipar, kOk);
}

template <class T>
void init_sph(bool periodic, T ap, T bp, T at, T bt, int np, int nt, T q, int* ipar, T* dpar,
              int* stat) {
  const T tol = default_tolerance<T>();
  dpar[4] = tol;
  ipar[1] = 1;
  ipar[2] = 1;
  ipar[3] = 1;
  if (periodic) {
    const T pi = static_cast<T>(3.141592653589793);
    // Both poles inside the domain: the whole globe, which has no boundary rows.
    if (std::fabs(at) <= tol && std::fabs(pi - bt) <= tol) ipar[3] = 0;
  }
  ipar[10] = np;
  ipar[11] = nt;
  dpar[0] = bp - ap;
  dpar[1] = bt - at;
  dpar[2] = at;
  dpar[3] = q;
  ipar[21] = 1;
  ipar[22] = 1;
  set_status(stat, ipar, kOk);
}

void free_handles(DFTI_DESCRIPTOR_HANDLE* first, DFTI_DESCRIPTOR_HANDLE* second, int* ipar,
                  int* stat, int one_msg, int two_msg) {
  int s1 = 0, s2 = 0;
  trig_free(first, ipar + 40, &s1);
  if (second) trig_free(second, ipar + 60, &s2);
  if (s1 != 0 || s2 != 0) {
    message<double>(second ? two_msg : one_msg, ipar, nullptr);
    set_status(stat, ipar, kTrigFailure);
    return;
  }
  set_status(stat, ipar, kOk);
}

template void init_2d<double>(double, double, double, double, int, int, const char*, double,
                              int*, double*, int*);
template void init_2d<float>(float, float, float, float, int, int, const char*, float, int*,
                             float*, int*);
template void init_3d<double>(double, double, double, double, double, double, int, int, int,
                              const char*, double, int*, double*, int*);
template void init_3d<float>(float, float, float, float, float, float, int, int, int,
                             const char*, float, int*, float*, int*);
template void init_sph<double>(bool, double, double, double, double, int, int, double, int*,
                               double*, int*);
template void init_sph<float>(bool, float, float, float, float, int, int, float, int*, float*,
                              int*);

}  // namespace zvx::poisson

namespace zvx::poisson {
namespace isa_portable { const sweep_set* table(); }
namespace isa_avx2 { const sweep_set* table(); }
namespace isa_avx512 { const sweep_set* table(); }

const sweep_set& sweeps() {
  static const sweep_set* chosen =
      zvx::select_by_isa(isa_portable::table(), isa_avx2::table(), isa_avx512::table());
  return *chosen;
}
}  // namespace zvx::poisson
