# What `cmake --install` puts where. Three components: "runtime" is the shared library,
# "development" what a program is compiled with, "command" the command line.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(vaxo_headers ${CMAKE_INSTALL_INCLUDEDIR}/vaxolive)
set(vaxo_cmake ${CMAKE_INSTALL_LIBDIR}/cmake/vaxolive)
set(vaxo_templates ${CMAKE_CURRENT_LIST_DIR}/install)

# --- headers: one root, so that they include each other as in the sources ---

foreach(folder common/xplatform/include kernel/include)
  install(DIRECTORY src/${folder}/ DESTINATION ${vaxo_headers} COMPONENT development
    FILES_MATCHING PATTERN *.h)
endforeach()
foreach(folder avmgr utils)
  install(DIRECTORY src/kernel/${folder} DESTINATION ${vaxo_headers} COMPONENT development
    FILES_MATCHING PATTERN *.h)
endforeach()
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libvaxolive-dev
  COMPONENT development OPTIONAL)
foreach(header live/VaxoLiveProxy.h live/VaxoLiveShow.h base/VaxoAppSetting.h
               connection/VaxoAVConnHttp.h)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES src/kernel/${header} DESTINATION ${vaxo_headers}/${folder} COMPONENT development)
endforeach()

# --- libraries ---

# vaxo_install(PART target...): libraries that belong to one component of the package; the
# names that find_package gives them are those of the aliases here.
function(vaxo_install part)
  foreach(target ${ARGN})
    string(REGEX REPLACE "^vaxo_" "" name ${target})
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  endforeach()
  if(part STREQUAL "whole")
    set_target_properties(${ARGN} PROPERTIES EXPORT_NAME vaxolive)
  endif()
  install(TARGETS ${ARGN} EXPORT vaxolive-${part}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
    NAMELINK_COMPONENT development
    INCLUDES DESTINATION ${vaxo_headers})
  install(EXPORT vaxolive-${part} NAMESPACE vaxo:: DESTINATION ${vaxo_cmake}
    FILE vaxolive-${part}.cmake COMPONENT development)
endfunction()

# vaxo_pkg_config(NAME DESCRIPTION REQUIRES LIBS)
file(RELATIVE_PATH vaxo_pc_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" /)
string(REGEX REPLACE "/$" "" vaxo_pc_prefix "${vaxo_pc_prefix}")
function(vaxo_pkg_config name description requires libs)
  if(NOT APPLE)  # the options are GNU's
    configure_file(${vaxo_templates}/vaxolive.pc.in ${PROJECT_BINARY_DIR}/install/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/install/${name}.pc
      DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
  endif()
endfunction()

# pkg-config puts what requires something in front of it, so one pass of the linker finds
# everything when engine and services are taken whole (what needs them comes after them) and
# the platform is (it and the runtime need each other). Each is one word, because pkg-config
# sorts words and drops repeated ones.
set(vaxo_whole "-Wl,--whole-archive,-l@,--no-whole-archive")

set(vaxo_live_targets vaxo_live vaxo_sign vaxo_runtime)
set(libs "-lvaxo_live -lvaxo_sign")
if(VAXO_PLATFORM)
  list(APPEND vaxo_live_targets vaxo_platform_posix vaxo_platform)
  string(REPLACE @ vaxo_platform_posix platform "${vaxo_whole}")
  string(APPEND libs " ${platform}")
endif()
vaxo_install(live ${vaxo_live_targets})
vaxo_pkg_config(vaxolive-live "the live front end, static" ""
  "${libs} -lvaxo_runtime -pthread -Wl,-z,nodelete")

if(VAXO_SERVICES)
  vaxo_install(services vaxo_services)
  string(REPLACE @ vaxo_services libs "${vaxo_whole}")
  vaxo_pkg_config(vaxolive-services "settings and HTTP connection, static"
    "vaxolive-live, libcurl" "${libs}")
endif()
if(VAXO_ENGINE)
  vaxo_install(engine vaxo_engine)
  string(REPLACE @ vaxo_engine libs "${vaxo_whole}")
  list(JOIN VAXO_GST_PACKAGES ", " vaxo_gst)
  string(REPLACE ">=" " >= " vaxo_gst "${vaxo_gst}")
  vaxo_pkg_config(vaxolive-engine "the live engine, static"
    "vaxolive-live, ${vaxo_gst}, libmosquitto, libcurl, x11" "${libs}")
endif()
if(TARGET vaxo_shared)
  vaxo_install(whole vaxo_shared)
  vaxo_pkg_config(vaxolive "live streaming front end and engine, shared" "" "-lvaxolive")
elseif(TARGET vaxo_vaxolive)
  vaxo_install(whole vaxo_vaxolive)
  set(vaxo_whole_is_static TRUE)
endif()

# --- the package ---

configure_package_config_file(${vaxo_templates}/vaxolive-config.cmake.in
  ${PROJECT_BINARY_DIR}/install/vaxolive-config.cmake INSTALL_DESTINATION ${vaxo_cmake}
  NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/install/vaxolive-config-version.cmake
  COMPATIBILITY SameMinorVersion)  # SameMajorVersion from 1.0 on
install(FILES ${PROJECT_BINARY_DIR}/install/vaxolive-config.cmake
  ${PROJECT_BINARY_DIR}/install/vaxolive-config-version.cmake
  DESTINATION ${vaxo_cmake} COMPONENT development)

# --- the command line; its pages are installed where they are made ---

# Linked with the static libraries: one file that runs wherever the system's libraries are.
if(TARGET vaxolive_app)
  install(TARGETS vaxolive_app RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT command)
endif()

if(VAXO_PACKAGES)
  include(VaxoPackages)
endif()
