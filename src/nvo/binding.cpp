// The binding of the companion file: which file serves this processor, loading it at the first
// use, binding each entry by name into its slot, and the wrappers that check their arguments and
// hand the work to an entry or to a threader. Everything here is found once and kept for the life
// of the process; the companion file is never released.
//
// A file that cannot be loaded, an entry that cannot be found, or a file made for a newer
// processor ends the process with code 1 after one message on the error console: the library has
// no other source of these functions, and its callers (the transform tables, the solvers, the
// random integers) have no status through which a missing sine could be reported.
#include <atomic>
#include <cstdio>
#include <cstring>

#include "nvo/nvo_internal.h"
#include "service/platform.h"
#include "service/service.h"
#include "zvx_nvo.h"

namespace abi = zvx::nvo_abi;

namespace {

constexpr int kClassCount = 5;
constexpr int kNameRoom = 1024;  // a file name, a configuration line, the file's path

// File name per processor class, as the configuration may change it. The class 1 and 2 defaults
// carry a trailing blank that pads them to 15 characters: it belongs to the name that is loaded
// (and trimmed by the loader's name mapping) and printed.
constexpr const char* kDefaultFiles[kClassCount] = {
    "zvx_nvo_def.dll", "zvx_nvo_c3.dll ", "zvx_nvo_c4.dll ", "zvx_nvo_c4p.dll", "zvx_nvo_c4m.dll"};
constexpr const char* kConfigKeys[kClassCount] = {
    "zvx_nvo_x87dll=", "zvx_nvo_sse1dll=", "zvx_nvo_sse2dll=", "zvx_nvo_sse3dll=", "zvx_nvo_sse4dll="};
// The fatal messages print this many characters of a file name, whatever its length.
constexpr size_t kPrintedNameLength = 15;

// Zero-initialised, so that 15 characters of a shorter name print its terminator and zeros.
char g_files[kClassCount][kNameRoom];
// The configuration file stays open, as it always has; kept here so it stays reachable.
FILE* g_config_file = nullptr;

// The processor-class override. Its name is stored scrambled: byte i is combined by XOR with
// (2*i mod 5) + 1, and recovered into a local copy only when it is read.
constexpr char kClassVariable[] = "ZVX_NVO_PROC_CLASS";
static_assert(sizeof kClassVariable - 1 == 18, "the override's name has 18 characters");
constexpr unsigned char scramble_key(size_t i) { return static_cast<unsigned char>((2 * i) % 5 + 1); }
struct scrambled_name {
  unsigned char bytes[sizeof kClassVariable];
};
constexpr scrambled_name scramble() {
  scrambled_name out{};
  for (size_t i = 0; i + 1 < sizeof kClassVariable; ++i)
    out.bytes[i] = static_cast<unsigned char>(kClassVariable[i]) ^ scramble_key(i);
  return out;
}
constexpr scrambled_name kClassVariableScrambled = scramble();

std::atomic<int> g_class{-1};

int class_from_cpuid() {
  if (!zvx::platform::has_cpuid()) return 0;
  unsigned r[4];
  zvx::platform::cpuid(1, 0, r);
  const unsigned ecx = r[2], edx = r[3];
  // Every x86 vendor is judged by its feature bits alone.
  if (ecx >> 9 & 1) return 4;   // supplemental SSE3
  if (ecx & 1) return 3;        // SSE3
  if (edx >> 26 & 1) return 2;  // SSE2
  if (edx >> 25 & 1) return 1;  // SSE
  return 0;
}

int compute_class() {
  char name[sizeof kClassVariable];
  for (size_t i = 0; i + 1 < sizeof name; ++i)
    name[i] = static_cast<char>(kClassVariableScrambled.bytes[i] ^ scramble_key(i));
  name[sizeof name - 1] = '\0';
  if (const char* value = zvx::platform::env_get(name)) {
    const int cls = value[0] - '0';
    if (cls >= 0 && cls < kClassCount) return cls;
  }
  return class_from_cpuid();
}

// ---- configuration --------------------------------------------------------------------------

bool is_line_end(char c) { return c == '\n' || c == '\r'; }

void drop_line_end(char* s) {
  const size_t n = strlen(s);
  if (n > 0 && is_line_end(s[n - 1])) s[n - 1] = '\0';
}

FILE* open_config(const char* path) {
  if (FILE* f = fopen(path, "r")) return f;
  // Not found from the working directory: look beside the program, then beside this library.
  // An absolute path names one file and is not searched for.
  if (path[0] == '/') return nullptr;
  char directory[kNameRoom], candidate[kNameRoom];
  for (int where = 0; where < 2; ++where) {
    const bool found = where == 0 ? zvx::platform::program_directory(directory, sizeof directory)
                                  : zvx::platform::library_directory(directory, sizeof directory);
    if (!found) continue;
    const int n = snprintf(candidate, sizeof candidate, "%s/%s", directory, path);
    if (n <= 0 || n >= static_cast<int>(sizeof candidate)) continue;
    if (FILE* f = fopen(candidate, "r")) return f;
  }
  return nullptr;
}

// Copies the defaults, then applies every line of the configuration file that names a class. Keys
// are compared without blanks and without case; a value is taken as written behind the first
// "=", blanks in front kept, trailing blanks and tabs removed. Later lines override earlier ones;
// an empty value leaves the slot alone; a missing file leaves the defaults.
void read_configuration() {
  for (int c = 0; c < kClassCount; ++c) strcpy(g_files[c], kDefaultFiles[c]);

  char path[kNameRoom] = "zvx.cfg";
  if (const char* configured = zvx::platform::env_get("ZVX_CFG_FILE")) {
    if (strlen(configured) < sizeof path) strcpy(path, configured);
  }
  FILE* file = open_config(path);
  if (file == nullptr) return;
  g_config_file = file;

  char line[kNameRoom], value[kNameRoom], key[kNameRoom];
  while (fgets(line, sizeof line, file) != nullptr) {
    strcpy(value, line);
    drop_line_end(value);
    size_t n = strlen(value);
    while (n > 0 && (value[n - 1] == ' ' || value[n - 1] == '\t')) value[--n] = '\0';
    drop_line_end(value);

    strcpy(key, line);
    drop_line_end(key);
    size_t k = 0;
    for (const char* p = key; *p; ++p)
      if (*p != ' ' && *p != '\t') key[k++] = *p;
    key[k] = '\0';
    drop_line_end(key);
    for (char* p = key; *p; ++p)
      if (*p >= 'A' && *p <= 'Z') *p = static_cast<char>(*p - 'A' + 'a');

    for (int c = 0; c < kClassCount; ++c) {
      if (strncmp(key, kConfigKeys[c], strlen(kConfigKeys[c])) != 0) continue;
      const char* sign = strchr(value, '=');
      if (sign != nullptr && sign[1] != '\0') strcpy(g_files[c], sign + 1);
    }
  }
}

// ---- loading --------------------------------------------------------------------------------

void fatal_piece(const char* text) { zvx::platform::console_write(text, strlen(text)); }

// The loaded file's start-up must not leave its floating-point settings in force: the x87
// control word and the SSE control register are saved around the load and restored after it.
void* open_keeping_fp_control(const char* file) {
  unsigned short x87;
  unsigned mxcsr;
  __asm__ volatile("fnstcw %0" : "=m"(x87));
  __asm__ volatile("stmxcsr %0" : "=m"(mxcsr));
  void* handle = zvx::platform::library_open(file);
  if (handle == nullptr && strchr(file, '/') == nullptr) {
    // The run path normally finds a file beside this library, but only when the loader sees this
    // library as the caller; a loader wrapped by a tool (a sanitizer's interceptor, say) does not,
    // so the directory of this library is tried by name as well.
    char directory[kNameRoom], mapped[kNameRoom], path[2 * kNameRoom + 2];
    zvx::platform::library_file_name(file, mapped, sizeof mapped);
    if (zvx::platform::library_directory(directory, sizeof directory)) {
      snprintf(path, sizeof path, "%s/%s", directory, mapped);
      handle = zvx::platform::library_open(path);
    }
  }
  __asm__ volatile("fldcw %0" : : "m"(x87));
  __asm__ volatile("ldmxcsr %0" : : "m"(mxcsr));
  return handle;
}

void* resolve(void* library, const char* name);

void* load_companion() {
  read_configuration();
  const int cls = zvx::nvo::processor_class();
  void* handle = open_keeping_fp_control(g_files[cls]);
  if (handle == nullptr && cls == 0) {
    fatal_piece("ZVX FATAL ERROR: Cannot load ");
    zvx::platform::console_write(g_files[0], kPrintedNameLength);
    zvx::platform::process_abort();
  }
  if (handle == nullptr) {
    handle = open_keeping_fp_control(g_files[0]);
    if (handle == nullptr) {
      fatal_piece("ZVX FATAL ERROR: Cannot load ");
      fatal_piece("neither ");
      zvx::platform::console_write(g_files[cls], kPrintedNameLength);
      fatal_piece(" nor ");
      zvx::platform::console_write(g_files[0], kPrintedNameLength);
      zvx::platform::process_abort();
    }
  }
  const auto version = reinterpret_cast<abi::cpu_version_fn>(resolve(handle, "dll_cpu_version"));
  if (version() > cls) {
    fatal_piece("ZVX FATAL ERROR:  dll ");
    fatal_piece(g_files[cls]);
    fatal_piece(" not convinient for this processor.");
    zvx::platform::process_abort();
  }
  return handle;
}

void* companion() {
  // One load per process, whichever thread comes first; the others wait for it.
  static void* const handle = load_companion();
  return handle;
}

void* resolve(void* library, const char* name) {
  void* address = zvx::platform::library_symbol(library, name);
  if (address == nullptr) {
    fatal_piece("ZVX FATAL ERROR: Cannot load ");
    // The name is printed one character short.
    zvx::platform::console_write(name, strlen(name) - 1);
    fatal_piece(" function.");
    zvx::platform::process_abort();
  }
  return address;
}

// ---- entry slots ----------------------------------------------------------------------------

enum entry : int {
  e_dcos_ha, e_dcos_la, e_dsin_ha, e_dsin_la, e_scos_ha, e_scos_la, e_ssin_ha, e_ssin_la,
  e_get_mode, e_set_mode, e_set_status, e_get_callback, e_set_callback, e_set_input,
  e_new_stream, e_delete_stream, e_uniform_bits, e_count
};
constexpr const char* kEntryNames[e_count] = {
    "_nvodCos_HA", "_nvodCos_50", "_nvodSin_HA", "_nvodSin_50", "_nvosCos_HA", "_nvosCos_21",
    "_nvosSin_HA", "_nvosSin_21", "_nvoGetMode", "_nvoSetMode", "_nvoSetErrStatus",
    "_nvoGetErrorCallBack", "_nvoSetErrorCallBack", "_nvoSetInterfInputVectorPointer",
    "__sgxNewStreamEx", "__sgxDeleteStream", "_sgxiRngUniformBits"};

// One word per entry, 0 until bound. Two threads may bind the same entry at once: both find the
// same address.
std::atomic<void*> g_slots[e_count];

template <class F>
F bound(entry e) {
  void* address = g_slots[e].load(std::memory_order_acquire);
  if (address == nullptr) {
    address = resolve(companion(), kEntryNames[e]);
    g_slots[e].store(address, std::memory_order_release);
  }
  return reinterpret_cast<F>(address);
}

// ---- wrappers -------------------------------------------------------------------------------

struct vector_wrapper {
  entry high, low;
  int number_high, number_low;
};

constexpr vector_wrapper kCos = {e_dcos_ha, e_dcos_la, 110, 115};
constexpr vector_wrapper kSin = {e_dsin_ha, e_dsin_la, 120, 125};
constexpr vector_wrapper kCosSingle = {e_scos_ha, e_scos_la, 110, 115};
constexpr vector_wrapper kSinSingle = {e_ssin_ha, e_ssin_la, 120, 125};

// Vector length from which each wrapper pair threads; 0 until its first call asks.
std::atomic<int> g_threshold_dcos{0}, g_threshold_dsin{0}, g_threshold_scos{0}, g_threshold_ssin{0};

template <class T>
struct precision_of;
template <>
struct precision_of<double> {
  static constexpr char letter = 'd';
  using fn = abi::vector_d;
  static void thread(fn f, int n, const double* a, double* r, int number) {
    _zvx_nvo_service_threader_d_1i_1o(f, n, a, r, number);
  }
};
template <>
struct precision_of<float> {
  static constexpr char letter = 's';
  using fn = abi::vector_s;
  static void thread(fn f, int n, const float* a, float* r, int number) {
    _zvx_nvo_service_threader_s_1i_1o(f, n, a, r, number);
  }
};

void report(const char* routine, int parameter) {
  xerbla(routine, &parameter, static_cast<int>(strlen(routine)));
}

template <class T>
void vector_call(const char* routine, const vector_wrapper& w, std::atomic<int>& threshold, int n,
                 const T* a, T* r) {
  using P = precision_of<T>;
  if (n < 0) {
    report(routine, 1);
    zvx::nvo::set_error_status(-1);
    return;
  }
  if (n == 0) return;
  if (a == nullptr || r == nullptr) {
    report(routine, a == nullptr ? 2 : 3);
    zvx::nvo::set_error_status(-2);
    return;
  }
  // The first answer is kept for good, even one given inside a caller's parallel region.
  int limit = threshold.load(std::memory_order_relaxed);
  if (limit == 0) {
    limit = zvx::nvo::thread_threshold(P::letter, w.number_high);
    threshold.store(limit, std::memory_order_relaxed);
  }
  const bool high = (zvx::nvo::get_mode() & abi::kModeMask) == abi::kModeHighAccuracy;
  const auto fn = bound<typename P::fn>(high ? w.high : w.low);
  if (n >= limit) P::thread(fn, n, a, r, high ? w.number_high : w.number_low);
  else fn(n, a, r);
}

// The common test of a stream handle: 0 for a live stream.
int check_stream(const void* stream) {
  if (stream == nullptr) return abi::kStatusNullStream;
  if (static_cast<const abi::stream_record*>(stream)->valid != 1) return abi::kStatusBadStream;
  return abi::kStatusOk;
}

}  // namespace

