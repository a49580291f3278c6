// Descriptor configuration: create, set and get with their statuses, texts, commit flags and the
// release paths. The record is read directly where a flag has no get parameter.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "dft/descriptor.h"
#include "dft/dft_tuning.h"
#include "zvx.h"

namespace {

namespace tuning = zvx::dft::tuning;

constexpr int kComplex = DFTI_COMPLEX, kReal = DFTI_REAL, kSingle = DFTI_SINGLE,
              kDouble = DFTI_DOUBLE;

DFTI_DESCRIPTOR_HANDLE create(int precision, int domain, std::vector<int> lengths) {
  DFTI_DESCRIPTOR_HANDLE h = nullptr;
  const int rank = static_cast<int>(lengths.size());
  EXPECT_EQ(dfti_create_descriptor_highd(&h, &precision, &domain, &rank, lengths.data()), 0);
  return h;
}

int set_int(DFTI_DESCRIPTOR_HANDLE& h, int p, int v) { return dfti_set_value_intval(&h, &p, &v); }
int get_int(DFTI_DESCRIPTOR_HANDLE& h, int p, int* v) { return dfti_get_value_intval(&h, &p, v); }
int get_int(DFTI_DESCRIPTOR_HANDLE& h, int p) {
  int v = -12345;
  EXPECT_EQ(get_int(h, p, &v), 0) << "parameter " << p;
  return v;
}
int commit(DFTI_DESCRIPTOR_HANDLE& h) { return dfti_commit_descriptor_external(&h); }
void release(DFTI_DESCRIPTOR_HANDLE& h) { EXPECT_EQ(dfti_free_descriptor_external(&h), 0); }

TEST(DftDescriptor, CreateRefusesBadArgumentsWithTheirStatus) {
  DftiDimensionRecord* const sentinel = reinterpret_cast<DftiDimensionRecord*>(0x1234);
  int p = kDouble, d = kComplex;
  struct bad_shape { int rank; std::vector<int> lengths; };
  // Bad rank or length: status 3 and the handle variable is not touched.
  for (const bad_shape& b : {bad_shape{0, {4}}, bad_shape{8, {1, 1, 1, 1, 1, 1, 1, 1}},
                             bad_shape{-1, {4}}, bad_shape{1, {0}}, bad_shape{2, {4, -3}},
                             bad_shape{3, {2, 2, 0}}}) {
    DFTI_DESCRIPTOR_HANDLE h = sentinel;
    EXPECT_EQ(dfti_create_descriptor_highd(&h, &p, &d, &b.rank, b.lengths.data()), 3);
    EXPECT_EQ(h, sentinel);
  }
  // Bad domain or precision: the handle is cleared.
  struct bad_kind { int precision, domain, rank, status; };
  for (const bad_kind& b : {bad_kind{kDouble, 31, 1, 3}, bad_kind{kDouble, 34, 1, 3},
                            bad_kind{34, kComplex, 1, 3}, bad_kind{37, kReal, 1, 3},
                            bad_kind{kDouble, kReal, 4, 6}, bad_kind{kSingle, kReal, 7, 6}}) {
    DFTI_DESCRIPTOR_HANDLE h = sentinel;
    const std::vector<int> lengths(static_cast<size_t>(b.rank), 3);
    EXPECT_EQ(dfti_create_descriptor_highd(&h, &b.precision, &b.domain, &b.rank, lengths.data()),
              b.status);
    EXPECT_EQ(h, nullptr);
  }
  int rank = 1, n = 8;
  EXPECT_EQ(dfti_create_descriptor_1d(nullptr, &p, &d, &rank, &n), 3);
  // The largest ranks that exist.
  for (int domain : {kComplex, kReal}) {
    DFTI_DESCRIPTOR_HANDLE h = create(kSingle, domain, domain == kComplex
                                                           ? std::vector<int>{2, 1, 3, 1, 2, 1, 2}
                                                           : std::vector<int>{2, 3, 4});
    ASSERT_NE(h, nullptr);
    release(h);
  }
}

TEST(DftDescriptor, CreateFillsTheDefaults) {
  DFTI_DESCRIPTOR_HANDLE h = create(kSingle, kComplex, {6, 5, 4});
  EXPECT_EQ(get_int(h, DFTI_FORWARD_DOMAIN), kComplex);
  EXPECT_EQ(get_int(h, DFTI_DIMENSION), 3);
  EXPECT_EQ(get_int(h, DFTI_PRECISION), kSingle);
  EXPECT_EQ(get_int(h, DFTI_NUMBER_OF_TRANSFORMS), 1);
  EXPECT_EQ(get_int(h, DFTI_COMPLEX_STORAGE), DFTI_COMPLEX_COMPLEX);
  EXPECT_EQ(get_int(h, DFTI_REAL_STORAGE), DFTI_REAL_REAL);
  EXPECT_EQ(get_int(h, DFTI_CONJUGATE_EVEN_STORAGE), DFTI_COMPLEX_REAL);
  EXPECT_EQ(get_int(h, DFTI_PLACEMENT), DFTI_INPLACE);
  EXPECT_EQ(get_int(h, DFTI_INPUT_DISTANCE), 0);
  EXPECT_EQ(get_int(h, DFTI_OUTPUT_DISTANCE), 0);
  EXPECT_EQ(get_int(h, DFTI_ORDERING), DFTI_ORDERED);
  EXPECT_EQ(get_int(h, DFTI_TRANSPOSE), DFTI_NONE);
  EXPECT_EQ(get_int(h, DFTI_PACKED_FORMAT), DFTI_CCS_FORMAT);
  EXPECT_EQ(get_int(h, DFTI_COMMIT_STATUS), DFTI_UNCOMMITTED);
  EXPECT_EQ(get_int(h, DFTI_NUMBER_OF_USER_THREADS), 1);
  int lengths[3] = {}, p = DFTI_LENGTHS;
  EXPECT_EQ(dfti_get_value_intvec(&h, &p, lengths), 0);
  EXPECT_EQ(std::vector<int>(lengths, lengths + 3), (std::vector<int>{6, 5, 4}));
  int v = -7;
  EXPECT_EQ(get_int(h, DFTI_LENGTHS, &v), 2);  // a vector parameter on rank 3
  EXPECT_EQ(v, -7);
  for (int param : {DFTI_INPUT_STRIDES, DFTI_OUTPUT_STRIDES}) {
    int strides[4] = {-1, -1, -1, -1};
    EXPECT_EQ(dfti_get_value_intvec(&h, &param, strides), 0);
    EXPECT_EQ(std::vector<int>(strides, strides + 4), (std::vector<int>{0, 1, 6, 30}));
  }
  for (int param : {DFTI_FORWARD_SCALE, DFTI_BACKWARD_SCALE}) {
    float s = 0;
    double d = 0;
    EXPECT_EQ(dfti_get_value_sglval(&h, &param, &s), 0);
    EXPECT_EQ(dfti_get_value_dblval(&h, &param, &d), 0);
    EXPECT_EQ(s, 1.0f);
    EXPECT_EQ(d, 1.0);
  }
  // A name never set reads as zero bytes here (the record starts cleared).
  char name[DFTI_NAME_BYTES + 1] = "xxxxxxxxxx";
  p = DFTI_DESCRIPTOR_NAME;
  EXPECT_EQ(dfti_get_value_chars(&h, &p, name), 0);
  EXPECT_EQ(std::string(name, DFTI_NAME_BYTES), std::string(DFTI_NAME_BYTES, '\0'));
  // Record fields that only commit and compute read.
  const DftiDimensionRecord* r = h;
  EXPECT_EQ(r[0].conjugate_even_length, 4);
  EXPECT_EQ(r[1].conjugate_even_length, 5);
  EXPECT_EQ(r[0].product_of_lengths, 120);
  EXPECT_EQ(r[1].product_of_lengths, 30);
  EXPECT_EQ(r[0].conjugate_even_size, 80);
  EXPECT_EQ(r[2].max_length, 6);
  EXPECT_EQ(r[1].log2_length, 2);
  EXPECT_EQ(r[2].not_power_of_two, 0);
  EXPECT_EQ(r[0].next, &r[1]);
  EXPECT_EQ(r[2].previous, &r[1]);
  EXPECT_EQ(r[2].next, nullptr);
  release(h);
  EXPECT_EQ(h, nullptr);
  DFTI_DESCRIPTOR_HANDLE one = create(kDouble, kComplex, {17});
  EXPECT_EQ(get_int(one, DFTI_LENGTHS), 17);
  release(one);
}

TEST(DftDescriptor, SetIntvalStoresOrRefusesEachValue) {
  struct row { int param, value, status; bool stored; };
  const row rows[] = {
      {DFTI_NUMBER_OF_TRANSFORMS, 5, 0, true},   {DFTI_NUMBER_OF_TRANSFORMS, -3, 0, true},
      {DFTI_INPUT_DISTANCE, 77, 0, true},        {DFTI_OUTPUT_DISTANCE, -9, 0, true},
      {DFTI_NUMBER_OF_USER_THREADS, 3, 0, true}, {DFTI_COMPLEX_STORAGE, 39, 0, true},
      {DFTI_COMPLEX_STORAGE, 40, 6, false},      {DFTI_COMPLEX_STORAGE, 42, 6, false},
      {DFTI_COMPLEX_STORAGE, 41, 3, false},      {DFTI_REAL_STORAGE, 42, 0, true},
      {DFTI_REAL_STORAGE, 39, 6, false},         {DFTI_REAL_STORAGE, 40, 6, false},
      {DFTI_REAL_STORAGE, 43, 3, false},         {DFTI_CONJUGATE_EVEN_STORAGE, 40, 0, true},
      {DFTI_CONJUGATE_EVEN_STORAGE, 42, 6, false}, {DFTI_CONJUGATE_EVEN_STORAGE, 0, 3, false},
      {DFTI_PLACEMENT, 44, 0, true},             {DFTI_PLACEMENT, 43, 0, true},
      {DFTI_PLACEMENT, 45, 3, false},            {DFTI_ORDERING, 49, 0, true},
      {DFTI_ORDERING, 48, 0, true},              {DFTI_ORDERING, 50, 3, false},
      {DFTI_PACKED_FORMAT, 55, 0, true},         {DFTI_PACKED_FORMAT, 57, 0, true},
      {DFTI_PACKED_FORMAT, 53, 3, false},        {DFTI_PACKED_FORMAT, 58, 3, false},
      {DFTI_FORWARD_DOMAIN, kReal, 6, false},    {DFTI_DIMENSION, 2, 6, false},
      {DFTI_LENGTHS, 4, 6, false},               {DFTI_PRECISION, kSingle, 6, false},
      {DFTI_TRANSPOSE, 53, 6, false},            {DFTI_COMMIT_STATUS, 30, 3, false},
      {DFTI_VERSION, 1, 3, false},               {DFTI_FORWARD_SCALE, 2, 3, false},
      {DFTI_INPUT_STRIDES, 1, 3, false},         {DFTI_DESCRIPTOR_NAME, 1, 3, false},
  };
  for (const row& r : rows) {
    DFTI_DESCRIPTOR_HANDLE h = create(kDouble, kComplex, {8, 3});
    ASSERT_EQ(commit(h), 0);
    int before = -1;
    const bool readable = get_int(h, r.param, &before) == 0;
    EXPECT_EQ(set_int(h, r.param, r.value), r.status) << r.param << " = " << r.value;
    // Every set uncommits, failed ones included.
    EXPECT_EQ(get_int(h, DFTI_COMMIT_STATUS), DFTI_UNCOMMITTED) << r.param;
    if (readable && r.param != DFTI_COMMIT_STATUS) {
      EXPECT_EQ(get_int(h, r.param), r.stored ? r.value : before) << r.param;
    }
    release(h);
  }
  // Compact conjugate-even storage selects the matching packed format in every record.
  DFTI_DESCRIPTOR_HANDLE h = create(kSingle, kReal, {8, 4});
  EXPECT_EQ(set_int(h, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX), 0);
  EXPECT_EQ(get_int(h, DFTI_PACKED_FORMAT), DFTI_CCE_FORMAT);
  EXPECT_EQ(h[1].packed_format, DFTI_CCE_FORMAT);
  // Scrambled order on a real descriptor: refused, and the descriptor stays uncommitted.
  EXPECT_EQ(set_int(h, DFTI_ORDERING, DFTI_BACKWARD_SCRAMBLED), 3);
  EXPECT_EQ(get_int(h, DFTI_COMMIT_STATUS), DFTI_UNCOMMITTED);
  release(h);
}

TEST(DftDescriptor, UnknownParametersFailInEveryForm) {
  DFTI_DESCRIPTOR_HANDLE h = create(kDouble, kComplex, {4, 4});
  for (int p : {6, 16, 17, 24, 25, 27, 40, 1000, -1}) {
    int i = 1, vec[3] = {0, 1, 4};
    float s = 1;
    double d = 1;
    char chars[DFTI_VERSION_BYTES] = {};
    EXPECT_EQ(dfti_set_value_intval(&h, &p, &i), 3) << p;
    EXPECT_EQ(dfti_set_value_sglval(&h, &p, &s), 3) << p;
    EXPECT_EQ(dfti_set_value_dblval(&h, &p, &d), 3) << p;
    EXPECT_EQ(dfti_set_value_intvec(&h, &p, vec), 3) << p;
    EXPECT_EQ(dfti_set_value_chars(&h, &p, chars), 3) << p;
    EXPECT_EQ(dfti_get_value_intval(&h, &p, &i), 3) << p;
    EXPECT_EQ(dfti_get_value_sglval(&h, &p, &s), 3) << p;
    EXPECT_EQ(dfti_get_value_dblval(&h, &p, &d), 3) << p;
    EXPECT_EQ(dfti_get_value_intvec(&h, &p, vec), 3) << p;
    EXPECT_EQ(dfti_get_value_chars(&h, &p, chars), 3) << p;
  }
  // Parameters read through the wrong form.
  int p = DFTI_PLACEMENT;
  float s = 0;
  EXPECT_EQ(dfti_get_value_sglval(&h, &p, &s), 3);
  p = DFTI_FORWARD_SCALE;
  int i = 0;
  EXPECT_EQ(dfti_get_value_intval(&h, &p, &i), 3);
  p = DFTI_NUMBER_OF_TRANSFORMS;
  int vec[3];
  EXPECT_EQ(dfti_get_value_intvec(&h, &p, vec), 3);
  release(h);
}

TEST(DftDescriptor, ScaleGoesToTheFirstDimensionLongerThanOne) {
  struct shape { std::vector<int> lengths; int holder; };
  for (const shape& c : {shape{{1, 5, 1}, 1}, shape{{1, 1}, 0}, shape{{7}, 0}, shape{{3, 4}, 0},
                         shape{{1, 1, 1, 2}, 3}}) {
    DFTI_DESCRIPTOR_HANDLE h = create(kDouble, kComplex, c.lengths);
    int fwd = DFTI_FORWARD_SCALE, bwd = DFTI_BACKWARD_SCALE;
    const double value = 0.1;  // not exact in single: shows the rounding of the f32 field
    const float single_value = 0.3f;
    EXPECT_EQ(dfti_set_value_dblval(&h, &fwd, &value), 0);
    EXPECT_EQ(dfti_set_value_sglval(&h, &bwd, &single_value), 0);
    for (const DftiDimensionRecord* r = h; r != nullptr; r = r->next) {
      const bool holder = r->dimension_index == c.holder;
      EXPECT_EQ(r->forward_scale_double, holder ? 0.1 : 1.0);
      EXPECT_EQ(r->forward_scale_single, holder ? 0.1f : 1.0f);
      EXPECT_EQ(r->backward_scale_double, holder ? static_cast<double>(0.3f) : 1.0);
      EXPECT_EQ(r->backward_scale_single, holder ? 0.3f : 1.0f);
    }
    double d = 0;
    float s = 0;
    EXPECT_EQ(dfti_get_value_dblval(&h, &fwd, &d), 0);
    EXPECT_EQ(dfti_get_value_sglval(&h, &fwd, &s), 0);
    EXPECT_EQ(d, 0.1);
    EXPECT_EQ(s, 0.1f);
    EXPECT_EQ(dfti_get_value_dblval(&h, &bwd, &d), 0);
    EXPECT_EQ(d, static_cast<double>(0.3f));
    // Setting again moves nothing: the others stay 1.
    const double again = 4.0;
    EXPECT_EQ(dfti_set_value_dblval(&h, &fwd, &again), 0);
    EXPECT_EQ(dfti_get_value_dblval(&h, &fwd, &d), 0);
    EXPECT_EQ(d, 4.0);
    release(h);
  }
}

TEST(DftDescriptor, StridesNameAndVersionRoundTrip) {
  DFTI_DESCRIPTOR_HANDLE h = create(kSingle, kComplex, {4, 3, 2});
  for (int param : {DFTI_INPUT_STRIDES, DFTI_OUTPUT_STRIDES}) {
    const int in[4] = {5, 2, 9, 40};
    EXPECT_EQ(dfti_set_value_intvec(&h, &param, in), 0);
    int out[4] = {};
    EXPECT_EQ(dfti_get_value_intvec(&h, &param, out), 0);
    EXPECT_EQ(std::vector<int>(out, out + 4), std::vector<int>(in, in + 4));
    for (const DftiDimensionRecord* r = h; r != nullptr; r = r->next)
      EXPECT_EQ(param == DFTI_INPUT_STRIDES ? r->input_offset : r->output_offset, 5);
  }
  int p = DFTI_DESCRIPTOR_NAME;
  const char name[16] = "abcdefghijKLMNO";  // only ten bytes count
  EXPECT_EQ(dfti_set_value_chars(&h, &p, name), 0);
  char back[12];
  memset(back, '#', sizeof back);
  EXPECT_EQ(dfti_get_value_chars(&h, &p, back), 0);
  EXPECT_EQ(std::string(back, 12), "abcdefghij##");
  p = DFTI_VERSION;
  std::vector<char> version(DFTI_VERSION_BYTES + 8, '#'), expected(DFTI_VERSION_BYTES + 8, '#');
  EXPECT_EQ(dfti_get_value_chars(&h, &p, version.data()), 0);
  zvxgetversionstring(expected.data(), DFTI_VERSION_BYTES);
  EXPECT_EQ(version, expected);
  EXPECT_EQ(dfti_set_value_chars(&h, &p, name), 3);
  release(h);
}

TEST(DftDescriptor, MessagesAndClasses) {
  const char* texts[] = {"DFTI_NO_ERROR",
                         "DFTI_MEMORY_ERROR",
                         "DFTI_INVALID_CONFIGURATION",
                         "DFTI_INCONSISTENT_CONFIGURATION",
                         "DFTI_MULTITHREADED_ERROR",
                         "DFTI_BAD_DESCRIPTOR",
                         "DFTI_UNIMPLEMENTED",
                         "DFTI_ZVX_INTERNAL_ERROR",
                         "DFTI_NUMBER_OF_THREADS_ERROR"};
  const int ignored_length = 3;
  for (int status = -2; status <= 10; ++status) {
    char buffer[48];
    memset(buffer, '#', sizeof buffer);
    const int n = dfti_error_message_external(buffer, &ignored_length, &status);
    std::string text = status >= 0 && status <= 8 ? texts[status] : "";
    EXPECT_EQ(n, static_cast<int>(text.size()));
    text.resize(DFTI_MESSAGE_BYTES, ' ');
    EXPECT_EQ(std::string(buffer, DFTI_MESSAGE_BYTES), text) << status;
    EXPECT_EQ(std::string(buffer + DFTI_MESSAGE_BYTES, 8), "########");
  }
  for (int a = -1; a <= 9; ++a)
    for (int b = -1; b <= 9; ++b) EXPECT_EQ(dfti_error_class_external(&a, &b), a == b ? 1 : 0);
}

TEST(DftDescriptor, NullAndDamagedHandles) {
  DFTI_DESCRIPTOR_HANDLE null_handle = nullptr;
  int p = DFTI_PLACEMENT, v = 43;
  float s = 1;
  double d = 1;
  int vec[2] = {0, 1};
  char chars[DFTI_VERSION_BYTES];
  zvx_complex8 c8[4] = {};
  zvx_complex16 z16[4] = {};
  for (DFTI_DESCRIPTOR_HANDLE* h : {static_cast<DFTI_DESCRIPTOR_HANDLE*>(nullptr), &null_handle}) {
    EXPECT_EQ(dfti_set_value_intval(h, &p, &v), 3);
    EXPECT_EQ(dfti_set_value_sglval(h, &p, &s), 3);
    EXPECT_EQ(dfti_set_value_dblval(h, &p, &d), 3);
    EXPECT_EQ(dfti_set_value_intvec(h, &p, vec), 3);
    EXPECT_EQ(dfti_set_value_chars(h, &p, chars), 3);
    EXPECT_EQ(dfti_get_value_intval(h, &p, &v), 3);
    EXPECT_EQ(dfti_get_value_sglval(h, &p, &s), 3);
    EXPECT_EQ(dfti_get_value_dblval(h, &p, &d), 3);
    EXPECT_EQ(dfti_get_value_intvec(h, &p, vec), 3);
    EXPECT_EQ(dfti_get_value_chars(h, &p, chars), 3);
    EXPECT_EQ(dfti_commit_descriptor_external(h), 3);
    EXPECT_EQ(dfti_free_descriptor_external(h), 3);
    EXPECT_EQ(dfti_compute_forward_c(h, c8), 3);
    EXPECT_EQ(dfti_compute_backward_z_out(h, z16, z16), 3);
    EXPECT_EQ(compute_forward_z_par(h, z16), 3);
  }
  // A damaged tag: every byte counts for set, get and commit; compute and free read the first.
  DFTI_DESCRIPTOR_HANDLE h = create(kSingle, kComplex, {4});
  ASSERT_EQ(commit(h), 0);
  h->tag[1] = 'X';
  EXPECT_EQ(dfti_set_value_intval(&h, &p, &v), 5);
  EXPECT_EQ(dfti_get_value_chars(&h, &p, chars), 5);
  EXPECT_EQ(dfti_commit_descriptor_external(&h), 5);
  EXPECT_EQ(dfti_compute_forward_c(&h, c8), 0);
  h->tag[1] = 'F';
  h->tag[0] = 'd';
  EXPECT_EQ(dfti_compute_forward_c(&h, c8), 5);
  EXPECT_EQ(dfti_compute_backward_c_out(&h, c8, c8), 5);
  EXPECT_EQ(compute_backward_c_par(&h, c8), 5);
  EXPECT_EQ(dfti_get_value_intval(&h, &p, &v), 5);
  EXPECT_EQ(dfti_free_descriptor_external(&h), 5);
  h->tag[0] = 'D';
  // Null data.
  EXPECT_EQ(dfti_compute_forward_c(&h, nullptr), 3);
  EXPECT_EQ(dfti_compute_forward_c_out(&h, c8, nullptr), 3);
  EXPECT_EQ(dfti_compute_forward_c_out(&h, nullptr, c8), 3);
  release(h);
}

TEST(DftDescriptor, ComputeRefusesUncommittedAndMismatchedDescriptors) {
  zvx_complex8 c8[16] = {};
  zvx_complex16 z16[16] = {};
  DFTI_DESCRIPTOR_HANDLE h = create(kDouble, kComplex, {16});
  EXPECT_EQ(dfti_compute_forward_z(&h, z16), 2);
  EXPECT_EQ(dfti_compute_backward_z_out(&h, z16, z16), 2);
  EXPECT_EQ(compute_forward_z_out_par(&h, z16, z16), 2);
  ASSERT_EQ(commit(h), 0);
  EXPECT_EQ(dfti_compute_forward_z(&h, z16), 0);
  // The single-precision family on a double descriptor.
  EXPECT_EQ(dfti_compute_forward_c(&h, c8), 3);
  EXPECT_EQ(dfti_compute_backward_c_out(&h, c8, c8), 3);
  EXPECT_EQ(compute_forward_c_out_par(&h, c8, c8), 3);
  // Any set uncommits.
  EXPECT_EQ(set_int(h, DFTI_PLACEMENT, DFTI_NOT_INPLACE), 0);
  EXPECT_EQ(dfti_compute_forward_z_out(&h, z16, z16 + 0), 2);
  release(h);
}

TEST(DftCommit, FlagsFollowTheThresholds) {
  struct row { int precision; std::vector<int> lengths; int single_direct, two_d_direct; };
  const int ds = tuning::kDirectLengthSingle, dd = tuning::kDirectLengthDouble;
  const row rows[] = {
      {kSingle, {ds - 1}, 1, 0}, {kSingle, {ds}, 0, 0},     {kDouble, {dd - 1}, 1, 0},
      {kDouble, {dd}, 0, 0},     {kDouble, {1}, 1, 0},      {kDouble, {32, 63}, 0, 1},
      {kDouble, {32, 64}, 0, 0}, {kSingle, {4, 4, 4}, 0, 0},
  };
  for (const row& r : rows) {
    DFTI_DESCRIPTOR_HANDLE h = create(r.precision, kComplex, r.lengths);
    ASSERT_EQ(commit(h), 0);
    EXPECT_EQ(get_int(h, DFTI_COMMIT_STATUS), DFTI_COMMITTED);
    EXPECT_EQ(h->single_direct, r.single_direct) << r.lengths[0];
    EXPECT_EQ(h->direct_call, r.single_direct) << r.lengths[0];
    EXPECT_EQ(h->two_d_direct, r.two_d_direct) << r.lengths[0];
    for (const DftiDimensionRecord* x = h; x != nullptr; x = x->next) {
      EXPECT_EQ(x->not_power_of_two, 1);  // every dimension runs through the line engine
      EXPECT_EQ(x->commit_status, DFTI_COMMITTED);
    }
    EXPECT_GE(h->workspace_size, tuning::kWorkspacePad);
    // Batches, strides or a second transform take the direct call away.
    EXPECT_EQ(set_int(h, DFTI_NUMBER_OF_TRANSFORMS, 2), 0);
    ASSERT_EQ(commit(h), 0);
    EXPECT_EQ(h->direct_call, 0);
    EXPECT_EQ(h->two_d_direct, 0);
    release(h);
  }
  // The flag that set operations leave: intval for any length, intvec only below 2048.
  DFTI_DESCRIPTOR_HANDLE h = create(kDouble, kComplex, {tuning::kSetVectorDirectLength});
  EXPECT_EQ(set_int(h, DFTI_PLACEMENT, DFTI_NOT_INPLACE), 0);
  EXPECT_EQ(h->single_direct, 1);
  int p = DFTI_OUTPUT_STRIDES, strides[2] = {0, 1};
  EXPECT_EQ(dfti_set_value_intvec(&h, &p, strides), 0);
  EXPECT_EQ(h->single_direct, 0);
  release(h);
}

TEST(DftCommit, UserThreadsTakeOneBlockEachAndThePathOfFlags) {
  DFTI_DESCRIPTOR_HANDLE h = create(kDouble, kComplex, {64});
  ASSERT_EQ(commit(h), 0);
  EXPECT_EQ(h->direct_call, 1);
  EXPECT_EQ(set_int(h, DFTI_NUMBER_OF_USER_THREADS, 2), 0);
  ASSERT_EQ(commit(h), 0);
  EXPECT_EQ(h->thread_count, 1);
  EXPECT_EQ(h->direct_call, 0);
  ASSERT_NE(h->user_thread_flags, nullptr);
  // Each flag and each scratch block on cache lines of its own, so that two threads' calls
  // write no line in common.
  const long line = tuning::kUserLineBytes;
  const auto flag = [&](long i) -> int32_t& {
    return h->user_thread_flags[i * line / static_cast<long>(sizeof(int32_t))];
  };
  EXPECT_EQ(reinterpret_cast<uintptr_t>(h->user_thread_flags) % line, 0u);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(h->workspace) % line, 0u);
  EXPECT_EQ(h->workspace_size % line, 0);
  std::vector<zvx_complex16> x(64, zvx_complex16{1.0, 0.0});
  // Both slots busy: the caller is refused, and nothing is written.
  flag(0) = flag(1) = 1;
  EXPECT_EQ(dfti_compute_forward_z(&h, x.data()), 8);
  EXPECT_EQ(compute_forward_z_par(&h, x.data()), 8);
  EXPECT_EQ(x[1].real, 1.0);
  // One free slot: the call runs, and gives the slot back.
  flag(1) = 0;
  EXPECT_EQ(dfti_compute_forward_z(&h, x.data()), 0);
  EXPECT_EQ(flag(1), 0);
  EXPECT_NEAR(x[0].real, 64.0, 1e-12);
  EXPECT_NEAR(x[1].real, 0.0, 1e-12);
  flag(0) = 0;
  release(h);
}

