// The scratch cache's fast path against the general allocator: a zvx_allocate/zvx_deallocate pair
// of one size on one thread, and the malloc/free pair of the same size.
#include <cstdio>
#include <cstdlib>

#include "harness.h"
#include "zvx.h"

int main(int argc, char** argv) {
  zvx_bench::options opt = zvx_bench::parse_options(argc, argv);
  zvx_bench::table t;
  t.section = "service";
  t.title = "Scratch memory: zvx_allocate/zvx_deallocate pair against malloc/free (one thread)";
  t.columns = {"size", "alignment", "ours (ns)", "malloc/free (ns)", "ratio ours/peer"};
  const unsigned sizes[] = {1024, 16384, 131072, 1048576, 16u << 20};
  for (unsigned size : sizes) {
    const int alignment = 128;
    void* volatile sink = nullptr;
    const auto r = zvx_bench::time_pair(
        [&] {
          void* p = zvx_allocate(size, alignment);
          static_cast<volatile char*>(p)[0] = 1;  // touch it, as a kernel would
          sink = p;
          zvx_deallocate(p);
        },
        [&] {
          void* p = malloc(size);
          static_cast<volatile char*>(p)[0] = 1;
          sink = p;
          free(p);
        },
        opt);
    t.add({std::to_string(size), std::to_string(alignment), zvx_bench::fmt(r.ours * 1e9, 1),
           zvx_bench::fmt(r.peer * 1e9, 1), zvx_bench::fmt(r.ratio(), 3)});
  }
  t.notes.push_back("The cache's fast path is a thread-local read and a scan of five sizes: no lock and no "
                    "heap call (tests/service/test_allocator_library.cpp counts the heap calls through a "
                    "replacement allocator and finds none). The first row sits in the allocator's per-thread "
                    "cache of small blocks, which is about as fast as ours.");
  t.print();
  t.write_docs(opt);
  freebuffers();
  return 0;
}
