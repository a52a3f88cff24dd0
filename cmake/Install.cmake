# What `cmake --install` puts where. Components: Program and Development; Debian, which only that package holds; and Objects,
# an archive of its own.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(docs ${CMAKE_INSTALL_DATADIR}/doc/plugsetter)

find_program(GZIP gzip REQUIRED)

# compress(SOURCE NAME DESTINATION) installs SOURCE compressed as NAME.gz, the same bytes each time. Further arguments
# go to install().
function(compress source name destination)
  set(compressed ${CMAKE_CURRENT_BINARY_DIR}/${name}.gz)
  add_custom_command(OUTPUT ${compressed}
    COMMAND ${GZIP} -9nc ${source} > ${compressed}
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} DEPENDS ${source} VERBATIM)
  set_property(GLOBAL APPEND PROPERTY compressed_files ${compressed})
  install(FILES ${compressed} DESTINATION ${destination} ${ARGN})
endfunction()

install(TARGETS PlugSetter DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT Program)
if(TARGET qxc)
  install(TARGETS qxc DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Program)
endif()
# An installed README speaks of what is installed.
add_custom_command(OUTPUT README.md
  COMMAND sed "/^<!-- sources -->/,/^<!-- .sources -->/d" ${CMAKE_CURRENT_SOURCE_DIR}/README.md > README.md
  DEPENDS README.md VERBATIM)
add_custom_target(Readme ALL DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/README.md)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/README.md DESTINATION ${docs} COMPONENT Program)
install(FILES docs/reliability.md DESTINATION ${docs}/docs COMPONENT Program)
install(FILES docs/library.md DESTINATION ${docs}/docs COMPONENT Development)
# The permissions of a checkout depend on who made it.
install(DIRECTORY examples DESTINATION ${docs} COMPONENT Program
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE
  REGEX "\\.[a-z]+$|/triggers$" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
file(GLOB manuals CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} man/*.[1-9])
# The build has the page with its table.
list(REMOVE_ITEM manuals man/PlugSetter.8)
if(NOT TARGET qxc)
  list(REMOVE_ITEM manuals man/qxc.1)
endif()
foreach(manual ${manuals} ${keys_page} ${records_page})
  get_filename_component(name ${manual} NAME)
  string(REGEX MATCH "[1-9]$" section ${manual})
  compress(${manual} ${name} ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT Program)
endforeach()
compress(CHANGELOG.md changelog ${docs} COMPONENT Program)
if(PLUGSETTER_STATIC STREQUAL ALL)
  include(cmake/Licenses.cmake)
else()
  install(FILES packaging/copyright DESTINATION ${docs} COMPONENT Program)
endif()

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/AgentClient)
target_include_directories(AgentClient PUBLIC $<INSTALL_INTERFACE:${headers}>)
install(TARGETS AgentClient EXPORT AgentClientTargets DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
install(DIRECTORY MessageLIB Mis Plugins classlib DESTINATION ${headers} COMPONENT Development
  FILES_MATCHING PATTERN "*.h")
set(library_config ${CMAKE_INSTALL_LIBDIR}/cmake/AgentClient)
install(EXPORT AgentClientTargets NAMESPACE AgentClient:: DESTINATION ${library_config} COMPONENT Development)
write_basic_package_version_file(AgentClientConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES cmake/AgentClientConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/AgentClientConfigVersion.cmake
  DESTINATION ${library_config} COMPONENT Development)
# Relative to the place of the file itself, so that the tree may be moved, unless a folder is absolute.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH pc_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" /)
  string(PREPEND pc_prefix "\${pcfiledir}/")
endif()
cmake_path(APPEND pc_libdir "\${prefix}" "${CMAKE_INSTALL_LIBDIR}")
cmake_path(APPEND pc_includedir "\${prefix}" "${headers}")
configure_file(cmake/AgentClient.pc.in AgentClient.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/AgentClient.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT Development)

install(FILES packaging/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME plugsetter
  COMPONENT Debian EXCLUDE_FROM_ALL)
compress(packaging/changelog.Debian changelog.Debian ${docs} COMPONENT Debian EXCLUDE_FROM_ALL)

get_property(compressed_files GLOBAL PROPERTY compressed_files)
add_custom_target(compressed ALL DEPENDS ${compressed_files})
