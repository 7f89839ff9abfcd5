# Installs the built library into a private prefix, builds the host project
# against it and runs it.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}")
  endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${VELMIO_BINARY_DIR} --prefix ${prefix})

set(configure ${CMAKE_COMMAND} -S ${HOST_SOURCE_DIR} -B ${WORK_DIR}/build
  -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${prefix}
  -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
  # A sanitizer build of the library needs the same runtime in the host.
  "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}")
if(TOOLCHAIN_FILE)
  list(APPEND configure -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE})
endif()
run(${configure})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)

# A Windows program finds its DLLs beside itself.
file(GLOB dlls ${prefix}/bin/*.dll)
if(dlls)
  file(COPY ${dlls} DESTINATION ${WORK_DIR}/build)
endif()
# Wine wants the program's full name, with .exe.
file(GLOB program ${WORK_DIR}/build/velmio_host_test ${WORK_DIR}/build/velmio_host_test.exe)
run(${EMULATOR} ${program} ${WORK_DIR})
