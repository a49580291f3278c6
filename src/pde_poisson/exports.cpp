// Exported entries of the Poisson library: every argument by reference, the d_ forms on double,
// the s_ forms on float.
#include "pde_poisson/poisson.h"
#include "service/service.h"
#include "zvx_poisson.h"

namespace p = zvx::poisson;

ZVX_EXPORT void d_init_helmholtz_2d(const double* ax, const double* bx, const double* ay,
                                    const double* by, const int* nx, const int* ny,
                                    const char* BCtype, const double* q, int* ipar, double* dpar,
                                    int* stat) {
  p::init_2d(*ax, *bx, *ay, *by, *nx, *ny, BCtype, *q, ipar, dpar, stat);
}
ZVX_EXPORT void s_init_helmholtz_2d(const float* ax, const float* bx, const float* ay,
                                    const float* by, const int* nx, const int* ny,
                                    const char* BCtype, const float* q, int* ipar, float* spar,
                                    int* stat) {
  p::init_2d(*ax, *bx, *ay, *by, *nx, *ny, BCtype, *q, ipar, spar, stat);
}
ZVX_EXPORT void d_commit_helmholtz_2d(double* f, const double* bd_ax, const double* bd_bx,
                                      const double* bd_ay, const double* bd_by,
                                      DFTI_DESCRIPTOR_HANDLE* xhandle, int* ipar, double* dpar,
                                      int* stat) {
  p::commit_2d(f, bd_ax, bd_bx, bd_ay, bd_by, xhandle, ipar, dpar, stat);
}
ZVX_EXPORT void s_commit_helmholtz_2d(float* f, const float* bd_ax, const float* bd_bx,
                                      const float* bd_ay, const float* bd_by,
                                      DFTI_DESCRIPTOR_HANDLE* xhandle, int* ipar, float* spar,
                                      int* stat) {
  p::commit_2d(f, bd_ax, bd_bx, bd_ay, bd_by, xhandle, ipar, spar, stat);
}
ZVX_EXPORT void d_helmholtz_2d(double* f, const double* bd_ax, const double* bd_bx,
                               const double* bd_ay, const double* bd_by,
                               DFTI_DESCRIPTOR_HANDLE* xhandle, int* ipar, const double* dpar,
                               int* stat) {
  p::solve_2d(f, bd_ax, bd_bx, bd_ay, bd_by, xhandle, ipar, dpar, stat);
}
ZVX_EXPORT void s_helmholtz_2d(float* f, const float* bd_ax, const float* bd_bx,
                               const float* bd_ay, const float* bd_by,
                               DFTI_DESCRIPTOR_HANDLE* xhandle, int* ipar, const float* spar,
                               int* stat) {
  p::solve_2d(f, bd_ax, bd_bx, bd_ay, bd_by, xhandle, ipar, spar, stat);
}
ZVX_EXPORT void free_helmholtz_2d(DFTI_DESCRIPTOR_HANDLE* xhandle, int* ipar, int* stat) {
  p::free_handles(xhandle, nullptr, ipar, stat, 14, 32);
}

ZVX_EXPORT void d_init_helmholtz_3d(const double* ax, const double* bx, const double* ay,
                                    const double* by, const double* az, const double* bz,
                                    const int* nx, const int* ny, const int* nz,
                                    const char* BCtype, const double* q, int* ipar, double* dpar,
                                    int* stat) {
  p::init_3d(*ax, *bx, *ay, *by, *az, *bz, *nx, *ny, *nz, BCtype, *q, ipar, dpar, stat);
}
ZVX_EXPORT void s_init_helmholtz_3d(const float* ax, const float* bx, const float* ay,
                                    const float* by, const float* az, const float* bz,
                                    const int* nx, const int* ny, const int* nz,
                                    const char* BCtype, const float* q, int* ipar, float* spar,
                                    int* stat) {
  p::init_3d(*ax, *bx, *ay, *by, *az, *bz, *nx, *ny, *nz, BCtype, *q, ipar, spar, stat);
}
ZVX_EXPORT void d_commit_helmholtz_3d(double* f, const double* bd_ax, const double* bd_bx,
                                      const double* bd_ay, const double* bd_by,
                                      const double* bd_az, const double* bd_bz,
                                      DFTI_DESCRIPTOR_HANDLE* xhandle,
                                      DFTI_DESCRIPTOR_HANDLE* yhandle, int* ipar, double* dpar,
                                      int* stat) {
  const double* bd[6] = {bd_ax, bd_bx, bd_ay, bd_by, bd_az, bd_bz};
  p::commit_3d(f, bd, xhandle, yhandle, ipar, dpar, stat);
}
ZVX_EXPORT void s_commit_helmholtz_3d(float* f, const float* bd_ax, const float* bd_bx,
                                      const float* bd_ay, const float* bd_by,
                                      const float* bd_az, const float* bd_bz,
                                      DFTI_DESCRIPTOR_HANDLE* xhandle,
                                      DFTI_DESCRIPTOR_HANDLE* yhandle, int* ipar, float* spar,
                                      int* stat) {
  const float* bd[6] = {bd_ax, bd_bx, bd_ay, bd_by, bd_az, bd_bz};
  p::commit_3d(f, bd, xhandle, yhandle, ipar, spar, stat);
}
ZVX_EXPORT void d_helmholtz_3d(double* f, const double* bd_ax, const double* bd_bx,
                               const double* bd_ay, const double* bd_by, const double* bd_az,
                               const double* bd_bz, DFTI_DESCRIPTOR_HANDLE* xhandle,
                               DFTI_DESCRIPTOR_HANDLE* yhandle, int* ipar, const double* dpar,
                               int* stat) {
  const double* bd[6] = {bd_ax, bd_bx, bd_ay, bd_by, bd_az, bd_bz};
  p::solve_3d(f, bd, xhandle, yhandle, ipar, dpar, stat);
}
ZVX_EXPORT void s_helmholtz_3d(float* f, const float* bd_ax, const float* bd_bx,
                               const float* bd_ay, const float* bd_by, const float* bd_az,
                               const float* bd_bz, DFTI_DESCRIPTOR_HANDLE* xhandle,
                               DFTI_DESCRIPTOR_HANDLE* yhandle, int* ipar, const float* spar,
                               int* stat) {
  const float* bd[6] = {bd_ax, bd_bx, bd_ay, bd_by, bd_az, bd_bz};
  p::solve_3d(f, bd, xhandle, yhandle, ipar, spar, stat);
}
ZVX_EXPORT void free_helmholtz_3d(DFTI_DESCRIPTOR_HANDLE* xhandle, DFTI_DESCRIPTOR_HANDLE* yhandle,
                                  int* ipar, int* stat) {
  p::free_handles(xhandle, yhandle, ipar, stat, 14, 32);
}

