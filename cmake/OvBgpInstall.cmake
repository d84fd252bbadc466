# What `cmake --install` puts under the prefix:
#   include/       headers, same relative paths as in the tree (Kel/Ptr.h,
#                  Routing/Bgp/..., OvBgp/OvBgpCommunity.h, OvBgp/Parse/...)
#   lib/           libkel.a, libOvBgpCommunity.so*
#   lib/cmake/OvBgpCommunity/   package: find_package(OvBgpCommunity), OvBgp::Community
#   lib/pkgconfig/ovbgpcommunity.pc
#   bin/bgpcomm

include(CMakePackageConfigHelpers)

set(OVBGP_CMAKE_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/OvBgpCommunity")
set(OVBGP_PKGCONFIG_DIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# ovbgp_install_headers(<root> <destination>): every .h under <root>, keeping
# its path relative to <root>.
function(ovbgp_install_headers root destination)
   ovbgp_glob(headers "${root}/*.h")
   foreach(header IN LISTS headers)
      file(RELATIVE_PATH relative "${root}" "${header}")
      get_filename_component(subdir "${relative}" DIRECTORY)
      install(FILES "${header}" DESTINATION "${destination}/${subdir}")
   endforeach()
endfunction()

ovbgp_install_headers("${PROJECT_SOURCE_DIR}/platform" "${CMAKE_INSTALL_INCLUDEDIR}")
ovbgp_install_headers("${PROJECT_SOURCE_DIR}/OvBgp" "${CMAKE_INSTALL_INCLUDEDIR}/OvBgp")

set(installed_libraries kel)
if(TARGET OvBgpCommunity)
   list(APPEND installed_libraries OvBgpCommunity)
endif()
install(TARGETS ${installed_libraries}
   EXPORT OvBgpCommunityTargets
   ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
   LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
   RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
if(TARGET bgpcomm)
   install(TARGETS bgpcomm RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()

install(EXPORT OvBgpCommunityTargets
   NAMESPACE OvBgp::
   DESTINATION "${OVBGP_CMAKE_PACKAGE_DIR}")
configure_package_config_file(
   "${PROJECT_SOURCE_DIR}/cmake/OvBgpCommunityConfig.cmake.in"
   "${PROJECT_BINARY_DIR}/OvBgpCommunityConfig.cmake"
   INSTALL_DESTINATION "${OVBGP_CMAKE_PACKAGE_DIR}")
# Before 1.0 every minor release may change the interface.
write_basic_package_version_file(
   "${PROJECT_BINARY_DIR}/OvBgpCommunityConfigVersion.cmake"
   COMPATIBILITY SameMinorVersion)
install(FILES
   "${PROJECT_BINARY_DIR}/OvBgpCommunityConfig.cmake"
   "${PROJECT_BINARY_DIR}/OvBgpCommunityConfigVersion.cmake"
   DESTINATION "${OVBGP_CMAKE_PACKAGE_DIR}")

# The .pc file finds its prefix from its own location, so the same file is
# right for `cmake --install --prefix <anywhere>`.
file(RELATIVE_PATH OVBGP_PC_TO_PREFIX "/prefix/${OVBGP_PKGCONFIG_DIR}" "/prefix")
string(REGEX REPLACE "/$" "" OVBGP_PC_TO_PREFIX "${OVBGP_PC_TO_PREFIX}")
if(TARGET OvBgpCommunity)
   set(OVBGP_PC_LIBS "-lOvBgpCommunity -lkel")
else()
   set(OVBGP_PC_LIBS "-lkel")
endif()
configure_file("${PROJECT_SOURCE_DIR}/cmake/ovbgpcommunity.pc.in"
               "${PROJECT_BINARY_DIR}/ovbgpcommunity.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/ovbgpcommunity.pc" DESTINATION "${OVBGP_PKGCONFIG_DIR}")
