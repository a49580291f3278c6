// Text and byte conversion: get_str, set_str, sizeinbase, out_str, inp_str, import, export, and
// the rational output.
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "bignum/mpz_internal.h"
#include "service/service.h"

namespace {

using namespace zvx::bn;

// One table, indexed from the start for every base: digits are upper case, and bases above 36
// continue with the table's second half.
constexpr char digit_table[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789abcdefghijklmnopqrstuvwxyz";

int digit_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
  if (c >= 'a' && c <= 'z') return c - 'a' + 10;
  return -1;
}

size_t size_in_base(mpz_srcptr x, int base) {
  unsigned long bits = z_bit_length(x);
  if (bits == 0) return 1;
  if ((base & (base - 1)) == 0) {
    int lg = __builtin_ctz(static_cast<unsigned>(base));
    return (bits + lg - 1) / lg;
  }
  // bits * log(2)/log(base), rounded up: exact or one too high.
  double est = static_cast<double>(bits) * (std::log(2.0) / std::log(static_cast<double>(base)));
  return static_cast<size_t>(est) + 1;
}

}  // namespace

ZVX_EXPORT size_t __gmpz_sizeinbase(mpz_srcptr x, int base) { return size_in_base(x, base); }

static char* z_get_str(char* buffer, int base, mpz_srcptr x) {
  if (base == 0) base = 10;
  if (base < 0) base = -base;
  if (base < 2 || base > 62) return nullptr;
  int n = abs_size(x);
  bool neg = x->_mp_size < 0;
  size_t cap = size_in_base(x, base) + 2;
  char* work = static_cast<char*>(allocate(cap));
  size_t len = 0;
  if (neg) work[len++] = '-';
  if (n == 0) {
    work[len++] = '0';
  } else if ((base & (base - 1)) == 0) {
    // Powers of two read the bits straight from the limbs, from the top.
    int lg = __builtin_ctz(static_cast<unsigned>(base));
    unsigned long bits = z_bit_length(x);
    unsigned long ndig = (bits + lg - 1) / lg;
    for (unsigned long k = ndig; k-- > 0;) {
      unsigned long pos = k * lg;
      unsigned v = 0;
      for (int b = lg - 1; b >= 0; --b) {
        unsigned long bit = pos + b;
        unsigned long w = bit / 32;
        v <<= 1;
        if (w < static_cast<unsigned long>(n)) v |= (x->_mp_d[w] >> (bit % 32)) & 1;
      }
      work[len++] = digit_table[v];
    }
  } else {
    len += limbs_to_text(work + len, x->_mp_d, n, base);
  }
  work[len] = '\0';
  char* out = buffer;
  if (out == nullptr) out = static_cast<char*>(allocate(len + 1));
  std::memcpy(out, work, len + 1);
  release(work, cap);
  return out;
}
ZVX_EXPORT char* __gmpz_get_str(char* buffer, int base, mpz_srcptr x) { return z_get_str(buffer, base, x); }

static int z_set_str(mpz_ptr x, const char* text, int base) {
  if (base != 0 && (base < 2 || base > 62)) return -1;
  size_t first = 0, last = std::strlen(text);
  while (first < last && text[first] == ' ') ++first;
  while (last > first && text[last - 1] == ' ') --last;
  if (first == last) return -1;
  bool neg = false;
  if (text[first] == '+' || text[first] == '-') {
    neg = text[first] == '-';
    ++first;
  }
  if (base == 0) {
    if (last - first >= 2 && text[first] == '0' && (text[first + 1] == 'x' || text[first + 1] == 'X')) {
      base = 16;
      first += 2;
    } else if (last - first >= 2 && text[first] == '0') {
      base = 8;
      ++first;
    } else {
      base = 10;
    }
  }
  if (first == last) return -1;
  for (size_t i = first; i < last; ++i) {
    int v = digit_value(text[i]);
    if (v < 0 || v >= base) return -1;
  }
  const size_t ndig = last - first;
  int per;
  big_base(base, &per);
  const int cap = static_cast<int>(ndig / static_cast<size_t>(per)) + 2;
  limb* d = alloc_limbs(cap);
  unsigned char* v = static_cast<unsigned char*>(allocate(ndig));
  for (size_t i = 0; i < ndig; ++i) v[i] = static_cast<unsigned char>(digit_value(text[first + i]));
  int n = digits_to_limbs(d, v, ndig, base);
  release(v, ndig);
  set_limbs(x, d, n, neg);
  free_limbs(d, cap);
  return 0;
}
ZVX_EXPORT int __gmpz_set_str(mpz_ptr x, const char* text, int base) { return z_set_str(x, text, base); }

ZVX_EXPORT int __gmpz_init_set_str(mpz_ptr x, const char* text, int base) {
  z_init(x);
  return z_set_str(x, text, base);
}

ZVX_EXPORT size_t __gmpz_out_str(FILE* stream, int base, mpz_srcptr x) {
  if (stream == nullptr) stream = stdout;
  char* s = z_get_str(nullptr, base, x);
  if (s == nullptr) return 0;
  size_t len = std::strlen(s);
  size_t written = std::fwrite(s, 1, len, stream);
  release(s, len + 1);
  return written == len ? len : 0;
}

