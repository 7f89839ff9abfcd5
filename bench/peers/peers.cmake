# The comparison with PhysFS, libzip and minizip: one program, bench/peers,
# over the public interface of the shared library. Each peer is built in
# when its package is found, and only here: the library never depends on it.

find_package(Threads REQUIRED)
find_package(PkgConfig QUIET)

# Makes the imported target velmio_peer_<name> when the package is there:
# through pkg-config, or else by its header and library.
function(velmio_find_peer name module header library)
  if(PkgConfig_FOUND)
    pkg_check_modules(VELMIO_PEER_${name} QUIET IMPORTED_TARGET ${module})
    if(VELMIO_PEER_${name}_FOUND)
      add_library(velmio_peer_${name} INTERFACE IMPORTED)
      target_link_libraries(velmio_peer_${name} INTERFACE PkgConfig::VELMIO_PEER_${name})
      return()
    endif()
  endif()
  find_path(VELMIO_PEER_${name}_INCLUDE ${header})
  find_library(VELMIO_PEER_${name}_LIBRARY ${library})
  if(VELMIO_PEER_${name}_INCLUDE AND VELMIO_PEER_${name}_LIBRARY)
    add_library(velmio_peer_${name} INTERFACE IMPORTED)
    target_include_directories(velmio_peer_${name} INTERFACE ${VELMIO_PEER_${name}_INCLUDE})
    target_link_libraries(velmio_peer_${name} INTERFACE ${VELMIO_PEER_${name}_LIBRARY})
  endif()
endfunction()

velmio_find_peer(physfs physfs physfs.h physfs)
velmio_find_peer(libzip libzip zip.h zip)
velmio_find_peer(minizip minizip minizip/unzip.h minizip)

add_executable(peers peers/main.cc peers/drain.cc peers/peak_memory.cc
  peers/real_archives.cc peers/velmio_reader.cc peers/workload.cc)
target_link_libraries(peers PRIVATE velmio velmio_bench_text velmio_zip_reader
  velmio_zip_writer Threads::Threads velmio_warnings)
# The floor of the real archives' run is libdeflate alone.
if(TARGET velmio_libdeflate)
  target_link_libraries(peers PRIVATE velmio_libdeflate)
  target_compile_definitions(peers PRIVATE VELMIO_PEERS_FLOOR)
endif()

# One small library per peer, so that each adapter sees only its own
# headers: libzip's zip.h and minizip's share a name.
foreach(peer physfs libzip minizip)
  if(TARGET velmio_peer_${peer})
    add_library(velmio_peers_${peer} STATIC peers/${peer}_reader.cc)
    target_link_libraries(velmio_peers_${peer} PRIVATE velmio_peer_${peer}
      velmio_warnings)
    target_link_libraries(peers PRIVATE velmio_peers_${peer})
    string(TOUPPER ${peer} PEER)
    target_compile_definitions(peers PRIVATE VELMIO_PEERS_${PEER})
    message(STATUS "bench/peers: ${peer} found")
  else()
    message(STATUS "bench/peers: ${peer} not found; its rows are left out")
  endif()
endforeach()
