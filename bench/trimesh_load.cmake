# Peer: tinyobjloader (parse only).
find_package(tinyobjloader CONFIG QUIET)
if(TARGET tinyobjloader::tinyobjloader)
  target_link_libraries(${QARN_BENCH_TARGET} PRIVATE tinyobjloader::tinyobjloader)
  target_compile_definitions(${QARN_BENCH_TARGET} PRIVATE QARN_HAVE_TINYOBJLOADER)
endif()
