// The entries without the arithmetic: init, the checks and warnings of commit in their order,
// the refusals of forward and backward, free, and every message in its four forms on the console
// or in the log file. Commits here mostly leave ipar[7] at 0, so that no descriptor is involved.
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "trig_test_support.h"

using namespace trig_test;

namespace {

const DFTI_DESCRIPTOR_HANDLE kUntouched = reinterpret_cast<DFTI_DESCRIPTOR_HANDLE>(0x1230);

template <class R>
state<R> checks_only(int n, int type) {
  state<R> s(n, type);
  s.ipar[7] = 0;
  s.handle = kUntouched;
  return s;
}

}  // namespace

TEST(TrigInit, FillsItsEntriesAndNothingElse) {
  for (int n : {8, -5, 0, 7}) {
    state<double> d(n, 9);
    EXPECT_EQ(d.stat, 0);
    const int want[10] = {n, 1, 1, -77, -77, 9, 0, 1, 1, 1};
    for (int i = 0; i < 10; ++i) EXPECT_EQ(d.ipar[i], want[i]) << i;
    EXPECT_EQ(d.ipar[10], -77);
    EXPECT_EQ(d.dpar[0], n * 1e-12);
    EXPECT_EQ(d.dpar[1], -7.0);
    EXPECT_EQ(d.dpar[2], -7.0);

    state<float> s(n, 2);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(s.ipar[i], i == 5 ? 2 : want[i]) << i;
    EXPECT_EQ(s.dpar[0], float(n) * 1e-5f);
    EXPECT_EQ(s.dpar[1], -7.0f);
  }
  // The second spelling, and init clears a blocked status.
  int ipar[10] = {}, n = 6, type = 1, st = -1;
  ipar[6] = -10000;
  double dpar[2] = {0, 0};
  _d_init_trig_transform(&n, &type, ipar, dpar, &st);
  EXPECT_EQ(ipar[6], 0);
  EXPECT_EQ(ipar[0], 6);
  EXPECT_EQ(dpar[0], 6e-12);
  float spar[2] = {0, 0};
  _s_init_trig_transform(&n, &type, ipar, spar, &st);
  EXPECT_EQ(spar[0], 6.0f * 1e-5f);
  EXPECT_EQ(st, 0);
}

TEST(TrigCommit, SizeAndTypeChecksInOrder) {
  struct row {
    int n, type;
    std::string body;
  };
  const row rows[] = {
      {0, 3, "\nThe dimension of the trigonometric transform 0 should be \n"
             "a positive even integer number.\n"},
      {-4, 0, "\nThe dimension of the trigonometric transform -4 should be \n"
              "a positive even integer number.\n"},
      {3, 3, "\nThe dimension of the trigonometric transform 3 should be an even\n"
             "integer number.\n"},
      {4, 3, "\nThe type of the trigonometric transform 3 is out of admissible\n"
             "range {0,1,2}. Either parameter tt_type in the d_init_trig_transform routine\n"
             "had the wrong value or the parameter ipar[5] was altered by mistake outside\n"
             "the d_commit_trig_transform routine\n"},
      {4, -1, "\nThe type of the trigonometric transform -1 is out of admissible\n"
              "range {0,1,2}. Either parameter tt_type in the d_init_trig_transform routine\n"
              "had the wrong value or the parameter ipar[5] was altered by mistake outside\n"
              "the d_commit_trig_transform routine\n"}};
  for (const row& r : rows) {
    state<double> s = checks_only<double>(r.n, r.type);
    std::vector<double> f(8, 0.0);
    EXPECT_EQ(console_of([&] { s.commit(f.data()); }), error_text(r.body));
    EXPECT_EQ(s.stat, -100);
    EXPECT_EQ(s.ipar[6], -100);
    EXPECT_EQ(s.handle, kUntouched);
  }
  // The one-based single form of the type message, and silence with ipar[1] = 0.
  state<float> s = checks_only<float>(4, 3);
  s.ipar[8] = 0;
  std::vector<float> f(5, 0.0f);
  EXPECT_EQ(console_of([&] { s.commit(f.data()); }),
            error_text("\nThe type of the trigonometric transform 3 is out of admissible\n"
                       "range {0,1,2}. Either parameter tt_type in the s_init_trig_transform "
                       "routine\nhad the wrong value or the parameter ipar(6) was altered by "
                       "mistake outside\nthe s_commit_trig_transform routine\n"));
  state<float> quiet = checks_only<float>(3, 0);
  quiet.ipar[1] = 0;
  EXPECT_EQ(console_of([&] { quiet.commit(f.data()); }), "");
  EXPECT_EQ(quiet.stat, -100);
}

