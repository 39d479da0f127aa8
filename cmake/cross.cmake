# What a cross build (cmake/toolchains/) needs besides the compiler: GoogleTest built for
# the target from Debian's googletest sources, libcrypto's DES built for the target as the
# tests' oracle, and CAMRCD_EMULATOR, the command line that runs a target program here.
# Nothing is downloaded: both source trees must already be on the machine.
if(NOT CMAKE_CROSSCOMPILING)
  set(CAMRCD_EMULATOR "")
  return()
endif()
list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " CAMRCD_EMULATOR)
if(NOT BUILD_TESTING)
  return()
endif()

set(CAMRCD_GOOGLETEST_SOURCE /usr/src/googletest/googletest CACHE PATH
    "GoogleTest sources (Debian's googletest package)")
set(CAMRCD_OPENSSL_SOURCE ${CMAKE_SOURCE_DIR}/build/openssl-source CACHE PATH
    "OpenSSL sources for the DES oracle (scripts/test --install-only --target T unpacks them)")
if(NOT EXISTS ${CAMRCD_GOOGLETEST_SOURCE}/CMakeLists.txt)
  message(FATAL_ERROR "no GoogleTest sources in ${CAMRCD_GOOGLETEST_SOURCE}: apt-get install googletest")
endif()
if(NOT EXISTS ${CAMRCD_OPENSSL_SOURCE}/Configure)
  message(FATAL_ERROR "no OpenSSL sources in ${CAMRCD_OPENSSL_SOURCE}: run scripts/test --install-only --target ${CAMRCD_TARGET}")
endif()

set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(${CAMRCD_GOOGLETEST_SOURCE} googletest EXCLUDE_FROM_ALL)
add_library(GTest::gtest ALIAS gtest)
add_library(GTest::gtest_main ALIAS gtest_main)

# libcrypto's DES for the target: OpenSSL's Configure writes the generated headers once
# per build tree; the five DES sources build into a static library. Two of their functions
# (DES_options, DES_set_key_checked) reach outside DES and are never called: the test
# programs link with --gc-sections, which drops them with what they reference.
enable_language(C)
set(openssl_build ${CMAKE_BINARY_DIR}/openssl-des)
set(openssl_headers
    include/openssl/configuration.h include/openssl/opensslv.h include/openssl/crypto.h
    include/openssl/bio.h include/openssl/safestack.h include/openssl/lhash.h)
if(NOT EXISTS ${openssl_build}/include/openssl/lhash.h)
  file(MAKE_DIRECTORY ${openssl_build})
  execute_process(
    COMMAND perl ${CAMRCD_OPENSSL_SOURCE}/Configure linux-generic32 no-asm no-shared no-tests
    WORKING_DIRECTORY ${openssl_build} OUTPUT_QUIET RESULT_VARIABLE configured)
  execute_process(COMMAND make ${openssl_headers}
    WORKING_DIRECTORY ${openssl_build} OUTPUT_QUIET RESULT_VARIABLE generated)
  if(NOT configured EQUAL 0 OR NOT generated EQUAL 0)
    message(FATAL_ERROR "OpenSSL's Configure failed in ${openssl_build} (needs perl and make)")
  endif()
endif()
set(des_sources set_key.c ecb_enc.c des_enc.c cfb64enc.c ofb64enc.c)
list(TRANSFORM des_sources PREPEND ${CAMRCD_OPENSSL_SOURCE}/crypto/des/)
add_library(des_oracle STATIC ${des_sources})
target_include_directories(des_oracle SYSTEM PUBLIC ${openssl_build}/include
                           ${CAMRCD_OPENSSL_SOURCE}/include PRIVATE ${CAMRCD_OPENSSL_SOURCE})
target_compile_options(des_oracle PRIVATE -ffunction-sections)
target_link_options(des_oracle INTERFACE -Wl,--gc-sections)
add_library(OpenSSL::Crypto ALIAS des_oracle)