ZVX_EXPORT void d_init_sph_p(const double* ap, const double* bp, const double* at,
                             const double* bt, const int* np, const int* nt, const double* q,
                             int* ipar, double* dpar, int* stat) {
  p::init_sph(true, *ap, *bp, *at, *bt, *np, *nt, *q, ipar, dpar, stat);
}
ZVX_EXPORT void s_init_sph_p(const float* ap, const float* bp, const float* at, const float* bt,
                             const int* np, const int* nt, const float* q, int* ipar,
                             float* spar, int* stat) {
  p::init_sph(true, *ap, *bp, *at, *bt, *np, *nt, *q, ipar, spar, stat);
}
ZVX_EXPORT void d_commit_sph_p(double* f, DFTI_DESCRIPTOR_HANDLE* handle_s,
                               DFTI_DESCRIPTOR_HANDLE* handle_c, int* ipar, double* dpar,
                               int* stat) {
  p::commit_sph(true, f, handle_s, handle_c, ipar, dpar, stat);
}
ZVX_EXPORT void s_commit_sph_p(float* f, DFTI_DESCRIPTOR_HANDLE* handle_s,
                               DFTI_DESCRIPTOR_HANDLE* handle_c, int* ipar, float* spar,
                               int* stat) {
  p::commit_sph(true, f, handle_s, handle_c, ipar, spar, stat);
}
ZVX_EXPORT void d_sph_p(double* f, DFTI_DESCRIPTOR_HANDLE* handle_s,
                        DFTI_DESCRIPTOR_HANDLE* handle_c, int* ipar, double* dpar, int* stat) {
  p::solve_sph(true, f, handle_s, handle_c, ipar, dpar, stat);
}
ZVX_EXPORT void s_sph_p(float* f, DFTI_DESCRIPTOR_HANDLE* handle_s,
                        DFTI_DESCRIPTOR_HANDLE* handle_c, int* ipar, float* spar, int* stat) {
  p::solve_sph(true, f, handle_s, handle_c, ipar, spar, stat);
}
ZVX_EXPORT void free_sph_p(DFTI_DESCRIPTOR_HANDLE* handle_s, DFTI_DESCRIPTOR_HANDLE* handle_c,
                           int* ipar, int* stat) {
  p::free_handles(handle_s, handle_c, ipar, stat, 10014, 10032);
}

ZVX_EXPORT void d_init_sph_np(const double* ap, const double* bp, const double* at,
                              const double* bt, const int* np, const int* nt, const double* q,
                              int* ipar, double* dpar, int* stat) {
  p::init_sph(false, *ap, *bp, *at, *bt, *np, *nt, *q, ipar, dpar, stat);
}
ZVX_EXPORT void s_init_sph_np(const float* ap, const float* bp, const float* at,
                              const float* bt, const int* np, const int* nt, const float* q,
                              int* ipar, float* spar, int* stat) {
  p::init_sph(false, *ap, *bp, *at, *bt, *np, *nt, *q, ipar, spar, stat);
}
ZVX_EXPORT void d_commit_sph_np(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar,
                                double* dpar, int* stat) {
  p::commit_sph(false, f, handle, nullptr, ipar, dpar, stat);
}
ZVX_EXPORT void s_commit_sph_np(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, float* spar,
                                int* stat) {
  p::commit_sph(false, f, handle, nullptr, ipar, spar, stat);
}
ZVX_EXPORT void d_sph_np(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, double* dpar,
                         int* stat) {
  p::solve_sph(false, f, handle, nullptr, ipar, dpar, stat);
}
ZVX_EXPORT void s_sph_np(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, float* spar,
                         int* stat) {
  p::solve_sph(false, f, handle, nullptr, ipar, spar, stat);
}
ZVX_EXPORT void free_sph_np(DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, int* stat) {
  p::free_handles(handle, nullptr, ipar, stat, 10014, 10032);
}
