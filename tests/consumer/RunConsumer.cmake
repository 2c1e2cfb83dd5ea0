# Installs the built library into a scratch prefix, then configures, builds and runs a
# separate host project against it, exactly as a user would.
file(REMOVE_RECURSE ${QARN_WORK_DIR})
set(prefix ${QARN_WORK_DIR}/prefix)
set(build ${QARN_WORK_DIR}/build)

function(run_step)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "step failed (${result}): ${ARGV}\n${out}\n${err}")
  endif()
endfunction()

run_step(${CMAKE_COMMAND} --install ${QARN_BUILD_DIR} --prefix ${prefix})
run_step(${CMAKE_COMMAND} -S ${QARN_CONSUMER_SOURCE} -B ${build}
  -DCMAKE_PREFIX_PATH=${prefix}
  -DCMAKE_CXX_COMPILER=${QARN_CXX_COMPILER}
  "-DCMAKE_CXX_FLAGS=${QARN_CXX_FLAGS}"
  -DCMAKE_BUILD_TYPE=${QARN_BUILD_TYPE})
run_step(${CMAKE_COMMAND} --build ${build})
run_step(${build}/qarn_consumer)