TEST(TrigCommit, RefusesABlockedStatus) {
  state<double> s = checks_only<double>(8, 0);
  s.ipar[6] = 5;
  std::vector<double> f(9, 0.0);
  EXPECT_EQ(console_of([&] { s.commit(f.data()); }),
            error_text("\nInitialization has failed to complete, or the parameter ipar[6]=5\n"
                       "was altered by mistake outside the d_commit_trig_transform routine \n"));
  EXPECT_EQ(s.stat, -10000);
  EXPECT_EQ(s.ipar[6], -10000);
  state<float> t = checks_only<float>(8, 0);
  t.ipar[6] = -1;
  t.ipar[8] = 0;
  std::vector<float> g(9, 0.0f);
  EXPECT_EQ(console_of([&] { t.commit(g.data()); }),
            error_text("\nInitialization has failed to complete, or the parameter ipar(7)=-1\n"
                       "was altered by mistake outside the s_commit_trig_transform routine \n"));
}

TEST(TrigCommit, ToleranceOfTheSineType) {
  const std::string w300 =
      "\nThe tolerance parameter dpar[0]=-1.000000e+00 is out of admissible range\n"
      "[0,infinity). Either the d_init_trig_transform routine was not called,\n"
      "or the parameter dpar[0] was altered by mistake outside\n"
      "the d_commit_trig_transform routine. Assigning to dpar[0] the default value\n"
      "8.000000e-12 ...\n";
  std::vector<double> f(9, 0.0);
  {  // A negative tolerance is replaced; silently with ipar[2] = 0.
    state<double> s = checks_only<double>(8, 0);
    s.dpar[0] = -1;
    EXPECT_EQ(console_of([&] { s.commit(f.data()); }), warning_text(w300));
    EXPECT_EQ(s.stat, 10);
    EXPECT_EQ(s.ipar[6], 10);
    EXPECT_EQ(s.dpar[0], 8e-12);
    state<double> q = checks_only<double>(8, 0);
    q.dpar[0] = std::nan("");
    q.ipar[2] = 0;
    EXPECT_EQ(console_of([&] { q.commit(f.data()); }), "");
    EXPECT_EQ(q.stat, 10);
    EXPECT_EQ(q.dpar[0], 8e-12);
  }
  {  // End values: equal to the tolerance passes, above it warns, each end on its own.
    state<double> s = checks_only<double>(8, 0);
    s.dpar[0] = 0.5;
    f[0] = 0.5;
    f[8] = -0.5;
    EXPECT_EQ(console_of([&] { s.commit(f.data()); }), "");
    EXPECT_EQ(s.stat, 0);
    f[0] = -0.75;
    f[8] = 2;
    state<double> t = checks_only<double>(8, 0);
    EXPECT_EQ(console_of([&] { t.commit(f.data()); }),
              warning_text("\nThe input vector value |f[0]|=7.500000e-01 is bigger than the "
                           "tolerance\nparameter dpar[0]=8.000000e-12. The SINE TRANSFORM may be "
                           "not suitable for\nthis data vector...\n") +
                  warning_text("\nThe input vector value |f[ipar[0]]|=2.000000e+00 is bigger "
                               "than the tolerance\nparameter dpar[0]=8.000000e-12. The SINE "
                               "TRANSFORM may be not suitable for\nthis data vector...\n"));
    EXPECT_EQ(t.stat, 1);
    EXPECT_EQ(t.ipar[6], 1);
    EXPECT_EQ(f[0], -0.75);  // f is read only
  }
  {  // Both: a replaced tolerance and an end value above it.
    state<double> s = checks_only<double>(8, 0);
    s.dpar[0] = -2;
    s.ipar[2] = 0;
    f[0] = 0;
    f[8] = 1e-3;
    s.commit(f.data());
    EXPECT_EQ(s.stat, 11);
  }
  {  // The one-based single forms.
    state<float> s = checks_only<float>(8, 0);
    s.ipar[8] = 0;
    s.dpar[0] = -1;
    std::vector<float> g(9, 0.0f);
    g[8] = 3;
    EXPECT_EQ(console_of([&] { s.commit(g.data()); }),
              warning_text("\nThe tolerance parameter spar(1)=-1.000000e+00 is out of "
                           "admissible range\n[0,infinity). Either the s_init_trig_transform "
                           "routine was not called,\nor the parameter spar(1) was altered by "
                           "mistake outside\nthe s_commit_trig_transform routine. Assigning to "
                           "spar(1) the default value\n8.000000e-05 ...\n") +
                  warning_text("\nThe input vector value |f(ipar(1))|=3.000000e+00 is bigger "
                               "than the tolerance\nparameter spar(1)=8.000000e-05. The SINE "
                               "TRANSFORM may be not suitable for\nthis data vector...\n"));
    EXPECT_EQ(s.stat, 11);
    EXPECT_EQ(s.dpar[0], 8.0f * 1e-5f);
    state<float> t = checks_only<float>(8, 0);
    t.ipar[8] = 0;
    g[8] = 0;
    g[0] = 1;
    EXPECT_EQ(console_of([&] { t.commit(g.data()); }),
              warning_text("\nThe input vector value |f(1)|=1.000000e+00 is bigger than the "
                           "tolerance\nparameter spar(1)=8.000000e-05. The SINE TRANSFORM may be "
                           "not suitable for\nthis data vector...\n"));
  }
}

