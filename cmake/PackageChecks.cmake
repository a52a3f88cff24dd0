# Read by cpack before it makes a package: refuses the package where it would come out wrong.

set(needed_DEB ON)
set(needed_RPM ALL)
set(tool_DEB dpkg-shlibdeps)
set(tool_RPM rpmbuild)
set(source_DEB dpkg-dev)
set(source_RPM rpm)

if(NOT DEFINED needed_${CPACK_GENERATOR})
  message(FATAL_ERROR "There is no package of the kind ${CPACK_GENERATOR}; scripts/package tells which there are")
endif()
if(NOT CPACK_PLUGSETTER_STATIC STREQUAL needed_${CPACK_GENERATOR})
  message(FATAL_ERROR "A package of the kind ${CPACK_GENERATOR} is made from a build with "
    "PLUGSETTER_STATIC=${needed_${CPACK_GENERATOR}}; this one has ${CPACK_PLUGSETTER_STATIC}")
endif()
find_program(tool ${tool_${CPACK_GENERATOR}})
if(NOT tool)
  message(FATAL_ERROR "Without ${tool_${CPACK_GENERATOR}} (package ${source_${CPACK_GENERATOR}}) the package would "
    "lack its dependencies or could not be made at all")
endif()
if(NOT CPACK_PLUGSETTER_HAS_QXC)
  message(FATAL_ERROR "The build has no qxc, which every package holds; what it lacks is said when it is configured")
endif()
# What only this kind of package holds.
if(CPACK_GENERATOR STREQUAL DEB)
  list(GET CPACK_INSTALL_CMAKE_PROJECTS 0 build)
  list(APPEND CPACK_INSTALL_CMAKE_PROJECTS ${build} PlugSetter Debian /)
endif()
