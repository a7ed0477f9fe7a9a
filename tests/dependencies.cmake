# What the tests need beyond the library's own build: GoogleTest, JUnit 5
# (Debian's jars), SoftHSM2's module and tool, p11-kit's trust module, OpenSSL's library and command. Sets
# MORLIN_TEST_DEPENDENCIES_FOUND, and MORLIN_TEST_DEPENDENCIES_MISSING to the
# Debian packages that would supply what is not there.
set(MORLIN_TEST_DEPENDENCIES_MISSING "")
find_package(GTest QUIET)
if(NOT GTest_FOUND)
  list(APPEND MORLIN_TEST_DEPENDENCIES_MISSING libgtest-dev)
endif()
set(MORLIN_JUNIT_CONSOLE /usr/share/java/junit-platform-console-standalone.jar)
set(MORLIN_JUNIT_JARS /usr/share/java/junit-jupiter-api.jar /usr/share/java/apiguardian-api.jar
                      /usr/share/java/opentest4j.jar /usr/share/java/junit-platform-commons.jar)
foreach(jar IN LISTS MORLIN_JUNIT_JARS ITEMS ${MORLIN_JUNIT_CONSOLE})
  if(NOT EXISTS ${jar})
    list(APPEND MORLIN_TEST_DEPENDENCIES_MISSING junit5)
    break()
  endif()
endforeach()
find_file(MORLIN_SOFTHSM_MODULE libsofthsm2.so
  PATHS /usr/lib/softhsm /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/softhsm NO_DEFAULT_PATH)
find_program(MORLIN_SOFTHSM_UTIL softhsm2-util)
if(NOT MORLIN_SOFTHSM_MODULE OR NOT MORLIN_SOFTHSM_UTIL)
  list(APPEND MORLIN_TEST_DEPENDENCIES_MISSING softhsm2)
endif()
# A write-protected token for the demo: p11-kit's trust module, whose token
# is the system's certificate store.
find_file(MORLIN_TRUST_MODULE p11-kit-trust.so
  PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkcs11 NO_DEFAULT_PATH)
if(NOT MORLIN_TRUST_MODULE)
  list(APPEND MORLIN_TEST_DEPENDENCIES_MISSING p11-kit-modules)
endif()
find_package(OpenSSL QUIET COMPONENTS Crypto)
if(NOT OpenSSL_FOUND)
  list(APPEND MORLIN_TEST_DEPENDENCIES_MISSING libssl-dev)
endif()
# The JUnit tests make keys with the openssl command and check bytes with it.
find_program(MORLIN_OPENSSL openssl)
if(NOT MORLIN_OPENSSL)
  list(APPEND MORLIN_TEST_DEPENDENCIES_MISSING openssl)
endif()
if(MORLIN_TEST_DEPENDENCIES_MISSING)
  set(MORLIN_TEST_DEPENDENCIES_FOUND FALSE)
else()
  set(MORLIN_TEST_DEPENDENCIES_FOUND TRUE)
endif()