TEST(TrigCommit, ToleranceOfTheOtherTypes) {
  std::vector<double> f(9, 5.0);
  // Staggered: only the last value, with its own text.
  state<double> s = checks_only<double>(8, 2);
  EXPECT_EQ(console_of([&] { s.commit(f.data()); }),
            warning_text("\nThe input vector value |f[ipar[0]]|=5.000000e+00 is bigger than the "
                         "tolerance\nparameter dpar[0]=8.000000e-12. The STAGGERED COSINE "
                         "TRANSFORM may be\nnot suitable for this data vector...\n"));
  EXPECT_EQ(s.stat, 1);
  f[8] = 0;
  state<double> t = checks_only<double>(8, 2);
  t.dpar[0] = -1;
  t.ipar[2] = 0;
  t.commit(f.data());
  EXPECT_EQ(t.stat, 10);
  // Cosine: no check at all, dpar[0] not read.
  state<double> c = checks_only<double>(8, 1);
  c.dpar[0] = -1;
  f[8] = 5;
  EXPECT_EQ(console_of([&] { c.commit(f.data()); }), "");
  EXPECT_EQ(c.stat, 0);
  EXPECT_EQ(c.dpar[0], -1.0);
}

TEST(TrigCommit, ThreadCountAndChecksOnly) {
  std::vector<double> f(9, 0.0);
  state<double> s = checks_only<double>(8, 1);
  s.ipar[9] = -3;
  EXPECT_EQ(console_of([&] { s.commit(f.data()); }),
            warning_text("\nThe number of OMP threads defined by parameter ipar[9]=-3 should be\n"
                         "a non-negative integer. Assigning to the parameter ipar[9] the default "
                         "value\n1...\n"));
  EXPECT_EQ(s.stat, 10);
  EXPECT_EQ(s.ipar[9], 1);
  state<float> t = checks_only<float>(8, 1);
  t.ipar[9] = -1;
  t.ipar[8] = 0;
  std::vector<float> g(9, 0.0f);
  EXPECT_EQ(console_of([&] { t.commit(g.data()); }),
            warning_text("\nThe number of OMP threads defined by parameter ipar(10)=-1 should "
                         "be\na non-negative integer. Assigning to the parameter ipar(10) the "
                         "default value\n1...\n"));
  state<double> z = checks_only<double>(8, 1);
  z.ipar[9] = 0;
  z.commit(f.data());
  EXPECT_EQ(z.stat, 0);
  EXPECT_EQ(z.ipar[9], 0);
  // ipar[7] = 0: tables and handle as they were, for every type.
  for (int type : {0, 1, 2}) {
    state<double> c = checks_only<double>(8, type);
    c.commit(f.data());
    EXPECT_EQ(c.stat, 0);
    EXPECT_EQ(c.handle, kUntouched);
    for (size_t i = 1; i < c.dpar.size(); ++i) EXPECT_EQ(c.dpar[i], -7.0) << i;
  }
}

