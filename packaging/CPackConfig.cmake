# Read by cpack for each of its packages: the tarball is for any folder.
if(CPACK_GENERATOR STREQUAL "TGZ")
  set(CPACK_PACKAGING_INSTALL_PREFIX "")
endif()
