# Installs the library into a private prefix, builds host_test.cc against it
# through find_package and through pkg-config, and runs what it built.
function(run)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE out
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(out "${out}" PARENT_SCOPE)
endfunction()

set(prefix ${WORK_DIR}/prefix)
set(build ${WORK_DIR}/build)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
# The tool comes with the package and finds the libraries from where it lies.
run(${EMULATOR} ${prefix}/bin/velmio${EXE_SUFFIX} --version)
if(NOT out MATCHES "^velmio [0-9]+\\.[0-9]+\\.[0-9]+")
  message(FATAL_ERROR "installed velmio --version printed: ${out}")
endif()

run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/consumer -B ${build} -G ${GENERATOR}
  -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}
  -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
  "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}")
run(${CMAKE_COMMAND} --build ${build})

# A host without CMake names C++17 and where to find the library at run time.
set(pkg_config ${CMAKE_COMMAND} -E env PKG_CONFIG_LIBDIR=${prefix}/lib/pkgconfig ${PKG_CONFIG})
run(${pkg_config} --modversion velmio)
set(version ${out})
run(${pkg_config} --cflags --libs velmio)
if(EXE_SUFFIX)
  # The runtime goes into the program; velmio stays a DLL, found beside it.
  set(out "-static -Wl,-Bdynamic ${out} -Wl,-Bstatic")
  file(GLOB dlls ${prefix}/bin/*.dll)
  file(COPY ${dlls} DESTINATION ${build})
else()
  set(out "${out} -Wl,-rpath,${prefix}/lib")
endif()
separate_arguments(flags UNIX_COMMAND "${CXX_FLAGS} ${LINKER_FLAGS} ${out}")
run(${CXX} -std=c++17 -Wall -Wextra -Werror -DHOST_PACKAGE_VERSION="${version}"
  ${SOURCE_DIR}/host_test.cc ${flags} -o ${build}/host_pkg_config${EXE_SUFFIX})

file(GLOB programs ${build}/host_*${EXE_SUFFIX})
foreach(program ${programs})
  run(${EMULATOR} ${program} ${WORK_DIR})
  message(STATUS "${out}")
endforeach()