namespace zvx::nvo {

int processor_class() {
  int cls = g_class.load(std::memory_order_relaxed);
  if (cls < 0) {
    cls = compute_class();
    g_class.store(cls, std::memory_order_relaxed);
  }
  return cls;
}

unsigned get_mode() { return bound<abi::get_mode_fn>(e_get_mode)(); }
unsigned set_mode(unsigned mode) { return bound<abi::set_mode_fn>(e_set_mode)(mode); }
int set_error_status(int status) { return bound<abi::set_status_fn>(e_set_status)(status); }
void* get_error_callback() { return bound<abi::get_callback_fn>(e_get_callback)(); }
void* set_error_callback(void* callback) { return bound<abi::set_callback_fn>(e_set_callback)(callback); }
const void* set_input_vector(const void* input) { return bound<abi::set_input_fn>(e_set_input)(input); }

}  // namespace zvx::nvo

namespace zvx::nvo {
void vector_cos(int n, const double* a, double* r) {
  vector_call("vdCos", kCos, g_threshold_dcos, n, a, r);
}
void vector_sin(int n, const double* a, double* r) {
  vector_call("vdSin", kSin, g_threshold_dsin, n, a, r);
}
void vector_cos(int n, const float* a, float* r) {
  vector_call("vsCos", kCosSingle, g_threshold_scos, n, a, r);
}
void vector_sin(int n, const float* a, float* r) {
  vector_call("vsSin", kSinSingle, g_threshold_ssin, n, a, r);
}
}  // namespace zvx::nvo