TEST(TrigTransform, RefusalsBeforeAnyWork) {
  std::vector<double> f(9, 0.0);
  f[0] = 1;
  state<double> s = checks_only<double>(8, 0);
  s.ipar[2] = 0;
  s.commit(f.data());
  ASSERT_EQ(s.stat, 1);
  const std::vector<double> before = f;
  const std::string blocked =
      "\nThe previous call to an ZVX Trigonometric Transform routine produced an error\n"
      "code, or the parameter ipar[6]=1 was altered by mistake outside\n"
      "the routine. If you are sure that everything is correct, you may force the\n"
      "routine to work by setting ipar[6]=0 before the call to this routine\n";
  EXPECT_EQ(console_of([&] { s.forward(f.data()); }), error_text(blocked));
  EXPECT_EQ(s.stat, -10000);
  EXPECT_EQ(s.ipar[6], -10000);
  s.ipar[6] = 1;
  EXPECT_EQ(console_of([&] { s.backward(f.data()); }), error_text(blocked));
  EXPECT_EQ(s.stat, -10000);
  EXPECT_EQ(f, before);
  // A type altered after commit.
  s.ipar[6] = 0;
  s.ipar[5] = 4;
  EXPECT_EQ(console_of([&] { s.forward(f.data()); }),
            error_text("\nThe type of the trigonometric transform 4 is out of admissible\n"
                       "range {0,1,2}. Either parameter tt_type in the d_init_trig_transform "
                       "routine\nhad the wrong value or the parameter ipar[5] was altered by "
                       "mistake outside\nthe d_commit_trig_transform routine\n"));
  EXPECT_EQ(s.stat, -100);
  EXPECT_EQ(f, before);
  // The one-based single form of the refusal.
  state<float> t = checks_only<float>(8, 1);
  t.ipar[6] = -100;
  t.ipar[8] = 0;
  std::vector<float> g(9, 0.0f);
  EXPECT_EQ(console_of([&] { t.backward(g.data()); }),
            error_text("\nThe previous call to an ZVX Trigonometric Transform routine produced an "
                       "error\ncode, or the parameter ipar(7)=-100 was altered by mistake outside\n"
                       "the routine. If you are sure that everything is correct, you may force "
                       "the\nroutine to work by setting ipar(7)=0 before the call to this "
                       "routine\n"));
}

