// Descriptor records: create, free, every set and get operation, and the status texts.
#include "dft/dft_api.h"
#include "dft/descriptor.h"

#include <cstring>

#include "dft/dft_tuning.h"
#include "service/service.h"

namespace zvx::dft {
namespace {

constexpr int kMaxRank = 7;
constexpr int kMaxRealRank = 3;

using record = DftiDimensionRecord;

int floor_log2(int n) {
  int l = 0;
  while ((n >> (l + 1)) != 0) ++l;
  return l;
}

// The checks every set and get operation starts with: a null handle is inconsistent, a record
// without the full tag is not a descriptor.
int check_handle(DFTI_DESCRIPTOR_HANDLE* handle) {
  if (handle == nullptr || *handle == nullptr) return DFTI_INCONSISTENT_CONFIGURATION;
  if (!has_tag(*handle)) return DFTI_BAD_DESCRIPTOR;
  return DFTI_NO_ERROR;
}

template <class F>
void for_each_record(record* first, F f) {
  for (record* r = first; r != nullptr; r = r->next) f(r);
}

// The record that carries the scale: the first dimension whose length is not 1, else the first.
record* scale_record(record* first) {
  for (record* r = first; r != nullptr; r = r->next)
    if (r->length != 1) return r;
  return first;
}

void store_scale(record* first, int parameter, float single, double dbl) {
  record* target = scale_record(first);
  for_each_record(first, [&](record* r) {
    const bool here = r == target;
    if (parameter == DFTI_FORWARD_SCALE) {
      r->forward_scale_single = here ? single : 1.0f;
      r->forward_scale_double = here ? dbl : 1.0;
    } else {
      r->backward_scale_single = here ? single : 1.0f;
      r->backward_scale_double = here ? dbl : 1.0;
    }
  });
}

// The fast flag after a successful set: one unit-stride line. The vector form also asks for a
// length below 2048; commit recomputes the flag in any case.
void refresh_single_direct(record* first, bool from_vector) {
  const bool one_line = first->rank == 1 && first->number_of_transforms == 1 &&
                        first->input_stride == 1 && first->output_stride == 1;
  if (one_line && (!from_vector || first->length < tuning::kSetVectorDirectLength))
    first->single_direct = 1;
}

bool read_only_parameter(int p) {
  return p == DFTI_FORWARD_DOMAIN || p == DFTI_DIMENSION || p == DFTI_LENGTHS ||
         p == DFTI_PRECISION || p == DFTI_TRANSPOSE;
}

// Set steps shared by all five forms: check, then uncommit before the parameter is looked at.
int begin_set(DFTI_DESCRIPTOR_HANDLE* handle, bool clears_fast_flag) {
  const int status = check_handle(handle);
  if (status != DFTI_NO_ERROR) return status;
  (*handle)->commit_status = DFTI_UNCOMMITTED;
  if (clears_fast_flag) (*handle)->single_direct = 0;
  return DFTI_NO_ERROR;
}

// Parameters that no set form accepts: read only ones are unimplemented, the rest inconsistent.
int refused_set(int parameter) {
  return read_only_parameter(parameter) ? DFTI_UNIMPLEMENTED : DFTI_INCONSISTENT_CONFIGURATION;
}

template <class T>
int set_scale(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter, const T* value) {
  int status = begin_set(handle, false);
  if (status != DFTI_NO_ERROR) return status;
  if (parameter == nullptr || value == nullptr) return DFTI_INCONSISTENT_CONFIGURATION;
  if (*parameter != DFTI_FORWARD_SCALE && *parameter != DFTI_BACKWARD_SCALE)
    return refused_set(*parameter);
  // The two widths are written together: widened from single, rounded from double.
  store_scale(*handle, *parameter, static_cast<float>(*value), static_cast<double>(*value));
  return DFTI_NO_ERROR;
}

template <class T>
int get_scale(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter, T* value) {
  const int status = check_handle(handle);
  if (status != DFTI_NO_ERROR) return status;
  if (parameter == nullptr || value == nullptr) return DFTI_INCONSISTENT_CONFIGURATION;
  if (*parameter != DFTI_FORWARD_SCALE && *parameter != DFTI_BACKWARD_SCALE)
    return DFTI_INCONSISTENT_CONFIGURATION;
  const record* r = scale_record(*handle);
  const bool forward = *parameter == DFTI_FORWARD_SCALE;
  if constexpr (sizeof(T) == sizeof(float))
    *value = forward ? r->forward_scale_single : r->backward_scale_single;
  else
    *value = forward ? r->forward_scale_double : r->backward_scale_double;
  return DFTI_NO_ERROR;
}

constexpr const char* kStatusText[] = {
    "DFTI_NO_ERROR",
    "DFTI_MEMORY_ERROR",
    "DFTI_INVALID_CONFIGURATION",
    "DFTI_INCONSISTENT_CONFIGURATION",
    "DFTI_MULTITHREADED_ERROR",
    "DFTI_BAD_DESCRIPTOR",
    "DFTI_UNIMPLEMENTED",
    "DFTI_ZVX_INTERNAL_ERROR",
    "DFTI_NUMBER_OF_THREADS_ERROR",
};

}  // namespace
}  // namespace zvx::dft

