// The line engine's own records: the context layout, the passes a plan runs, and the table of
// pass kernels per instruction set. Nothing here leaves the engine and its tests.
#pragma once
#include <cstddef>

#include "dft/engine.h"

namespace zvx::dft {

// One pass of a self-sorting transform. A line of n elements is read as x[q + s*(p + j*m)] for
// q < s, p < m, j < radix and written as y[q + s*(radix*p + k)], multiplied by w^(p*k) of the
// sub-length m * radix. After the last pass (m = 1) the result stands in natural order, so no
// permutation is ever needed; the last pass has no twiddles and may run in place.
struct engine_pass {
  int radix;
  int m;
  int s;
  // 1 when s is below the vector width: vectors run over neighbouring indices q + s*p. When s
  // divides the width (`grouped`), the twiddles are stored by k and p, tw[(k-1)*m + p], and a
  // vector repeats each of its W/s twiddles s times; otherwise per index, tw[(k-1)*m*s + q + s*p].
  // 0: per p, tw[p*(radix-1) + k-1], broadcast over q.
  int expanded;
  int grouped;
  const void* twiddles;  // interleaved complex of the context's precision; null when m is 1
  const void* roots;     // radix above 5: the radix roots exp(-2 pi i t / radix), t < radix
};

inline constexpr int max_passes = 40;

struct engine_plan {
  int pass_count;
  engine_pass passes[max_passes];
};

// Kernels of one instruction set. `width` is the number of complex elements in a vector; a plan
// stores its twiddles for that width, so a context runs only with the table it was built for.
struct engine_kernels {
  int width_single;
  int width_double;
  void (*pass_single)(const engine_pass& pass, const float* x, float* y, int inverse);
  void (*pass_double)(const engine_pass& pass, const double* x, double* y, int inverse);
  // y[k] = a[k] b[k], k below n, complex: the products of the chirp convolution.
  void (*multiply_single)(const float* a, const float* b, float* y, long n);
  void (*multiply_double)(const double* a, const double* b, double* y, long n);
  // The recombination of a real line of even length 2n from its half-length transform x to z,
  // and its inverse from the spectrum's pairs in x; z may be x; h is the table of
  // engine_real_passes.h.
  void (*real_forward_single)(float* z, const float* x, const float* h, long n);
  void (*real_forward_double)(double* z, const double* x, const double* h, long n);
  void (*real_inverse_single)(float* z, const float* x, const float* h, long n);
  void (*real_inverse_double)(double* z, const double* x, const double* h, long n);
  // A whole line of n points, n a power of two from 8 to 64, in registers (lines shorter than W * W
  // on narrower vectors); x and y may be the same line. No scaling.
  void (*short_single)(const float* x, float* y, int n, int inverse);
  void (*short_double)(const double* x, double* y, int n, int inverse);
  // A real line of 2n points whose half length n the whole-line kernels take, with the
  // recombination table h: forward from the line x to Perm in y; inverse from the pairs of
  // k >= 1 in x (Perm or CCS), R(0) = r0 and R(n) = rn, to the line in y. x and y may be equal.
  void (*real_short_forward_single)(const float* x, float* y, const float* h, int n);
  void (*real_short_forward_double)(const double* x, double* y, const double* h, int n);
  void (*real_short_inverse_single)(const float* x, float* y, const float* h, int n, float r0,
                                    float rn);
  void (*real_short_inverse_double)(const double* x, double* y, const double* h, int n, double r0,
                                    double rn);
};

// The straight-line real kernels of one instruction set, for the lengths 2, 4, 8 and 16.
struct real_small_table {
  real_small_s_fn forward_s[4];
  real_small_d_fn forward_d[4];
  real_small_s_fn inverse_s[4];
  real_small_d_fn inverse_d[4];
};
namespace isa_portable { const real_small_table& real_small_kernels(); }
namespace isa_avx2 { const real_small_table& real_small_kernels(); }
namespace isa_avx512 { const real_small_table& real_small_kernels(); }

namespace isa_portable { const engine_kernels& dft_engine_kernels(); }
namespace isa_avx2 { const engine_kernels& dft_engine_kernels(); }
namespace isa_avx512 { const engine_kernels& dft_engine_kernels(); }
// The table for this process's instruction set, chosen once.
const engine_kernels& dft_engine_kernels();

// How a context transforms its line.
enum engine_route : int {
  route_fixed = 1,         // lengths 1 to 4
  route_power_of_two = 2,  // radix-4 passes
  route_mixed_radix = 3,   // factors 4, 2, odd primes up to 150
  route_direct = 4,        // one folded direct sum
  route_chirp = 5,         // chirp convolution on a power-of-two length
};

// One factor of the mixed-radix route.
struct engine_factor {
  int factor;
  int remainder;  // n divided by the factors up to this one
  int stride;     // product of the factors before this one
  int group;      // product of the factors within the current group, this one included
};

inline constexpr int max_factors = 32;

struct PrimitiveDftContext {
  int type_id;
  int length;
  int scale_forward;
  int scale_inverse;
  double scale;
  int hint;
  int buffer_size;
  int route;
  int is_double;
  int is_power_of_two;
  int is_mixed_radix;
  int no_reorder;
  int chirp_length;
  int factor_count;  // factors in the list; the last one is factors[factor_count - 1]
  engine_factor factors[max_factors];
  const engine_kernels* kernels;
  engine_plan plan;
  void* twiddle_block;     // every twiddle and radix-root table of the plan
  int* permutation;        // digit reversal, for contexts with no_reorder
  void* chirp_table;       // c(k) = exp(-pi i k^2 / n), k < n
  void* chirp_spectrum;    // transform of the conjugate chirp, scaled by 1 / L
  PrimitiveDftContext* chirp_context;  // power-of-two context of length L
  // The passes of the multi-line entry: the same factors, every pass with vectors over q and
  // twiddles per p (its strides are multiplied by the batch at run time); pass_count 0 when the
  // context's lines go through that entry one at a time.
  engine_plan batch_plan;
  void* batch_twiddle_block;
  // Real contexts. Even lengths run a complex context of half the length on the pairs
  // (x(2j), x(2j+1)) and recombine its result with `real_table`, built from the roots
  // exp(-2 pi i k / N) of the real length N for k up to N / 4 (engine_real_passes.h). Odd
  // lengths either run the direct real sum with `real_direct_table` (cos and sin of
  // 2 pi k / N, k < N) or a complex context of the whole length (`real_mixed_radix` when that
  // context factors the length).
  PrimitiveDftContext* half_context;
  // Short powers of two run a straight-line kernel of their precision instead (null otherwise).
  real_small_s_fn small_forward_s, small_inverse_s;
  real_small_d_fn small_forward_d, small_inverse_d;
  void* real_table;
  void* real_direct_table;
  int real_mixed_radix;
  // 1 when the scratch of an even real context holds, past the half-length context's, a line
  // on the 64-byte grid for the half-length transform of a caller's line that is off it.
  int real_aligned_line;
  // 1 when the line runs the whole-line kernel of its length in place of the plan's passes.
  int short_line;
};

// The route a context takes; 0 for null. For tests and the descriptor layer's diagnostics.
int primitive_dft_route(const PrimitiveDftContext* context);

// Test seam: the allocator fails from the `count`-th call on (counting from 0) until reset with a
// negative count. Lets tests reach every failure path of create.
void engine_fail_allocation_after(int count);

}  // namespace zvx::dft

