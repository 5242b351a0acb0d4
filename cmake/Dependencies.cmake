find_package(Threads REQUIRED)

# CLI11::CLI11, nlohmann_json::nlohmann_json and GTest::gtest_main, from Debian's packages.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(CLI11 REQUIRED)
  find_package(nlohmann_json REQUIRED)
  if(MEGREADER_TESTS)
    find_package(GTest REQUIRED)
  endif()
  return()
endif()

# The host's include folder holds headers of the host's C library, which another system's compiler must not see: the
# two header-only libraries are copied out of it.
set(headers ${PROJECT_BINARY_DIR}/headers)
file(COPY /usr/include/CLI /usr/include/nlohmann DESTINATION ${headers})
foreach(name CLI11 nlohmann_json)
  add_library(${name}_headers INTERFACE)
  target_include_directories(${name}_headers SYSTEM INTERFACE ${headers})
  add_library(${name}::${name} ALIAS ${name}_headers)
endforeach()
if(MEGREADER_TESTS)
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  if(NOT TARGET GTest::gtest_main)
    add_library(GTest::gtest_main ALIAS gtest_main)
  endif()
endif()
