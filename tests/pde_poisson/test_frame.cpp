// The frame of the Poisson library: init, the checks of commit and solve with their statuses,
// the messages byte for byte in their forms and channels, free, and repeated life cycles.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "zvx_poisson.h"

namespace {

const std::string kRule =
    "\n-------------------------------------------------------------------------------\n";
const std::string kError = kRule + "ZVX POISSON LIBRARY ERROR: ";
const std::string kWarning = kRule + "ZVX POISSON LIBRARY WARNING: ";

struct grid2 {
  int nx, ny;
  std::vector<int> ipar = std::vector<int>(128, 0);
  std::vector<double> dpar;
  std::vector<double> f, ax, bx, ay, by;
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  int stat = 12345;
  grid2(int nx_, int ny_, const char* bc, double q = 1, double lx = 1, double ly = 1)
      : nx(nx_), ny(ny_) {
    dpar.assign(5 * (std::abs(nx) + std::abs(ny)) + 64, 0);
    f.assign(static_cast<size_t>(std::abs(nx) + 1) * (std::abs(ny) + 1), 1.0);
    ax.assign(std::abs(ny) + 1, 0.5);
    bx = ax;
    ay.assign(std::abs(nx) + 1, 0.25);
    by = ay;
    const double a = 0, b = lx, c = 0, d = ly;
    d_init_helmholtz_2d(&a, &b, &c, &d, &nx, &ny, bc, &q, ipar.data(), dpar.data(), &stat);
  }
  void commit() {
    d_commit_helmholtz_2d(f.data(), ax.data(), bx.data(), ay.data(), by.data(), &h, ipar.data(),
                          dpar.data(), &stat);
  }
  void solve() {
    d_helmholtz_2d(f.data(), ax.data(), bx.data(), ay.data(), by.data(), &h, ipar.data(),
                   dpar.data(), &stat);
  }
  void release() { free_helmholtz_2d(&h, ipar.data(), &stat); }
};

std::string capture(const std::function<void()>& body) {
  testing::internal::CaptureStdout();
  body();
  return testing::internal::GetCapturedStdout();
}

TEST(Init, BoundaryCodesAndParameterWords) {
  struct c { const char* bc; int code; int sides[4]; };
  for (const c& k : {c{"DDNN", 3, {0, 0, 1, 1}}, c{"NNNN", 15, {1, 1, 1, 1}},
                     c{"ddnn", 3, {0, 0, 1, 1}}, c{"NdDn", 9, {1, 0, 0, 1}}}) {
    grid2 g(8, 6, k.bc, 2.5, 3.0, 1.5);
    EXPECT_EQ(g.stat, 0);
    EXPECT_EQ(g.ipar[0], 0);
    EXPECT_EQ(g.ipar[3], k.code) << k.bc;
    for (int i = 0; i < 4; ++i) EXPECT_EQ(g.ipar[4 + i], k.sides[i]);
    EXPECT_EQ(g.ipar[10], 8);
    EXPECT_EQ(g.ipar[11], 6);
    EXPECT_EQ(g.ipar[21], 1);
    EXPECT_EQ(g.ipar[22], 1);
    EXPECT_EQ(g.dpar[0], 3.0);
    EXPECT_EQ(g.dpar[1], 1.5);
    EXPECT_EQ(g.dpar[3], 2.5);
    EXPECT_EQ(g.dpar[4], 1e-10);
  }
  // A bad last letter leaves the running status; a bad earlier one a negative code.
  grid2 last(8, 6, "DDDX");
  EXPECT_EQ(last.stat, -99999);
  EXPECT_EQ(last.ipar[0], -99999);
  grid2 first(8, 6, "XDDD");
  EXPECT_EQ(first.stat, 0);
  EXPECT_EQ(first.ipar[4], -1);
  EXPECT_EQ(first.ipar[3], -100);

  std::vector<int> ipar(128, 0);
  std::vector<float> spar(64, 0);
  int stat = 1;
  const float a = 0, b = 1, c = 0, d = 2, e = -1, f = 1, q = 0;
  const int n = 4;
  s_init_helmholtz_3d(&a, &b, &c, &d, &e, &f, &n, &n, &n, "DNdnND", &q, ipar.data(), spar.data(),
                      &stat);
  EXPECT_EQ(stat, 0);
  EXPECT_EQ(ipar[3], 0b010110);
  EXPECT_EQ(ipar[12], 4);
  EXPECT_EQ(spar[2], 2.0f);
  EXPECT_EQ(spar[4], 1e-4f);
}

TEST(Init, SphericalDomainsAndThePoles) {
  std::vector<int> ipar(128, 0);
  std::vector<double> dpar(64, 0);
  int stat = 1;
  const double ap = 0, bp = 6.283185307179586, at = 0, pi = 3.141592653589793, q = 0.5;
  const int np = 8, nt = 4;
  d_init_sph_p(&ap, &bp, &at, &pi, &np, &nt, &q, ipar.data(), dpar.data(), &stat);
  EXPECT_EQ(stat, 0);
  EXPECT_EQ(ipar[3], 0);
  EXPECT_EQ(dpar[1], pi);
  EXPECT_EQ(dpar[2], 0.0);
  const double bt = pi - 0.1;
  d_init_sph_p(&ap, &bp, &at, &bt, &np, &nt, &q, ipar.data(), dpar.data(), &stat);
  EXPECT_EQ(ipar[3], 1);
  d_init_sph_np(&ap, &bp, &at, &pi, &np, &nt, &q, ipar.data(), dpar.data(), &stat);
  EXPECT_EQ(ipar[3], 1);
  EXPECT_EQ(ipar[10], 8);
  EXPECT_EQ(ipar[11], 4);
}

TEST(Commit2D, ChecksInOrderWithTheirStatuses) {
  {
    grid2 g(1, 4, "DDDD");
    const std::string out = capture([&] { g.commit(); });
    EXPECT_EQ(g.stat, -100);
    EXPECT_EQ(g.ipar[0], -100);
    EXPECT_EQ(out, kError +
                       "\nParameter ipar[10]=1 (the number of intervals in x-direction)\n"
                       "should be an even number. Please assign a proper value to the parameter 'nx'\n"
                       "during initialization stage. Computations has been stopped. The result may be\n"
                       "wrong.\n");
  }
  {
    grid2 g(0, 4, "DDDD");
    const std::string out = capture([&] { g.commit(); });
    EXPECT_EQ(g.stat, -100);
    EXPECT_EQ(out, kError +
                       "\nParameter ipar[10]=0 (the number of intervals in x-direction)\n"
                       "should be a positive integer. Probably, parameter was altered by mistake\n"
                       "outside the routine, or the wrong value was assigned to the parameter 'nx'\n"
                       "during initialization stage. Computations has been stopped. The result may be\n"
                       "wrong.\n");
  }
  {
    grid2 g(4, 0, "DDDD");
    capture([&] { g.commit(); });
    EXPECT_EQ(g.stat, -100);
  }
  {
    grid2 g(4, 4, "XDDD");
    const std::string out = capture([&] { g.commit(); });
    EXPECT_EQ(g.stat, -100);
    EXPECT_EQ(out, kError +
                       "\nParameter ipar[3]=-100 is out of admissible range {0,...,15}.\n"
                       "Probably, it was altered by mistake outside the routine, or some characters in\n"
                       "the parameter 'BCtype' were out of admissible range {D,N} during initialization\n"
                       "stage. Computations has been stopped. The result may be wrong.\n");
  }
  {
    grid2 g(4, 4, "DDDD");
    g.ipar[5] = 2;
    const std::string out = capture([&] { g.commit(); });
    EXPECT_EQ(out, kError +
                       "\nParameter ipar[5]=2 is out of admissible range {0,1}. Probably,\n"
                       "it was altered by mistake outside the routine, or the second character in the\n"
                       "parameter 'BCtype' was out of admissible range {D,N} during initialization\n"
                       "stage. Computations has been stopped. The result may be wrong.\n");
  }
  {
    grid2 g(4, 4, "DDDD");
    g.ipar[3] = 1;
    const std::string out = capture([&] { g.commit(); });
    EXPECT_EQ(out, kError +
                       "\nParameters ipar[3]=1 and ipar[4]--ipar[7]=0000 does not agree.\n"
                       "Probably, some of the parameters were altered by mistake outside the routine.\n"
                       "Computations has been stopped. The result may be wrong.\n");
  }
  {
    grid2 g(4, 4, "DDDD", 1, -1.0);
    const std::string out = capture([&] { g.commit(); });
    EXPECT_EQ(g.stat, -100);
    EXPECT_EQ(out, kError +
                       "\nParameter dpar[0]=-1.000000e+00 (the size of the domain along x-direction)\n"
                       "should be positive. Probably, parameter was altered by mistake outside the\n"
                       "routine, or the wrong values were assigned to the parameters 'ax' and 'bx'\n"
                       "during initialization stage. Computations has been stopped. The result may be\n"
                       "wrong.\n");
  }
  {
    // Init stopped before it set the message form: the caller's zero selects the one-based form.
    grid2 g(4, 4, "DDDX");
    const std::string out = capture([&] { g.commit(); });
    EXPECT_EQ(g.stat, -10000);
    EXPECT_EQ(out, kError +
                       "\nA call to the previous Poisson Library routine has failed or has not been\n"
                       "done. It is also possible that parameter ipar(1) was altered by mistake outside\n"
                       "the routine. Cannot proceed with computations...\n");
  }
  {
    // A negative q warns; with the warnings off it is only the status.
    grid2 g(4, 4, "DDDD", -1);
    const std::string out = capture([&] { g.commit(); });
    EXPECT_EQ(g.stat, 1);
    EXPECT_EQ(g.ipar[0], 1);
    EXPECT_EQ(out, kWarning +
                       "\nHelmholtz coefficient dpar[3]=-1.000000e+00 should be non-negative.\n"
                       "Otherwise, Poisson Library may fail to proceed and/or the result may be\n"
                       "wrong...\n");
    // The warning blocks a second commit, not the solve.
    capture([&] { g.commit(); });
    EXPECT_EQ(g.stat, -10000);
    g.release();
    grid2 s(4, 4, "DDDD", -1);
    s.ipar[2] = 0;
    EXPECT_EQ(capture([&] { s.commit(); }), "");
    EXPECT_EQ(s.stat, 1);
    s.solve();
    EXPECT_EQ(s.stat, 0);
    EXPECT_EQ(s.ipar[0], 0);
    s.release();
  }
  {
    grid2 g(2, 1, "DDDD");
    g.commit();
    EXPECT_EQ(g.stat, 0);
    EXPECT_EQ(g.ipar[13], 6);
    EXPECT_EQ(g.ipar[14], 8);
    EXPECT_EQ(g.ipar[17], 9);
    EXPECT_EQ(g.ipar[18], 3 + 2 + 7);
    EXPECT_EQ(g.dpar[0], 0.5);
    EXPECT_EQ(g.dpar[1], 1.0);
    g.release();
    EXPECT_EQ(g.stat, 0);
  }
}

TEST(Messages, FormsAndChannels) {
  // One-based form of the single routines.
  std::vector<int> ipar(128, 0);
  std::vector<float> spar(64, 0);
  int stat = 0;
  const float a = 1, b = 0, q = 0;
  const int n = 4;
  s_init_helmholtz_2d(&a, &b, &b, &a, &n, &n, "DDDD", &q, ipar.data(), spar.data(), &stat);
  ipar[21] = 0;
  std::vector<float> f(25, 0), bd(5, 0);
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  const std::string out = capture([&] {
    s_commit_helmholtz_2d(f.data(), bd.data(), bd.data(), bd.data(), bd.data(), &h, ipar.data(),
                          spar.data(), &stat);
  });
  EXPECT_EQ(stat, -100);
  EXPECT_EQ(out, kError +
                     "\nParameter spar(1)=-1.000000e+00 (the size of the domain along x-direction)\n"
                     "should be positive. Probably, parameter was altered by mistake outside the\n"
                     "routine, or the wrong values were assigned to the parameters 'ax' and 'bx'\n"
                     "during initialization stage. Computations has been stopped. The result may be\n"
                     "wrong.\n");
  // Errors silent: nothing printed, the status stays.
  ipar[0] = 0;
  ipar[1] = 0;
  EXPECT_EQ(capture([&] {
              s_commit_helmholtz_2d(f.data(), bd.data(), bd.data(), bd.data(), bd.data(), &h,
                                    ipar.data(), spar.data(), &stat);
            }),
            "");
  EXPECT_EQ(stat, -100);
}

TEST(Messages, NegativeSwitchAppendsToTheLogFile) {
  char dir[] = "/tmp/zvx_poisson_logXXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  char old[4096];
  ASSERT_NE(getcwd(old, sizeof old), nullptr);
  ASSERT_EQ(chdir(dir), 0);
  grid2 g(3, 4, "DDDD");
  g.ipar[1] = -1;
  EXPECT_EQ(capture([&] { g.commit(); }), "");
  g.ipar[0] = 0;
  g.commit();
  std::ifstream in("ZVX_Poisson_Library_Log.txt");
  std::stringstream text;
  text << in.rdbuf();
  const std::string one = kError +
                          "\nParameter ipar[10]=3 (the number of intervals in x-direction)\n"
                          "should be an even number. Please assign a proper value to the parameter 'nx'\n"
                          "during initialization stage. Computations has been stopped. The result may be\n"
                          "wrong.\n";
  EXPECT_EQ(text.str(), one + one);
  unlink("ZVX_Poisson_Library_Log.txt");
  ASSERT_EQ(chdir(old), 0);
  rmdir(dir);
}

TEST(Solve2D, StateAndPositionChecks) {
  {
    grid2 g(4, 4, "DDDD");
    g.ipar[0] = -100;
    const std::string out = capture([&] { g.solve(); });
    EXPECT_EQ(g.stat, -10000);
    EXPECT_NE(out.find("A call to the previous Poisson Library routine has failed"),
              std::string::npos);
  }
  // A changed position word warns and the solve goes on to the same result.
  grid2 ref(6, 5, "DNND");
  ref.commit();
  ref.solve();
  EXPECT_EQ(ref.stat, 0);
  grid2 g(6, 5, "DNND");
  g.commit();
  g.ipar[14] += 1;
  const std::string out = capture([&] { g.solve(); });
  EXPECT_EQ(g.stat, 1);
  EXPECT_EQ(out, kWarning +
                     "\nProbably, some values ipar[10]-ipar[20] were altered by mistake outside the\n"
                     "routine. The computations may fail to proceed and/or the result may be wrong...\n");
  EXPECT_EQ(g.f, ref.f);
  // A code out of range after commit stops the solve.
  grid2 c(4, 4, "DDDD");
  c.commit();
  c.ipar[3] = 16;
  const std::string bad = capture([&] { c.solve(); });
  EXPECT_EQ(c.stat, -100);
  EXPECT_EQ(bad, kError +
                     "\nParameter ipar[3]=16 was altered outside the routine or commit\n"
                     "routine was not called. Computations has been stopped. The result may be wrong.\n");
  c.ipar[10] = 0;
  c.ipar[0] = 0;
  capture([&] { c.solve(); });
  EXPECT_EQ(c.stat, -100);
  c.ipar[10] = 4;
  c.release();
  ref.release();
  g.release();
}

TEST(Free, FailureOfTheTransformsIsReported) {
  grid2 g(4, 4, "DDDD");
  g.commit();
  g.release();
  EXPECT_EQ(g.stat, 0);
  // The handle is gone: a second release fails in the transform layer.
  const std::string out = capture([&] { g.release(); });
  EXPECT_EQ(g.stat, -1000);
  EXPECT_EQ(g.ipar[0], -1000);
  EXPECT_NE(out.find(kError + "\nFatal error: Trigonometric Transforms has failed to release the "
                              "memory. Error\ncode = "),
            std::string::npos);
}

TEST(Commit3D, ChecksAndCodeWords) {
  std::vector<int> ipar(128, 0);
  std::vector<double> dpar(128, 0);
  std::vector<double> f(9 * 9 * 9, 0), bd(81, 0);
  DFTI_DESCRIPTOR_HANDLE xh = nullptr, yh = nullptr;
  int stat = 0;
  auto attempt = [&](int nx, int ny, int nz, const char* bc, double lz) {
    const double a = 0, b = 1, z = lz, q = 0;
    d_init_helmholtz_3d(&a, &b, &a, &b, &a, &z, &nx, &ny, &nz, bc, &q, ipar.data(), dpar.data(),
                        &stat);
    return capture([&] {
      d_commit_helmholtz_3d(f.data(), bd.data(), bd.data(), bd.data(), bd.data(), bd.data(),
                            bd.data(), &xh, &yh, ipar.data(), dpar.data(), &stat);
    });
  };
  std::string out = attempt(4, 4, 0, "DDDDDD", 1);
  EXPECT_EQ(stat, -100);
  EXPECT_NE(out.find("\nParameter ipar[12]=0 (the number of intervals in z-direction)\n"),
            std::string::npos);
  out = attempt(4, 3, 2, "DDDDDD", 1);
  EXPECT_EQ(stat, -100);
  EXPECT_NE(out.find("\nParameter ipar[11]=3 (the number of intervals in theta-direction)\n"
                     "should be an even number. Please assign a proper value to the parameter 'nt'\n"),
            std::string::npos);
  out = attempt(4, 4, 2, "DDDDDD", -2);
  EXPECT_NE(out.find("\nParameter dpar[2]=-2.000000e+00 (the size of the domain along z-direction)\n"),
            std::string::npos);
  attempt(4, 4, 2, "DDDDDD", 1);
  EXPECT_EQ(stat, 0);
  free_helmholtz_3d(&xh, &yh, ipar.data(), &stat);
  EXPECT_EQ(stat, 0);
  const double a = 0, b = 1, q = 0;
  const int n = 4;
  d_init_helmholtz_3d(&a, &b, &a, &b, &a, &b, &n, &n, &n, "DDDDDN", &q, ipar.data(), dpar.data(),
                      &stat);
  ipar[9] = 0;
  out = capture([&] {
    d_commit_helmholtz_3d(f.data(), bd.data(), bd.data(), bd.data(), bd.data(), bd.data(),
                          bd.data(), &xh, &yh, ipar.data(), dpar.data(), &stat);
  });
  EXPECT_NE(out.find("\nParameters ipar[3]=1 and ipar[4]--ipar[9]=000000 does not agree.\n"),
            std::string::npos);
  ipar[0] = 0;
  ipar[3] = 64;
  out = capture([&] {
    d_commit_helmholtz_3d(f.data(), bd.data(), bd.data(), bd.data(), bd.data(), bd.data(),
                          bd.data(), &xh, &yh, ipar.data(), dpar.data(), &stat);
  });
  EXPECT_NE(out.find(" is out of admissible range {0,...,63}.\n"), std::string::npos);
}

TEST(CommitSph, ChecksOfBothKinds) {
  std::vector<int> ipar(128, 0);
  std::vector<double> dpar(128, 0);
  std::vector<double> f(13 * 13, 0);
  DFTI_DESCRIPTOR_HANDLE h1 = nullptr, h2 = nullptr;
  int stat = 0;
  const double ap = 0, bp = 6.283185307179586, at = 0.1, bt = 3.0, q = 1;
  const int six = 6, four = 4, zero = 0, seven = 7;
  d_init_sph_p(&ap, &bp, &at, &bt, &six, &four, &q, ipar.data(), dpar.data(), &stat);
  std::string out = capture([&] { d_commit_sph_p(f.data(), &h1, &h2, ipar.data(), dpar.data(), &stat); });
  EXPECT_EQ(stat, -100);
  EXPECT_EQ(out, kError +
                     "\nParameter ipar[10]=6 (the number of intervals in phi-direction)\n"
                     "should be divisible by 4. Please assign a proper value to the parameter 'nx'\n"
                     "during initialization stage. Computations has been stopped. The result may be\n"
                     "wrong.\n");
  d_init_sph_p(&ap, &bp, &at, &bt, &four, &zero, &q, ipar.data(), dpar.data(), &stat);
  out = capture([&] { d_commit_sph_p(f.data(), &h1, &h2, ipar.data(), dpar.data(), &stat); });
  EXPECT_NE(out.find("\nParameter ipar[11]=0 (the number of intervals in y-direction)\n"),
            std::string::npos);
  d_init_sph_np(&ap, &bp, &at, &bt, &seven, &four, &q, ipar.data(), dpar.data(), &stat);
  out = capture([&] { d_commit_sph_np(f.data(), &h1, ipar.data(), dpar.data(), &stat); });
  EXPECT_NE(out.find("\nParameter ipar[10]=7 (the number of intervals in phi-direction)\n"
                     "should be an even number. Please assign a proper value to the parameter 'np'\n"),
            std::string::npos);
  d_init_sph_np(&ap, &bp, &at, &bt, &four, &zero, &q, ipar.data(), dpar.data(), &stat);
  out = capture([&] { d_commit_sph_np(f.data(), &h1, ipar.data(), dpar.data(), &stat); });
  EXPECT_NE(out.find("(the number of intervals in theta-direction)\n"), std::string::npos);
  d_init_sph_p(&ap, &bp, &bt, &at, &four, &four, &q, ipar.data(), dpar.data(), &stat);
  out = capture([&] { d_commit_sph_p(f.data(), &h1, &h2, ipar.data(), dpar.data(), &stat); });
  EXPECT_NE(out.find("\nParameter dpar[1]=-2.900000e+00 (the size of the domain along theta-direction)\n"
                     "should be positive. Probably, parameter was altered by mistake outside the\n"
                     "routine, or the wrong values were assigned to the parameters 'at' and 'bt'\n"),
            std::string::npos);
  // A wrong state and a negative q, in the spherical numbers.
  d_init_sph_p(&ap, &bp, &at, &bt, &four, &four, &q, ipar.data(), dpar.data(), &stat);
  ipar[0] = 5;
  out = capture([&] { d_sph_p(f.data(), &h1, &h2, ipar.data(), dpar.data(), &stat); });
  EXPECT_EQ(stat, -10000);
  const double mq = -1;
  d_init_sph_np(&ap, &bp, &at, &bt, &four, &four, &mq, ipar.data(), dpar.data(), &stat);
  out = capture([&] { d_commit_sph_np(f.data(), &h1, ipar.data(), dpar.data(), &stat); });
  EXPECT_EQ(stat, 1);
  EXPECT_NE(out.find(kWarning + "\nHelmholtz coefficient dpar[3]="), std::string::npos);
  free_sph_np(&h1, ipar.data(), &stat);
  EXPECT_EQ(stat, 0);
}

TEST(Lifecycle, RepeatedCyclesAndFailurePathsReleaseEverything) {
  for (int round = 0; round < 40; ++round) {
    grid2 g(8 + 2 * (round % 3), 5, round % 2 ? "NDND" : "DNNN", 0.5);
    g.commit();
    ASSERT_EQ(g.stat, 0);
    g.solve();
    ASSERT_EQ(g.stat, 0);
    g.release();
    ASSERT_EQ(g.stat, 0);
    grid2 bad(3, 5, "DDDD");
    capture([&] { bad.commit(); });
    ASSERT_EQ(bad.stat, -100);
  }
}

}  // namespace
