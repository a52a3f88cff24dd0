# What is linked into the program, and which libcrypto that takes.
#
#   OFF  nothing; all libraries are those of the machine
#   ON   the C++ runtime and libcrypto: the usual
#   ALL  these and the C library; the program needs no library at all

set(linking OFF)
if(PROJECT_IS_TOP_LEVEL)
  set(linking ON)
endif()
set(PLUGSETTER_STATIC ${linking} CACHE STRING "What is linked into the program: OFF, ON, or ALL")
set_property(CACHE PLUGSETTER_STATIC PROPERTY STRINGS OFF ON ALL)
if(NOT PLUGSETTER_STATIC MATCHES "^(OFF|ON|ALL)$")
  message(FATAL_ERROR "PLUGSETTER_STATIC is OFF, ON or ALL, not '${PLUGSETTER_STATIC}'")
endif()

if(NOT PLUGSETTER_STATIC STREQUAL OFF)
  # Only SHA-1 is taken from the archive. OPENSSL_USE_STATIC_LIBS would ask for the libraries that the rest of it needs.
  find_library(PLUGSETTER_LIBCRYPTO NAMES libcrypto.a
    HINTS ${OPENSSL_ROOT_DIR} ENV OPENSSL_ROOT_DIR PATH_SUFFIXES lib lib64)
  mark_as_advanced(PLUGSETTER_LIBCRYPTO)
  if(PLUGSETTER_LIBCRYPTO)
    set(OPENSSL_CRYPTO_LIBRARY ${PLUGSETTER_LIBCRYPTO})
  elseif(PLUGSETTER_STATIC STREQUAL ON)
    message(WARNING "There is no libcrypto.a here, so nothing is linked into the program (PLUGSETTER_STATIC=OFF). "
      "It starts more slowly and needs the libcrypto and the C++ runtime of this machine.")
    set(PLUGSETTER_STATIC OFF)
  else()
    message(FATAL_ERROR "PLUGSETTER_STATIC=${PLUGSETTER_STATIC} needs libcrypto.a, which is not here")
  endif()
endif()
find_package(OpenSSL REQUIRED COMPONENTS Crypto)

include(CheckPIESupported)
check_pie_supported()
set(linking_flags)
if(PLUGSETTER_STATIC STREQUAL ON)
  set(linking_flags -static-libstdc++ -static-libgcc)
elseif(PLUGSETTER_STATIC STREQUAL ALL)
  set(CMAKE_CXX_LINK_OPTIONS_PIE -static-pie)
  # The linker warns of calls that would load a library at run time all the same.
  set(linking_flags -Wl,--fatal-warnings)
endif()