TEST(DftCommit, UnbuiltConfigurationsFailAndCanBeReconfigured) {
  // A real descriptor of rank 3 needs conjugate-even storage as complex values.
  DFTI_DESCRIPTOR_HANDLE r = create(kDouble, kReal, {4, 4, 4});
  EXPECT_EQ(commit(r), 6);
  EXPECT_EQ(get_int(r, DFTI_COMMIT_STATUS), DFTI_UNCOMMITTED);
  EXPECT_EQ(set_int(r, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX), 0);
  EXPECT_EQ(commit(r), 0);
  release(r);
  // Long scrambled power-of-two lines run on the large engine; the descriptor can be reordered
  // and committed again onto the line engine.
  const int large = tuning::kLargeLengthSingle * 2;
  DFTI_DESCRIPTOR_HANDLE h = create(kSingle, kComplex, {large});
  EXPECT_EQ(set_int(h, DFTI_ORDERING, DFTI_BACKWARD_SCRAMBLED), 0);
  EXPECT_EQ(commit(h), 0);
  EXPECT_NE(h->large_table_single, nullptr);
  std::vector<zvx_complex8> x(static_cast<size_t>(large), zvx_complex8{0.0f, 0.0f});
  x[0].real = 1.0f;
  EXPECT_EQ(dfti_compute_forward_c(&h, x.data()), 0);
  EXPECT_EQ(x[large - 1].real, 1.0f);  // the transform of a unit impulse is all ones
  EXPECT_EQ(set_int(h, DFTI_ORDERING, DFTI_ORDERED), 0);
  ASSERT_EQ(commit(h), 0);
  EXPECT_EQ(h->large_table_single, nullptr);
  EXPECT_EQ(dfti_compute_forward_c(&h, x.data()), 0);
  // The same length just at the limit is not large.
  DFTI_DESCRIPTOR_HANDLE at = create(kSingle, kComplex, {tuning::kLargeLengthSingle});
  EXPECT_EQ(set_int(at, DFTI_ORDERING, DFTI_BACKWARD_SCRAMBLED), 0);
  EXPECT_EQ(commit(at), 0);
  release(at);
  release(h);
}

