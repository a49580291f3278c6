# The line engine against FFTW. The engine is hidden inside the library, so the program links
# its objects (and the processor survey that chooses its kernels) directly.
find_library(ZVX_FFTW3 fftw3)
find_library(ZVX_FFTW3F fftw3f)
zvx_benchmark(NAME bench_dft_engine SOURCES ${CMAKE_CURRENT_LIST_DIR}/bench_dft_engine.cpp
    ${PROJECT_SOURCE_DIR}/src/service/cpu_features.cpp ${PROJECT_SOURCE_DIR}/src/service/platform.cpp
    ${ZVX_DFT_ENGINE_OBJECTS}
    LIBS ${ZVX_FFTW3} ${ZVX_FFTW3F})
target_include_directories(bench_dft_engine PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