// A forward transform on a slot without a descriptor: the DFT layer refuses, the status is
// -1000 with its text in message 1001, and free reports the same way.
TEST(TrigTransform, DftFailuresAndFree) {
  std::vector<double> f(9, 0.25);
  state<double> s = checks_only<double>(8, 1);
  s.commit(f.data());
  s.handle = nullptr;
  const std::string out = console_of([&] { s.forward(f.data()); });
  EXPECT_EQ(s.stat, -1000);
  EXPECT_EQ(s.ipar[6], -1000);
  const std::string head = error_text("\nFatal error (error message = ");
  ASSERT_EQ(out.size(), head.size() + 40 + 4);
  EXPECT_EQ(out.substr(0, head.size()), head);
  EXPECT_EQ(out.substr(head.size() + 40), "). \n");

  // Free does not look at ipar[6]; a null slot fails with the DFT layer's text.
  s.ipar[8] = 0;
  EXPECT_EQ(console_of([&] { free_trig_transform(&s.handle, s.ipar, &s.stat); }),
            error_text("\nFatal error (error message = " + dft_text(DFTI_INCONSISTENT_CONFIGURATION) +
                       "). \n"));
  EXPECT_EQ(s.stat, -1000);
  EXPECT_EQ(s.ipar[6], -1000);
  s.ipar[1] = 0;
  EXPECT_EQ(console_of([&] { _free_trig_transform(&s.handle, s.ipar, &s.stat); }), "");
  EXPECT_EQ(s.stat, -1000);

  // A descriptor created by commit is released by free whatever commit's status, and free
  // then reports 0; repeated, nothing leaks (the sanitizer build checks).
  for (int round = 0; round < 20; ++round)
    for (int type : {0, 1, 2}) {
      state<double> d(16, type);
      d.ipar[9] = 1 + round % 3;
      d.ipar[1] = 0;
      std::vector<double> g(17, 0.0);
      d.commit(g.data());
      ASSERT_NE(d.handle, nullptr);
      d.ipar[6] = -3;
      free_trig_transform(&d.handle, d.ipar, &d.stat);
      EXPECT_EQ(d.stat, 0);
      EXPECT_EQ(d.ipar[6], 0);
      EXPECT_EQ(d.handle, nullptr);
      state<float> e(16, type);
      e.ipar[1] = 0;
      std::vector<float> h(17, 0.0f);
      e.commit(h.data());
      _free_trig_transform(&e.handle, e.ipar, &e.stat);
      EXPECT_EQ(e.stat, 0);
    }
}

// Negative switches append to the log file in the working directory; when it cannot be opened
// the console says so instead.
TEST(TrigMessages, LogFile) {
  char dir[] = "/tmp/trig_log_XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  char old[4096];
  ASSERT_NE(getcwd(old, sizeof old), nullptr);
  ASSERT_EQ(chdir(dir), 0);
  std::vector<double> f(9, 0.0);
  state<double> s = checks_only<double>(3, 0);
  s.ipar[1] = -1;
  s.ipar[2] = -1;
  EXPECT_EQ(console_of([&] { s.commit(f.data()); }), "");
  s.ipar[6] = 0;
  s.ipar[0] = 8;
  s.ipar[9] = -2;
  EXPECT_EQ(console_of([&] { s.commit(f.data()); }), "");
  std::ifstream in("ZVX_Trig_Transforms_Log.txt", std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_EQ(text.str(),
            error_text("\nThe dimension of the trigonometric transform 3 should be an even\n"
                       "integer number.\n") +
                warning_text("\nThe number of OMP threads defined by parameter ipar[9]=-2 should "
                             "be\na non-negative integer. Assigning to the parameter ipar[9] the "
                             "default value\n1...\n"));
  in.close();
  ASSERT_EQ(std::remove("ZVX_Trig_Transforms_Log.txt"), 0);
  ASSERT_EQ(mkdir("ZVX_Trig_Transforms_Log.txt", 0700), 0);  // cannot be opened as a file
  s.ipar[6] = 0;
  s.ipar[0] = 0;
  EXPECT_EQ(console_of([&] { s.commit(f.data()); }),
            "Cannot create file ZVX_Trig_Transform_Log.txt ...\n"
            "An error/warning message cannot be saved in the file. \n");
  EXPECT_EQ(s.stat, -100);
  rmdir("ZVX_Trig_Transforms_Log.txt");
  ASSERT_EQ(chdir(old), 0);
  rmdir(dir);
}
