// The cost of the standard interfaces: ddot_ and cblas_ddot of libzvx_blas.so.3 against the
// library's own ddot, at lengths where a call's overhead shows (n = 16) and where it does not.
// The front end is loaded with dlopen(RTLD_LOCAL) so that its names cannot mix with anything
// else in the process; the ratio is front end / own entry (1.05 is 5 % slower).
#include <dlfcn.h>

#include <cstdio>
#include <vector>

#include "harness.h"
#include "zvx_blas12.h"

#ifndef ZVX_FRONT_LIBRARY
#error "ZVX_FRONT_LIBRARY names libzvx_blas.so.3"
#endif

int main(int argc, char** argv) {
  zvx_bench::options opt = zvx_bench::parse_options(argc, argv);
  void* front = dlopen(ZVX_FRONT_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  if (front == nullptr) {
    std::fprintf(stderr, "cannot load %s: %s\n", ZVX_FRONT_LIBRARY, dlerror());
    return 1;
  }
  using fortran_ddot = double (*)(const int*, const double*, const int*, const double*, const int*);
  using c_ddot = double (*)(int, const double*, int, const double*, int);
  auto f_ddot = reinterpret_cast<fortran_ddot>(dlsym(front, "ddot_"));
  auto cb_ddot = reinterpret_cast<c_ddot>(dlsym(front, "cblas_ddot"));

  zvx_bench::table t;
  t.section = "blas_frontend";
  t.title = "Standard interfaces (libzvx_blas.so.3) against the library's own entry: ddot";
  t.columns = {"n", "interface", "front end ns", "own entry ns", "ratio"};
  volatile double sink = 0;
  for (int n : {16, 256, 4096}) {
    std::vector<double> x(n, 1.25), y(n, 0.5);
    const int inc = 1;
    auto own = [&] { sink = sink + ddot(&n, x.data(), &inc, y.data(), &inc); };
    auto fort = [&] { sink = sink + f_ddot(&n, x.data(), &inc, y.data(), &inc); };
    auto cblas = [&] { sink = sink + cb_ddot(n, x.data(), 1, y.data(), 1); };
    zvx_bench::pair_timing a = zvx_bench::time_pair(fort, own, opt);
    t.add({std::to_string(n), "ddot_", zvx_bench::fmt(a.ours * 1e9), zvx_bench::fmt(a.peer * 1e9),
           zvx_bench::fmt(a.ratio())});
    zvx_bench::pair_timing b = zvx_bench::time_pair(cblas, own, opt);
    t.add({std::to_string(n), "cblas_ddot", zvx_bench::fmt(b.ours * 1e9),
           zvx_bench::fmt(b.peer * 1e9), zvx_bench::fmt(b.ratio())});
  }
  t.notes.push_back("Medians of alternating samples in one process, one thread. ddot_ loads the "
                    "three integers and jumps to the body under the library's ddot; cblas_ddot is "
                    "that jump alone. Taking ddot_ as the very code of the library's ddot (a "
                    "linker alias) measured the same, so what remains at n = 16 (a few tenths of "
                    "a nanosecond) is the call through a pointer into a second library, not the "
                    "wrapper.");
  t.print();
  if (opt.write_docs) t.write_docs(opt);
  return 0;
}
