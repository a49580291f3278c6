# symm, hemm, the rank updates, trmm, trsm and the cross products: serial cases under every
# instruction set; the threaded frames in processes with OMP_NUM_THREADS set, one entry per
# thread count.
zvx_gtest(NAME blas3_operations_tests
          SOURCES test_symmetric.cpp test_triangular.cpp test_cross_products.cpp ISA_VARIANTS)

zvx_gtest(NAME blas3_operations_thread_tests SOURCES test_operations_threads.cpp NO_DEFAULT_RUN
          LIBS OpenMP::OpenMP_CXX)
foreach(nt 2 3)
  zvx_gtest_case(NAME blas3.operations_threads_${nt} TARGET blas3_operations_thread_tests
                 FILTER "OperationThread*" ENV OMP_NUM_THREADS=${nt})
endforeach()
# The operations' own scratch (diagonal blocks, triangles) and the GEMM they call, with the
# scratch cache disabled: every block taken through the allocator still aligned.
zvx_gtest_case(NAME blas3.operations_cache_disabled TARGET blas3_operations_tests
               FILTER "Symmetric/*:Triangular/*:CrossProducts/*" ENV ZVX_MM_DISABLE=1)
