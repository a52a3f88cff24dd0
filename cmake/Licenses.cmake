# What passing on a program with everything in it asks for: the licences of the works that are linked in, and the object files
# with which it can be linked to another C library.

set(licenses ${CMAKE_INSTALL_DATADIR}/licenses/plugsetter)
# license(FILE [RENAME NAME]) puts it beside the program and into the archive of object files.
function(license)
  install(FILES ${ARGN} DESTINATION ${licenses} COMPONENT Program)
  install(FILES ${ARGN} DESTINATION licenses COMPONENT Objects EXCLUDE_FROM_ALL)
endfunction()
license(packaging/copyright)
# Elsewhere than on Debian these texts are not at hand.
license(/usr/share/common-licenses/Apache-2.0)
license(/usr/share/common-licenses/LGPL-2.1)
license(/usr/share/doc/libc6-dev/copyright RENAME libc)
license(/usr/share/doc/libssl-dev/copyright RENAME libcrypto)

# relinkable(TARGET LIBRARY...) makes one object file of the target and of what it takes from the libraries.
function(relinkable target)
  set(object ${CMAKE_CURRENT_BINARY_DIR}/objects/${target}.o)
  add_custom_command(OUTPUT ${object}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/objects
    COMMAND ${CMAKE_CXX_COMPILER} -r -o ${object} $<TARGET_OBJECTS:${target}> ${ARGN}
    DEPENDS ${target} COMMAND_EXPAND_LISTS VERBATIM)
  add_custom_target(${target}Object ALL DEPENDS ${object})
  install(FILES ${object} DESTINATION . COMPONENT Objects EXCLUDE_FROM_ALL)
endfunction()
relinkable(PlugSetter $<TARGET_FILE:PlugSetterDriver> $<TARGET_FILE:AgentClient> ${OPENSSL_CRYPTO_LIBRARY})
if(TARGET qxc)
  relinkable(qxc $<TARGET_FILE:QxcCommands> $<TARGET_FILE:AgentClient> ${expat} ${OPENSSL_CRYPTO_LIBRARY})
endif()
install(PROGRAMS packaging/relink DESTINATION . COMPONENT Objects EXCLUDE_FROM_ALL)
