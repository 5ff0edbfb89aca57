# What is installed beside the libraries and the agent, and the Debian packages.
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/StpOpenConfig")
install(EXPORT StpOpenConfigTargets NAMESPACE StpOpenConfig:: DESTINATION "${package_dir}"
        FILE StpOpenConfigConfig.cmake COMPONENT development)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/StpOpenConfigConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/StpOpenConfigConfigVersion.cmake"
        DESTINATION "${package_dir}" COMPONENT development)

# The file finds its installation from where it lies itself.
file(RELATIVE_PATH prefix_from_pkgconfig "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" /)
configure_file(cmake/stpopenconfig.pc.in stpopenconfig.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/stpopenconfig.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

# One package each: those who run what others linked, those who link, those who operate.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The StpOpenConfig maintainers <maintainers@stpopenconfig.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development agent)
if(NOT STP_AGENT)
  list(REMOVE_ITEM CPACK_COMPONENTS_ALL agent)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libstpopenconfig0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Spanning-tree state in OpenConfig shape: shared libraries")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libstpopenconfig-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Spanning-tree state in OpenConfig shape: headers")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_DEBIAN_AGENT_PACKAGE_NAME stp-openconfig-agent)
set(CPACK_DEBIAN_AGENT_PACKAGE_SECTION net)
set(CPACK_DEBIAN_AGENT_PACKAGE_CONTROL_EXTRA
    "${PROJECT_SOURCE_DIR}/agent/debian/postinst" "${PROJECT_SOURCE_DIR}/agent/debian/prerm"
    "${PROJECT_SOURCE_DIR}/agent/debian/postrm")
set(CPACK_DEBIAN_AGENT_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENT_AGENT_DESCRIPTION "Spanning-tree state in OpenConfig shape: the host agent")
set(CPACK_COMPONENT_AGENT_DEPENDS runtime)
include(CPack)
