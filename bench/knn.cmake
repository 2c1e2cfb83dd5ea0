# Peer: nanoflann's KD-tree (header only).
find_path(QARN_NANOFLANN_INCLUDE nanoflann.hpp)
if(QARN_NANOFLANN_INCLUDE)
  target_include_directories(${QARN_BENCH_TARGET} PRIVATE ${QARN_NANOFLANN_INCLUDE})
  target_compile_definitions(${QARN_BENCH_TARGET} PRIVATE QARN_HAVE_NANOFLANN)
endif()
