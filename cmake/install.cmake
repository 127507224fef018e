# Installation and packaging of libdvlogics.
#
# Components (cmake --install <build> [--component NAME]):
#   lib    libdvlogics.so.<version> and its SONAME link libdvlogics.so.<soversion>
#   dev    dvlogics.h, the link libdvlogics.so, dvlogics.pc, the CMake package
#          (find_package(dvlogics) gives dvlogics::dvlogics)
#   tools  dvcli, its example scripts and its manual
#   sim    the device simulator: liblinkora.so.1 in <libdir>/dvlogics/sim (off
#          the library search path, so it never shadows a real device's
#          library), dvsim.h, the dvsim client and example scenarios
#
# CPack makes one Debian package per component (cpack -G DEB).
include(CMakePackageConfigHelpers)

set(DVLOGICS_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/dvlogics)
# dvcli looks for the simulator here, relative to its own directory.
if(NOT DEFINED DVCLI_SIM_SUBDIR)
  set(DVCLI_SIM_SUBDIR dvlogics/sim)
endif()
set(DVLOGICS_SIM_DIR ${CMAKE_INSTALL_LIBDIR}/${DVCLI_SIM_SUBDIR})

# ---- lib and dev ------------------------------------------------------------
install(TARGETS dvlogics EXPORT dvlogicsTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT lib NAMELINK_COMPONENT dev)
install(FILES ${PROJECT_SOURCE_DIR}/include/dvlogics.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(EXPORT dvlogicsTargets NAMESPACE dvlogics::
  DESTINATION ${DVLOGICS_CMAKE_DIR} COMPONENT dev)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/dvlogicsConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/dvlogicsConfig.cmake
  INSTALL_DESTINATION ${DVLOGICS_CMAKE_DIR}
  PATH_VARS DVLOGICS_SIM_DIR CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/dvlogicsConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/package/dvlogicsConfig.cmake
  ${PROJECT_BINARY_DIR}/package/dvlogicsConfigVersion.cmake
  DESTINATION ${DVLOGICS_CMAKE_DIR} COMPONENT dev)

# pkg-config: paths relative to the .pc file (${pcfiledir}), unless the
# directories were given as absolute paths.
set(DVLOGICS_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE "${DVLOGICS_PC_DIR}")
  set(DVLOGICS_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH _dvlogics_up "/prefix/${DVLOGICS_PC_DIR}" "/prefix")
  string(REGEX REPLACE "/$" "" _dvlogics_up "${_dvlogics_up}")
  set(DVLOGICS_PC_PREFIX "\${pcfiledir}/${_dvlogics_up}")
endif()
foreach(kind LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
    set(DVLOGICS_PC_${kind} "${CMAKE_INSTALL_${kind}}")
  else()
    set(DVLOGICS_PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  endif()
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/dvlogics.pc.in ${PROJECT_BINARY_DIR}/package/dvlogics.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/dvlogics.pc DESTINATION ${DVLOGICS_PC_DIR} COMPONENT dev)

# ---- tools ------------------------------------------------------------------
if(TARGET dvcli)
  install(TARGETS dvcli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/tools/dvcli/scripts/
    DESTINATION ${CMAKE_INSTALL_DATADIR}/dvlogics/scripts COMPONENT tools
    FILES_MATCHING PATTERN "*.dvs")
  install(FILES ${PROJECT_SOURCE_DIR}/tools/dvcli/README.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME dvcli.md COMPONENT tools)
endif()

# ---- sim --------------------------------------------------------------------
if(TARGET linkora_sim)
  install(TARGETS linkora_sim LIBRARY DESTINATION ${DVLOGICS_SIM_DIR} COMPONENT sim NAMELINK_SKIP)
  install(FILES ${PROJECT_SOURCE_DIR}/include/dvsim.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT sim)
  install(FILES ${PROJECT_SOURCE_DIR}/sim/README.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME simulator.md COMPONENT sim)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/sim/scenarios/
    DESTINATION ${CMAKE_INSTALL_DATADIR}/dvlogics/scenarios COMPONENT sim)
endif()
if(TARGET dvsim)
  install(TARGETS dvsim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT sim)
endif()

# ---- Debian packages --------------------------------------------------------
set(DVLOGICS_PACKAGE_CONTACT "libdvlogics developers <dvlogics@localhost>" CACHE STRING
  "Maintainer of the Debian packages")
set(CPACK_PACKAGE_NAME dvlogics)
set(CPACK_PACKAGE_VENDOR "libdvlogics developers")
set(CPACK_PACKAGE_CONTACT "${DVLOGICS_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Driver library for the Dravik closed note and coin recycler")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL lib dev tools sim)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)

set(_dvlogics_lib_package libdvlogics${DVLOGICS_SOVERSION})
set(_dvlogics_exact "${PROJECT_VERSION}-1")
set(CPACK_DEBIAN_LIB_PACKAGE_NAME ${_dvlogics_lib_package})
set(CPACK_DEBIAN_LIB_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libdvlogics-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${_dvlogics_lib_package} (= ${_dvlogics_exact})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME dvlogics-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${_dvlogics_lib_package} (= ${_dvlogics_exact})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "dvlogics-sim (= ${_dvlogics_exact})")
set(CPACK_DEBIAN_SIM_PACKAGE_NAME dvlogics-sim)
set(CPACK_DEBIAN_SIM_PACKAGE_SECTION devel)

set(CPACK_COMPONENT_LIB_DESCRIPTION "libdvlogics: the till's C interface to the Dravik recycler")
set(CPACK_COMPONENT_DEV_DESCRIPTION "libdvlogics: header, pkg-config file and CMake package")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "dvcli: demo sale, console and scripted sessions for libdvlogics")
set(CPACK_COMPONENT_SIM_DESCRIPTION "Dravik device simulator (a substitute liblinkora.so.1) and its dvsim client")

# Run-time dependencies from the binaries themselves, where the tool exists;
# libdvlogics itself is found in the build tree. (This also gives the
# library package its ldconfig calls.)
find_program(DVLOGICS_DPKG_SHLIBDEPS dpkg-shlibdeps)
if(DVLOGICS_DPKG_SHLIBDEPS)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
endif()

include(CPack)
