# Run by CPack on what it is about to pack: Debian wants documents in a folder of
# the package's name, some of them compressed.
set(packages_daemon tspec-daemon)
set(packages_dev tspec-dev)
set(packages_sim tspec-sim)
set(packages_symbols tspec-daemon-dbgsym)

set(maintainer "${CPACK_DEBIAN_PACKAGE_MAINTAINER}")
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
get_filename_component(sources ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)

function(compress file)
  execute_process(COMMAND gzip --best --no-name --force ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
  set(package ${packages_${component}})
  set(documents ${share}/doc/${package})

  if(EXISTS ${share}/doc/tspec)
    file(RENAME ${share}/doc/tspec ${documents})
  endif()
  file(REMOVE ${documents}/CHANGELOG.md)
  file(COPY ${sources}/packaging/debian/copyright DESTINATION ${documents})
  file(COPY ${sources}/CHANGELOG.md DESTINATION ${documents})
  file(RENAME ${documents}/CHANGELOG.md ${documents}/changelog)
  compress(${documents}/changelog)
  file(WRITE ${documents}/changelog.Debian
    "tspec (${version}) unstable; urgency=medium\n\n"
    "  * Version ${CPACK_PACKAGE_VERSION}; see changelog.gz.\n\n"
    " -- ${maintainer}  ${now}\n")
  compress(${documents}/changelog.Debian)

  if(EXISTS ${sources}/packaging/debian/${package}.lintian-overrides)
    file(MAKE_DIRECTORY ${share}/lintian/overrides)
    file(COPY_FILE ${sources}/packaging/debian/${package}.lintian-overrides
      ${share}/lintian/overrides/${package})
  endif()

  file(GLOB pages ${share}/man/man*/*.[0-9])
  foreach(page IN LISTS pages)
    compress(${page})
  endforeach()
endforeach()
