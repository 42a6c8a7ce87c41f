# Read by CPack once for each kind of package: what only Debian wants is installed last, because it
# changes what was installed before.
if(CPACK_GENERATOR STREQUAL DEB)
  list(GET CPACK_INSTALL_CMAKE_PROJECTS 0 buildDirectory)
  set(CPACK_INSTALL_CMAKE_PROJECTS
      ${buildDirectory} quillon ALL / ${buildDirectory} quillon debian /)
elseif(CPACK_GENERATOR STREQUAL TGZ)
  list(GET CPACK_INSTALL_CMAKE_PROJECTS 0 buildDirectory)
  set(CPACK_INSTALL_CMAKE_PROJECTS
      ${buildDirectory} quillon ALL / ${buildDirectory} quillon archive /)
endif()