using namespace zvx::dft;

int zvx::dft::create_descriptor_highd(DFTI_DESCRIPTOR_HANDLE* handle, const int* precision,
                                      const int* domain, const int* dimension,
                                      const int* lengths) {
  if (handle == nullptr || precision == nullptr || domain == nullptr || dimension == nullptr ||
      lengths == nullptr)
    return DFTI_INCONSISTENT_CONFIGURATION;
  const int rank = *dimension;
  if (rank < 1 || rank > kMaxRank) return DFTI_INCONSISTENT_CONFIGURATION;
  for (int d = 0; d < rank; ++d)
    if (lengths[d] < 1) return DFTI_INCONSISTENT_CONFIGURATION;

  *handle = nullptr;
  auto* first = static_cast<record*>(zvx::scratch_allocate(sizeof(record) * rank, 0));
  if (first == nullptr) return DFTI_MEMORY_ERROR;
  // Every field starts defined, the name included (it is the caller's to set).
  memset(static_cast<void*>(first), 0, sizeof(record) * rank);
  if (*domain != DFTI_COMPLEX && *domain != DFTI_REAL) {
    zvx::scratch_free(first);
    return DFTI_INCONSISTENT_CONFIGURATION;
  }
  if (*domain == DFTI_REAL && rank > kMaxRealRank) {
    zvx::scratch_free(first);
    return DFTI_UNIMPLEMENTED;
  }
  if (*precision != DFTI_SINGLE && *precision != DFTI_DOUBLE) {
    zvx::scratch_free(first);
    return DFTI_INCONSISTENT_CONFIGURATION;
  }

  *handle = first;
  first->forward_domain = *domain;
  first->precision = *precision;
  first->number_of_transforms = 1;
  first->ordering = DFTI_ORDERED;
  first->complex_storage = DFTI_COMPLEX_COMPLEX;
  first->real_storage = DFTI_REAL_REAL;
  first->conjugate_even_storage = DFTI_COMPLEX_REAL;
  first->placement = DFTI_INPLACE;
  first->packed_format = DFTI_CCS_FORMAT;
  first->transpose = DFTI_NONE;
  first->commit_status = DFTI_UNCOMMITTED;
  first->number_of_user_threads = 1;
  first->thread_count = 1;

  // Products of the lengths overflow 32 bits only for data no caller can hold; they wrap as i32.
  uint32_t p = 1, q = 1;
  int max_length = 0;
  for (int d = 0; d < rank; ++d) {
    record* r = first + d;
    const int n = lengths[d];
    r->tag[0] = 'D';
    r->tag[1] = 'F';
    r->tag[2] = 'T';
    r->forward_scale_single = 1.0f;
    r->forward_scale_double = 1.0;
    r->backward_scale_single = 1.0f;
    r->backward_scale_double = 1.0;
    r->rank = rank;
    r->dimension_index = d;
    r->length = n;
    r->conjugate_even_length = d == 0 ? n / 2 + 1 : n;
    r->log2_length = floor_log2(n);
    r->not_power_of_two = (n & (n - 1)) != 0 ? 1 : 0;
    r->input_stride = static_cast<int32_t>(p);
    r->output_stride = static_cast<int32_t>(p);
    p *= static_cast<uint32_t>(n);
    q *= static_cast<uint32_t>(r->conjugate_even_length);
    r->product_of_lengths = static_cast<int32_t>(p);
    r->conjugate_even_size = static_cast<int32_t>(q);
    r->previous = d > 0 ? r - 1 : nullptr;
    r->next = d + 1 < rank ? r + 1 : nullptr;
    if (n > max_length) max_length = n;
  }
  first->product_of_lengths = static_cast<int32_t>(p);
  first->conjugate_even_size = static_cast<int32_t>(q);
  for (int d = 0; d < rank; ++d) first[d].max_length = max_length;
  return DFTI_NO_ERROR;
}

