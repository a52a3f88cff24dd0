# Installation into the GNU directories and the Debian package.

include(GNUInstallDirs)
set(package_docs ${CMAKE_INSTALL_DATADIR}/doc/plugsetter)

find_program(GZIP gzip REQUIRED)

# compress(SOURCE NAME DESTINATION) installs SOURCE compressed as NAME.gz, the same bytes each time.
function(compress source name destination)
  set(compressed ${CMAKE_CURRENT_BINARY_DIR}/${name}.gz)
  add_custom_command(OUTPUT ${compressed}
    COMMAND ${GZIP} -9nc ${CMAKE_CURRENT_SOURCE_DIR}/${source} > ${compressed}
    DEPENDS ${source} VERBATIM)
  set_property(GLOBAL APPEND PROPERTY compressed_files ${compressed})
  install(FILES ${compressed} DESTINATION ${destination})
endfunction()

install(TARGETS PlugSetter DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(FILES README.md docs/architecture.md docs/reliability.md docs/performance.md DESTINATION ${package_docs})
install(PROGRAMS examples/post-install examples/pre-remove DESTINATION ${package_docs}/examples)
install(FILES packaging/copyright DESTINATION ${package_docs})
install(FILES packaging/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME plugsetter)
compress(man/PlugSetter.8 PlugSetter.8 ${CMAKE_INSTALL_MANDIR}/man8)
compress(man/Global.qxc.5 Global.qxc.5 ${CMAKE_INSTALL_MANDIR}/man5)
compress(CHANGELOG.md changelog ${package_docs})
compress(packaging/changelog.Debian changelog.Debian ${package_docs})
get_property(compressed_files GLOBAL PROPERTY compressed_files)
add_custom_target(compressed ALL DEPENDS ${compressed_files})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME plugsetter)
set(CPACK_PACKAGE_CONTACT "PlugSetter developers <developers@plugsetter.invalid>")
set(CPACK_PACKAGE_VENDOR "PlugSetter developers")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "register plug-ins of a backup agent")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"PlugSetter enters a plug-in of a backup agent into the agent's global
configuration file, or removes it. It is run by the plug-in's installer.

Every key of the file is checked against a table, a copy of the file is
saved first and put back if anything fails, and each step is reported in
a machine-readable log.")
include(CPack)
