# Runs PROGRAM, the native tests under -Xcheck:jni, and fails on a non-zero
# exit or on any warning of the JVM's JNI checks that is not on this list.
#
# Allowed: the JVM's note that a native holds more local references than it
# announced; the bridge never deletes local references and leaves them to
# the JVM, which frees them when the native returns. And, in the sanitizer
# build, its note that an allocation of a size no memory holds failed: the
# tests pass such counts from Java on purpose.
set(allowed
  "^WARNING: JNI local refs: [0-9]+, exceeds capacity: [0-9]+$"
  "^==[0-9]+==WARNING: AddressSanitizer failed to allocate 0x[0-9a-f]+ bytes$")

execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
string(REGEX MATCHALL "[^\n]*(WARNING|FATAL ERROR)[^\n]*" warnings "${out}\n${err}")
set(unexpected "")
foreach(line IN LISTS warnings)
  set(ok FALSE)
  foreach(pattern IN LISTS allowed)
    if(line MATCHES "${pattern}")
      set(ok TRUE)
    endif()
  endforeach()
  if(NOT ok)
    list(APPEND unexpected "${line}")
  endif()
endforeach()
if(NOT rc EQUAL 0 OR unexpected)
  message("${out}\n${err}")
  list(JOIN unexpected "\n  " shown)
  message(FATAL_ERROR "exit ${rc}; JNI check warnings not on the allow-list:\n  ${shown}")
endif()
list(LENGTH warnings count)
message(STATUS "native tests clean under -Xcheck:jni (${count} allowed warnings)")
