#include "service/platform.h"

#include <cpuid.h>
#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <time.h>
#include <unistd.h>
#include <x86intrin.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace zvx::platform {

const char* env_get(const char* name) {
  const char* value = getenv(name);
  return (value != nullptr && value[0] != '\0') ? value : nullptr;
}

int env_set(const char* name, const char* value) { return setenv(name, value, 1) == 0 ? 1 : 0; }

long tls_alloc() {
  pthread_key_t key;
  if (pthread_key_create(&key, nullptr) != 0) return -1;
  return static_cast<long>(key);
}

void tls_free(long index) {
  if (index >= 0) pthread_key_delete(static_cast<pthread_key_t>(index));
}

void* tls_get(long index) {
  return index >= 0 ? pthread_getspecific(static_cast<pthread_key_t>(index)) : nullptr;
}

bool tls_set(long index, void* value) {
  return index >= 0 && pthread_setspecific(static_cast<pthread_key_t>(index), value) == 0;
}

int64_t thread_id() {
  // gettid is a system call; the identifier of a thread never changes, so one call per thread.
  static __thread int64_t cached __attribute__((tls_model("initial-exec"))) = 0;
  if (cached == 0) cached = static_cast<int64_t>(gettid());
  return cached;
}

void library_file_name(const char* name, char* out, size_t out_size) {
  if (out_size == 0) return;
  size_t length = strlen(name);
  while (length > 0 && name[length - 1] == ' ') --length;
  const bool dll = length >= 4 && strncmp(name + length - 4, ".dll", 4) == 0;
  if (dll) {
    const size_t stem = length - 4;
    const size_t prefix = (stem >= 3 && strncmp(name, "lib", 3) == 0) ? 0 : 3;
    size_t pos = 0;
    auto put = [&](char c) {
      if (pos + 1 < out_size) out[pos++] = c;
    };
    if (prefix) { put('l'); put('i'); put('b'); }
    for (size_t i = 0; i < stem; ++i) put(name[i]);
    put('.'); put('s'); put('o');
    out[pos] = '\0';
  } else {
    const size_t n = length < out_size - 1 ? length : out_size - 1;
    memcpy(out, name, n);
    out[n] = '\0';
  }
}

void* library_open(const char* name) {
  char file[PATH_MAX];
  library_file_name(name, file, sizeof file);
  return dlopen(file, RTLD_NOW | RTLD_LOCAL);
}

void* library_symbol(void* library, const char* name) {
  return library ? dlsym(library, name) : nullptr;
}

void library_close(void* library) {
  if (library) dlclose(library);
}

static bool strip_to_directory(char* path) {
  char* slash = strrchr(path, '/');
  if (slash == nullptr) return false;
  if (slash == path) slash[1] = '\0';
  else *slash = '\0';
  return true;
}

bool program_directory(char* out, size_t out_size) {
  if (out_size == 0) return false;
  const ssize_t n = readlink("/proc/self/exe", out, out_size - 1);
  if (n <= 0) return false;
  out[n] = '\0';
  return strip_to_directory(out);
}

bool library_directory(char* out, size_t out_size) {
  Dl_info info;
  if (out_size == 0 || dladdr(reinterpret_cast<void*>(&library_directory), &info) == 0 ||
      info.dli_fname == nullptr)
    return false;
  char resolved[PATH_MAX];
  const char* path = realpath(info.dli_fname, resolved) ? resolved : info.dli_fname;
  if (strlen(path) >= out_size) return false;
  strcpy(out, path);
  return strip_to_directory(out);
}

void console_write(const char* text, size_t length) {
  while (length > 0) {
    const ssize_t n = write(2, text, length);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    text += n;
    length -= static_cast<size_t>(n);
  }
}

void process_abort() { _exit(1); }

bool monotonic_ns(uint64_t* ns) {
  timespec ts;
  if (clock_gettime(CLOCK_MONOTONIC, &ts) != 0) return false;
  *ns = static_cast<uint64_t>(ts.tv_sec) * 1000000000ull + static_cast<uint64_t>(ts.tv_nsec);
  return true;
}

void sleep_ms(unsigned milliseconds) {
  timespec ts{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000L};
  while (nanosleep(&ts, &ts) != 0 && errno == EINTR) {
  }
}

// A wall clock in milliseconds, the resolution of the coarse clock the frequency check spins on.
// Processor time would not do: on a busy machine the process is preempted while the time-stamp
// counter runs on, and the estimate grows with the load.
long clock_ticks() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<long>(ts.tv_sec) * 1000L + ts.tv_nsec / 1000000L;
}
long clock_ticks_per_second() { return 1000L; }

static_assert(sizeof(affinity_mask) * 8 >= 1024, "mask holds 1024 processors");

bool affinity_get(affinity_mask* mask) {
  cpu_set_t set;
  CPU_ZERO(&set);
  if (sched_getaffinity(0, sizeof set, &set) != 0) return false;
  memset(mask, 0, sizeof *mask);
  for (int i = 0; i < CPU_SETSIZE && i < 1024; ++i)
    if (CPU_ISSET(i, &set)) mask->bits[i / 64] |= 1ull << (i % 64);
  return true;
}

bool affinity_set(const affinity_mask* mask) {
  cpu_set_t set;
  CPU_ZERO(&set);
  for (int i = 0; i < CPU_SETSIZE && i < 1024; ++i)
    if (mask->bits[i / 64] >> (i % 64) & 1) CPU_SET(i, &set);
  return sched_setaffinity(0, sizeof set, &set) == 0;
}

int processor_count() {
  const long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n > 0 ? static_cast<int>(n) : 1;
}

bool has_cpuid() { return __get_cpuid_max(0, nullptr) != 0; }

void cpuid(unsigned leaf, unsigned subleaf, unsigned regs[4]) {
  __cpuid_count(leaf, subleaf, regs[0], regs[1], regs[2], regs[3]);
}

uint64_t xgetbv(unsigned index) {
  unsigned lo, hi;
  __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(index));
  return (static_cast<uint64_t>(hi) << 32) | lo;
}

uint64_t timestamp_counter() { return __rdtsc(); }

}  // namespace zvx::platform
