// How a call enters the library: case-insensitive option letters, the error reporter, and the
// work done when the library is loaded and unloaded.
#include <cstring>

#include "service/platform.h"
#include "service/service.h"

namespace {

using xerbla_hook = void (*)(const char*, const int*, int);
// Slot for a replacement reporter. Nothing in the library writes it, so the default reporter runs.
xerbla_hook g_xerbla_hook = nullptr;

inline unsigned char fold_upper(unsigned char c) { return (c >= 'a' && c <= 'z') ? c - 32 : c; }

// Renders a small number the way the reporter always has: one digit below 10, otherwise exactly
// two characters, 48 + v/10 and 48 + v%10, so 123 prints as '<' '3'. Callers pass argument numbers.
size_t render_number(long v, char out[16]) {
  size_t n = 0;
  if (v < 0) {
    out[n++] = '-';
    v = -v;
  }
  if (v < 10) {
    out[n++] = static_cast<char>('0' + v);
  } else {
    out[n++] = static_cast<char>(48 + v / 10);
    out[n++] = static_cast<char>(48 + v % 10);
  }
  return n;
}

}  // namespace

namespace zvx {
void console_piece(const char* text) { platform::console_write(text, strlen(text)); }
}  // namespace zvx

ZVX_EXPORT int lsame(const char* ca, const char* cb) {
  const unsigned char a = static_cast<unsigned char>(*ca), b = static_cast<unsigned char>(*cb);
  if (a == b) return ZVX_TRUE;
  return fold_upper(a) == fold_upper(b) ? ZVX_TRUE : ZVX_FALSE;
}

ZVX_EXPORT int lsamen(const int* n, const char* ca, const char* cb, int len_ca, int len_cb) {
  if (*n > len_ca || *n > len_cb) return ZVX_FALSE;
  for (int i = 0; i < *n; ++i)
    if (!lsame(ca + i, cb + i)) return ZVX_FALSE;
  return ZVX_TRUE;
}

ZVX_EXPORT void default_xerbla(const char* name, const int* info, int name_len) {
  // At most 12 characters of the name, cut at its first zero byte; trailing blanks stay.
  char shown[13];
  const int copy = name_len < 12 ? (name_len > 0 ? name_len : 0) : 12;
  strncpy(shown, name, static_cast<size_t>(copy));
  shown[copy] = '\0';
  const size_t shown_length = strlen(shown);

  static constexpr const char* fixed_sentences[2] = {
      "ZVX INTERNAL ERROR : Not enough work memory in function ",
      "ZVX ERROR : Incompatible optional parameters on entry to ",
  };
  const int code = *info;
  char number[16];
  auto write_name_and_newline = [&] {
    zvx::platform::console_write(shown, shown_length);
    zvx::platform::console_write("\n", 1);
  };
  if (code <= 0) {
    zvx::console_piece("ZVX INTERNAL ERROR : Condition ");
    zvx::platform::console_write(number, render_number(-static_cast<long>(code), number));
    zvx::console_piece(" detected in function ");
  } else if (code == 1000 || code == 1001) {
    zvx::console_piece(fixed_sentences[code - 1000]);
  } else {
    zvx::console_piece("ZVX ERROR : Parameter ");
    zvx::platform::console_write(number, render_number(code, number));
    zvx::console_piece(" was incorrect on entry to ");
  }
  write_name_and_newline();
}

extern "C" void xerbla(const char* name, const int* info, int name_len) {
  if (g_xerbla_hook != nullptr) g_xerbla_hook(name, info, name_len);
  else default_xerbla(name, info, name_len);
}

// Load: the memory manager takes its thread-local index. Unload: it gives it back. Nothing else
// happens at load; every other state is found at first use.
__attribute__((constructor)) static void zvx_process_attach() { zvx::memory_attach(); }
__attribute__((destructor)) static void zvx_process_detach() { zvx::memory_detach(); }
