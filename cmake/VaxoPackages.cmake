# Debian packages, as Debian splits a library: what programs run with, what they are compiled
# with, and the command line. script/package makes them.
set(contact "vaxolive developers <vaxolive@example.org>")
set(plugins gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad
  gstreamer1.0-plugins-ugly gstreamer1.0-libav gstreamer1.0-x)  # the engine loads them by name
list(JOIN plugins ", " plugins)
set(sound "gstreamer1.0-pulseaudio | gstreamer1.0-alsa")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "${contact}")
set(CPACK_PACKAGE_VENDOR "vaxolive developers")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development command)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${contact}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# vaxo_debian(COMPONENT PACKAGE SECTION DEPENDS RECOMMENDS SUMMARY TEXT)
function(vaxo_debian component package section depends recommends summary text)
  string(TOUPPER ${component} prefix)
  set(CPACK_DEBIAN_${prefix}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${prefix}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${prefix}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${prefix}_PACKAGE_RECOMMENDS "${recommends}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${prefix}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)

  set(folder ${PROJECT_BINARY_DIR}/debian/${package})
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)  # of SOURCE_DATE_EPOCH, when set
  configure_file(${vaxo_templates}/changelog.in ${folder}/changelog @ONLY)
  execute_process(COMMAND gzip -9nf ${folder}/changelog COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${folder}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
    COMPONENT ${component})
  install(FILES ${vaxo_templates}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
    COMPONENT ${component})
endfunction()

# Whoever installs it: the loader's table is written once, at the end.
file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers)

get_target_property(soversion vaxo_shared SOVERSION)
vaxo_debian(runtime libvaxolive${soversion} libs "${plugins}" "${sound}"
  "live streaming front end and engine (shared library)"
  "An application calls vaxolive to enter a channel, publish camera and
microphone, play other people's streams and leave again, from any thread, at
any moment.
.
This package holds the library that programs run with.")
vaxo_debian(development libvaxolive-dev libdevel
  "libvaxolive${soversion} (= ${PROJECT_VERSION}), libgstreamer1.0-dev, libgstreamer-plugins-base1.0-dev, libmosquitto-dev, libcurl4-openssl-dev | libcurl-dev, libx11-dev"
  ""
  "live streaming front end and engine (development files)"
  "An application calls vaxolive to enter a channel, publish camera and
microphone, play other people's streams and leave again, from any thread, at
any moment.
.
This package holds headers, static libraries, and files for CMake and
pkg-config.")
vaxo_debian(command vaxolive video "${plugins}" "${sound}"
  "publish, play and list live streams from the command line"
  "Publishes a camera or a file to a channel, plays the streams of others, lists
them and the devices of the machine.")

include(CPack)
