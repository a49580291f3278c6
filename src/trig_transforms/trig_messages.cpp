// One table of texts, written with C indices and the double routine names; the other three forms
// are derived from it by fixed substitutions on the literal pieces (never on inserted values).
#include "trig_transforms/trig_messages.h"

#include <cstdio>
#include <cstring>

namespace zvx::trig {
namespace {

// Markers of the inserted values inside a text.
#define ZVX_N "\x01"     // ipar[0]
#define ZVX_TYPE "\x02"  // ipar[5]
#define ZVX_STAT "\x03"  // ipar[6]
#define ZVX_THR "\x04"   // ipar[9]
#define ZVX_TOL "\x05"   // dpar[0]
#define ZVX_ARG "\x06"   // the text argument

struct entry {
  int number;
  const char* text;
};

constexpr entry kTexts[] = {
    {0, "\nInitialization has failed to complete, or the parameter ipar[6]=" ZVX_STAT
        "\nwas altered by mistake outside the d_commit_trig_transform routine \n"},
    {1, "\nThe dimension of the trigonometric transform " ZVX_N " should be \n"
        "a positive even integer number.\n"},
    {2, "\nThe dimension of the trigonometric transform " ZVX_N " should be an even\n"
        "integer number.\n"},
    {3, "\nThe type of the trigonometric transform " ZVX_TYPE " is out of admissible\n"
        "range {0,1,2}. Either parameter tt_type in the d_init_trig_transform routine\n"
        "had the wrong value or the parameter ipar[5] was altered by mistake outside\n"
        "the d_commit_trig_transform routine\n"},
    {4, "\nDivision by zero occured. Computations have been stopped. The result may be\n"
        "wrong. Probably, the data in parameter dpar were altered by mistake before\n"
        "the call to d_forward_trig_transform/d_backward_trig_transform routine\n"},
    {5, "\nThe previous call to an ZVX Trigonometric Transform routine produced an error\n"
        "code, or the parameter ipar[6]=" ZVX_STAT " was altered by mistake outside\n"
        "the routine. If you are sure that everything is correct, you may force the\n"
        "routine to work by setting ipar[6]=0 before the call to this routine\n"},
    {6, "\nDivision by zero occured. The d_commit_trig_transform routine was not called,\n"
        "or the parameter ipar[0]=" ZVX_N " was altered by mistake outside the\n"
        "d_forward_trig_transform/d_backward_trig_transform routine\n"},
    {300, "\nThe tolerance parameter dpar[0]=" ZVX_TOL " is out of admissible range\n"
          "[0,infinity). Either the d_init_trig_transform routine was not called,\n"
          "or the parameter dpar[0] was altered by mistake outside\n"
          "the d_commit_trig_transform routine. Assigning to dpar[0] the default value\n" ZVX_ARG
          " ...\n"},
    {302, "\nThe input vector value |f[0]|=" ZVX_ARG " is bigger than the tolerance\n"
          "parameter dpar[0]=" ZVX_TOL ". The SINE TRANSFORM may be not suitable for\n"
          "this data vector...\n"},
    {303, "\nThe input vector value |f[ipar[0]]|=" ZVX_ARG " is bigger than the tolerance\n"
          "parameter dpar[0]=" ZVX_TOL ". The SINE TRANSFORM may be not suitable for\n"
          "this data vector...\n"},
    {307, "\nThe input vector value |f[ipar[0]]|=" ZVX_ARG " is bigger than the tolerance\n"
          "parameter dpar[0]=" ZVX_TOL ". The STAGGERED COSINE TRANSFORM may be\n"
          "not suitable for this data vector...\n"},
    {308, "\nThe number of OMP threads defined by parameter ipar[9]=" ZVX_THR " should be\n"
          "a non-negative integer. Assigning to the parameter ipar[9] the default value\n" ZVX_ARG
          "...\n"},
    {1001, "\nFatal error (error message = " ZVX_ARG "). \n"},
};
constexpr const char* kWrongRequest =
    "\nWrong message request. This should never happen in a normal situation...\n";

constexpr const char* kRule =
    "\n------------------------------------------------------------------------------\n";

// Substitutions of the one-based form, longest first so that a nested index is taken whole.
struct swap {
  const char* from;
  const char* to;
};
constexpr swap kOneBased[] = {
    {"|f[ipar[0]]|", "|f(ipar(1))|"}, {"|f[0]|", "|f(1)|"}, {"ipar[0]", "ipar(1)"},
    {"ipar[5]", "ipar(6)"},           {"ipar[6]", "ipar(7)"}, {"ipar[9]", "ipar(10)"},
    {"dpar[0]", "dpar(1)"}};
constexpr swap kSingle[] = {{"dpar", "spar"},
                            {"d_init_trig_transform", "s_init_trig_transform"},
                            {"d_commit_trig_transform", "s_commit_trig_transform"},
                            {"d_forward_trig_transform", "s_forward_trig_transform"},
                            {"d_backward_trig_transform", "s_backward_trig_transform"}};

bool is_error(int number) { return (number >= 0 && number <= 6) || number == 1001; }

// Bounded appender: never writes past capacity - 1, always terminates.
struct writer {
  char* out;
  int capacity;
  int length = 0;
  void put(const char* s, size_t bound = static_cast<size_t>(-1)) {
    for (size_t i = 0; i < bound && s[i] != '\0' && length < capacity - 1; ++i) out[length++] = s[i];
    out[length] = '\0';
  }
};

template <class R>
void put_piece(writer& w, char marker, const int* ipar, const R* dpar, const char* text,
               int number) {
  char buf[64];
  switch (marker) {
    case '\x01': std::snprintf(buf, sizeof buf, "%lli", static_cast<long long>(ipar[0])); break;
    case '\x02': std::snprintf(buf, sizeof buf, "%lli", static_cast<long long>(ipar[5])); break;
    case '\x03': std::snprintf(buf, sizeof buf, "%lli", static_cast<long long>(ipar[6])); break;
    case '\x04': std::snprintf(buf, sizeof buf, "%lli", static_cast<long long>(ipar[9])); break;
    case '\x05': std::snprintf(buf, sizeof buf, "%e", static_cast<double>(dpar[0])); break;
    default:
      w.put(text ? text : "", number == msg_dft_failure ? 40 : 14);
      return;
  }
  w.put(buf);
}

}  // namespace

value_text format_value(double v) {
  value_text t;
  std::snprintf(t.s, sizeof t.s, "%e", v);
  return t;
}

template <class R>
int format_message(int number, const int* ipar, const R* dpar, const char* text, char* out,
                   int capacity) {
  if (capacity <= 0) return 0;
  const char* body = kWrongRequest;
  for (const entry& e : kTexts)
    if (e.number == number) body = e.text;
  const bool one_based = ipar[8] == 0;
  const bool single = sizeof(R) == sizeof(float);

  writer w{out, capacity};
  out[0] = '\0';
  w.put(kRule);
  w.put(is_error(number) ? "ZVX TRIG TRANSFORMS ERROR: " : "ZVX TRIG TRANSFORMS WARNING: ");
  for (const char* p = body; *p != '\0';) {
    if (static_cast<unsigned char>(*p) < 0x07 && *p != '\0' && *p != '\n') {
      put_piece(w, *p, ipar, dpar, text, number);
      ++p;
      continue;
    }
    // A literal stretch: apply the substitutions of the form at this position, if any.
    bool swapped = false;
    if (one_based) {
      for (const swap& s : kOneBased) {
        const size_t len = std::strlen(s.from);
        if (std::strncmp(p, s.from, len) == 0) {
          // The single form renames dpar inside the one-based index too.
          if (single && std::strncmp(s.to, "dpar", 4) == 0) {
            w.put("spar");
            w.put(s.to + 4);
          } else {
            w.put(s.to);
          }
          p += len;
          swapped = true;
          break;
        }
      }
    }
    if (!swapped && single) {
      for (const swap& s : kSingle) {
        const size_t len = std::strlen(s.from);
        if (std::strncmp(p, s.from, len) == 0) {
          w.put(s.to);
          p += len;
          swapped = true;
          break;
        }
      }
    }
    if (!swapped) {
      const char c[2] = {*p, '\0'};
      w.put(c);
      ++p;
    }
  }
  return w.length;
}

template <class R>
void send_message(int number, const int* ipar, const R* dpar, const char* text) {
  const int flag = is_error(number) ? ipar[1] : ipar[2];
  if (flag == 0) return;
  char buffer[1024];
  format_message<R>(number, ipar, dpar, text, buffer, sizeof buffer);
  if (flag > 0) {
    std::printf("%s", buffer);
    return;
  }
  std::FILE* log = std::fopen("ZVX_Trig_Transforms_Log.txt", "a+");
  if (log == nullptr) {
    std::printf("Cannot create file ZVX_Trig_Transform_Log.txt ...\n");
    std::printf("An error/warning message cannot be saved in the file. \n");
    return;
  }
  // Written as text, not as a format: an inserted DFT message could hold a '%'.
  std::fputs(buffer, log);
  std::fclose(log);
}

template int format_message<double>(int, const int*, const double*, const char*, char*, int);
template int format_message<float>(int, const int*, const float*, const char*, char*, int);
template void send_message<double>(int, const int*, const double*, const char*);
template void send_message<float>(int, const int*, const float*, const char*);

}  // namespace zvx::trig
