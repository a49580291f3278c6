// Which version of the library is loaded, as a record or as one line of text.
#include <cstring>

#include "service/service.h"

namespace {

constexpr int kMajor = 9, kMinor = 1, kUpdate = 2;
constexpr const char kProductStatus[] = "Product";
constexpr const char kBuild[] = "073007.01";
constexpr const char kTargetProcessor[] = "Halvex(R) Cadenza(R) III processor";
constexpr const char kDigits[] = "0123456789";
// The platform word of the version line lives in a writable word of its own.
char g_platform_word[] = "32-bit";

// Builds the line in `line` (room for 128 bytes) and returns its length. It ends in one blank.
size_t build_version_line(char* line) {
  size_t n = 0;
  auto append = [&](const char* piece) {
    const size_t len = strlen(piece);
    memcpy(line + n, piece, len);
    n += len;
  };
  auto append_digit = [&](int v) { line[n++] = kDigits[v]; };
  append("Halvex(R) Zevrix Version ");
  append_digit(kMajor);
  append(".");
  append_digit(kMinor);
  append(".");
  append_digit(kUpdate);
  append(" ");
  append(kProductStatus);
  append(" Build ");
  append(kBuild);
  append(" for ");
  append(g_platform_word);
  append(" applications ");
  line[n] = '\0';
  return n;
}

}  // namespace

ZVX_EXPORT void zvxgetversion(zvx_version* version) {
  version->major_version = kMajor;
  version->minor_version = kMinor;
  version->update_version = kUpdate;
  version->product_status = kProductStatus;
  version->build = kBuild;
  version->processor = gettargetprocessor();
}

namespace zvx {

// The exported entry and the DFT's version parameter share this body, so that the library never
// reaches its own exported name.
void version_string(char* buffer, int length) {
  char line[128];
  const size_t n = build_version_line(line);
  if (length <= static_cast<int>(n)) {
    if (length > 0) strncpy(buffer, line, static_cast<size_t>(length));
    return;
  }
  memcpy(buffer, line, n);
  memset(buffer + n, ' ', static_cast<size_t>(length) - n);
}

}  // namespace zvx

ZVX_EXPORT void zvxgetversionstring(char* buffer, int length) { zvx::version_string(buffer, length); }

ZVX_EXPORT void zvxgetversionstring_c(char* buffer, int length) {
  char line[128];
  const size_t n = build_version_line(line);
  const int room = length - 1;
  if (room < 0) return;  // no room even for the terminator: the caller's error, nothing written
  if (static_cast<int>(n) > room) {
    memcpy(buffer, line, static_cast<size_t>(room));
    buffer[length - 1] = '\0';
  } else {
    memcpy(buffer, line, n + 1);
    memset(buffer + n + 1, 0, static_cast<size_t>(length) - n - 1);
  }
}

ZVX_EXPORT const char* gettargetprocessor(void) { return kTargetProcessor; }

ZVX_EXPORT int dll_cpu_version(void) { return 1; }
