# The Debian and the RPM package. scripts/package makes them; PackageChecks.cmake refuses what would come out wrong.

set(CPACK_GENERATOR DEB)
if(PLUGSETTER_STATIC STREQUAL ALL)
  set(CPACK_GENERATOR RPM)
endif()
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/PackageChecks.cmake)
set(CPACK_PLUGSETTER_STATIC ${PLUGSETTER_STATIC})
if(TARGET qxc)
  set(CPACK_PLUGSETTER_HAS_QXC ON)
endif()
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_CURRENT_BINARY_DIR};PlugSetter;Program;/")
set(CPACK_PACKAGE_NAME plugsetter)
set(CPACK_PACKAGE_CONTACT "PlugSetter developers <developers@plugsetter.invalid>")
set(CPACK_PACKAGE_VENDOR "PlugSetter developers")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# What is installed may carry the dates of this machine.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/PackageDates.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "register plug-ins of a backup agent")
set(description
"PlugSetter enters a plug-in of a backup agent into the agent's global
configuration file, or removes it. It is run by the plug-in's installer.

Every key of the file is checked against a table, a copy of the file is
saved first and put back if anything fails, and each step is reported in
a machine-readable log.")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "${description}")

# The program needs no library, and the folders belong to the system.
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_PACKAGE_RELOCATABLE OFF)
# The licences stay when documents are left out.
set(CPACK_RPM_USER_FILELIST "%license /usr/share/licenses/plugsetter")
set(CPACK_RPM_PACKAGE_AUTOREQPROV no)
set(CPACK_RPM_PACKAGE_DESCRIPTION "${description}")
set(CPACK_RPM_PACKAGE_SUMMARY "Register plug-ins of a backup agent")
set(CPACK_RPM_PACKAGE_LICENSE "LicenseRef-All-Rights-Reserved AND Apache-2.0 AND GPL-3.0-or-later WITH GCC-exception-3.1 AND LGPL-2.1-or-later AND MIT")
set(CPACK_RPM_COMPRESSION_TYPE xz)
set(CPACK_RPM_SPEC_MORE_DEFINE
"%define _build_id_links none
%define _buildhost localhost
%define use_source_date_epoch_as_buildtime 1
%define clamp_mtime_to_source_date_epoch 1")
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
  /usr/bin /usr/sbin /usr/share/licenses /usr/share/man /usr/share/man/man1 /usr/share/man/man5 /usr/share/man/man8)
include(CPack)
