# Run by CPack over the files of each Debian package before it is made: adds the changelogs and what
# operators edit, and compresses what a system keeps compressed.

string(TIMESTAMP today "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(files "${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share")
  if(component STREQUAL agent)
    file(COPY "${CPACK_STP_AGENT_ETC}" DESTINATION "${CPACK_TEMPORARY_DIRECTORY}/${component}")
  endif()
  string(TOUPPER "${component}" upper)
  set(doc "${files}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
  file(MAKE_DIRECTORY "${doc}")
  file(COPY_FILE "${CPACK_STP_CHANGELOG}" "${doc}/changelog")
  file(WRITE "${doc}/changelog.Debian"
       "stpopenconfig (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; "
       "urgency=medium\n\n  * Made by tools/package. What has changed stands in changelog.gz.\n\n"
       " -- ${CPACK_PACKAGE_CONTACT}  ${today}\n")
  file(GLOB pages "${doc}/changelog*" "${files}/man/man*/*")
  execute_process(COMMAND gzip --best --no-name ${pages} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
