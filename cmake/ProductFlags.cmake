# product_flags(TARGET) gives a target of the product its warnings, its hardening and its way of linking.

include(CheckCXXCompilerFlag)

# g++ 12 warns of overlaps in concatenations of std::string where there are none.
set(warning_flags -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(PLUGSETTER_WERROR)
  list(APPEND warning_flags -Werror)
endif()

if(PLUGSETTER_HARDEN)
  set(hardening_flags -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -D_GLIBCXX_ASSERTIONS)
  # Some flags are only for some processors. -Werror, since a compiler may merely warn of a flag that it cannot use.
  set(CMAKE_REQUIRED_FLAGS -Werror)
  foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
    string(MAKE_C_IDENTIFIER "has${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
      list(APPEND hardening_flags ${flag})
    endif()
  endforeach()
  unset(CMAKE_REQUIRED_FLAGS)
endif()

function(product_flags target)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE ${warning_flags} -ffunction-sections -fdata-sections)
  if(PLUGSETTER_HARDEN)
    # Only in optimised builds: _FORTIFY_SOURCE needs optimisation. Debug builds may have sanitizers, from which its
    # checked calls hide errors.
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${hardening_flags}>)
  endif()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL EXECUTABLE)
    target_link_options(${target} PRIVATE -Wl,--gc-sections -Wl,--as-needed
      $<$<BOOL:${PLUGSETTER_HARDEN}>:-Wl,-z,relro,-z,now>
      ${linking_flags})
  endif()
endfunction()
