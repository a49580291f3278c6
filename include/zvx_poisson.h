/* Fast direct solvers of the Helmholtz equation -div grad u + q u = f with a constant q.
 *
 * Domains: a rectangle (2-D), a box (3-D), and a patch of the sphere in longitude phi and
 * colatitude theta, periodic in phi (sph_p, the whole globe when theta runs from pole to pole) or
 * with u = 0 at the phi ends (sph_np). The grid has nx (np) intervals along the first axis, ny (nt)
 * along the second and nz along the third; values stand at the nodes, row-major with the first
 * axis fastest: entry (j, i) of a 2-D grid at f[j*(nx+1)+i], entry (k, j, i) of a box at
 * f[(k*(ny+1)+j)*(nx+1)+i].
 *
 * Stages: init fills the caller's ipar (128 integers; the library uses the first 70) and dpar
 * (at least 5*nx/2 + 7 reals in 2-D, 5*(nx+ny)/2 + 9 in 3-D, 5*np/2 + nt + 10 on the sphere),
 * commit checks everything, builds the tables and the trigonometric transforms and rewrites f so
 * that it carries the boundary conditions, the solver overwrites f with u, free releases the transforms. BCtype
 * holds one letter per side, D (Dirichlet) or N (Neumann), in the order ax, bx, ay, by[, az, bz].
 * Neumann data is the outward normal derivative on the sides of the last axis (y in 2-D, z in
 * 3-D) and half the outward normal derivative on the others; on a domain whose sides are not all
 * of length 1 the boundary terms are scaled by the interval counts only.
 *
 * Boundary arrays of the box are faces, the first index slowest: bd_ax and bd_bx hold
 * (nz+1) x (ny+1) values at [k*(ny+1)+j], bd_ay and bd_by (nz+1) x (nx+1) at [k*(nx+1)+i], bd_az
 * and bd_bz (ny+1) x (nx+1) at [j*(nx+1)+i]. The spherical solvers take no boundary arrays: a
 * band or patch has u = 0 on its edges, where the solver writes it.
 *
 * Every argument goes by reference; the handles are the addresses of the caller's descriptor
 * slots. The status comes back in stat and ipar[0]: 0 success, 1 success with a warning, -2
 * division by zero, -3 no memory, -100 a bad parameter, -1000 a failure of the trigonometric
 * transforms, -10000 a call in the wrong state. Messages go to standard output, or appended to
 * ZVX_Poisson_Library_Log.txt, as ipar[1] (errors) and ipar[2] (warnings) say. */
#ifndef ZVX_POISSON_H
#define ZVX_POISSON_H

#include "zvx_common.h"
#include "zvx_dft.h"

ZVX_EXTERN_C_BEGIN

ZVX_API void d_init_helmholtz_2d(const double* ax, const double* bx, const double* ay,
                                 const double* by, const int* nx, const int* ny,
                                 const char* BCtype, const double* q, int* ipar, double* dpar,
                                 int* stat);
ZVX_API void s_init_helmholtz_2d(const float* ax, const float* bx, const float* ay,
                                 const float* by, const int* nx, const int* ny,
                                 const char* BCtype, const float* q, int* ipar, float* spar,
                                 int* stat);
ZVX_API void d_commit_helmholtz_2d(double* f, const double* bd_ax, const double* bd_bx,
                                   const double* bd_ay, const double* bd_by,
                                   DFTI_DESCRIPTOR_HANDLE* xhandle, int* ipar, double* dpar,
                                   int* stat);
ZVX_API void s_commit_helmholtz_2d(float* f, const float* bd_ax, const float* bd_bx,
                                   const float* bd_ay, const float* bd_by,
                                   DFTI_DESCRIPTOR_HANDLE* xhandle, int* ipar, float* spar,
                                   int* stat);
ZVX_API void d_helmholtz_2d(double* f, const double* bd_ax, const double* bd_bx,
                            const double* bd_ay, const double* bd_by,
                            DFTI_DESCRIPTOR_HANDLE* xhandle, int* ipar, const double* dpar,
                            int* stat);
ZVX_API void s_helmholtz_2d(float* f, const float* bd_ax, const float* bd_bx,
                            const float* bd_ay, const float* bd_by,
                            DFTI_DESCRIPTOR_HANDLE* xhandle, int* ipar, const float* spar,
                            int* stat);
ZVX_API void free_helmholtz_2d(DFTI_DESCRIPTOR_HANDLE* xhandle, int* ipar, int* stat);

ZVX_API void d_init_helmholtz_3d(const double* ax, const double* bx, const double* ay,
                                 const double* by, const double* az, const double* bz,
                                 const int* nx, const int* ny, const int* nz,
                                 const char* BCtype, const double* q, int* ipar, double* dpar,
                                 int* stat);
