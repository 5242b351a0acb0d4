# What scripts/package makes: four Debian packages, a component each, or one zip file for Windows.
set(CPACK_PACKAGE_NAME megreader)
set(CPACK_PACKAGE_VENDOR "MEGReader authors")
set(CPACK_PACKAGE_CONTACT "MEGReader maintainers <maintainers@users.noreply.c-seed-0415711f.example>")
# The one summary that CPack does not put before each component's own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_NAME} built using CMake")
set(CPACK_COMPONENTS_ALL runtime dev tools)
if(NOT WIN32)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# The library holds code of a header-only library, the command that of two, and everything for Windows also the compiler's
# runtime. Their terms go with them.
configure_file(packaging/copyright.in copyright @ONLY)
function(write_terms folder)
  file(READ ${PROJECT_BINARY_DIR}/copyright terms)
  foreach(item IN LISTS ARGN)
    string(REGEX MATCH "(.*)=(.*)" item "${item}")
    file(READ /usr/share/doc/${CMAKE_MATCH_2}/copyright of_others)
    string(APPEND terms "\n\nCode of ${CMAKE_MATCH_1} is compiled in. Debian's package of it says:\n\n${of_others}")
  endforeach()
  file(WRITE ${PROJECT_BINARY_DIR}/${folder}/copyright "${terms}")
endfunction()
set(json "JSON for Modern C++=nlohmann-json3-dev")
set(command_line CLI11=libcli11-dev)
if(WIN32)
  set(runtime "the runtime of mingw-w64=mingw-w64-common")
endif()
write_terms(runtime ${json})
write_terms(tools ${command_line} ${json} ${runtime})

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME megreader-${PROJECT_VERSION}-windows-x64)
  install(FILES ${PROJECT_BINARY_DIR}/tools/copyright DESTINATION . RENAME copyright.txt COMPONENT tools)
  include(CPack)
  return()
endif()

set(library_package libmegreader${PROJECT_VERSION_MAJOR})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEV_DEPENDS runtime)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "reader for CTF MEG datasets - shared library
MEGReader turns recordings of CTF whole-head systems into one data object:
header, samples and what the small files next to them say.
.
This package holds the libraries that programs need to run: ctfmeg, with the
class Recording, and MEGReader, for hosts of the original interface.")

# Installing the library makes the system look for libraries again. The two scripts are named, without being there, so
# that CPack leaves out its own, which would do that a second time.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/triggers packaging/no/postinst packaging/no/postrm)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libmegreader-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEV_DESCRIPTION "reader for CTF MEG datasets - development files
MEGReader turns recordings of CTF whole-head systems into one data object:
header, samples and what the small files next to them say.
.
This package holds the headers, files for CMake and pkg-config, documents and
examples. Programs are written in C++20.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ctfmeg)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "inspect, convert and simulate CTF MEG datasets
The command ctfmeg shows what MEG recordings of CTF whole-head systems hold,
checks them, exports their samples for NumPy, lists channels, markers and
head positions, and simulates datasets to try things on.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-ctfmeg)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.9), python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-dask, python3-distributed, python3-fsspec, python3-aiohttp, \
python3-matplotlib, python3-pandas, python3-scipy")
set(CPACK_COMPONENT_PYTHON_DEPENDS runtime)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "reader for CTF MEG datasets - Python package
MEGReader turns recordings of CTF whole-head systems into one data object:
header, samples and what the small files next to them say.
.
This package holds the Python package ctfmeg, in which recordings are NumPy
arrays that are read on demand.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/python/postinst ${PROJECT_SOURCE_DIR}/packaging/python/prerm)

# By this pip and other packages know its name, version and needs.
set(metadata ${PROJECT_BINARY_DIR}/python/ctfmeg-${PROJECT_VERSION}.dist-info)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/python)
execute_process(COMMAND /usr/bin/python3 setup.py --quiet dist_info --output-dir ${PROJECT_BINARY_DIR}/python
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/python COMMAND_ERROR_IS_FATAL ANY)
file(WRITE ${metadata}/INSTALLER "debian\n")
install(DIRECTORY ${metadata} DESTINATION ${MEGREADER_PYTHON_FOLDER} COMPONENT python)

# `install` of what Debian wants of every package.
find_program(GZIP_PROGRAM gzip REQUIRED)
string(TIMESTAMP CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)  # of SOURCE_DATE_EPOCH where that is set
configure_file(packaging/changelog.in changelog.Debian @ONLY)
execute_process(COMMAND ${GZIP_PROGRAM} -9nf changelog.Debian WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
  COMMAND_ERROR_IS_FATAL ANY)
foreach(component RUNTIME DEV TOOLS PYTHON)
  string(TOLOWER ${component} name)
  set(doc ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${component}_PACKAGE_NAME})
  install(FILES ${PROJECT_BINARY_DIR}/changelog.Debian.gz DESTINATION ${doc} COMPONENT ${name})
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/runtime/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${library_package}
  COMPONENT runtime)
install(FILES ${PROJECT_BINARY_DIR}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libmegreader-dev
  COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/python3-ctfmeg COMPONENT python)
install(FILES ${PROJECT_BINARY_DIR}/tools/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ctfmeg COMPONENT tools)
install(CODE "
  set(page \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man1/ctfmeg.1)
  if(EXISTS \${page})
    execute_process(COMMAND ${GZIP_PROGRAM} -9nf \${page} COMMAND_ERROR_IS_FATAL ANY)
  endif()" COMPONENT tools)
include(CPack)
