# The large power-of-two engine: tables, drivers and threads (portable), and its passes compiled
# once per instruction set, chosen at run time.
zvx_library_sources(NAME dft_large SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/large_engine.cpp ${CMAKE_CURRENT_LIST_DIR}/large_kernels_portable.cpp)
zvx_isa_sources(NAME dft_large_avx2 ISA avx2 SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/large_kernels_avx2.cpp)
zvx_isa_sources(NAME dft_large_avx512 ISA avx512 SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/large_kernels_avx512.cpp)
