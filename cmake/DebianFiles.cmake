# Run by cpack before the packages are made: what Debian wants in every package, and manual pages compressed.
function(compress file)
  execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(pair IN LISTS CPACK_CAMERA_DEPTH_RW_PACKAGES)
  string(REPLACE "=" ";" pair "${pair}")
  list(GET pair 0 component)
  list(GET pair 1 package)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}/share)

  set(documents ${root}/doc/${package})
  file(READ ${CPACK_CAMERA_DEPTH_RW_SOURCE}/LICENSE licence)
  file(WRITE ${documents}/copyright "${licence}")
  file(WRITE ${documents}/changelog.Debian
       "camera-depth-rw (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Built from the sources of version ${CPACK_PACKAGE_VERSION}.

 -- ${CPACK_DEBIAN_PACKAGE_MAINTAINER}  ${date}
")
  compress(${documents}/changelog.Debian)
  file(CHMOD ${documents}/copyright ${documents}/changelog.Debian.gz
       FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  file(GLOB pages ${root}/man/man1/*.1)
  foreach(page IN LISTS pages)
    compress(${page})
  endforeach()
endforeach()
