// Helpers of the companion-binding tests: find the companion file the library has loaded and
// reach its entries directly, and measure errors in units in the last place against long double.
#pragma once
#include <dlfcn.h>
#include <link.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "zvx.h"

namespace nvo_test {

// Path of the loaded companion file ("" when none is loaded yet).
inline std::string loaded_companion() {
  std::string found;
  dl_iterate_phdr(
      [](dl_phdr_info* info, size_t, void* out) {
        if (info->dlpi_name && strstr(info->dlpi_name, "libzvx_nvo_") != nullptr) {
          *static_cast<std::string*>(out) = info->dlpi_name;
          return 1;
        }
        return 0;
      },
      &found);
  return found;
}

inline std::string base_name(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The companion's own entry `name`, from the file the library loaded (loading it through a
// one-element call first). The same object serves both, so its per-thread state is shared.
template <class F>
F companion_entry(const char* name) {
  if (loaded_companion().empty()) {
    double x = 0.0, y;
    vdSin(1, &x, &y);
  }
  void* handle = dlopen(loaded_companion().c_str(), RTLD_NOW | RTLD_NOLOAD);
  return handle ? reinterpret_cast<F>(dlsym(handle, name)) : nullptr;
}

// |got - exact| in units of the last place of `exact` in the format of T: the spacing of the
// format's numbers in the binade of `exact`, and never below the smallest subnormal.
template <class T>
double ulp_error(T got, long double exact) {
  if (std::isnan(got) || std::isnan(exact)) return (std::isnan(got) && std::isnan(exact)) ? 0.0 : INFINITY;
  constexpr int digits = std::numeric_limits<T>::digits;
  constexpr int min_exponent = std::numeric_limits<T>::min_exponent;
  int e = 0;
  std::frexp(exact, &e);  // |exact| in [2^(e-1), 2^e)
  if (exact == 0.0L || e < min_exponent) e = min_exponent;
  const long double ulp = std::ldexp(1.0L, e - digits);
  return static_cast<double>(std::fabs(static_cast<long double>(got) - exact) / ulp);
}

}  // namespace nvo_test
