// Strided, batched and multi-dimensional real transforms as line transforms. A real transform
// of rank 2 runs its rows as real lines (record 0), then the columns of the half spectrum along
// dimension 1: in the packed formats the columns of R(0) and R(n1 / 2) are real lines of record 1
// and the others complex lines; in conjugate-even storage as complex values every column is a
// complex line. Rank 3 (conjugate-even storage only) adds complex lines along dimension 2. The
// backward direction runs the mirror image. Every stage takes an index range, so that the serial
// frames and the threaded regions run the same code on whole ranges or on chunks.
#pragma once
#include "dft/multi_dim.h"
#include "dft/real_line.h"

namespace zvx::dft {

// One side of a real transform: element stride in reals, and whether the side holds complex
// values (conjugate-even storage), in which case real index p of a packed line is the real or
// imaginary part of complex element p / 2.
struct side {
  long s;
  bool cplx;
  long at(long p) const { return cplx ? (p >> 1) * s + (p & 1) : p * s; }
  bool unit() const { return s == (cplx ? 2 : 1); }
};

template <class R>
inline R* take_reals(long n) {
  const long bytes = n * static_cast<long>(sizeof(R));
  if (bytes <= 0 || bytes > 0xFFFFFFFFL) return nullptr;
  return static_cast<R*>(zvx::scratch_allocate(static_cast<unsigned>(bytes), 32));
}

template <class R>
inline void gather_reals(long n, const R* src, side a, R* dst) {
  if (a.unit()) {
    for (long p = 0; p < n; ++p) dst[p] = src[p];
    return;
  }
  for (long p = 0; p < n; ++p) dst[p] = src[a.at(p)];
}
template <class R>
inline void scatter_reals(long n, const R* src, R* dst, side b) {
  if (b.unit()) {
    for (long p = 0; p < n; ++p) dst[p] = src[p];
    return;
  }
  for (long p = 0; p < n; ++p) dst[b.at(p)] = src[p];
}

// One real line from one side to the other through `slot` or real_line: straight when both sides
// are unit stride (and, in place, start at the same address), else through `buf` (length + 2
// reals). Only the reals the layout holds are read and written.
template <class R, class Run>
inline int line_through(long n, bool forward, int fmt, const R* src, side a, R* dst, side b,
                        bool in_place, R* buf, Run run) {
  if (a.unit() && b.unit() && (!in_place || static_cast<const void*>(src) == dst))
    return run(src, dst);
  const long rd = forward ? n : packed_reals(fmt, n), wr = forward ? packed_reals(fmt, n) : n;
  gather_reals(rd, src, a, buf);
  const int status = run(buf, buf);
  if (status == DFTI_NO_ERROR) scatter_reals(wr, buf, dst, b);
  return status;
}

// Layout of the half-spectrum columns of a rank-2 slice: column k holds R(k) and I(k) of every
// row. Packed formats place them by the row layout at element stride `unit`; complex storage at
// complex element k.
template <class R>
struct columns_layout {
  R* base;
  long unit;  // reals between neighbouring elements of a row (complex elements in complex storage)
  long row;   // reals between rows
  int fmt;
  long n1;
  bool cplx;
  long re(long k) const { return (cplx ? k : re_index(fmt, n1, k)) * unit; }
  long im(long k) const {
    if (cplx) return re(k) + 1;
    const long i = im_index(fmt, n1, k);
    return i < 0 ? -1 : i * unit;
  }
};

// Largest number of columns moved through the buffer together: one cache line of a row serves
// them all (8 complex doubles or singles' pairs span 64 to 128 bytes).
inline constexpr long kRealColumnBatch = 8;

// Complex columns k0..k1 of length n2 from `src` to `dst` (the same array in place), through
// the complex slot of record 1 in batches of neighbouring columns.
template <class R>
int complex_columns(const DftiDimensionRecord* r1, bool forward, const columns_layout<R>& src,
                    const columns_layout<R>& dst, long k0, long k1, void* scratch) {
  using E = complex_t<R>;
  const long n2 = r1->length;
  if (k0 >= k1) return DFTI_NO_ERROR;
  E* buf = take_buffer<E>(kRealColumnBatch * n2);
  if (buf == nullptr) return DFTI_MEMORY_ERROR;
  const line_job<E> job = job_of<E>(r1, forward);
  int status = DFTI_NO_ERROR;
  for (long k = k0; k < k1 && status == DFTI_NO_ERROR; k += kRealColumnBatch) {
    const long b = k1 - k < kRealColumnBatch ? k1 - k : kRealColumnBatch;
    long sre[kRealColumnBatch], sim[kRealColumnBatch], dre[kRealColumnBatch], dim[kRealColumnBatch];
    for (long q = 0; q < b; ++q) {
      sre[q] = src.re(k + q);
      sim[q] = src.im(k + q);
      dre[q] = dst.re(k + q);
      dim[q] = dst.im(k + q);
    }
    for (long j = 0; j < n2; ++j) {
      const R* row = src.base + j * src.row;
      for (long q = 0; q < b; ++q) {
        R* e = reinterpret_cast<R*>(buf + q * n2 + j);
        e[0] = row[sre[q]];
        e[1] = sim[q] >= 0 ? row[sim[q]] : R(0);
      }
    }
    for (long q = 0; q < b && status == DFTI_NO_ERROR; ++q)
      status = job.run(buf + q * n2, buf + q * n2, scratch);
    if (status != DFTI_NO_ERROR) break;
    for (long j = 0; j < n2; ++j) {
      R* row = dst.base + j * dst.row;
      for (long q = 0; q < b; ++q) {
        const R* e = reinterpret_cast<const R*>(buf + q * n2 + j);
        row[dre[q]] = e[0];
        if (dim[q] >= 0) row[dim[q]] = e[1];
      }
    }
  }
  give_buffer(buf);
  return status;
}

// One rank-2 real slice: lengths, records, both sides (element stride as a side, row stride in
// reals), and the format of the packed side (CCS for complex storage).
template <class R>
struct plane {
  const DftiDimensionRecord* r0;
  const DftiDimensionRecord* r1;
  long n1, n2;
  bool forward, in_place, cplx;
  int fmt;
  const R* in;
  side a1;
  long a2;
  R* out;
  side b1;
  long b2;

