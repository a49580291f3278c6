// The large power-of-two engine: its tables, the drivers that split a line into column passes and
// leaf blocks, the threaded entries, and the ordering step. The passes themselves are per
// instruction set (large_passes.h).
#include "dft/large_engine.h"

#include <omp.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "common/pages.h"
#include "common/team_gate.h"
#include "dft/dft_tuning.h"
#include "service/cpu_features.h"
#include "service/service.h"

namespace zvx::dft {

const large_kernels& dft_large_kernels() {
  static const large_kernels* const table =
      select_by_isa(&isa_portable::dft_large_kernels(), &isa_avx2::dft_large_kernels(),
                    &isa_avx512::dft_large_kernels());
  return *table;
}

namespace {

using record = DftiDimensionRecord;

inline long bit_reverse_index(long i, int bits) {
  long r = 0;
  for (int b = 0; b < bits; ++b) r |= ((i >> b) & 1L) << (bits - 1 - b);
  return r;
}

// exp(-2 pi i k / n), evaluated directly in extended precision so that every root is right to
// the working precision, whatever its index.
struct root {
  long double re, im;
};
inline root root_of(long k, long n) {
  k %= n;
  if (k < 0) k += n;
  const long double angle = -6.283185307179586476925286766559005768L * k / n;
  return {cosl(angle), sinl(angle)};
}

template <class T>
T* values_at(large_table* t, int64_t offset) {
  return reinterpret_cast<T*>(reinterpret_cast<char*>(t) + offset);
}

// The shape of a table for one length and precision, and the offsets of its parts.
struct table_layout {
  int64_t bytes = 0;
  int64_t take(int64_t size) {
    const int64_t at = (bytes + 63) & ~int64_t{63};
    bytes = at + size;
    return at;
  }
};

large_column_plan column_plan(int log2_block, int levels) {
  large_column_plan p{};
  p.log2_block = log2_block;
  p.levels = levels;
  const long S = 1L << (log2_block - levels);
  long chunk = tuning::kLargeColumnBuffer >> levels;
  if (chunk > S) chunk = S;
  p.chunk = static_cast<int>(chunk);
  return p;
}

// The levels the column pass on a block of 2^s takes: down to a group while the block is above
// one, then down to a leaf, at most kLargeMaxColumnLevels at once; 0 for a leaf.
int chain_levels(int s, int leaf, int group) {
  if (s <= leaf) return 0;
  int levels = s > group ? s - group : s - leaf;
  if (levels > tuning::kLargeMaxColumnLevels) levels = tuning::kLargeMaxColumnLevels;
  return levels;
}

template <class T>
void fill_plan(large_table* t, const large_column_plan& p) {
  const long rows = 1L << p.levels, S = 1L << (p.log2_block - p.levels), C = p.chunk;
  const long n = 1L << p.log2_block, chunks = S / C;
  T* coarse = values_at<T>(t, p.coarse);
  T* fine = values_at<T>(t, p.fine);
  for (long b = 0; b < rows; ++b) {
    const long f = bit_reverse_index(b, p.levels);
    for (long h = 0; h < chunks; ++h) {
      const root w = root_of(h * C * f, n);
      coarse[2 * (b * chunks + h)] = static_cast<T>(w.re);
      coarse[2 * (b * chunks + h) + 1] = static_cast<T>(w.im);
    }
    for (long c = 0; c < C; ++c) {
      const root w = root_of(c * f, n);
      fine[2 * (b * C + c)] = static_cast<T>(w.re);
      fine[2 * (b * C + c) + 1] = static_cast<T>(w.im);
    }
  }
}

// The order of the ordering step's tile pairs. A tile row of middle index b lies in the page of
// its row a with the rows of the middle indices next to b (a page holds `per_page` of them), and
// the partner's row, of middle index rev b, with those next to rev b, that is, of the middle
// indices that share b's high bits. So the pairs go in blocks: the low g and the high g bits of b
// run through all their values while the bits between stay, and each block's rows fall into
// 2^g pages a row on either side, where ascending b put every pair's partner rows into pages of
// their own (2^20 in double, in-place ordering alone: 1.03-1.12 ms against 1.25-1.46 ms for one
// thread, 1.03-1.08 against 1.29-1.39 for two; the translations the step needs are the bound).
// Calls visit(b) for every middle index of `middle` bits once.
template <class F>
void for_middle_indices(int middle, long per_page, F&& visit) {
  int g = 0;
  while ((2L << g) <= per_page && 2 * (g + 1) <= middle) ++g;
  const int between = middle - 2 * g;
  for (long c = 0; c < (1L << between); ++c)
    for (long high = 0; high < (1L << g); ++high)
      for (long low = 0; low < (1L << g); ++low) visit((high << (middle - g)) | (c << g) | low);
}
// Tile rows (2^q neighbouring elements) a page holds.
inline long tile_rows_per_page(int q, int64_t complex_bytes) {
  const long row = (1L << q) * static_cast<long>(complex_bytes);
  return row >= page_bytes ? 1 : page_bytes / row;
}

template <class T>
large_table* build_table(int L) {
  const bool is_double = sizeof(T) == sizeof(double);
  const int leaf = is_double ? tuning::kLargeLeafLogDouble : tuning::kLargeLeafLogSingle;
  const int group = is_double ? tuning::kLargeGroupLogDouble : tuning::kLargeGroupLogSingle;
  const int64_t complex_bytes = 2 * static_cast<int64_t>(sizeof(T));

  large_table h{};
  h.log2_length = L;
  h.is_double = is_double ? 1 : 0;
  h.leaf_log = leaf;

  table_layout layout;
  layout.take(sizeof(large_table));
  // Stage tables for every stage a leaf or a column transform can run.
  int stages = leaf > tuning::kLargeMaxColumnLevels ? leaf : tuning::kLargeMaxColumnLevels;
  if (stages > L) stages = L;
  for (int s = 1; s <= stages; ++s) {
    if (s >= 2) h.stage_radix4[s] = layout.take(3 * (1L << (s - 2)) * complex_bytes);
    h.stage_radix2[s] = layout.take((1L << (s - 1)) * complex_bytes);
  }
  auto place = [&](large_column_plan& p) {
    const long rows = 1L << p.levels, S = 1L << (p.log2_block - p.levels);
    p.coarse = layout.take(rows * (S / p.chunk) * complex_bytes);
    p.fine = layout.take(rows * p.chunk * complex_bytes);
  };
  for (int s = 1; s <= L; ++s) {
    h.chain[s] = column_plan(s, chain_levels(s, leaf, group));
    if (h.chain[s].levels > 0) place(h.chain[s]);
  }
  const int q = tuning::kLargeReverseBits;
  if (L >= 2 * q) {
    h.reverse_bits = q;
    const int middle = L - 2 * q;
    int32_t pairs = 0;
    for_middle_indices(middle, tile_rows_per_page(q, complex_bytes), [&](long b) {
      if (b <= bit_reverse_index(b, middle)) ++pairs;
    });
    h.reverse_pairs = pairs;
    h.reverse_table = layout.take((2L * pairs + (1L << q)) * static_cast<int64_t>(sizeof(int32_t)));
  }
  h.bytes = layout.take(0);
  if (h.bytes > 0xFFFFFFFFL) return nullptr;

  auto* t = static_cast<large_table*>(zvx::scratch_allocate(static_cast<unsigned>(h.bytes), 64));
  if (t == nullptr) return nullptr;
  *t = h;
  for (int s = 1; s <= stages; ++s) {
    const long M = 1L << s;
    if (s >= 2) {
      T* w = values_at<T>(t, t->stage_radix4[s]);
      const long Q = M / 4;
      for (int k = 1; k <= 3; ++k)
        for (long j = 0; j < Q; ++j) {
          const root r = root_of(k * j, M);
          w[2 * ((k - 1) * Q + j)] = static_cast<T>(r.re);
          w[2 * ((k - 1) * Q + j) + 1] = static_cast<T>(r.im);
        }
    }
    T* w = values_at<T>(t, t->stage_radix2[s]);
    for (long j = 0; j < M / 2; ++j) {
      const root r = root_of(j, M);
      w[2 * j] = static_cast<T>(r.re);
      w[2 * j + 1] = static_cast<T>(r.im);
    }
  }
  for (int s = 1; s <= L; ++s)
    if (t->chain[s].levels > 0) fill_plan<T>(t, t->chain[s]);
  if (t->reverse_bits > 0) {
    const int middle = L - 2 * q;
    int32_t* list = values_at<int32_t>(t, t->reverse_table);
    long at = 0;
    for_middle_indices(middle, tile_rows_per_page(q, 2 * static_cast<int64_t>(sizeof(T))), [&](long b) {
      const long r = bit_reverse_index(b, middle);
      if (b <= r) {
        list[at++] = static_cast<int32_t>(b);
        list[at++] = static_cast<int32_t>(r);
      }
    });
    for (long c = 0; c < (1L << q); ++c)
      list[at + c] = static_cast<int32_t>(bit_reverse_index(c, q));
  }
  return t;
}

template <class E> struct real_type;
template <> struct real_type<complex8> { using type = float; };
template <> struct real_type<complex16> { using type = double; };
template <class E> using real_t = typename real_type<E>::type;

template <class E>
const large_kernels_of<real_t<E>>& kernels_of() {
  if constexpr (sizeof(E) == sizeof(complex8)) return dft_large_kernels().single_precision;
  else return dft_large_kernels().double_precision;
}

template <class E>
const large_table* table_of(const record* r) {
  return static_cast<const large_table*>(sizeof(E) == sizeof(complex8) ? r->large_table_single
                                                                          : r->large_table_double);
}

template <class E>
real_t<E> scale_of(const record* r, bool forward) {
  if constexpr (sizeof(E) == sizeof(complex8))
    return forward ? r->forward_scale_single : r->backward_scale_single;
  else
    return forward ? r->forward_scale_double : r->backward_scale_double;
}

// A block of 2^s elements: its column pass, then each of the blocks it leaves (forward); the
// blocks first, then the pass (backward).
template <class T>
void forward_block(T* x, int s, const large_table* t, const large_kernels_of<T>& k, T* buffer) {
  const large_column_plan& plan = t->chain[s];
  if (plan.levels == 0) {
    k.leaf(x, s, t, 0);
    return;
  }
  k.column(x, &plan, t, 0, buffer, 0, (1L << (s - plan.levels)) / plan.chunk);
  const int sub = s - plan.levels;
  for (long b = 0; b < (1L << plan.levels); ++b)
    forward_block(x + (2L * b << sub), sub, t, k, buffer);
}

template <class T>
void backward_block(T* x, int s, const large_table* t, const large_kernels_of<T>& k, T* buffer) {
  const large_column_plan& plan = t->chain[s];
  if (plan.levels == 0) {
    k.leaf(x, s, t, 1);
    return;
  }
  const int sub = s - plan.levels;
  for (long b = 0; b < (1L << plan.levels); ++b)
    backward_block(x + (2L * b << sub), sub, t, k, buffer);
  k.column(x, &plan, t, 1, buffer, 0, (1L << (s - plan.levels)) / plan.chunk);
}

template <class T>
void scale_block(T* x, long n, T scale) {
  if (scale == T(1)) return;
  for (long i = 0; i < 2 * n; ++i) x[i] *= scale;
}

// Work of one phase of a line, items [0, count), handed out in pieces of `piece`: the threads of
// a team take the next piece from a shared counter as they come free, so that one that starts
// late (waking from sleep) or is held up takes fewer and the other does not wait for it at the
// barrier; a team of one (no counter) takes everything at once. Which thread runs an item does
// not change its arithmetic.
template <class F>
void for_pieces(std::atomic<long>* next, long count, long piece, F&& run) {
  if (next == nullptr) {
    if (count > 0) run(0L, count);
    return;
  }
  for (;;) {
    const long lo = next->fetch_add(piece, std::memory_order_relaxed);
    if (lo >= count) return;
    run(lo, std::min(count, lo + piece));
  }
}
inline long piece_of(long count, int team) {
  const long piece = count / (static_cast<long>(team) * tuning::kLargePiecesPerThread);
  return piece > 0 ? piece : 1;
}

// One counter for each phase of a line (the shared passes, the blocks, the ordering step), and
// the team's gate between phases.
struct team_counters {
  std::atomic<long> next[34];
  team_gate gate;
};
constexpr int kBlockPhase = 32, kReversePhase = 33;

// The barrier between phases; a team of one (the serial entries, which may run inside someone
// else's region) never meets one.
inline void team_barrier(team_counters* c, int team) {
  if (team > 1 && c != nullptr) gate_pass(c->gate, team, tuning::kLargeSpinMicros);
}

// How a team shares a line: the first `shared` passes of the chain, on blocks of 2^log2_block[d]
// (blocks[d] of them), run over the whole line with their chunks split among the threads, until
// the blocks left are at least as many as the threads; those (2^log2_block[shared] elements,
// blocks[shared] of them) go whole to the threads. A team of one shares no pass: its one block is
// the line, which is the serial transform.
struct line_split {
  int shared;
  int log2_block[32];
  long blocks[32];
};
line_split split_of(const large_table* t, int team) {
  line_split sp{};
  int s = t->log2_length;
  long blocks = 1;
  while (blocks < team && t->chain[s].levels > 0) {
    sp.log2_block[sp.shared] = s;
    sp.blocks[sp.shared++] = blocks;
    blocks <<= t->chain[s].levels;
    s -= t->chain[s].levels;
  }
  sp.log2_block[sp.shared] = s;
  sp.blocks[sp.shared] = blocks;
  return sp;
}

// This thread's part of one shared pass: chunk c of block b is item b * per_block + c, taken in
// pieces of neighbouring items. Backward with a scale (the last pass of the line), each chunk is
// scaled as it leaves the buffer, while it is still in cache: R rows of C columns.
template <class T>
void shared_pass(T* x, int s, long blocks, const large_table* t, const large_kernels_of<T>& k,
                 int inverse, T scale, int team, std::atomic<long>* next, T* buffer) {
  const large_column_plan& plan = t->chain[s];
  const long S = 1L << (s - plan.levels), C = plan.chunk, per_block = S / C;
  const long items = blocks * per_block;
  for_pieces(next, items, piece_of(items, team), [&](long lo, long hi) {
    for (long item = lo; item < hi;) {
      const long b = item / per_block, first = item % per_block;
      const long last = std::min(per_block, first + (hi - item));
      T* block = x + (2L * b << s);
      if (scale == T(1)) {
        k.column(block, &plan, t, inverse, buffer, first, last);
      } else {
        for (long h = first; h < last; ++h) {
          k.column(block, &plan, t, inverse, buffer, h, h + 1);
          for (long r = 0; r < (1L << plan.levels); ++r)
            scale_block(block + 2 * (r * S + h * C), C, scale);
        }
      }
      item += last - first;
    }
  });
}

// The parts of one block of scratch: the column buffer, then the two tiles of the ordering step.
template <class E>
struct scratch_parts {
  real_t<E>* column;
  E* tiles;
};
constexpr long kTileElements = 1L << (2 * tuning::kLargeReverseBits);
template <class E>
scratch_parts<E> parts_of(void* scratch) {
  const auto at = (reinterpret_cast<uintptr_t>(scratch) + 63) & ~uintptr_t{63};
  auto* column = reinterpret_cast<real_t<E>*>(at);
  return {column, reinterpret_cast<E*>(column + 2 * tuning::kLargeColumnBuffer)};
}

// The ordering step, times `scale` on the way (each element is written once, so the product
// costs no pass of its own): element (a, b, c), with a and c of q bits each and b the middle
// bits, goes to (rev c, rev b, rev a). The tiles of middle indices b and rev b are read whole and
// written to each other's place, every row of a tile being 2^q neighbouring elements: row a is
// read into tile row rev a, and the tile goes back transposed, column c to row rev c, by the
// vector kernel. The pairs of tiles are independent; the team takes them in pieces. Lines too
// short for tiles go element by element on the team's first thread.
template <class E>
void bit_reverse(E* x, const large_table* t, E* tiles, real_t<E> scale, int team, int me,
                 std::atomic<long>* next) {
  using T = real_t<E>;
  const int L = t->log2_length, q = t->reverse_bits;
  const long n = 1L << L;
  if (q == 0) {
    if (me != 0) return;
    for (long i = 0; i < n; ++i) {
      const long j = bit_reverse_index(i, L);
      if (i < j) {
        const E tmp = x[i];
        x[i] = x[j];
        x[j] = tmp;
      }
    }
    scale_block(reinterpret_cast<T*>(x), n, scale);
    return;
  }
  const long Q = 1L << q, high = 1L << (L - q);
  const int32_t* pairs = reinterpret_cast<const int32_t*>(reinterpret_cast<const char*>(t) +
                                                          t->reverse_table);
  const int32_t* rev = pairs + 2L * t->reverse_pairs;
  const auto store = kernels_of<E>().order_store;
  E* a = tiles;
  E* b = tiles + kTileElements;
  auto load = [&](E* tile, long mid) {
    for (long r = 0; r < Q; ++r)
      std::memcpy(tile + rev[r] * Q, x + r * high + (mid << q), Q * sizeof(E));
  };
  auto put = [&](const E* tile, long mid) {
    store(reinterpret_cast<T*>(x + (mid << q)), high, reinterpret_cast<const T*>(tile), rev, q,
          scale);
  };
  for_pieces(next, t->reverse_pairs, piece_of(t->reverse_pairs, team), [&](long lo, long hi) {
    for (long p = lo; p < hi; ++p) {
      const long m0 = pairs[2 * p], m1 = pairs[2 * p + 1];
      load(a, m0);
      if (m0 == m1) {
        put(a, m0);
      } else {
        load(b, m1);
        put(a, m1);
        put(b, m0);
      }
    }
  });
}

// Thread `me`'s part of a line transformed by a team of `team` (a team of one, without counters:
// the whole line). Forward: the shared passes, each followed by a barrier, then blocks as this
// thread takes them, then (in order) a barrier and its pieces of the ordering step, which applies
// the scale. Backward is the mirror; its scale goes with the last pass over the line.
template <class E, bool Forward>
void line_part(E* data, const large_table* t, bool ordered, real_t<E> scale, int team, int me,
               team_counters* counters, const scratch_parts<E>& parts) {
  using T = real_t<E>;
  const large_kernels_of<T>& k = kernels_of<E>();
  T* x = reinterpret_cast<T*>(data);
  const line_split sp = split_of(t, team);
  const int s = sp.log2_block[sp.shared];
  auto next = [&](int phase) { return counters != nullptr ? &counters->next[phase] : nullptr; };
  // The blocks carry the scale when nothing after them touches every element once.
  const T block_scale = (Forward ? ordered : sp.shared > 0) ? T(1) : scale;
  auto blocks = [&](auto transform) {
    for_pieces(next(kBlockPhase), sp.blocks[sp.shared], 1, [&](long lo, long hi) {
      for (long b = lo; b < hi; ++b) {
        transform(x + (2L * b << s), s, t, k, parts.column);
        scale_block(x + (2L * b << s), 1L << s, block_scale);
      }
    });
  };
  if (Forward) {
    for (int d = 0; d < sp.shared; ++d) {
      shared_pass(x, sp.log2_block[d], sp.blocks[d], t, k, 0, T(1), team, next(d), parts.column);
      team_barrier(counters, team);
    }
    blocks(forward_block<T>);
    if (ordered) {
      team_barrier(counters, team);
      bit_reverse(data, t, parts.tiles, scale, team, me, next(kReversePhase));
    }
  } else {
    if (ordered) {
      bit_reverse(data, t, parts.tiles, T(1), team, me, next(kReversePhase));
      team_barrier(counters, team);
    }
    blocks(backward_block<T>);
    for (int d = sp.shared - 1; d >= 0; --d) {
      team_barrier(counters, team);
      shared_pass(x, sp.log2_block[d], sp.blocks[d], t, k, 1, d == 0 ? scale : T(1), team, next(d),
                  parts.column);
    }
  }
}

template <class E, bool Forward>
int large_line(const E* in, E* out, const record* r, void* scratch) {
  using T = real_t<E>;
  const long n = r->length;
  if (n <= 0) return DFTI_NO_ERROR;
  if (in != out) std::memmove(out, in, static_cast<size_t>(n) * sizeof(E));
  const T scale = scale_of<E>(r, Forward);
  if (n == 1) {
    scale_block(reinterpret_cast<T*>(out), 1, scale);
    return DFTI_NO_ERROR;
  }
  const large_table* t = table_of<E>(r);
  if (t == nullptr || (1L << t->log2_length) != n) return DFTI_ZVX_INTERNAL_ERROR;
  void* own = nullptr;
  if (scratch == nullptr) {
    own = zvx::scratch_allocate(static_cast<unsigned>(large_scratch_bytes(r->precision)), 64);
    if (own == nullptr) return DFTI_MEMORY_ERROR;
    scratch = own;
  }
  line_part<E, Forward>(out, t, r->ordering != DFTI_BACKWARD_SCRAMBLED, scale, 1, 0, nullptr,
                        parts_of<E>(scratch));
  if (own != nullptr) zvx::scratch_free(own);
  return DFTI_NO_ERROR;
}

// Threaded: a region of `threads` threads, each running its part of the line in its own block of
// scratch. The parts are those of the serial transform, split (see line_part), so the result is
// the serial one to the bit.
template <class E, bool Forward>
int large_parallel(E* data, int threads, const record* r) {
  const large_table* t = table_of<E>(r);
  const int64_t need = large_scratch_bytes(r->precision);
  const bool workspace = r->workspace != nullptr && r->workspace_size >= need &&
                         r->number_of_user_threads <= 1 && threads <= r->thread_count;
  if (r->length <= 1 || t == nullptr || threads <= 1)
    return large_line<E, Forward>(data, data, r, workspace ? r->workspace : nullptr);
  const int64_t stride = workspace ? r->workspace_size : need;
  void* own = nullptr;
  if (!workspace) {
    if (threads * need > 0xFFFFFFFFL) return DFTI_MEMORY_ERROR;
    own = zvx::scratch_allocate(static_cast<unsigned>(threads * need), 64);
    if (own == nullptr) return DFTI_MEMORY_ERROR;
  }
  char* base = static_cast<char*>(workspace ? r->workspace : own);
  const bool ordered = r->ordering != DFTI_BACKWARD_SCRAMBLED;
  const real_t<E> scale = scale_of<E>(r, Forward);
  team_counters counters;
  for (std::atomic<long>& c : counters.next) c.store(0, std::memory_order_relaxed);
#pragma omp parallel num_threads(threads)
  {
    const int team = omp_get_num_threads(), me = omp_get_thread_num();
    team_counters* shared = team > 1 ? &counters : nullptr;
    line_part<E, Forward>(data, t, ordered, scale, team, me, shared,
                          parts_of<E>(base + me * stride));
    // The wait for the last piece happens here rather than at the end of the region.
    team_barrier(shared, team);
  }
  if (own != nullptr) zvx::scratch_free(own);
  return DFTI_NO_ERROR;
}

}  // namespace

int large_forward_z(const complex16* in, complex16* out, const record* r, void* s) {
  return large_line<complex16, true>(in, out, r, s);
}
int large_backward_z(const complex16* in, complex16* out, const record* r, void* s) {
  return large_line<complex16, false>(in, out, r, s);
}
int large_forward_c(const complex8* in, complex8* out, const record* r, void* s) {
  return large_line<complex8, true>(in, out, r, s);
}
int large_backward_c(const complex8* in, complex8* out, const record* r, void* s) {
  return large_line<complex8, false>(in, out, r, s);
}
int large_parallel_forward_z(complex16* data, int chunks, const record* r) {
  return large_parallel<complex16, true>(data, chunks, r);
}
int large_parallel_backward_z(complex16* data, int chunks, const record* r) {
  return large_parallel<complex16, false>(data, chunks, r);
}
int large_parallel_forward_c(complex8* data, int chunks, const record* r) {
  return large_parallel<complex8, true>(data, chunks, r);
}
int large_parallel_backward_c(complex8* data, int chunks, const record* r) {
  return large_parallel<complex8, false>(data, chunks, r);
}

int64_t large_scratch_bytes(int precision) {
  const int64_t complex_bytes = precision == DFTI_SINGLE ? 8 : 16;
  return (tuning::kLargeColumnBuffer + 2 * kTileElements) * complex_bytes + 64;
}

int setup_large_record(record* r) {
  const long n = r->length;
  if (n < 2 || (n & (n - 1)) != 0) return DFTI_ZVX_INTERNAL_ERROR;
  int L = 0;
  while ((1L << L) < n) ++L;
  if (r->precision == DFTI_SINGLE) {
    if (r->large_table_single != nullptr) zvx::scratch_free(r->large_table_single);
    r->large_table_single = build_table<float>(L);
    if (r->large_table_single == nullptr) return DFTI_MEMORY_ERROR;
    r->forward_c = large_forward_c;
    r->backward_c = large_backward_c;
    r->parallel_forward_c = large_parallel_forward_c;
    r->parallel_backward_c = large_parallel_backward_c;
  } else {
    if (r->large_table_double != nullptr) zvx::scratch_free(r->large_table_double);
    r->large_table_double = build_table<double>(L);
    if (r->large_table_double == nullptr) return DFTI_MEMORY_ERROR;
    r->forward_z = large_forward_z;
    r->backward_z = large_backward_z;
    r->parallel_forward_z = large_parallel_forward_z;
    r->parallel_backward_z = large_parallel_backward_z;
  }
  r->not_power_of_two = 0;
  const int64_t need = large_scratch_bytes(r->precision);
  if (r->engine_buffer_size < need) r->engine_buffer_size = need;
  return DFTI_NO_ERROR;
}

}  // namespace zvx::dft
