// Shared between the companion binding and the vector threaders.
#pragma once
#include "nvo/companion_abi.h"

namespace zvx::nvo {

// Processor class of the binding, 0 to 4, computed once: the override variable, else cpuid.
int processor_class();

// Forwarders to the companion's per-thread state: each binds the companion on first use.
unsigned get_mode();
unsigned set_mode(unsigned mode);
int set_error_status(int status);
void* get_error_callback();
void* set_error_callback(void* callback);
const void* set_input_vector(const void* input);

// Vector length from which a wrapper threads its call, 0x7fffffff for never. `precision` is 'd'
// or 's'; `function` the function number of the cost tables (110 cosine, 120 sine, ...).
int thread_threshold(char precision, int function);

// The vector sine and cosine as the library's other subsystems call them (the tables of the
// trigonometric transforms and the Poisson solvers): the bodies of vdSin, vsSin, vdCos, vsCos,
// with their thresholds and reports.
void vector_sin(int n, const double* a, double* r);
void vector_sin(int n, const float* a, float* r);
void vector_cos(int n, const double* a, double* r);
void vector_cos(int n, const float* a, float* r);

// Random-bit streams, with the checks and reports of the exported sgx*/viRng* entries.
int new_stream(void** stream, int brng, unsigned int seed);
int delete_stream(void** stream);
int uniform_bits(int method, void* stream, int n, unsigned int* r);

}  // namespace zvx::nvo