ZVX_EXPORT int dfti_create_descriptor_1d(DFTI_DESCRIPTOR_HANDLE* handle, const int* precision,
                                         const int* domain, const int* dimension,
                                         const int* length) {
  return zvx::dft::create_descriptor_highd(handle, precision, domain, dimension, length);
}

int zvx::dft::free_descriptor(DFTI_DESCRIPTOR_HANDLE* handle) {
  if (handle == nullptr || *handle == nullptr) return DFTI_INCONSISTENT_CONFIGURATION;
  if ((*handle)->tag[0] != 'D') return DFTI_BAD_DESCRIPTOR;
  release_committed(*handle);
  zvx::scratch_free(*handle);
  *handle = nullptr;
  return DFTI_NO_ERROR;
}

int zvx::dft::set_value_intval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                               const int* value) {
  int status = begin_set(handle, true);
  if (status != DFTI_NO_ERROR) return status;
  if (parameter == nullptr || value == nullptr) return DFTI_INCONSISTENT_CONFIGURATION;
  record* first = *handle;
  const int v = *value;
  auto store = [&](int32_t record::*field) { for_each_record(first, [&](record* r) { r->*field = v; }); };
  switch (*parameter) {
    case DFTI_NUMBER_OF_TRANSFORMS: store(&record::number_of_transforms); break;
    case DFTI_INPUT_DISTANCE: store(&record::input_distance); break;
    case DFTI_OUTPUT_DISTANCE: store(&record::output_distance); break;
    case DFTI_NUMBER_OF_USER_THREADS: store(&record::number_of_user_threads); break;
    case DFTI_COMPLEX_STORAGE:
      if (v == DFTI_COMPLEX_COMPLEX) store(&record::complex_storage);
      else return v == DFTI_COMPLEX_REAL || v == DFTI_REAL_REAL ? DFTI_UNIMPLEMENTED
                                                               : DFTI_INCONSISTENT_CONFIGURATION;
      break;
    case DFTI_REAL_STORAGE:
      if (v == DFTI_REAL_REAL) store(&record::real_storage);
      else return v == DFTI_COMPLEX_COMPLEX || v == DFTI_COMPLEX_REAL
                      ? DFTI_UNIMPLEMENTED
                      : DFTI_INCONSISTENT_CONFIGURATION;
      break;
    case DFTI_CONJUGATE_EVEN_STORAGE:
      if (v == DFTI_COMPLEX_COMPLEX || v == DFTI_COMPLEX_REAL) {
        store(&record::conjugate_even_storage);
        if (v == DFTI_COMPLEX_COMPLEX)
          for_each_record(first, [](record* r) { r->packed_format = DFTI_CCE_FORMAT; });
      } else {
        return v == DFTI_REAL_REAL ? DFTI_UNIMPLEMENTED : DFTI_INCONSISTENT_CONFIGURATION;
      }
      break;
    case DFTI_PLACEMENT:
      if (v != DFTI_INPLACE && v != DFTI_NOT_INPLACE) return DFTI_INCONSISTENT_CONFIGURATION;
      store(&record::placement);
      break;
    case DFTI_ORDERING:
      if (v != DFTI_ORDERED && v != DFTI_BACKWARD_SCRAMBLED) return DFTI_INCONSISTENT_CONFIGURATION;
      store(&record::ordering);
      // Real lines have no scrambled order: the value is kept, the caller is told.
      if (v == DFTI_BACKWARD_SCRAMBLED && first->forward_domain == DFTI_REAL)
        return DFTI_INCONSISTENT_CONFIGURATION;
      break;
    case DFTI_PACKED_FORMAT:
      if (v < DFTI_CCS_FORMAT || v > DFTI_CCE_FORMAT) return DFTI_INCONSISTENT_CONFIGURATION;
      store(&record::packed_format);
      break;
    default:
      return refused_set(*parameter);
  }
  refresh_single_direct(first, false);
  return DFTI_NO_ERROR;
}

