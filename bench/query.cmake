# Peer: Embree 3 (rtcIntersect1 on the same surface, as triangles and as quads).
find_package(embree 3 CONFIG QUIET)
if(TARGET embree)
  target_link_libraries(${QARN_BENCH_TARGET} PRIVATE embree)
  target_compile_definitions(${QARN_BENCH_TARGET} PRIVATE QARN_HAVE_EMBREE)
endif()