ZVX_EXPORT void vdCos(int n, const double* a, double* r) { zvx::nvo::vector_cos(n, a, r); }
ZVX_EXPORT void vdSin(int n, const double* a, double* r) { zvx::nvo::vector_sin(n, a, r); }
ZVX_EXPORT void vsCos(int n, const float* a, float* r) { zvx::nvo::vector_cos(n, a, r); }
ZVX_EXPORT void vsSin(int n, const float* a, float* r) { zvx::nvo::vector_sin(n, a, r); }
// The count-by-reference forms share the threshold and the entries of the by-value ones.
ZVX_EXPORT void vdsin(const int* n, const double* a, double* r) {
  vector_call("vdSin", kSin, g_threshold_dsin, *n, a, r);
}
ZVX_EXPORT void vssin(const int* n, const float* a, float* r) {
  vector_call("vsSin", kSinSingle, g_threshold_ssin, *n, a, r);
}

// The stream entries, callable from inside the library (the big-integer random state) without
// going through the exported names.
namespace zvx::nvo {

int new_stream(void** stream, int brng, unsigned int seed) {
  const int status = bound<abi::new_stream_fn>(e_new_stream)(stream, brng, 1, &seed);
  if (status == abi::kStatusBadBrng) report("sgxNewStream", 2);
  return status;
}

int delete_stream(void** stream) {
  int status = check_stream(stream != nullptr ? *stream : nullptr);
  if (status >= 0) status = bound<abi::delete_stream_fn>(e_delete_stream)(stream);
  if (status < 0) report("sgxDeleteStream", 1);
  return status;
}

int uniform_bits(int method, void* stream, int n, unsigned int* r) {
  const char* routine = "viRngUniformBits";
  if (method < 0) {
    report(routine, 1);
    return abi::kStatusBadArgument;
  }
  const int check = check_stream(stream);
  if (check < 0) {
    report(routine, 2);
    return check;
  }
  if (n < 0) {
    report(routine, 3);
    return abi::kStatusBadArgument;
  }
  if (n == 0) return abi::kStatusOk;
  if (r == nullptr) {
    report(routine, 4);
    return abi::kStatusBadArgument;
  }
  if (method > 0) {
    report(routine, 1);
    return abi::kStatusBadArgument;
  }
  return bound<abi::uniform_bits_fn>(e_uniform_bits)(method, stream, n, r);
}

}  // namespace zvx::nvo

ZVX_EXPORT int sgxNewStream(zvx_sgx_stream* stream, int brng, unsigned int seed) {
  return zvx::nvo::new_stream(stream, brng, seed);
}
ZVX_EXPORT int sgxDeleteStream(zvx_sgx_stream* stream) { return zvx::nvo::delete_stream(stream); }
ZVX_EXPORT int viRngUniformBits(int method, zvx_sgx_stream stream, int n, unsigned int* r) {
  return zvx::nvo::uniform_bits(method, stream, n, r);
}