TEST(DftCommit, EngineRefusalIsAnInternalErrorAndReleasesWhatWasBuilt) {
  // The largest prime length: its chirp convolution would need 2^32 points, more than the line
  // engine builds, so the engine refuses the second record after the first one's context exists.
  const int prime = 2147483647;
  DFTI_DESCRIPTOR_HANDLE h = create(kDouble, kComplex, {8, prime});
  EXPECT_EQ(commit(h), 7);
  EXPECT_EQ(get_int(h, DFTI_COMMIT_STATUS), DFTI_UNCOMMITTED);
  for (const DftiDimensionRecord* r = h; r != nullptr; r = r->next) {
    EXPECT_EQ(r->context_z, nullptr);
    EXPECT_EQ(r->forward_z, nullptr);
  }
  EXPECT_EQ(h->workspace, nullptr);
  EXPECT_NE(h->next, nullptr);  // the chain stays whole for the next configuration
  zvx_complex16 x[8] = {};
  EXPECT_EQ(dfti_compute_forward_z(&h, x), 2);
  release(h);
}

TEST(DftCommit, CreateCommitFreeLoopsReleaseEverything) {
  // The sanitizer build reports any leak of these paths.
  for (int i = 0; i < 50; ++i) {
    DFTI_DESCRIPTOR_HANDLE h = create(i % 2 ? kSingle : kDouble, kComplex, {12 + i, 3, 2});
    if (i % 3 == 0) EXPECT_EQ(set_int(h, DFTI_NUMBER_OF_USER_THREADS, 3), 0);
    ASSERT_EQ(commit(h), 0);
    ASSERT_EQ(commit(h), 0);  // a second commit releases the first one's tables
    EXPECT_EQ(set_int(h, DFTI_NUMBER_OF_TRANSFORMS, 2), 0);
    if (i % 5 == 0) ASSERT_EQ(commit(h), 0);
    release(h);
  }
  for (int i = 0; i < 20; ++i) {
    DFTI_DESCRIPTOR_HANDLE h = create(i % 2 ? kSingle : kDouble, kReal, {16 + i, 5});
    if (i % 3 == 0) EXPECT_EQ(set_int(h, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX), 0);
    ASSERT_EQ(commit(h), 0);
    ASSERT_EQ(commit(h), 0);
    release(h);
  }
}

}  // namespace
