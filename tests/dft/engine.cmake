# Tests of the line engine. The engine is hidden inside the library, so its tests link the
# engine's objects (and the processor survey they choose kernels by) directly. They run under
# every instruction set the processor has.
find_library(ZVX_FFTW3L fftw3l)
zvx_gtest(NAME dft_engine_tests ISA_VARIANTS SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/test_engine.cpp ${CMAKE_CURRENT_LIST_DIR}/test_engine_large.cpp
    ${CMAKE_CURRENT_LIST_DIR}/test_engine_lines.cpp
    ${CMAKE_CURRENT_LIST_DIR}/test_engine_real.cpp
    ${PROJECT_SOURCE_DIR}/src/service/cpu_features.cpp ${PROJECT_SOURCE_DIR}/src/service/platform.cpp
    ${ZVX_DFT_ENGINE_OBJECTS}
    LIBS ${ZVX_FFTW3L})
target_include_directories(dft_engine_tests PRIVATE ${PROJECT_SOURCE_DIR}/src)
