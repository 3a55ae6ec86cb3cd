# Installs into a fresh prefix, configures a project against it, and runs what it builds and the installed tool.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    string(JOIN " " command ${ARGN})
    message(FATAL_ERROR "${command}\n${output}")
  endif()
endfunction()

set(prefix "${WORK}/prefix")
file(REMOVE_RECURSE "${WORK}")
run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${prefix}")
run("${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${SOURCE}" -B "${WORK}/build" "-DCMAKE_PREFIX_PATH=${prefix}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}")
run("${CMAKE_COMMAND}" --build "${WORK}/build")
run("${WORK}/build/consumer" "${prefix}/share/velmora/lang/")
run("${prefix}/bin/velmora" --version)
run("${prefix}/bin/velmora" lng check "${prefix}/share/velmora/lang/velmora.eng.lng")