ZVX_EXPORT int dfti_set_value_sglval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                     const float* value) {
  return set_scale(handle, parameter, value);
}

ZVX_EXPORT int dfti_set_value_dblval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                     const double* value) {
  return set_scale(handle, parameter, value);
}

ZVX_EXPORT int dfti_set_value_intvec(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                     const int* values) {
  int status = begin_set(handle, true);
  if (status != DFTI_NO_ERROR) return status;
  if (parameter == nullptr || values == nullptr) return DFTI_INCONSISTENT_CONFIGURATION;
  record* first = *handle;
  const bool input = *parameter == DFTI_INPUT_STRIDES;
  if (!input && *parameter != DFTI_OUTPUT_STRIDES) return refused_set(*parameter);
  for_each_record(first, [&](record* r) {
    (input ? r->input_offset : r->output_offset) = values[0];
    (input ? r->input_stride : r->output_stride) = values[r->dimension_index + 1];
  });
  refresh_single_direct(first, true);
  return DFTI_NO_ERROR;
}

ZVX_EXPORT int dfti_set_value_chars(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                    const char* chars) {
  int status = begin_set(handle, false);
  if (status != DFTI_NO_ERROR) return status;
  if (parameter == nullptr || chars == nullptr) return DFTI_INCONSISTENT_CONFIGURATION;
  if (*parameter != DFTI_DESCRIPTOR_NAME) return refused_set(*parameter);
  for_each_record(*handle, [&](record* r) { memcpy(r->descriptor_name, chars, DFTI_NAME_BYTES); });
  return DFTI_NO_ERROR;
}

ZVX_EXPORT int dfti_get_value_intval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                     int* value) {
  const int status = check_handle(handle);
  if (status != DFTI_NO_ERROR) return status;
  if (parameter == nullptr || value == nullptr) return DFTI_INCONSISTENT_CONFIGURATION;
  const record* first = *handle;
  switch (*parameter) {
    case DFTI_FORWARD_DOMAIN: *value = first->forward_domain; break;
    case DFTI_DIMENSION: *value = first->rank; break;
    case DFTI_LENGTHS:
      if (first->rank != 1) return DFTI_INVALID_CONFIGURATION;
      *value = first->length;
      break;
    case DFTI_PRECISION: *value = first->precision; break;
    case DFTI_NUMBER_OF_TRANSFORMS: *value = first->number_of_transforms; break;
    case DFTI_COMPLEX_STORAGE: *value = first->complex_storage; break;
    case DFTI_REAL_STORAGE: *value = first->real_storage; break;
    case DFTI_CONJUGATE_EVEN_STORAGE: *value = first->conjugate_even_storage; break;
    case DFTI_PLACEMENT: *value = first->placement; break;
    case DFTI_INPUT_DISTANCE: *value = first->input_distance; break;
    case DFTI_OUTPUT_DISTANCE: *value = first->output_distance; break;
    case DFTI_ORDERING: *value = first->ordering; break;
    case DFTI_TRANSPOSE: *value = first->transpose; break;
    case DFTI_PACKED_FORMAT: *value = first->packed_format; break;
    case DFTI_COMMIT_STATUS: *value = first->commit_status; break;
    case DFTI_NUMBER_OF_USER_THREADS: *value = first->number_of_user_threads; break;
    default: return DFTI_INCONSISTENT_CONFIGURATION;
  }
  return DFTI_NO_ERROR;
}

