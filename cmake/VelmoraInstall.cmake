# Headers, the library with a CMake package and a pkg-config file, the tool and the dictionaries.
include(CMakePackageConfigHelpers)

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/velmora")
install(TARGETS velmora EXPORT velmoraTargets
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(EXPORT velmoraTargets NAMESPACE velmora:: DESTINATION "${package_folder}")
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/velmoraConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/velmoraConfig.cmake"
                              INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/velmoraConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/velmoraConfig.cmake" "${PROJECT_BINARY_DIR}/velmoraConfigVersion.cmake"
        DESTINATION "${package_folder}")

# Relative to the file itself: the prefix is known only when it is installed, and may be moved later.
set(pc_folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(VELMORA_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH up "/prefix/${pc_folder}" "/prefix")
  string(REGEX REPLACE "/$" "" VELMORA_PC_PREFIX "\${pcfiledir}/${up}")
endif()
foreach(name LIBDIR INCLUDEDIR DATADIR)
  set(VELMORA_PC_${name} "\${prefix}/${CMAKE_INSTALL_${name}}")
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${name}}")
    set(VELMORA_PC_${name} "${CMAKE_INSTALL_${name}}")
  endif()
endforeach()
configure_file("${PROJECT_SOURCE_DIR}/cmake/velmora.pc.in" "${PROJECT_BINARY_DIR}/velmora.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/velmora.pc" DESTINATION "${pc_folder}")

# A program that was cross-compiled finds no runtime on the system it is for.
velmora_runtime_files(runtime_files)
install(FILES ${runtime_files} DESTINATION "${CMAKE_INSTALL_BINDIR}")

if(TARGET velmora_tool)
  set_target_properties(velmora_tool PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS velmora_tool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
  get_property(dictionaries GLOBAL PROPERTY VELMORA_DICTIONARIES)
  get_property(manual GLOBAL PROPERTY VELMORA_MANUAL)
  if(manual)
    get_property(completion GLOBAL PROPERTY VELMORA_COMPLETION)
    install(FILES "${manual}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
    install(FILES "${completion}" DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" RENAME velmora)
  endif()
  install(FILES ${dictionaries} DESTINATION "${CMAKE_INSTALL_DATADIR}/velmora/lang")
endif()
