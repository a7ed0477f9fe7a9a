# Installs the build tree BUILD into a fresh prefix under WORK, then builds
# and runs a small C program against the installed utility library twice:
# as another CMake project finds it (find_package(morlin)), and as a plain
# compiler command line gets it from pkg-config. Then runs the installed
# morlin-tool on TRUST, a PKCS#11 module, through the installed forwarder.
set(prefix ${WORK}/prefix)
file(REMOVE_RECURSE ${WORK})
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${ARGN}\n${out}\n${err}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${SOURCE}/tests/consumer -B ${WORK}/cmake -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK}/cmake)
run(${WORK}/cmake/consumer)

file(GLOB_RECURSE pc ${prefix}/*/morlin_util.pc)
get_filename_component(pcdir "${pc}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pcdir})
run(pkg-config --cflags --libs morlin_util)
separate_arguments(flags UNIX_COMMAND "${out}")
run(${CC} ${SOURCE}/tests/consumer/consumer.c ${flags} -o ${WORK}/pc-consumer)
run(${WORK}/pc-consumer)
message(STATUS "found by find_package and by pkg-config: ${out}")

run(${prefix}/bin/morlin-tool --help)
if(NOT out MATCHES "usage: ")
  message(FATAL_ERROR "morlin-tool --help:\n${out}")
endif()
set(ENV{MORLIN_PKCS11_MODULE} ${TRUST})
unset(ENV{LD_LIBRARY_PATH})
run(${prefix}/bin/morlin-tool slots)
if(NOT out MATCHES "token System Trust")
  message(FATAL_ERROR "morlin-tool slots on ${TRUST}:\n${out}")
endif()
# A write-protected token: the tool reads it in a read-only session.
run(${prefix}/bin/morlin-tool objects)
if(NOT out MATCHES "CKO_CERTIFICATE")
  message(FATAL_ERROR "morlin-tool objects on ${TRUST}:\n${out}")
endif()
message(STATUS "the installed morlin-tool lists the slots and objects of ${TRUST}")
