# The other level-3 operations on the GEMM engines: the serial engines of symm/hemm, the rank
# updates and the triangular ladders, one threaded frame per operation, and the cross-product
# reductions. They are portable code: their arithmetic runs in the GEMM engines, which choose
# the instruction set themselves.
zvx_library_sources(NAME level3_operations SOURCES
    symm_engine.cpp rank_engine.cpp triangular_engine.cpp
    symm_omp.cpp hemm_omp.cpp syrk_omp.cpp herk_omp.cpp syr2k_omp.cpp her2k_omp.cpp
    trmm_omp.cpp trsm_omp.cpp cross_products.cpp)
# The triangular kernels at the bottom of the ladders vectorize along columns: one copy per
# instruction set, chosen at run time.
zvx_multiversion_sources(NAME level3_triangular_kernels SOURCES triangular_kernels.cpp)
