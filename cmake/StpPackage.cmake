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
foreach(library stpopenconfig stpopenconfig-oper)
  configure_file("cmake/${library}.pc.in" "${library}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${library}.pc"
          DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endforeach()

# One package each: those who run what others linked, those who link, those who operate.
set(debian_dir "${PROJECT_SOURCE_DIR}/cmake/debian")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The StpOpenConfig maintainers <maintainers@stpopenconfig.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development agent)
if(NOT STP_AGENT)
  list(REMOVE_ITEM CPACK_COMPONENTS_ALL agent)
endif()
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/StpDebianFiles.cmake")
set(CPACK_STP_CHANGELOG "${PROJECT_SOURCE_DIR}/CHANGELOG.md")
set(CPACK_STP_AGENT_ETC "${debian_dir}/etc")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 0local1)  # older than a first one of Debian's own, 1
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(about "StpOpenConfig keeps OpenConfig spanning-tree entities equal to a switch's own
spanning-tree configuration and status, change by change.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libstpopenconfig0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The trigger runs ldconfig. CPack would write two scripts that run it, too, unless there were scripts
# of these names already; they need not exist.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${debian_dir}/triggers" none/postinst none/postrm)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "spanning-tree state in OpenConfig shape: shared libraries
${about}
.
This package holds the libraries, for programs that were linked with them.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libstpopenconfig-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "spanning-tree state in OpenConfig shape: development
${about}
.
This package holds the headers, the CMake package and the pkg-config files.")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_DEBIAN_AGENT_PACKAGE_NAME stp-openconfig-agent)
set(CPACK_DEBIAN_AGENT_PACKAGE_SECTION net)
set(CPACK_DEBIAN_AGENT_PACKAGE_CONTROL_EXTRA
    "${debian_dir}/postinst" "${debian_dir}/prerm" "${debian_dir}/postrm" "${debian_dir}/conffiles")
# The user of the services is made by systemd-sysusers.
set(CPACK_DEBIAN_AGENT_PACKAGE_DEPENDS "systemd | systemd-standalone-sysusers | systemd-sysusers")
set(CPACK_COMPONENT_AGENT_DESCRIPTION "spanning-tree state in OpenConfig shape: host agent
${about}
.
This package holds the agent, which follows a running MSTP engine, the reader
of its fast trace, and the YANG modules.")
set(CPACK_COMPONENT_AGENT_DEPENDS runtime)
include(CPack)
