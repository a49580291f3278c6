// Which companion file the library loads, from the processor class and the configuration file,
// and the messages that end the process when it cannot. The library finds all this once per
// process, so every case runs in a child process with its own environment; this process itself
// never binds the companion.
#include <cpuid.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "common/capture.h"
#include "nvo_test_support.h"

namespace {

const std::string kLibraryDir = ZVX_TEST_LIBRARY_DIR;
const std::string kVariantDir = ZVX_TEST_VARIANT_DIR;
// The processor-class override of the binding (its name is stored scrambled in the library).
constexpr const char* kClassVariable = "ZVX_NVO_PROC_CLASS";

struct temp_dir {
  std::string path;
  temp_dir() {
    char tmpl[] = "/tmp/zvx_nvo_cfgXXXXXX";
    path = mkdtemp(tmpl);
  }
  ~temp_dir() {
    remove((path + "/zvx.cfg").c_str());
    rmdir(path.c_str());
  }
  std::string write_config(const std::string& text) const {
    const std::string file = path + "/zvx.cfg";
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }
};

// In the child: bind by one vdSin call, check its value, and tell on stderr which file is loaded
// and which class it answers.
void bind_and_tell() {
  const double x = 0.5;
  double r = 0;
  vdSin(1, &x, &r);
  const std::string path = nvo_test::loaded_companion();
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  auto version = handle ? reinterpret_cast<int (*)()>(dlsym(handle, "dll_cpu_version")) : nullptr;
  fprintf(stderr, "loaded %s class %d%s", nvo_test::base_name(path).c_str(), version ? version() : -1,
          std::fabs(r - sin(0.5)) <= 1e-16 ? "" : " wrong value");
}

// Runs `body` in a child with the class override and the configuration file set (either may be
// null for unset).
zvx_test::child_result run_bound(const char* cls, const std::string* config,
                                 void (*body)() = bind_and_tell) {
  return zvx_test::run_in_child([&] {
    if (cls) setenv(kClassVariable, cls, 1);
    else unsetenv(kClassVariable);
    if (config) setenv("ZVX_CFG_FILE", config->c_str(), 1);
    else unsetenv("ZVX_CFG_FILE");
    body();
  });
}

std::string loaded(const char* file, int cls) {
  return std::string("loaded ") + file + " class " + std::to_string(cls);
}

const std::string kNoConfig = "/nonexistent-directory/zvx.cfg";

// Class of this processor by its feature bits: supplemental SSE3, SSE3, SSE2, SSE.
int expected_class() {
  unsigned a, b, c, d;
  if (!__get_cpuid(1, &a, &b, &c, &d)) return 0;
  if (c >> 9 & 1) return 4;
  if (c & 1) return 3;
  if (d >> 26 & 1) return 2;
  if (d >> 25 & 1) return 1;
  return 0;
}

// ---- processor class and default files --------------------------------------------------------

TEST(Binding, EachClassLoadsItsDefaultFile) {
  const char* files[] = {"libzvx_nvo_def.so", "libzvx_nvo_c3.so", "libzvx_nvo_c4.so", "libzvx_nvo_c4p.so",
                         "libzvx_nvo_c4m.so"};
  for (int cls = 0; cls < 5; ++cls) {
    const std::string value = std::to_string(cls) + "junk after the digit";
    const auto r = run_bound(value.c_str(), &kNoConfig);
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_EQ(r.stderr_text, loaded(files[cls], cls));
  }
}

TEST(Binding, WithoutOverrideTheFeatureBitsDecide) {
  const char* files[] = {"libzvx_nvo_def.so", "libzvx_nvo_c3.so", "libzvx_nvo_c4.so", "libzvx_nvo_c4p.so",
                         "libzvx_nvo_c4m.so"};
  const int cls = expected_class();
  // Unset, empty, and values that are no class all count as no override.
  for (const char* value : {static_cast<const char*>(nullptr), "", "5", "9", "/", "x"}) {
    const auto r = run_bound(value, &kNoConfig);
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_EQ(r.stderr_text, loaded(files[cls], cls)) << (value ? value : "(unset)");
  }
}

// ---- the configuration file -------------------------------------------------------------------

TEST(Configuration, KeysIgnoreCaseAndBlanksValuesKeepLeadingBlanks) {
  temp_dir dir;
  const std::string cfg = dir.write_config(
      "  ZVX_NVO_SSE1DLL =  missing_companion_one.dll \t \n"
      "Zvx_Nvo_X87Dll\t=missing_companion_def.dll\n");
  const auto r = run_bound("1", &cfg);
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_EQ(r.stderr_text, "ZVX FATAL ERROR: Cannot load neither   missing_compa nor missing_compani");
}

TEST(Configuration, TrailingBlanksAreRemoved) {
  // 15 characters of the name are printed: the 9-character name, its terminator, and what the
  // slot held behind it from the default "zvx_nvo_c4p.dll".
  temp_dir dir;
  const std::string cfg = dir.write_config("zvx_nvo_sse3dll=short.dll \t \nzvx_nvo_x87dll=not_there_at_all.dll\n");
  const auto r = run_bound("3", &cfg);
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_EQ(r.stderr_text, "ZVX FATAL ERROR: Cannot load neither " + std::string("short.dll\0p.dll", 15) +
                               " nor not_there_at_al");
}

TEST(Configuration, EmptyValueKeepsTheDefault) {
  temp_dir dir;
  const std::string cfg = dir.write_config("zvx_nvo_x87dll=\nzvx_nvo_x87dll=   \n");
  const auto r = run_bound("0", &cfg);
  EXPECT_EQ(r.exit_code, 0);
  // A value of blanks only is trailing blanks: removed, so empty as well.
  EXPECT_EQ(r.stderr_text, loaded("libzvx_nvo_def.so", 0));
}

TEST(Configuration, LaterLinesWin) {
  temp_dir dir;
  const std::string later_missing = dir.write_config(
      "zvx_nvo_sse4dll=" + kLibraryDir + "/libzvx_nvo_c4p.so\nzvx_nvo_sse4dll=second_missing_name.dll\n"
      "zvx_nvo_x87dll=" + kVariantDir + "/nothing.so\n");
  auto r = run_bound("4", &later_missing);
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_EQ(r.stderr_text.substr(0, 52), "ZVX FATAL ERROR: Cannot load neither second_missing_");

  const std::string later_present = dir.write_config(
      "zvx_nvo_sse4dll=second_missing_name.dll\nunrelated line = whatever\n"
      "ZVX_NVO_SSE4DLL=" + kLibraryDir + "/libzvx_nvo_c4p.so\n");
  r = run_bound("4", &later_present);
  EXPECT_EQ(r.exit_code, 0);
  // A file for an older class serves a newer processor.
  EXPECT_EQ(r.stderr_text, loaded("libzvx_nvo_c4p.so", 3));
}

TEST(Configuration, MissingFileLeavesTheDefaults) {
  const auto r = run_bound("2", &kNoConfig);
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_EQ(r.stderr_text, loaded("libzvx_nvo_c4.so", 2));
}

TEST(Configuration, DefaultNameIsReadFromTheWorkingDirectory) {
  temp_dir dir;
  dir.write_config("zvx_nvo_sse2dll=" + kLibraryDir + "/libzvx_nvo_c3.so\n");
  const auto r = zvx_test::run_in_child([&] {
    setenv(kClassVariable, "2", 1);
    unsetenv("ZVX_CFG_FILE");
    if (chdir(dir.path.c_str()) != 0) _exit(3);
    bind_and_tell();
  });
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_EQ(r.stderr_text, loaded("libzvx_nvo_c3.so", 1));
}

// Without the file in the working directory, the one beside the program is read. The program is
// this test, copied into a directory of its own and run from elsewhere.
TEST(Configuration, FoundBesideTheProgram) {
  temp_dir dir;
  dir.write_config("zvx_nvo_sse2dll=" + kLibraryDir + "/libzvx_nvo_c3.so\n");
  const std::string copy = dir.path + "/nvo_binding_copy";
  {
    std::ifstream in("/proc/self/exe", std::ios::binary);
    std::ofstream out(copy, std::ios::binary);
    out << in.rdbuf();
  }
  ASSERT_EQ(chmod(copy.c_str(), 0755), 0);
  for (const char* configured : {static_cast<const char*>(nullptr), "zvx.cfg"}) {
    const auto r = zvx_test::run_in_child([&] {
      setenv(kClassVariable, "2", 1);
      if (configured) setenv("ZVX_CFG_FILE", configured, 1);
      else unsetenv("ZVX_CFG_FILE");
      setenv("NVO_TEST_BIND_AND_TELL", "1", 1);
      if (chdir("/") != 0) _exit(3);
      if (!freopen("/dev/null", "w", stdout)) _exit(3);
      execl(copy.c_str(), copy.c_str(), "--gtest_filter=Helper.BindAndTell", static_cast<char*>(nullptr));
      _exit(4);
    });
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_EQ(r.stderr_text, loaded("libzvx_nvo_c3.so", 1)) << (configured ? configured : "(unset)");
  }
  remove(copy.c_str());
}

// Run only by the case above, in the copied program.
TEST(Helper, BindAndTell) {
  if (getenv("NVO_TEST_BIND_AND_TELL") == nullptr) GTEST_SKIP() << "runs inside FoundBesideTheProgram";
  bind_and_tell();
}

// ---- loading and its failures -----------------------------------------------------------------

TEST(Loading, FallsBackToTheClassZeroFile) {
  temp_dir dir;
  const std::string cfg = dir.write_config("zvx_nvo_sse1dll=no_such_companion.dll\n");
  const auto r = run_bound("1", &cfg);
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_EQ(r.stderr_text, loaded("libzvx_nvo_def.so", 0));
}

TEST(Loading, MissingClassZeroFile) {
  temp_dir dir;
  const std::string cfg = dir.write_config("zvx_nvo_x87dll=missing_default_file.dll\n");
  const auto r = run_bound("0", &cfg);
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_EQ(r.stderr_text, "ZVX FATAL ERROR: Cannot load missing_default");
}

TEST(Loading, NeitherFileLoads) {
  temp_dir dir;
  const std::string cfg = dir.write_config("zvx_nvo_sse2dll=missing_sse2_file.dll\nzvx_nvo_x87dll=missing_x87_file.dll\n");
  const auto r = run_bound("2", &cfg);
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_EQ(r.stderr_text, "ZVX FATAL ERROR: Cannot load neither missing_sse2_fi nor missing_x87_fil");
}

TEST(Loading, FileForANewerProcessor) {
  temp_dir dir;
  const std::string cfg = dir.write_config("zvx_nvo_sse1dll=zvx_nvo_c4m.dll\n");
  const auto r = run_bound("1", &cfg);
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_EQ(r.stderr_text, "ZVX FATAL ERROR:  dll zvx_nvo_c4m.dll not convinient for this processor.");
}

TEST(Loading, MissingEntryIsNamedOneLetterShort) {
  temp_dir dir;
  const std::string cfg = dir.write_config("zvx_nvo_sse4dll=" + kVariantDir + "/libzvx_nvo_lacking.so\n");
  // The file binds, and its other entries serve...
  auto r = run_bound("4", &cfg);
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_EQ(r.stderr_text, loaded("libzvx_nvo_lacking.so", 0));
  // ...until a call needs the entry it lacks.
  r = run_bound("4", &cfg, [] {
    const double x = 0.5;
    double y;
    vdCos(1, &x, &y);
  });
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_EQ(r.stderr_text, "ZVX FATAL ERROR: Cannot load _nvodCos_H function.");
}

TEST(Loading, ZeroCountLoadsNothingNegativeCountLoads) {
  temp_dir dir;
  const std::string cfg = dir.write_config("zvx_nvo_x87dll=missing_default_file.dll\n");
  auto r = run_bound("0", &cfg, [] {
    vdCos(0, nullptr, nullptr);
    vsSin(0, nullptr, nullptr);
    const int zero = 0;
    vdsin(&zero, nullptr, nullptr);
  });
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_EQ(r.stderr_text, "");
  // The status of a bad count lives in the companion, so reporting it loads the file.
  r = run_bound("0", &cfg, [] {
    double x, y;
    vdCos(-1, &x, &y);
  });
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_EQ(r.stderr_text,
            "ZVX ERROR : Parameter 1 was incorrect on entry to vdCos\n"
            "ZVX FATAL ERROR: Cannot load missing_default");
}

TEST(Loading, StreamsBindTheSameFile) {
  temp_dir dir;
  const std::string cfg = dir.write_config("zvx_nvo_x87dll=missing_default_file.dll\n");
  const auto r = run_bound("0", &cfg, [] {
    zvx_sgx_stream s = nullptr;
    sgxNewStream(&s, ZVX_SGX_BRNG_UNIFORM_BITS, 1);
  });
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_EQ(r.stderr_text, "ZVX FATAL ERROR: Cannot load missing_default");
}

// The companion's start-up must not leave its floating-point settings behind: the control words
// in force before the load are in force after it.
TEST(Loading, FloatingPointControlIsKept) {
  const auto r = run_bound("4", &kNoConfig, [] {
    unsigned mxcsr_before, mxcsr_after;
    unsigned short cw_before, cw_after;
    // Round toward zero and flush to zero: unusual settings that a load could not restore by chance.
    __asm__ volatile("stmxcsr %0" : "=m"(mxcsr_before));
    mxcsr_before = (mxcsr_before & ~0x6000u) | 0x6000u | 0x8000u;
    __asm__ volatile("ldmxcsr %0" : : "m"(mxcsr_before));
    __asm__ volatile("fnstcw %0" : "=m"(cw_before));
    cw_before = static_cast<unsigned short>((cw_before & ~0x0C00u) | 0x0400u);
    __asm__ volatile("fldcw %0" : : "m"(cw_before));
    double x = 0, y;
    vdSin(1, &x, &y);
    __asm__ volatile("stmxcsr %0" : "=m"(mxcsr_after));
    __asm__ volatile("fnstcw %0" : "=m"(cw_after));
    fprintf(stderr, "%s", mxcsr_after == mxcsr_before && cw_after == cw_before ? "kept" : "changed");
  });
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_EQ(r.stderr_text, "kept");
}

// Each companion file answers its class and has every bound name (check_companion_exports.sh
// checks that it has no others).
TEST(CompanionFiles, AnswerTheirClass) {
  const char* files[] = {"libzvx_nvo_def.so", "libzvx_nvo_c3.so", "libzvx_nvo_c4.so", "libzvx_nvo_c4p.so",
                         "libzvx_nvo_c4m.so"};
  const char* names[] = {"dll_cpu_version", "_nvodCos_HA", "_nvodCos_50", "_nvodSin_HA", "_nvodSin_50",
                         "_nvosCos_HA", "_nvosCos_21", "_nvosSin_HA", "_nvosSin_21", "_nvoGetMode",
                         "_nvoSetMode", "_nvoSetErrStatus", "_nvoGetErrorCallBack", "_nvoSetErrorCallBack",
                         "_nvoSetInterfInputVectorPointer", "__sgxNewStreamEx", "__sgxDeleteStream",
                         "_sgxiRngUniformBits"};
  for (int cls = 0; cls < 5; ++cls) {
    const std::string path = kLibraryDir + "/" + files[cls];
    void* h = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(h, nullptr) << path;
    for (const char* name : names) EXPECT_NE(dlsym(h, name), nullptr) << files[cls] << " " << name;
    EXPECT_EQ(reinterpret_cast<int (*)()>(dlsym(h, "dll_cpu_version"))(), cls);
    dlclose(h);
  }
}

}  // namespace
