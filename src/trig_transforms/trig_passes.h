// The passes around the one real DFT of a trigonometric transform, and the tables they read.
//
// A transform of length n is pre-pass, one in-place real DFT of f[0..n-1] in the PERM packing
// (f[0] = Re X0, f[1] = Re X(n/2), f[2k], f[2k+1] = Re, Im Xk), post-pass, and, forward only, a
// scaling. `t` is the table behind the tolerance word (dpar + 2). Table layout, for n even:
//   sine:       t[j-1] = sin(j pi/n), j = 1..n/2
//   cosine:     t[2j-2] = cos(j pi/n), t[2j-1] = sin(j pi/n), j = 1..n/2-1
//   staggered:  the cosine layout, then t[n-3+m] = sin((m-1/2) pi/n), m = 1..n/2
#pragma once

namespace zvx::trig {

// Table fill of commit, one value per call of the library's vector sine or cosine.
template <class R> void fill_sine_table(R* dpar, int n);
template <class R> void fill_cosine_table(R* dpar, int n);
template <class R> void fill_staggered_tables(R* dpar, int n);

// Sine, both directions: the DFT runs between the two halves.
template <class R> void sine_pre(R* f, int n, const R* t);
template <class R> void sine_post(R* f, int n);

// Cosine, both directions; the pre-pass returns the running sum the post-pass continues.
template <class R> R cosine_pre(R* f, int n, const R* t);
template <class R> void cosine_post(R* f, int n, R s);

// Staggered cosine, backward: around a forward DFT.
template <class R> void staggered_backward_pre(R* f, int n, const R* t);
template <class R> void staggered_backward_post(R* f, int n, const R* t);
// Staggered cosine, forward: around a backward DFT. The post-pass returns false, with f half
// done, when a half-odd sine of the table is zero or NaN.
template <class R> void staggered_forward_pre(R* f, int n, const R* t);
template <class R> bool staggered_forward_post(R* f, int n, const R* t);

// f[first..last] *= c.
template <class R> void scale(R* f, int first, int last, R c);

}  // namespace zvx::trig
