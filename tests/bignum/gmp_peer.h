// The system GMP as an independent reference, loaded with dlopen so that its names, which are the
// same as ours, never bind into this program. Values cross between the two libraries as text.
#pragma once
#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif
#include <dlfcn.h>

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

#include "zvx_gmp.h"

namespace bntest {

// GMP's own record: same shape, 64-bit limbs.
struct gz {
  int alloc, size;
  void* d;
};

struct peer {
  void* handle = nullptr;
  void (*init)(gz*);
  void (*clear)(gz*);
  int (*set_str)(gz*, const char*, int);
  char* (*get_str)(char*, int, const gz*);
  size_t (*sizeinbase)(const gz*, int);
  void (*get_mem)(void* (**)(size_t), void* (**)(void*, size_t, size_t), void (**)(void*, size_t));

  template <class F>
  F sym(const char* name) const {
    void* p = dlsym(handle, name);
    if (!p) {
      std::fprintf(stderr, "system GMP lacks %s\n", name);
      std::abort();
    }
    return reinterpret_cast<F>(p);
  }
};

inline peer& gmp() {
  static peer p = [] {
    peer q;
#if defined(__SANITIZE_ADDRESS__)
    // The sanitizer runtime refuses RTLD_DEEPBIND; a link namespace of its own keeps GMP's
    // references to its own names away from ours just the same.
    q.handle = dlmopen(LM_ID_NEWLM, "libgmp.so.10", RTLD_NOW | RTLD_LOCAL);
#else
    q.handle = dlopen("libgmp.so.10", RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
#endif
    if (!q.handle) {
      std::fprintf(stderr, "cannot load the system GMP: %s\n", dlerror());
      std::abort();
    }
    q.init = q.sym<void (*)(gz*)>("__gmpz_init");
    q.clear = q.sym<void (*)(gz*)>("__gmpz_clear");
    q.set_str = q.sym<int (*)(gz*, const char*, int)>("__gmpz_set_str");
    q.get_str = q.sym<char* (*)(char*, int, const gz*)>("__gmpz_get_str");
    q.sizeinbase = q.sym<size_t (*)(const gz*, int)>("__gmpz_sizeinbase");
    q.get_mem = q.sym<decltype(q.get_mem)>("__gmp_get_memory_functions");
    return q;
  }();
  return p;
}

// A GMP integer with value semantics for the tests.
struct G {
  gz z;
  G() { gmp().init(&z); }
  explicit G(const std::string& hex) : G() { set(hex); }
  ~G() { gmp().clear(&z); }
  G(const G&) = delete;
  G& operator=(const G&) = delete;
  void set(const std::string& text, int base = 16) {
    if (gmp().set_str(&z, text.c_str(), base) != 0) std::abort();
  }
  std::string str(int base = 16) const {
    std::string s(gmp().sizeinbase(&z, base < 0 ? -base : base) + 2, '\0');
    gmp().get_str(s.data(), base, &z);
    s.resize(std::char_traits<char>::length(s.c_str()));
    return s;
  }
  gz* p() { return &z; }
};

// Ours, the same way.
struct Z {
  mpz_t z;
  Z() { mpz_init(z); }
  explicit Z(const std::string& hex) : Z() { set(hex); }
  ~Z() { mpz_clear(z); }
  Z(const Z&) = delete;
  Z& operator=(const Z&) = delete;
  void set(const std::string& text, int base = 16) {
    if (mpz_set_str(z, text.c_str(), base) != 0) std::abort();
  }
  std::string str(int base = 16) const {
    char* s = mpz_get_str(nullptr, base, z);
    std::string r(s);
    void (*f)(void*, size_t);
    mp_get_memory_functions(nullptr, nullptr, &f);
    f(s, r.size() + 1);
    return r;
  }
  mpz_ptr p() { return z; }
};

inline std::string upper(std::string s) {
  for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

// Random hex text of `limbs` 32-bit limbs, with a random sign; `sparse` gives long runs of ones
// and zeros, which find carry and borrow faults that uniform digits miss.
inline std::string random_hex(std::mt19937_64& rng, int limbs, bool allow_negative = true) {
  if (limbs <= 0) return "0";
  static const char* hx = "0123456789ABCDEF";
  std::string s;
  int mode = static_cast<int>(rng() % 4);
  for (int i = 0; i < limbs; ++i) {
    uint32_t v = static_cast<uint32_t>(rng());
    if (mode == 1) v = (rng() % 3 == 0) ? 0xFFFFFFFFu : (rng() % 2 ? 0 : v);
    if (mode == 2 && i > 0 && i + 1 < limbs) v = 0;
    if (i == 0 && v == 0) v = 1;
    for (int k = 7; k >= 0; --k) s += hx[(v >> (4 * k)) & 15];
  }
  size_t nz = s.find_first_not_of('0');
  s = s.substr(nz);
  if (allow_negative && (rng() & 1)) s = "-" + s;
  return s;
}

}  // namespace bntest
