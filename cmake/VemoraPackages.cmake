# Debian packages by cpack: the library, what programs are built with, and the tools. scripts/package configures for them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vemora)
set(CPACK_PACKAGE_VENDOR "Vemora")
set(CPACK_PACKAGE_CONTACT "Vemora maintainers <maintainers@vemora.example>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "video-advertising SDK")
set(about "Vemora hosts a remote controller page in a web view, plays the video ads
that the page brings inside the window of an app, and notifies the app of what
they do. This package contains")
set(library_package libvemora${PROJECT_VERSION_MAJOR})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "glib-networking, gstreamer1.0-plugins-good, gstreamer1.0-libav")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${about} the library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvemora-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${library_package} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}), libgtk-4-dev (>= 4.8), libglib2.0-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "${about} headers, the testing kit,\nand the files for CMake and pkg-config.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME vemora-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
    "${about} a demo, and a local server\nfor ads and controller pages with a conformance check.")

# Each package has its copyright and a changelog.
file(READ ${PROJECT_SOURCE_DIR}/THIRD-PARTY-NOTICES notices)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/debian/copyright "Vemora, a video-advertising SDK
Copyright: the Vemora authors
Licence: Apache 2.0; on Debian systems its text is in /usr/share/common-licenses/Apache-2.0.

${notices}")
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog.Debian "vemora (${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Release ${PROJECT_VERSION}; see CHANGELOG.md in the sources.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
execute_process(COMMAND gzip -9nf ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
foreach(component runtime development tools)
  string(TOUPPER ${component} key)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/debian/copyright ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog.Debian.gz
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${key}_PACKAGE_NAME} COMPONENT ${component})
endforeach()
include(CPack)
