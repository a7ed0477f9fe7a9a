# Writes OUT, one line X("name", "signature", name) for every native entry
# point declared in the JNI headers that javac wrote into HEADERS, so that a
# test can call every native by the Java types of its parameters.
file(GLOB headers ${HEADERS}/*.h)
list(SORT headers)
set(lines "")
foreach(header IN LISTS headers)
  # A CMake list is separated by ';', which every class in a signature ends
  # with, and an open '[' (every array) holds the list together: the
  # header's lines are read with those as '@' and '{'.
  file(READ ${header} body)
  string(REPLACE ";" "@" body "${body}")
  string(REPLACE "[" "{" body "${body}")
  string(REPLACE "\n" ";" body "${body}")
  foreach(line IN LISTS body)
    if(line MATCHES "Signature: (.+)$")
      set(signature "${CMAKE_MATCH_1}")
    elseif(line MATCHES "JNICALL (Java_[A-Za-z0-9_]+)")
      string(REPLACE "@" ";" signature "${signature}")
      string(REPLACE "{" "[" signature "${signature}")
      string(APPEND lines "X(\"${CMAKE_MATCH_1}\", \"${signature}\", ${CMAKE_MATCH_1})\n")
    endif()
  endforeach()
endforeach()
file(WRITE ${OUT}.new "${lines}")
file(COPY_FILE ${OUT}.new ${OUT} ONLY_IF_DIFFERENT)