ZVX_EXPORT int dfti_get_value_sglval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                     float* value) {
  return get_scale(handle, parameter, value);
}

ZVX_EXPORT int dfti_get_value_dblval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                     double* value) {
  return get_scale(handle, parameter, value);
}

ZVX_EXPORT int dfti_get_value_intvec(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                     int* values) {
  const int status = check_handle(handle);
  if (status != DFTI_NO_ERROR) return status;
  if (parameter == nullptr || values == nullptr) return DFTI_INCONSISTENT_CONFIGURATION;
  const record* first = *handle;
  switch (*parameter) {
    case DFTI_LENGTHS:
      for (const record* r = first; r != nullptr; r = r->next) values[r->dimension_index] = r->length;
      return DFTI_NO_ERROR;
    case DFTI_INPUT_STRIDES:
    case DFTI_OUTPUT_STRIDES: {
      const bool input = *parameter == DFTI_INPUT_STRIDES;
      values[0] = input ? first->input_offset : first->output_offset;
      for (const record* r = first; r != nullptr; r = r->next)
        values[r->dimension_index + 1] = input ? r->input_stride : r->output_stride;
      return DFTI_NO_ERROR;
    }
    default:
      return DFTI_INCONSISTENT_CONFIGURATION;
  }
}

ZVX_EXPORT int dfti_get_value_chars(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                    char* chars) {
  const int status = check_handle(handle);
  if (status != DFTI_NO_ERROR) return status;
  if (parameter == nullptr || chars == nullptr) return DFTI_INCONSISTENT_CONFIGURATION;
  if (*parameter == DFTI_DESCRIPTOR_NAME) {
    memcpy(chars, (*handle)->descriptor_name, DFTI_NAME_BYTES);
    return DFTI_NO_ERROR;
  }
  if (*parameter == DFTI_VERSION) {
    zvx::version_string(chars, DFTI_VERSION_BYTES);
    return DFTI_NO_ERROR;
  }
  return DFTI_INCONSISTENT_CONFIGURATION;
}

int zvx::dft::error_message(char* buffer, const int* length, const int* status) {
  (void)length;  // the text always takes 40 bytes
  if (buffer == nullptr) return 0;
  const int s = status != nullptr ? *status : -1;
  size_t n = 0;
  if (s >= 0 && s < static_cast<int>(sizeof(kStatusText) / sizeof(kStatusText[0]))) {
    n = strlen(kStatusText[s]);
    if (n > DFTI_MESSAGE_BYTES) n = DFTI_MESSAGE_BYTES;
    memcpy(buffer, kStatusText[s], n);
  }
  memset(buffer + n, ' ', DFTI_MESSAGE_BYTES - n);
  return static_cast<int>(n);
}

ZVX_EXPORT int dfti_error_class_external(const int* status, const int* status_class) {
  if (status == nullptr || status_class == nullptr) return 0;
  return *status == *status_class ? 1 : 0;
}

// The exported names forward to the bodies above, which the other subsystems call.
ZVX_EXPORT int dfti_create_descriptor_highd(DFTI_DESCRIPTOR_HANDLE* handle, const int* precision,
                                            const int* domain, const int* dimension,
                                            const int* lengths) {
  return zvx::dft::create_descriptor_highd(handle, precision, domain, dimension, lengths);
}
ZVX_EXPORT int dfti_free_descriptor_external(DFTI_DESCRIPTOR_HANDLE* handle) {
  return zvx::dft::free_descriptor(handle);
}
ZVX_EXPORT int dfti_set_value_intval(DFTI_DESCRIPTOR_HANDLE* handle, const int* parameter,
                                     const int* value) {
  return zvx::dft::set_value_intval(handle, parameter, value);
}
ZVX_EXPORT int dfti_error_message_external(char* buffer, const int* length, const int* status) {
  return zvx::dft::error_message(buffer, length, status);
}
