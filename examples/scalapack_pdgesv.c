/* A distributed dense solve with ScaLAPACK's pdgesv on a 2 x 1 process grid, over whatever
 * libblas.so.3 the process loads: run it on libzvx_blas.so.3 (see README, "ScaLAPACK").
 *
 *     mpirun -np 2 ./scalapack_pdgesv [n]
 *
 * The matrix is defined entry by entry (a(i,j) below), so every process builds its own rows
 * without communication; b = A x for a known x. After the solve each process checks its rows
 * of A x - b, and rank 0 prints the scaled residual ||A x - b|| / (||A|| ||x|| n eps) and the
 * library that provided dgemm_. Exit status 0 when the residual is below 10. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <float.h>
#include <math.h>
#include <mpi.h>
#include <stdio.h>
#include <stdlib.h>

void Cblacs_pinfo(int* me, int* nprocs);
void Cblacs_get(int context, int what, int* value);
void Cblacs_gridinit(int* context, const char* order, int nprow, int npcol);
void Cblacs_gridinfo(int context, int* nprow, int* npcol, int* myrow, int* mycol);
void Cblacs_gridexit(int context);
void Cblacs_exit(int keep_mpi);
int numroc_(const int* n, const int* nb, const int* iproc, const int* isrc, const int* nprocs);
void descinit_(int* desc, const int* m, const int* n, const int* mb, const int* nb,
               const int* irsrc, const int* icsrc, const int* ctxt, const int* lld, int* info);
void pdgesv_(const int* n, const int* nrhs, double* a, const int* ia, const int* ja,
             const int* desca, int* ipiv, double* b, const int* ib, const int* jb,
             const int* descb, int* info);

/* A nonsymmetric matrix with a strong diagonal. */
static double a_entry(int i, int j, int n) {
  double v = sin(0.37 * (i + 1) * (j + 2) + 0.11 * j) / n;
  return i == j ? v + 2.0 + 0.5 * cos((double)i) : v;
}
static double x_entry(int i, int n) { return 1.0 + (double)i / n; }

int main(int argc, char** argv) {
  MPI_Init(&argc, &argv);
  int n = argc > 1 ? atoi(argv[1]) : 600;
  const int nb = 32, nrhs = 1, zero = 0, one = 1;
  int me, nprocs, ctxt, nprow, npcol, myrow, mycol, info;
  Cblacs_pinfo(&me, &nprocs);
  if (nprocs != 2) {
    if (me == 0) fprintf(stderr, "run with mpirun -np 2 (a 2 x 1 grid)\n");
    MPI_Finalize();
    return 2;
  }
  Cblacs_get(0, 0, &ctxt);
  Cblacs_gridinit(&ctxt, "Row", 2, 1);
  Cblacs_gridinfo(ctxt, &nprow, &npcol, &myrow, &mycol);

  /* Local pieces: rows distributed block-cyclically over the two process rows, all columns. */
  int mloc = numroc_(&n, &nb, &myrow, &zero, &nprow);
  int nloc = numroc_(&n, &nb, &mycol, &zero, &npcol);
  int lld = mloc > 1 ? mloc : 1;
  int desca[9], descb[9];
  descinit_(desca, &n, &n, &nb, &nb, &zero, &zero, &ctxt, &lld, &info);
  descinit_(descb, &n, &nrhs, &nb, &nb, &zero, &zero, &ctxt, &lld, &info);
  double* a = malloc(sizeof(double) * (size_t)lld * (nloc > 0 ? nloc : 1));
  double* b = malloc(sizeof(double) * (size_t)lld);
  int* ipiv = malloc(sizeof(int) * (size_t)(mloc + nb));
  int* rows = malloc(sizeof(int) * (size_t)(mloc > 0 ? mloc : 1)); /* global index of local row */
  for (int il = 0; il < mloc; ++il) rows[il] = (il / nb * nprow + myrow) * nb + il % nb;
  for (int il = 0; il < mloc; ++il) {
    double s = 0;
    for (int j = 0; j < n; ++j) {
      a[il + (size_t)j * lld] = a_entry(rows[il], j, n);
      s += a_entry(rows[il], j, n) * x_entry(j, n);
    }
    b[il] = s;
  }
  double* rhs = malloc(sizeof(double) * (size_t)lld);
  for (int il = 0; il < mloc; ++il) rhs[il] = b[il];

  pdgesv_(&n, &nrhs, a, &one, &one, desca, ipiv, b, &one, &one, descb, &info);

  /* Gather the solution, then the residual of this process's rows and the norms. */
  double* x = calloc((size_t)n, sizeof(double));
  for (int il = 0; il < mloc; ++il) x[rows[il]] = b[il];
  MPI_Allreduce(MPI_IN_PLACE, x, n, MPI_DOUBLE, MPI_SUM, MPI_COMM_WORLD);
  double res = 0, anorm = 0, xnorm = 0, err = 0;
  for (int il = 0; il < mloc; ++il) {
    double r = -rhs[il], row = 0;
    for (int j = 0; j < n; ++j) {
      r += a_entry(rows[il], j, n) * x[j];
      row += fabs(a_entry(rows[il], j, n));
    }
    res = fmax(res, fabs(r));
    anorm = fmax(anorm, row);
  }
  for (int j = 0; j < n; ++j) {
    xnorm = fmax(xnorm, fabs(x[j]));
    err = fmax(err, fabs(x[j] - x_entry(j, n)));
  }
  double local[2] = {res, anorm}, global[2];
  MPI_Allreduce(local, global, 2, MPI_DOUBLE, MPI_MAX, MPI_COMM_WORLD);
  double scaled = global[0] / (global[1] * xnorm * n * DBL_EPSILON);
  int status = info == 0 && scaled < 10.0 ? 0 : 1;
  if (me == 0) {
    Dl_info where = {0};
    void* f = dlsym(RTLD_DEFAULT, "dgemm_");
    dladdr(f, &where);
    printf("pdgesv n=%d on a %d x %d grid: info %d, scaled residual %.3e, max error %.3e\n", n,
           nprow, npcol, info, scaled, err);
    printf("dgemm_ from %s\n", where.dli_fname ? where.dli_fname : "(unknown)");
    printf("%s\n", status == 0 ? "PASSED" : "FAILED");
  }
  free(a); free(b); free(ipiv); free(rows); free(rhs); free(x);
  Cblacs_gridexit(ctxt);
  Cblacs_exit(1);
  MPI_Finalize();
  return status;
}
