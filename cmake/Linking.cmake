# What is linked into the program, and which libcrypto that takes.
#
#   NONE     nothing; all libraries are those of the machine
#   CRYPTO   libcrypto
#   RUNTIME  libcrypto and the C++ runtime
#   ALL      these and the C library: the program needs no library at all

set(linking NONE)
if(PROJECT_IS_TOP_LEVEL)
  set(linking RUNTIME)
endif()
set(PLUGSETTER_STATIC ${linking} CACHE STRING "What is linked into the program: NONE, CRYPTO, RUNTIME, or ALL")
set_property(CACHE PLUGSETTER_STATIC PROPERTY STRINGS NONE CRYPTO RUNTIME ALL)
# As a switch: all that is usual, or nothing.
if(PLUGSETTER_STATIC STREQUAL ON)
  set(PLUGSETTER_STATIC RUNTIME)
elseif(PLUGSETTER_STATIC STREQUAL OFF)
  set(PLUGSETTER_STATIC NONE)
endif()
if(NOT PLUGSETTER_STATIC MATCHES "^(NONE|CRYPTO|RUNTIME|ALL)$")
  message(FATAL_ERROR "PLUGSETTER_STATIC is NONE, CRYPTO, RUNTIME or ALL, not '${PLUGSETTER_STATIC}'")
endif()

# After a change, look for libcrypto again: the one found before is for the other way of linking.
if(DEFINED CACHE{PLUGSETTER_STATIC_BEFORE} AND NOT PLUGSETTER_STATIC STREQUAL PLUGSETTER_STATIC_BEFORE)
  unset(OPENSSL_CRYPTO_LIBRARY CACHE)
endif()
set(PLUGSETTER_STATIC_BEFORE ${PLUGSETTER_STATIC} CACHE INTERNAL "")
if(NOT PLUGSETTER_STATIC STREQUAL NONE)
  # Only SHA-1 is taken from the archive. OPENSSL_USE_STATIC_LIBS would ask for the libraries that the rest of it needs.
  find_library(OPENSSL_CRYPTO_LIBRARY NAMES libcrypto.a REQUIRED
    HINTS ${OPENSSL_ROOT_DIR} ENV OPENSSL_ROOT_DIR PATH_SUFFIXES lib lib64)
endif()
find_package(OpenSSL REQUIRED COMPONENTS Crypto)

include(CheckPIESupported)
check_pie_supported()
set(linking_flags)
if(PLUGSETTER_STATIC STREQUAL RUNTIME)
  set(linking_flags -static-libstdc++ -static-libgcc)
elseif(PLUGSETTER_STATIC STREQUAL ALL)
  set(CMAKE_CXX_LINK_OPTIONS_PIE -static-pie)
  # The linker warns of calls that would load a library at run time all the same.
  set(linking_flags -Wl,--fatal-warnings)
endif()