namespace zvx::dft {

// Builds the route and every table of a complex context whose type, length, flag fields,
// is_double and kernels are set. On failure returns the status; what was built stays in the
// context for engine_release_tables.
int engine_build_complex(PrimitiveDftContext* context);
// Releases every table of a context (not the record itself). Safe on a partly built context.
void engine_release_tables(PrimitiveDftContext* context);
// Builds the route and tables of a real context whose type, length, flag fields, is_double and
// kernels are set; what was built stays in the context for engine_release_tables on failure.
int engine_build_real(PrimitiveDftContext* context);
// The transform of a complex context without the context checks and without scaling: `work` is
// its scratch, aligned, of buffer_size bytes.
void engine_transform_single(const PrimitiveDftContext* context, const float* in, float* out,
                             float* work, int inverse);
void engine_transform_double(const PrimitiveDftContext* context, const double* in, double* out,
                             double* work, int inverse);

// The self-sorting passes of a plan on n elements from `in` to `out` (which may be equal), with
// `work` of n elements. No scaling.
void engine_run_plan_single(const PrimitiveDftContext* context, const float* in, float* out,
                            float* work, int inverse);
void engine_run_plan_double(const PrimitiveDftContext* context, const double* in, double* out,
                            double* work, int inverse);
// The batch plan on `lanes` interleaved lines in `data` (element k of line j at k * lanes + j),
// in place, with `work` of the same size. No scaling.
void engine_run_batch_single(const PrimitiveDftContext* context, float* data, float* work,
                             long lanes, int inverse);
void engine_run_batch_double(const PrimitiveDftContext* context, double* data, double* work,
                             long lanes, int inverse);

}  // namespace zvx::dft
