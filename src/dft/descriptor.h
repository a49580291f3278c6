// The descriptor layer of the DFT: one record per dimension, chained, in one block. The handle is
// the address of the first record; settings that apply to the whole transform are read from it,
// and commit copies them into the others. Commit fills the line slots, the engine contexts and the
// workspace; compute reads them only.
#pragma once
#include <cstdint>

#include "dft/engine.h"
#include "zvx_dft.h"

namespace zvx::dft {

using complex8 = zvx_complex8;
using complex16 = zvx_complex16;

// One line of a dimension: (input, output, record, scratch) to a descriptor status. In place
// passes the same address twice. Scratch holds at least the record 0's workspace_size bytes.
using line_c_fn = int (*)(const complex8*, complex8*, const DftiDimensionRecord*, void*);
using line_z_fn = int (*)(const complex16*, complex16*, const DftiDimensionRecord*, void*);
using line_s_fn = int (*)(const float*, float*, const DftiDimensionRecord*, void*);
using line_d_fn = int (*)(const double*, double*, const DftiDimensionRecord*, void*);
// A whole threaded transform of the large power-of-two engine: (data, chunk count, record).
using parallel_c_fn = int (*)(complex8*, int, const DftiDimensionRecord*);
using parallel_z_fn = int (*)(complex16*, int, const DftiDimensionRecord*);
// The packed-format entries of the real engine (filled with the real domain).
using real_entry_fn = int (*)(const void*, void*, PrimitiveDftContext*, void*);

}  // namespace zvx::dft

struct DftiDimensionRecord {
  char tag[3];              // "DFT" in every record: the validity mark of a handle
  char descriptor_name[10]; // the caller's free text, no terminator
  int32_t forward_domain;   // 32 complex, 33 real
  int32_t precision;        // 35 single, 36 double
  int32_t number_of_transforms;
  int32_t complex_storage;
  int32_t real_storage;
  int32_t conjugate_even_storage;
  int32_t placement;
  int32_t packed_format;
  int32_t input_stride;  // of this dimension, in input elements
  int32_t output_stride;
  int32_t ordering;
  int32_t transpose;
  int32_t rank;
  int32_t dimension_index;
  int32_t length;
  int32_t conjugate_even_length;
  float forward_scale_single;
  double forward_scale_double;
  float backward_scale_single;
  double backward_scale_double;
  int32_t log2_length;
  int32_t input_offset;
  int32_t output_offset;
  int32_t input_distance;
  int32_t output_distance;
  // 1 when the length is not a power of two; after commit, 1 when the dimension runs through the
  // line engine (and 0 for the large engine or a straight-line kernel).
  int32_t not_power_of_two;
  int32_t product_of_lengths;  // of dimensions 0..this one; record 0 holds the whole product
  int32_t conjugate_even_size;
  DftiDimensionRecord* previous;
  DftiDimensionRecord* next;

  // Filled by commit.
  void* large_table_single;  // tables of the large power-of-two engine (not built yet)
  void* large_table_double;
  zvx::dft::line_c_fn backward_c, forward_c;
  zvx::dft::line_z_fn backward_z, forward_z;
  zvx::dft::line_s_fn backward_s, forward_s;
  zvx::dft::line_d_fn backward_d, forward_d;
  zvx::dft::parallel_c_fn parallel_backward_c, parallel_forward_c;
  zvx::dft::parallel_z_fn parallel_backward_z, parallel_forward_z;
  zvx::dft::real_entry_fn real_backward_s, real_forward_s;
  zvx::dft::real_entry_fn real_backward_d, real_forward_d;
  zvx::dft::PrimitiveDftContext* context_c;
  zvx::dft::PrimitiveDftContext* context_z;
  zvx::dft::PrimitiveDftContext* context_s;
  zvx::dft::PrimitiveDftContext* context_d;
  zvx::dft::PrimitiveDftContext* context_c_scrambled;
  zvx::dft::PrimitiveDftContext* context_z_scrambled;
  int64_t engine_buffer_size;  // scratch bytes this record's context needs
  int64_t workspace_size;      // record 0: the largest engine_buffer_size, plus 64
  void* workspace;             // record 0: workspace_size bytes per thread (or user thread)
  int32_t* user_thread_flags;  // record 0, in user-thread mode: one busy flag per user thread
  int32_t single_direct;       // 1: the transform is one unit-stride line
  int32_t two_d_direct;        // 1: a small rank-2 transform runs serially through the 2-D routine
  int32_t direct_call;         // 1: the compute entry calls the line slot at once
  int32_t perm_input;          // real domain
  int32_t unsupported;         // never set here; create clears it

  int32_t max_length;            // the largest length of all dimensions, in every record
  int32_t commit_status;         // 31 uncommitted, 30 committed
  int32_t number_of_user_threads;
  int32_t thread_count;          // threads a compute call may use, fixed at commit
};

namespace zvx::dft {

inline bool has_tag(const DftiDimensionRecord* r) {
  return r->tag[0] == 'D' && r->tag[1] == 'F' && r->tag[2] == 'T';
}

// Releases everything commit built (contexts, tables, workspace, busy flags) and clears the
// fields; safe on a descriptor that was never committed.
void release_committed(DftiDimensionRecord* first);

// Engine status to descriptor status.
inline int map_engine_status(int status) {
  return status == engine_ok ? DFTI_NO_ERROR
         : status == engine_no_memory ? DFTI_MEMORY_ERROR
                                      : DFTI_ZVX_INTERNAL_ERROR;
}

}  // namespace zvx::dft
