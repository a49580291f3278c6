// The companion's vector loops, one table per instruction set. Entry order of both arrays:
// cosine high accuracy, cosine low accuracy, sine high accuracy, sine low accuracy.
#pragma once

namespace nvo {

enum kernel_index { cos_high = 0, cos_low = 1, sin_high = 2, sin_low = 3, kernel_count = 4 };

struct kernel_table {
  void (*d[kernel_count])(int n, const double* a, double* r);
  void (*s[kernel_count])(int n, const float* a, float* r);
};

namespace isa_sse2 { extern const kernel_table table; }
namespace isa_avx2 { extern const kernel_table table; }
namespace isa_avx512 { extern const kernel_table table; }

}  // namespace nvo
