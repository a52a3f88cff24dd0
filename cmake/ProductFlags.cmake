# product_flags(TARGET) gives a target of the product its warnings, its hardening and its way of linking.
#
# Hardening goes with optimisation and without sanitizers: the checked calls of _FORTIFY_SOURCE need the one and hide
# from the other.

# g++ 12 sees overlaps in the concatenation of std::string that are not there.
set(warning_flags -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(PLUGSETTER_WERROR)
  list(APPEND warning_flags -Werror)
endif()
set(hardening_flags -fstack-protector-strong -fstack-clash-protection -fcf-protection
  -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -D_GLIBCXX_ASSERTIONS)

if(PLUGSETTER_HARDEN)
  include(CheckPIESupported)
  check_pie_supported()
endif()

function(product_flags target)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE ${warning_flags} -ffunction-sections -fdata-sections)
  if(PLUGSETTER_HARDEN)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${hardening_flags}>)
  endif()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL EXECUTABLE)
    target_link_options(${target} PRIVATE -Wl,--gc-sections -Wl,--as-needed
      $<$<BOOL:${PLUGSETTER_HARDEN}>:-Wl,-z,relro,-z,now>
      $<$<BOOL:${PLUGSETTER_STATIC}>:-static-libstdc++;-static-libgcc>)
  endif()
endfunction()
