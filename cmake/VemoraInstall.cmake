# What is installed, in three components: the library ("runtime"), what programs are built with ("development"), and the
# programs ("tools").
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Vemora)

# A part of the package: a target, and the file that declares it.
function(vemora_install_target target export)
  install(TARGETS ${target} EXPORT ${export}
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
  install(EXPORT ${export} NAMESPACE Vemora:: DESTINATION ${package_dir} COMPONENT development)
endfunction()

vemora_install_target(vemora-headers VemoraCoreTargets)
vemora_install_target(vemora-testing-kit VemoraTestingTargets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/Vemora DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
        PATTERN Gtk EXCLUDE)
if(NOT VEMORA_PACKAGES)  # Packages have a file "copyright".
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/THIRD-PARTY-NOTICES
          DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
endif()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VemoraConfig.cmake.in VemoraConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(VemoraConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/VemoraConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/VemoraConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT development)

if(VEMORA_BACKEND STREQUAL "Gtk")
  vemora_install_target(vemora VemoraGtkTargets)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/Vemora/Gtk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Vemora
          COMPONENT development)

  # Relative to the .pc file, so that the installation may be moved, unless the folders are absolute.
  foreach(dir LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
      set(VEMORA_PC_${dir} "${CMAKE_INSTALL_${dir}}")
    else()
      set(VEMORA_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
    endif()
  endforeach()
  if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(VEMORA_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
  else()
    file(RELATIVE_PATH prefix_from_pc /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
    string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
    set(VEMORA_PC_PREFIX "\${pcfiledir}/${prefix_from_pc}")
  endif()
  # A static library brings its dependencies to each program.
  set(VEMORA_PC_LIBS "")
  set(VEMORA_PC_REQUIRES "")
  if(NOT BUILD_SHARED_LIBS)
    list(JOIN VEMORA_BACKEND_MODULES ", " modules)
    string(REPLACE ">=" " >= " modules "${modules}")
    set(VEMORA_PC_REQUIRES ", ${modules}")
    set(VEMORA_PC_LIBS " -lstdc++ -pthread -ldl")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/vemora.pc.in vemora.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vemora.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT development)
endif()

if(TARGET vemora-demo)
  set(tools vemora-demo vemora-serve)
  if(BUILD_SHARED_LIBS)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
      set(library_path "${CMAKE_INSTALL_LIBDIR}")
    else()
      file(RELATIVE_PATH library_path /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
      string(PREPEND library_path "\$ORIGIN/")
    endif()
    set_target_properties(${tools} PROPERTIES INSTALL_RPATH "${library_path}")
  endif()
  install(TARGETS ${tools} RUNTIME COMPONENT tools)
  foreach(tool IN LISTS tools)
    set(manual ${PROJECT_SOURCE_DIR}/docs/man/${tool}.1)
    if(VEMORA_PACKAGES)
      configure_file(${manual} man/${tool}.1 COPYONLY)
      execute_process(COMMAND gzip -9nf ${CMAKE_CURRENT_BINARY_DIR}/man/${tool}.1 COMMAND_ERROR_IS_FATAL ANY)
      set(manual ${CMAKE_CURRENT_BINARY_DIR}/man/${tool}.1.gz)
    endif()
    install(FILES ${manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    install(FILES ${PROJECT_SOURCE_DIR}/apps/${tool}/completion.bash RENAME ${tool}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
  endforeach()
  install(FILES ${PROJECT_SOURCE_DIR}/apps/vemora-demo/ads.json DESTINATION ${CMAKE_INSTALL_DATADIR}/vemora/demo COMPONENT tools)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/apps/vemora-demo/media DESTINATION ${CMAKE_INSTALL_DATADIR}/vemora/demo
          COMPONENT tools PATTERN make-media EXCLUDE)
  # The page is not built by CMake: scripts/setup does that, and source archives contain it.
  install(CODE "if(NOT EXISTS [[${PROJECT_SOURCE_DIR}/controller/dist/VMRWebViewRuntime.html]])
    message(WARNING \"The controller page has not been built, and is not installed: run scripts/setup demo\")
  endif()" COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/controller/dist/VMRWebViewRuntime.html DESTINATION ${CMAKE_INSTALL_DATADIR}/vemora
          COMPONENT tools OPTIONAL)
endif()

if(PROJECT_IS_TOP_LEVEL)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake.in uninstall.cmake @ONLY)
  add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -P ${CMAKE_CURRENT_BINARY_DIR}/uninstall.cmake
                    COMMENT "Removing what the last installation from this folder installed")
endif()
