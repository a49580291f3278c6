# The descriptor layer: configuration and status paths, and complex transforms against a naive
# long double DFT. The threaded cases run in their own entry with two threads, since the thread
# policy is decided once per process.
zvx_gtest(NAME dft_descriptor_tests SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/test_descriptor.cpp ${CMAKE_CURRENT_LIST_DIR}/test_compute.cpp
    ISA_VARIANTS)
target_include_directories(dft_descriptor_tests PRIVATE ${PROJECT_SOURCE_DIR}/src)
zvx_gtest(NAME dft_compute_thread_tests SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_compute_threads.cpp
    NO_DEFAULT_RUN)
target_include_directories(dft_compute_thread_tests PRIVATE ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(dft_compute_thread_tests PRIVATE OpenMP::OpenMP_CXX)
zvx_gtest_case(NAME dft.threads_two TARGET dft_compute_thread_tests FILTER "DftThreads*"
    ENV OMP_NUM_THREADS=2)
# Real transforms through the descriptor entries, against a naive spectrum and FFTW's real
# transforms; the threaded cases again in their own entry with two threads.
find_library(ZVX_FFTW3 fftw3)
find_library(ZVX_FFTW3F fftw3f)
zvx_gtest(NAME dft_real_tests SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/test_compute_real.cpp ${CMAKE_CURRENT_LIST_DIR}/test_compute_real_nd.cpp
    LIBS ${ZVX_FFTW3} ${ZVX_FFTW3F})
target_include_directories(dft_real_tests PRIVATE ${PROJECT_SOURCE_DIR}/src)
zvx_gtest(NAME dft_real_thread_tests SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_compute_real_threads.cpp
    NO_DEFAULT_RUN)
target_include_directories(dft_real_thread_tests PRIVATE ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(dft_real_thread_tests PRIVATE OpenMP::OpenMP_CXX)
zvx_gtest_case(NAME dft.real_threads_two TARGET dft_real_thread_tests FILTER "DftRealThreads*"
    ENV OMP_NUM_THREADS=2)
