# What `cmake --install` puts where. Components: runtime (what programs need to run), dev (what building them needs),
# tools (the command) and python (the package ctfmeg). Whatever is installed may be moved elsewhere as a whole.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS MEGReader EXPORT MEGReader
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE COMPONENT dev
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(TARGETS ctfmeg_shared EXPORT MEGReader
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE COMPONENT dev
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)

install(TARGETS ctfmeg RUNTIME COMPONENT tools)

# The manual page, and how shells complete the command.
if(TARGET ctfmeg_pages)
  set(zsh_folder site-functions)
  if(MEGREADER_PACKAGES)
    set(zsh_folder vendor-completions)  # Debian's zsh leaves the other one to the machine's owner
  endif()
  set(pages ${PROJECT_BINARY_DIR}/share)
  install(FILES ${pages}/man/man1/ctfmeg.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${pages}/bash-completion/completions/ctfmeg
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
  install(FILES ${pages}/zsh/site-functions/_ctfmeg DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/${zsh_folder}
    COMPONENT tools)
endif()

# The Python package, which finds the library where the system's loader does.
if(NOT WIN32)
  set(MEGREADER_PYTHON_FOLDER lib/python3/dist-packages CACHE STRING "Where Python looks for packages, below the prefix")
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/ctfmeg DESTINATION ${MEGREADER_PYTHON_FOLDER} COMPONENT python
    FILES_MATCHING PATTERN "*.py" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)
endif()

# The CMake package. Before 1.0 every minor version may differ from the one before it.
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/MEGReader)
install(EXPORT MEGReader FILE MEGReaderTargets.cmake NAMESPACE MEGReader:: DESTINATION ${package_folder}
  COMPONENT dev)
configure_package_config_file(cmake/MEGReaderConfig.cmake.in MEGReaderConfig.cmake
  INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(MEGReaderConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/MEGReaderConfig.cmake ${PROJECT_BINARY_DIR}/MEGReaderConfigVersion.cmake
  DESTINATION ${package_folder} COMPONENT dev)

# pkg-config, with all paths relative to its own file.
set(pc_folder ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH PC_PREFIX ${pc_folder} ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH PC_LIBDIR ${pc_folder} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH PC_INCLUDEDIR ${pc_folder} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
foreach(name megreader ctfmeg megreader-host)
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endforeach()

# What there is to read, and programs to begin with.
set(documents ${CMAKE_INSTALL_DOCDIR})
if(MEGREADER_PACKAGES)
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/libmegreader-dev)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${documents} COMPONENT dev FILES_MATCHING PATTERN "*.md")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${documents} COMPONENT dev PATTERN matlab EXCLUDE)
