# The large power-of-two engine through the descriptor, against FFTW in long double: one thread,
# under every instruction set the processor has, and threaded in its own entry (the thread
# policy is decided once per process).
find_library(ZVX_FFTW3L fftw3l)
zvx_gtest(NAME dft_large_engine_tests ISA_VARIANTS
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_large_engine.cpp LIBS ${ZVX_FFTW3L})
target_link_libraries(dft_large_engine_tests PRIVATE OpenMP::OpenMP_CXX)
zvx_gtest(NAME dft_large_thread_tests NO_DEFAULT_RUN
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_large_engine_threads.cpp LIBS ${ZVX_FFTW3L})
target_link_libraries(dft_large_thread_tests PRIVATE OpenMP::OpenMP_CXX)
# Three and four threads share the two cores: idle threads sleep instead of spinning.
zvx_gtest_case(NAME dft.large_threads TARGET dft_large_thread_tests FILTER "LargeThreads*"
    ENV OMP_NUM_THREADS=2 OMP_WAIT_POLICY=passive)