ZVX_EXPORT size_t __gmpz_inp_str(mpz_ptr x, FILE* stream, int base) {
  if (stream == nullptr) stream = stdin;
  // Skips white space, then reads the longest run of sign, prefix and alphanumerics.
  size_t consumed = 0;
  int c;
  do {
    c = std::fgetc(stream);
    ++consumed;
  } while (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v');
  size_t cap = 64, len = 0;
  char* buf = static_cast<char*>(allocate(cap));
  while (c != EOF && (std::isalnum(c) || (len == 0 && c == '-'))) {
    if (len + 2 > cap) {
      buf = static_cast<char*>(reallocate(buf, cap, cap * 2));
      cap *= 2;
    }
    buf[len++] = static_cast<char>(c);
    c = std::fgetc(stream);
    ++consumed;
  }
  if (c != EOF) std::ungetc(c, stream);
  --consumed;
  buf[len] = '\0';
  int ok = len ? z_set_str(x, buf, base) : -1;
  release(buf, cap);
  return ok == 0 ? consumed : 0;
}

ZVX_EXPORT int __gmpq_out_str(FILE* stream, int, mpq_srcptr q) {
  if (stream == nullptr) stream = stdout;
  auto limbs = [stream](mpz_srcptr z) {
    int n = abs_size(z);
    if (n == 0) {
      std::fprintf(stream, "%08X", 0u);
      return;
    }
    std::fprintf(stream, "%s", z->_mp_size < 0 ? "-" : "");
    for (int i = n - 1; i >= 0; --i) std::fprintf(stream, "%08X", z->_mp_d[i]);
  };
  limbs(&q->_mp_num);
  const __mpz_struct* den = &q->_mp_den;
  if (den->_mp_size == 1 && den->_mp_d[0] == 1) return 0;
  std::fprintf(stream, " / ");
  limbs(den);
  return 0;
}

// Import and export: words of `size` bytes, most or least significant word first (order 1/-1),
// bytes within a word by endian (1 big, -1 little, 0 native), the top `nails` bits of each word
// unused.
ZVX_EXPORT void __gmpz_import(mpz_ptr x, size_t count, int order, size_t size, int endian, size_t nails,
                              const void* data) {
  if (endian == 0) endian = -1;  // x86-64 is little-endian
  const unsigned char* p = static_cast<const unsigned char*>(data);
  size_t bits_per_word = size * 8 - nails;
  size_t total_bits = count * bits_per_word;
  int n = static_cast<int>((total_bits + 31) / 32) + 1;
  limb* d = alloc_limbs(n);
  zero(d, n);
  size_t bitpos = 0;
  for (size_t w = 0; w < count; ++w) {
    // Word w in significance (0 least).
    size_t wi = order < 0 ? w : count - 1 - w;
    const unsigned char* word = p + wi * size;
    for (size_t b = 0; b < size; ++b) {
      // Byte b in significance within the word.
      unsigned char byte = endian < 0 ? word[b] : word[size - 1 - b];
      size_t used = 8;
      if ((b + 1) * 8 > bits_per_word) used = bits_per_word > b * 8 ? bits_per_word - b * 8 : 0;
      if (used < 8) byte &= static_cast<unsigned char>((1u << used) - 1);
      for (size_t k = 0; k < used; ++k, ++bitpos)
        if ((byte >> k) & 1) d[bitpos / 32] |= 1u << (bitpos % 32);
    }
  }
  set_limbs(x, d, n, false);
  free_limbs(d, n);
}

ZVX_EXPORT void* __gmpz_export(void* out, size_t* countp, int order, size_t size, int endian, size_t nails,
                               mpz_srcptr x) {
  if (endian == 0) endian = -1;
  size_t bits_per_word = size * 8 - nails;
  unsigned long bits = z_bit_length(x);
  size_t count = (bits + bits_per_word - 1) / bits_per_word;
  if (countp) *countp = count;
  if (count == 0) return out;
  if (out == nullptr) out = allocate(count * size);
  unsigned char* p = static_cast<unsigned char*>(out);
  int n = abs_size(x);
  size_t bitpos = 0;
  for (size_t w = 0; w < count; ++w) {
    size_t wi = order < 0 ? w : count - 1 - w;
    unsigned char* word = p + wi * size;
    for (size_t b = 0; b < size; ++b) {
      size_t used = 8;
      if ((b + 1) * 8 > bits_per_word) used = bits_per_word > b * 8 ? bits_per_word - b * 8 : 0;
      unsigned byte = 0;
      for (size_t k = 0; k < used; ++k, ++bitpos) {
        size_t li = bitpos / 32;
        if (li < static_cast<size_t>(n) && ((x->_mp_d[li] >> (bitpos % 32)) & 1)) byte |= 1u << k;
      }
      word[endian < 0 ? b : size - 1 - b] = static_cast<unsigned char>(byte);
    }
  }
  return out;
}
