// Error and warning messages of the trigonometric transforms: the switch in ipar decides whether
// and where a message goes (console or the appended log file), ipar[8] its index style.
#pragma once

namespace zvx::trig {

// Message numbers. 0 to 6 and 1001 are errors, the rest warnings.
enum message : int {
  msg_not_initialised = 0,
  msg_size_not_positive = 1,
  msg_size_odd = 2,
  msg_bad_type = 3,
  msg_division_by_zero = 4,
  msg_blocked = 5,
  msg_size_zero = 6,
  msg_tolerance_default = 300,
  msg_first_value = 302,
  msg_last_value_sine = 303,
  msg_last_value_staggered = 307,
  msg_threads_default = 308,
  msg_dft_failure = 1001
};

// Builds the text of message `number` for precision R (double or float) in the form ipar[8]
// selects, without sending it. `text` is the one free argument (a formatted value or the DFT
// layer's text). Returns the length written to `out` (at most `capacity - 1`).
template <class R>
int format_message(int number, const int* ipar, const R* dpar, const char* text, char* out,
                   int capacity);

// Sends message `number` if its switch (ipar[1] for errors, ipar[2] for warnings) is not 0.
template <class R>
void send_message(int number, const int* ipar, const R* dpar, const char* text);

// A value as the messages print it ("%e").
struct value_text {
  char s[32];
};
value_text format_value(double v);

}  // namespace zvx::trig
