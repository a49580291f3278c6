// The one place where the library meets the operating system. Every other file reaches the
// environment, thread-local storage, dynamic loading, the console, timers, affinity and the
// processor through these functions, so that a port touches this file pair alone.
#pragma once
#include <cstddef>
#include <cstdint>

namespace zvx::platform {

// Process environment. An empty value counts as absent: env_get returns null for it.
const char* env_get(const char* name);
// Returns 1 on success and 0 on failure, the way the library's setters report.
int env_set(const char* name, const char* value);

// Thread-local storage: an index is a small non-negative number, -1 when none could be made.
long tls_alloc();
void tls_free(long index);
void* tls_get(long index);
bool tls_set(long index, void* value);

// Identifier of the calling thread (the kernel's thread id), cached per thread.
int64_t thread_id();

// Dynamic loading. A name that ends in ".dll" (after trailing blanks are trimmed) is loaded as
// the shared object "lib<stem>.so"; other names are used as written. Libraries open with
// immediate binding and local symbols, and are searched along the library's own run path.
void* library_open(const char* name);
void* library_symbol(void* library, const char* name);
void library_close(void* library);
// Writes into `out` the shared-object name that library_open uses for `name`.
void library_file_name(const char* name, char* out, size_t out_size);
// Directory of the running program and of this library, without a trailing slash.
bool program_directory(char* out, size_t out_size);
bool library_directory(char* out, size_t out_size);

// Error console: one write of exactly `length` bytes to standard error, result ignored.
void console_write(const char* text, size_t length);
// Ends the process at once with exit code 1, running no handlers.
[[noreturn]] void process_abort();

// Monotonic clock in nanoseconds; false if the clock cannot be read.
bool monotonic_ns(uint64_t* ns);
void sleep_ms(unsigned milliseconds);
// A coarse wall clock in ticks of clock_ticks_per_second().
long clock_ticks();
long clock_ticks_per_second();

// Affinity of the calling thread as a bit mask of up to 1024 processors.
struct affinity_mask {
  uint64_t bits[16];
};
bool affinity_get(affinity_mask* mask);
bool affinity_set(const affinity_mask* mask);
int processor_count();

// The processor.
bool has_cpuid();
void cpuid(unsigned leaf, unsigned subleaf, unsigned regs[4]);
uint64_t xgetbv(unsigned index);
uint64_t timestamp_counter();

}  // namespace zvx::platform
