# How kernels for an instruction set enter the library.
#
# The library runs on any x86-64 processor. Code that uses AVX2/FMA or AVX-512 lives in its own
# object libraries compiled with those flags, and is reached only through tables chosen once at
# run time (src/service/cpu_features.h). Nothing compiled with a wider instruction set is called
# before that choice has confirmed the processor has it.

# Flags of each instruction set. The AVX-512 build asks for 512-bit vectors explicitly, because
# the compiler otherwise prefers 256-bit vectors on generic tuning.
set(ZVX_ISA_FLAGS_portable "")
set(ZVX_ISA_FLAGS_avx2 -mavx2 -mfma -mbmi2)
set(ZVX_ISA_FLAGS_avx512 -mavx512f -mavx512dq -mavx512vl -mavx512bw -mavx2 -mfma -mbmi2
    -mprefer-vector-width=512)
set(ZVX_ISA_LEVEL_portable 0)
set(ZVX_ISA_LEVEL_avx2 1)
set(ZVX_ISA_LEVEL_avx512 2)

# Options every object of the library is compiled with.
set(ZVX_LIBRARY_COMPILE_OPTIONS
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fvisibility-inlines-hidden>
    -fvisibility=hidden -ffp-contract=off -fno-plt -Wall -Wextra -Wno-unused-parameter)

function(_zvx_object_library name isa)
  add_library(${name} OBJECT ${ARGN})
  target_compile_options(${name} PRIVATE ${ZVX_LIBRARY_COMPILE_OPTIONS} ${ZVX_ISA_FLAGS_${isa}})
  target_compile_definitions(${name} PRIVATE ZVX_BUILDING_LIBRARY
      ZVX_ISA_NS=isa_${isa} ZVX_ISA_LEVEL=${ZVX_ISA_LEVEL_${isa}})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PRIVATE OpenMP::OpenMP_CXX)
  target_sources(zvx_c3 PRIVATE $<TARGET_OBJECTS:${name}>)
  # The standard-interface front end links the same objects (src/blas_frontend).
  set_property(GLOBAL APPEND PROPERTY ZVX_OBJECT_LIBRARIES ${name})
endfunction()

# zvx_library_sources(NAME <unique> SOURCES ...): portable sources of the library.
function(zvx_library_sources)
  cmake_parse_arguments(A "" "NAME" "SOURCES" ${ARGN})
  _zvx_object_library(zvx_${A_NAME} portable ${A_SOURCES})
endfunction()

# zvx_multiversion_sources(NAME <unique> SOURCES ...): one source compiled once per instruction
# set. Inside, put the code in `namespace ZVX_ISA_NS { ... }`; ZVX_ISA_LEVEL is 0, 1 or 2.
function(zvx_multiversion_sources)
  cmake_parse_arguments(A "" "NAME" "SOURCES" ${ARGN})
  foreach(isa portable avx2 avx512)
    _zvx_object_library(zvx_${A_NAME}_${isa} ${isa} ${A_SOURCES})
  endforeach()
endfunction()

# zvx_isa_sources(NAME <unique> ISA <portable|avx2|avx512> SOURCES ...): sources written for one
# instruction set (hand-written intrinsics).
function(zvx_isa_sources)
  cmake_parse_arguments(A "" "NAME;ISA" "SOURCES" ${ARGN})
  _zvx_object_library(zvx_${A_NAME} ${A_ISA} ${A_SOURCES})
endfunction()
