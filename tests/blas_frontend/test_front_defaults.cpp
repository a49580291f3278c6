// The default error handlers of libzvx_blas.so.3, in a child process each: xerbla_ prints the
// standard message on the standard output and stops the program with status 0; cblas_xerbla
// prints its message on the standard error, numbering the argument as the caller wrote it also
// for a row-major call, and ends the program with status -1 (255).
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "zvx_cblas.h"

extern "C" void dgemv_(const char*, const int*, const int*, const double*, const double*,
                       const int*, const double*, const int*, const double*, double*,
                       const int*, size_t);
extern "C" void ssyr2k_(const char*, const char*, const int*, const int*, const float*,
                        const float*, const int*, const float*, const int*, const float*,
                        float*, const int*, size_t, size_t);

namespace {

struct outcome {
  int status = -1;
  std::string out, err;
};

std::string drain(int fd) {
  std::string s;
  char buf[512];
  for (ssize_t k; (k = read(fd, buf, sizeof buf)) > 0;) s.append(buf, k);
  close(fd);
  return s;
}

// Runs `f` in a child, collecting what it writes and how it ends.
outcome in_child(const std::function<void()>& f) {
  int out[2], err[2];
  EXPECT_EQ(pipe(out), 0);
  EXPECT_EQ(pipe(err), 0);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(out[1], 1);
    dup2(err[1], 2);
    close(out[0]);
    close(err[0]);
    f();
    _exit(77);  // the handler did not end the program
  }
  close(out[1]);
  close(err[1]);
  outcome o;
  o.out = drain(out[0]);
  o.err = drain(err[0]);
  int st = 0;
  waitpid(pid, &st, 0);
  o.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  return o;
}

double a[16], x[4], y[4];

TEST(DefaultHandlers, FortranInterfacePrintsTheStandardMessageAndStops) {
  outcome o = in_child([] {
    const int m = 2, n = 2, lda = 2, inc = 1;
    const double one = 1;
    dgemv_("Z", &m, &n, &one, a, &lda, x, &inc, &one, y, &inc, 1);
  });
  EXPECT_EQ(o.status, 0);
  EXPECT_EQ(o.out, " ** On entry to DGEMV parameter number  1 had an illegal value\n");
  o = in_child([] {
    const int n = 2, k = 2, lda = 2, ldb = 1, ldc = 2;
    const float one = 1;
    float fa[8] = {}, fb[8] = {}, fc[8] = {};
    ssyr2k_("U", "N", &n, &k, &one, fa, &lda, fb, &ldb, &one, fc, &ldc, 1, 1);
  });
  EXPECT_EQ(o.status, 0);
  EXPECT_EQ(o.out, " ** On entry to SSYR2K parameter number  9 had an illegal value\n");
}

TEST(DefaultHandlers, CInterfacePrintsTheCallersArgumentAndExits) {
  // Row-major: the transposed call reports its own number; the message names the caller's M.
  outcome o = in_child([] {
    cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, -1, 2, 2, 1.0, a, 2, a, 2, 0.0, y, 2);
  });
  EXPECT_EQ(o.status, 255);
  EXPECT_EQ(o.err, "Parameter 4 to routine cblas_dgemm was incorrect\n");
  o = in_child([] {
    cblas_dgemv((CBLAS_LAYOUT)5, CblasNoTrans, 2, 2, 1.0, a, 2, x, 1, 0.0, y, 1);
  });
  EXPECT_EQ(o.status, 255);
  EXPECT_EQ(o.err, "Parameter 1 to routine cblas_dgemv was incorrect\nIllegal layout setting, 5\n");
  o = in_child([] {
    cblas_dger(CblasRowMajor, 2, 2, 1.0, x, 0, y, 1, a, 2);
  });
  EXPECT_EQ(o.err, "Parameter 6 to routine cblas_dger was incorrect\n");
}

}  // namespace
