// Messages of the Poisson library: the text of each number in the C form of the double routines,
// rewritten on the way out for the one-based form (round brackets, indices from 1) and for the
// single routines (spar).
#include <cstdio>
#include <cstring>

#include "pde_poisson/poisson.h"

namespace zvx::poisson {
namespace {

constexpr int kTextCapacity = 2048;

struct text {
  char buf[kTextCapacity];
  int len = 0;
  void add(const char* s) {
    const int room = kTextCapacity - 1 - len;
    int n = static_cast<int>(strlen(s));
    if (n > room) n = room;
    memcpy(buf + len, s, n);
    len += n;
    buf[len] = 0;
  }
  void add_int(int v) {
    char piece[32];
    snprintf(piece, sizeof piece, "%lli", static_cast<long long>(v));
    add(piece);
  }
  void add_real(double v) {
    char piece[64];
    snprintf(piece, sizeof piece, "%e", v);
    add(piece);
  }
};

// The tail shared by the "should be a positive integer" messages.
void positive_integer(text& t, int index, int value, const char* direction, const char* name) {
  char head[64];
  snprintf(head, sizeof head, "\nParameter ipar[%d]=", index);
  t.add(head);
  t.add_int(value);
  t.add(" (the number of intervals in ");
  t.add(direction);
  t.add("-direction)\n");
  t.add("should be a positive integer. Probably, parameter was altered by mistake\n");
  t.add("outside the routine, or the wrong value was assigned to the parameter '");
  t.add(name);
  t.add("'\n");
  t.add("during initialization stage. Computations has been stopped. The result may be\n");
  t.add("wrong.\n");
}

void divisible(text& t, int index, int value, const char* direction, const char* what,
               const char* name) {
  char head[64];
  snprintf(head, sizeof head, "\nParameter ipar[%d]=", index);
  t.add(head);
  t.add_int(value);
  t.add(" (the number of intervals in ");
  t.add(direction);
  t.add("-direction)\n");
  t.add("should be ");
  t.add(what);
  t.add(". Please assign a proper value to the parameter '");
  t.add(name);
  t.add("'\n");
  t.add("during initialization stage. Computations has been stopped. The result may be\n");
  t.add("wrong.\n");
}

void domain_size(text& t, int index, double value, const char* direction, const char* a,
                 const char* b) {
  char head[64];
  snprintf(head, sizeof head, "\nParameter dpar[%d]=", index);
  t.add(head);
  t.add_real(value);
  t.add(" (the size of the domain along ");
  t.add(direction);
  t.add("-direction)\n");
  t.add("should be positive. Probably, parameter was altered by mistake outside the\n");
  t.add("routine, or the wrong values were assigned to the parameters '");
  t.add(a);
  t.add("' and '");
  t.add(b);
  t.add("'\n");
  t.add("during initialization stage. Computations has been stopped. The result may be\n");
  t.add("wrong.\n");
}

void side_word(text& t, int index, int value, const char* ordinal) {
  char head[64];
  snprintf(head, sizeof head, "\nParameter ipar[%d]=", index);
  t.add(head);
  t.add_int(value);
  t.add(" is out of admissible range {0,1}. Probably,\n");
  t.add("it was altered by mistake outside the routine, or the ");
  t.add(ordinal);
  t.add(" character in the\n");
  t.add("parameter 'BCtype' was out of admissible range {D,N} during initialization\n");
  t.add("stage. Computations has been stopped. The result may be wrong.\n");
}

void code_range(text& t, int value, const char* range) {
  t.add("\nParameter ipar[3]=");
  t.add_int(value);
  t.add(" is out of admissible range {0,...,");
  t.add(range);
  t.add("}.\n");
  t.add("Probably, it was altered by mistake outside the routine, or some characters in\n");
  t.add("the parameter 'BCtype' were out of admissible range {D,N} during initialization\n");
  t.add("stage. Computations has been stopped. The result may be wrong.\n");
}

void code_agreement(text& t, const int* ipar, int sides) {
  t.add("\nParameters ipar[3]=");
  t.add_int(ipar[3]);
  t.add(sides == 4 ? " and ipar[4]--ipar[7]=" : " and ipar[4]--ipar[9]=");
  for (int i = 0; i < sides; ++i) t.add_int(ipar[4 + i]);
  t.add(" does not agree.\n");
  t.add("Probably, some of the parameters were altered by mistake outside the routine.\n");
  t.add("Computations has been stopped. The result may be wrong.\n");
}

// Fills the C-form text of a message; returns false for a number that has none.
template <class T> bool body(text& t, int number, const int* ipar, const T* dpar) {
  const char* const ordinals[] = {"first", "second", "third", "fourth", "fifth", "sixth"};
  switch (number) {
    case 0: positive_integer(t, 10, ipar[10], "x", "nx"); return true;
    case 1: positive_integer(t, 11, ipar[11], "y", "ny"); return true;
    case 11: positive_integer(t, 12, ipar[12], "z", "nz"); return true;
    case 10000: positive_integer(t, 10, ipar[10], "phi", "np"); return true;
    case 10001: positive_integer(t, 11, ipar[11], "theta", "nt"); return true;
    case 2: divisible(t, 10, ipar[10], "x", "an even number", "nx"); return true;
    case 10002: divisible(t, 10, ipar[10], "phi", "an even number", "np"); return true;
    case 17: divisible(t, 11, ipar[11], "theta", "an even number", "nt"); return true;
    case 10202: divisible(t, 10, ipar[10], "phi", "divisible by 4", "nx"); return true;
    case 3: domain_size(t, 0, dpar[0], "x", "ax", "bx"); return true;
    case 4: domain_size(t, 1, dpar[1], "y", "ay", "by"); return true;
    case 18: domain_size(t, 2, dpar[2], "z", "az", "bz"); return true;
    case 10003: domain_size(t, 0, dpar[0], "phi", "ap", "bp"); return true;
    case 10004: domain_size(t, 1, dpar[1], "theta", "at", "bt"); return true;
    case 5: code_range(t, ipar[3], "15"); return true;
    case 19: code_range(t, ipar[3], "63"); return true;
    case 6: case 7: case 8: case 9:
      side_word(t, number - 2, ipar[number - 2], ordinals[number - 6]);
      return true;
    case 20: case 21:
      side_word(t, number - 12, ipar[number - 12], ordinals[number - 16]);
      return true;
    case 10009: side_word(t, 2, ipar[2], ordinals[3]); return true;
    case 10: code_agreement(t, ipar, 4); return true;
    case 22: code_agreement(t, ipar, 6); return true;
    case 12: case 10012:
      t.add("\nA call to the previous Poisson Library routine has failed or has not been\n");
      t.add("done. It is also possible that parameter ipar[0] was altered by mistake outside\n");
      t.add("the routine. Cannot proceed with computations...\n");
      return true;
    case 13:
      t.add("\nParameter ipar[3]=");
      t.add_int(ipar[3]);
      t.add(" was altered outside the routine or commit\n");
      t.add("routine was not called. Computations has been stopped. The result may be wrong.\n");
      return true;
    default: break;
  }
  switch (number) {
    case 23: case 10023: case 29: case 10029: case 24: case 10024: case 30: case 10030: {
      const bool second = number == 29 || number == 10029 || number == 30 || number == 10030;
      const bool init = number == 23 || number == 10023 || number == 29 || number == 10029;
      t.add(init ? "\nFatal error: Trigonometric Transform initialization has failed to complete.\n"
                 : "\nFatal error: Trigonometric Transform commit step has failed to complete.\n");
      t.add("Error code = ");
      t.add_int(ipar[second ? 65 : 45]);
      t.add(". Computations has been stopped...\n");
      return true;
    }
    case 25:
      t.add("\nFatal error: Trigonometric Transform forward/backward step has failed to\n");
      t.add("complete. Error code = ");
      t.add_int(ipar[45]);
      t.add(". Computations has been stopped. The\n");
      t.add("result may be wrong.\n");
      return true;
    case 31:
      t.add("\nFatal error: Trigonometric Transform forward/backward step has failed to\n");
      t.add("complete. Error code = ");
      t.add_int(ipar[45]);
      t.add(" and/or ");
      t.add_int(ipar[65]);
      t.add(". Computations has\n");
      t.add("been stopped. The result may be wrong.\n");
      return true;
    case 14: case 10014:
      t.add("\nFatal error: Trigonometric Transforms has failed to release the memory. Error\n");
      t.add("code = ");
      t.add_int(ipar[45]);
      t.add(". Computations has been stopped...\n");
      return true;
    case 32: case 10032:
      t.add("\nFatal error: Trigonometric Transforms has failed to release the memory. Error\n");
      t.add("code = ");
      t.add_int(ipar[45]);
      t.add(" and/or ");
      t.add_int(ipar[65]);
      t.add(". Computations has been stopped.\n");
      t.add("The result may be wrong.\n");
      return true;
    case 26: case 10026:
      t.add("\nFatal error: Division by zero occured. Computations have been stopped. The\n");
      t.add("result may be wrong.\n");
      return true;
    case 27: case 10027:
      t.add("\nFatal error: Memory cannot be allocated/deallocated. Computations have been "
            "stopped. The\n");
      t.add("result may be wrong.\n");
      return true;
    case 28: case 10028:
      t.add("\nFatal error: Internal memory error. Computations have been stopped. The\n");
      t.add("result may be wrong.\n");
      return true;
    case 15: case 10015:
      t.add(number == 15 ? "\nThe mesh size in the direction y, dpar[1]="
                         : "\nThe mesh size in the direction theta, dpar[1]=");
      t.add_real(dpar[1]);
      t.add(", must be positive.\n");
      t.add("Probably, parameter dpar[1] was altered by mistake outside the routine.\n");
      t.add("Computations have been stopped. The result may be wrong.\n");
      return true;
    case 16: case 10016:
      t.add("\nFatal error: Failed to normalize the right-hand side. Computations has been\n");
      t.add("stopped. The result may be wrong.\n");
      return true;
    case 900: case 10900:
      t.add("\nThe problem is degenerate up to rounding errors! The approximate solution\n");
      t.add("that provides the minimal Eucledean norm of the residual will be computed...\n");
      return true;
    case 903: case 10903:
      t.add("\nProbably, some values ipar[10]-ipar[20] were altered by mistake outside the\n");
      t.add("routine. The computations may fail to proceed and/or the result may be wrong...\n");
      return true;
    case 904: case 10904:
      t.add("\nHelmholtz coefficient dpar[3]=");
      t.add_real(dpar[3]);
      t.add(" should be non-negative.\n");
      t.add("Otherwise, Poisson Library may fail to proceed and/or the result may be\n");
      t.add("wrong...\n");
      return true;
    default:
      return false;
  }
}

bool is_error(int number) {
  switch (number) {
    case 900: case 10900: case 903: case 10903: case 904: case 10904: return false;
    default: return true;
  }
}

// The C-form text with its index brackets turned into the one-based form and, for the single
// routines, dpar into spar. Numbers never contain a bracket, so the whole text can be rewritten.
void rewrite(const char* in, char* out, int cap, bool c_form, bool single) {
  int o = 0;
  for (int i = 0; in[i] && o < cap - 16;) {
    const bool ip = strncmp(in + i, "ipar[", 5) == 0;
    const bool dp = strncmp(in + i, "dpar[", 5) == 0;
    if ((ip || dp) && !c_form) {
      int j = i + 5, index = 0;
      while (in[j] >= '0' && in[j] <= '9') index = index * 10 + (in[j++] - '0');
      if (in[j] == ']') {
        o += snprintf(out + o, cap - o, "%s(%d)", ip ? "ipar" : (single ? "spar" : "dpar"),
                      index + 1);
        i = j + 1;
        continue;
      }
    }
    if (dp && single) {
      memcpy(out + o, "spar", 4);
      o += 4;
      i += 4;
      continue;
    }
    out[o++] = in[i++];
  }
  out[o] = 0;
}

template <class T> void emit(int number, const int* ipar, const T* dpar) {
  const int channel = (number >= 0 && number <= 32) ? ipar[1] : ipar[2];
  if (channel == 0) return;
  text t;
  t.add("\n-------------------------------------------------------------------------------\n");
  text b;
  const bool known = body(b, number, ipar, dpar);
  if (known) {
    t.add(is_error(number) ? "ZVX POISSON LIBRARY ERROR: " : "ZVX POISSON LIBRARY WARNING: ");
    t.add(b.buf);
  } else {
    t.add("ZVX POISSON LIBRARY WARNING: ");
    t.add("\nWrong message request. This should never happen in a normal situation. Please\n");
    t.add("contact Halvex ZVX Technical Support and provide as much details as possible. We\n");
    t.add("appreciate your assistance and apologize for any inconveniences resulted from\n");
    t.add("this problem.\n");
  }
  char out[kTextCapacity + 256];
  rewrite(t.buf, out, sizeof out, (ipar[21] & 1) != 0, sizeof(T) == sizeof(float));
  if (channel > 0) {
    fflush(stdout);
    printf("%s", out);
    return;
  }
  FILE* log = fopen("ZVX_Poisson_Library_Log.txt", "a+");
  if (log) {
    fflush(log);
    fputs(out, log);
    fclose(log);
  } else {
    fflush(stdout);
    printf("Cannot create file ZVX_Poisson_Library_Log.txt ...\n");
    printf("An error/warning message cannot be saved in the file! \n");
  }
}

}  // namespace

template <class T> void message(int number, const int* ipar, const T* dpar) {
  emit(number, ipar, dpar);
}
template void message<double>(int, const int*, const double*);
template void message<float>(int, const int*, const float*);

}  // namespace zvx::poisson