ZVX_API void s_init_helmholtz_3d(const float* ax, const float* bx, const float* ay,
                                 const float* by, const float* az, const float* bz,
                                 const int* nx, const int* ny, const int* nz,
                                 const char* BCtype, const float* q, int* ipar, float* spar,
                                 int* stat);
ZVX_API void d_commit_helmholtz_3d(double* f, const double* bd_ax, const double* bd_bx,
                                   const double* bd_ay, const double* bd_by,
                                   const double* bd_az, const double* bd_bz,
                                   DFTI_DESCRIPTOR_HANDLE* xhandle,
                                   DFTI_DESCRIPTOR_HANDLE* yhandle, int* ipar, double* dpar,
                                   int* stat);
ZVX_API void s_commit_helmholtz_3d(float* f, const float* bd_ax, const float* bd_bx,
                                   const float* bd_ay, const float* bd_by,
                                   const float* bd_az, const float* bd_bz,
                                   DFTI_DESCRIPTOR_HANDLE* xhandle,
                                   DFTI_DESCRIPTOR_HANDLE* yhandle, int* ipar, float* spar,
                                   int* stat);
ZVX_API void d_helmholtz_3d(double* f, const double* bd_ax, const double* bd_bx,
                            const double* bd_ay, const double* bd_by, const double* bd_az,
                            const double* bd_bz, DFTI_DESCRIPTOR_HANDLE* xhandle,
                            DFTI_DESCRIPTOR_HANDLE* yhandle, int* ipar, const double* dpar,
                            int* stat);
ZVX_API void s_helmholtz_3d(float* f, const float* bd_ax, const float* bd_bx,
                            const float* bd_ay, const float* bd_by, const float* bd_az,
                            const float* bd_bz, DFTI_DESCRIPTOR_HANDLE* xhandle,
                            DFTI_DESCRIPTOR_HANDLE* yhandle, int* ipar, const float* spar,
                            int* stat);
ZVX_API void free_helmholtz_3d(DFTI_DESCRIPTOR_HANDLE* xhandle, DFTI_DESCRIPTOR_HANDLE* yhandle,
                               int* ipar, int* stat);

ZVX_API void d_init_sph_p(const double* ap, const double* bp, const double* at,
                          const double* bt, const int* np, const int* nt, const double* q,
                          int* ipar, double* dpar, int* stat);
ZVX_API void s_init_sph_p(const float* ap, const float* bp, const float* at, const float* bt,
                          const int* np, const int* nt, const float* q, int* ipar, float* spar,
                          int* stat);
ZVX_API void d_commit_sph_p(double* f, DFTI_DESCRIPTOR_HANDLE* handle_s,
                            DFTI_DESCRIPTOR_HANDLE* handle_c, int* ipar, double* dpar,
                            int* stat);
ZVX_API void s_commit_sph_p(float* f, DFTI_DESCRIPTOR_HANDLE* handle_s,
                            DFTI_DESCRIPTOR_HANDLE* handle_c, int* ipar, float* spar,
                            int* stat);
ZVX_API void d_sph_p(double* f, DFTI_DESCRIPTOR_HANDLE* handle_s,
                     DFTI_DESCRIPTOR_HANDLE* handle_c, int* ipar, double* dpar, int* stat);
ZVX_API void s_sph_p(float* f, DFTI_DESCRIPTOR_HANDLE* handle_s,
                     DFTI_DESCRIPTOR_HANDLE* handle_c, int* ipar, float* spar, int* stat);
ZVX_API void free_sph_p(DFTI_DESCRIPTOR_HANDLE* handle_s, DFTI_DESCRIPTOR_HANDLE* handle_c,
                        int* ipar, int* stat);

ZVX_API void d_init_sph_np(const double* ap, const double* bp, const double* at,
                           const double* bt, const int* np, const int* nt, const double* q,
                           int* ipar, double* dpar, int* stat);
ZVX_API void s_init_sph_np(const float* ap, const float* bp, const float* at, const float* bt,
                           const int* np, const int* nt, const float* q, int* ipar, float* spar,
                           int* stat);
ZVX_API void d_commit_sph_np(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, double* dpar,
                             int* stat);
ZVX_API void s_commit_sph_np(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, float* spar,
                             int* stat);
ZVX_API void d_sph_np(double* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, double* dpar,
                      int* stat);
ZVX_API void s_sph_np(float* f, DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, float* spar,
                      int* stat);
ZVX_API void free_sph_np(DFTI_DESCRIPTOR_HANDLE* handle, int* ipar, int* stat);

ZVX_EXTERN_C_END

#endif
