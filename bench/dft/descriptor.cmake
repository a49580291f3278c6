# Complex and real transforms through the descriptor entries against FFTW, linked into this program only.
zvx_benchmark(NAME bench_dft SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_dft.cpp
    ${CMAKE_CURRENT_LIST_DIR}/bench_dft_real.cpp LIBS fftw3 fftw3f)
target_link_libraries(bench_dft PRIVATE OpenMP::OpenMP_CXX)
target_include_directories(bench_dft PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
