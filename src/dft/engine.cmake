# The line engine: contexts, tables and entries (portable), and the passes compiled once per
# instruction set, chosen at run time.
zvx_library_sources(NAME dft_engine SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/engine.cpp ${CMAKE_CURRENT_LIST_DIR}/engine_plan.cpp
    ${CMAKE_CURRENT_LIST_DIR}/engine_kernels_portable.cpp
    ${CMAKE_CURRENT_LIST_DIR}/engine_real.cpp)
zvx_multiversion_sources(NAME dft_engine_real_small SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/engine_real_small.cpp)
zvx_isa_sources(NAME dft_engine_avx2 ISA avx2 SOURCES ${CMAKE_CURRENT_LIST_DIR}/engine_kernels_avx2.cpp)
zvx_isa_sources(NAME dft_engine_avx512 ISA avx512 SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/engine_kernels_avx512.cpp)
# Objects for the engine's tests and benchmark, which call the hidden entries directly.
set(ZVX_DFT_ENGINE_OBJECTS $<TARGET_OBJECTS:zvx_dft_engine> $<TARGET_OBJECTS:zvx_dft_engine_avx2>
    $<TARGET_OBJECTS:zvx_dft_engine_avx512> $<TARGET_OBJECTS:zvx_dft_engine_real_small_portable>
    $<TARGET_OBJECTS:zvx_dft_engine_real_small_avx2>
    $<TARGET_OBJECTS:zvx_dft_engine_real_small_avx512> CACHE INTERNAL "")
