# The descriptor layer: records and configuration, commit, the compute entries with their serial
# frames (complex and real), the threaded functions, and the strided and multi-dimensional
# routines (headers of templates shared by the frames).
zvx_library_sources(NAME dft_descriptor SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/descriptor.cpp ${CMAKE_CURRENT_LIST_DIR}/commit.cpp
    ${CMAKE_CURRENT_LIST_DIR}/compute.cpp ${CMAKE_CURRENT_LIST_DIR}/compute_par.cpp
    ${CMAKE_CURRENT_LIST_DIR}/compute_real.cpp ${CMAKE_CURRENT_LIST_DIR}/compute_real_par.cpp)