  // Columns of the half spectrum that are complex lines: all n1 / 2 + 1 in complex storage, the
  // (n1 - 1) / 2 between R(0) and R(n1 / 2) in the packed formats.
  long complex_columns_count() const { return cplx ? n1 / 2 + 1 : (n1 - 1) / 2; }
  long first_complex() const { return cplx ? 0 : 1; }
  // Format of the rows a backward transform hands to its row lines: out of place, the columns
  // write Perm rows into the real output, where CCS rows would not fit.
  int row_format() const {
    if (in_place) return fmt;
    return cplx || is_ccs(fmt) ? DFTI_PERM_FORMAT : fmt;
  }
};

// Rows j0..j1 of a plane. Forward: from the real input to the packed output. Backward: from the
// packed rows (the output after the columns, or the input when there are no columns) to the
// real output.
template <class R>
int plane_rows(const plane<R>& p, long j0, long j1, void* scratch) {
  if (j0 >= j1) return DFTI_NO_ERROR;
  R* buf = take_reals<R>(p.n1 + 2);
  if (buf == nullptr) return DFTI_MEMORY_ERROR;
  const R* src;
  side a;
  long a2;
  int fmt;
  bool in_place = p.in_place;
  if (p.forward || p.n2 < 2 || p.in_place) {
    src = p.in;
    a = p.a1;
    a2 = p.a2;
    fmt = p.fmt;
  } else {
    src = p.out;
    a = p.b1;
    a2 = p.b2;
    fmt = p.row_format();
    in_place = true;
  }
  int status = DFTI_NO_ERROR;
  for (long j = j0; j < j1 && status == DFTI_NO_ERROR; ++j) {
    status = line_through(p.n1, p.forward, fmt, src + j * a2, a, p.out + j * p.b2, p.b1, in_place,
                          buf, [&](const R* x, R* y) {
                            return real_line(p.r0, p.forward, fmt, x, y, scratch);
                          });
  }
  give_buffer(buf);
  return status;
}

// The real columns of a packed plane, R(0) and, for even n1, R(n1 / 2): real lines of record 1.
template <class R>
int plane_real_columns(const plane<R>& p, void* scratch) {
  if (p.cplx || p.n2 < 2) return DFTI_NO_ERROR;
  R* buf = take_reals<R>(p.n2 + 2);
  if (buf == nullptr) return DFTI_MEMORY_ERROR;
  const int dfmt = p.forward ? p.fmt : p.row_format();
  const R* src = p.forward ? p.out : p.in;
  const long sunit = p.forward ? p.b1.s : p.a1.s, srow = p.forward ? p.b2 : p.a2;
  int status = DFTI_NO_ERROR;
  const long last = p.n1 % 2 == 0 ? p.n1 / 2 : 0;
  for (long k = 0; status == DFTI_NO_ERROR; k = last) {
    status = line_through(p.n2, p.forward, p.fmt, src + re_index(p.fmt, p.n1, k) * sunit,
                          side{srow, false}, p.out + re_index(dfmt, p.n1, k) * p.b1.s,
                          side{p.b2, false}, false, buf, [&](const R* x, R* y) {
                            return real_line(p.r1, p.forward, p.fmt, x, y, scratch);
                          });
    if (k == last) break;
  }
  give_buffer(buf);
  return status;
}

// Complex columns c0..c1 (counted from the first complex column) of a plane.
template <class R>
int plane_complex_columns(const plane<R>& p, long c0, long c1, void* scratch) {
  using E = complex_t<R>;
  if (p.n2 < 2 || c0 >= c1) return DFTI_NO_ERROR;
  const long k0 = p.first_complex() + c0, k1 = p.first_complex() + c1;
  if (p.cplx && (p.forward || p.in_place)) {
    // Complex storage in place on the complex side: neighbouring columns are neighbouring
    // complex elements, a column walk of the complex frame.
    E* data = reinterpret_cast<E*>(p.forward ? p.out : const_cast<R*>(p.in));
    const side s = p.forward ? p.b1 : p.a1;
    const long row = (p.forward ? p.b2 : p.a2) / 2, es = s.s / 2;
    const int level = es == 1 ? column_batch_level<E>(p.n2) : 0;
    const line_job<E> job = job_of<E>(p.r1, p.forward);
    E* buf = take_buffer<E>(walk_elements(job, p.n2, level));
    if (buf == nullptr) return DFTI_MEMORY_ERROR;
    const int status = columns_pass(job, p.n2, data, es, row, k0, k1, buf, level, scratch);
    give_buffer(buf);
    return status;
  }
  columns_layout<R> src, dst;
  if (p.forward) {
    src = {p.out, p.b1.s, p.b2, p.fmt, p.n1, false};
    dst = src;
  } else {
    src = {const_cast<R*>(p.in), p.a1.s, p.a2, p.fmt, p.n1, p.cplx};
    dst = {p.out, p.b1.s, p.b2, p.row_format(), p.n1, false};
  }
  return complex_columns(p.r1, p.forward, src, dst, k0, k1, scratch);
}

// A whole plane, serially.
template <class R>
int plane_run(const plane<R>& p, void* scratch) {
  const long cols = p.complex_columns_count();
  int status;
  if (p.forward) {
    status = plane_rows(p, 0, p.n2, scratch);
    if (status == DFTI_NO_ERROR) status = plane_real_columns(p, scratch);
    if (status == DFTI_NO_ERROR) status = plane_complex_columns(p, 0, cols, scratch);
    return status;
  }
  status = plane_complex_columns(p, 0, cols, scratch);
  if (status == DFTI_NO_ERROR) status = plane_real_columns(p, scratch);
  if (status == DFTI_NO_ERROR) status = plane_rows(p, 0, p.n2, scratch);
  return status;
}

}  // namespace zvx::dft
