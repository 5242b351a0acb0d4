# What every target of this project is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)

add_library(project_options INTERFACE)
target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 sees overlaps inside std::string where there are none (its bug 105651).
  target_compile_options(project_options INTERFACE -Wno-restrict)
endif()
# A product that decides which sample a time belongs to must not depend on whether a processor fuses it with a sum.
target_compile_options(project_options INTERFACE -ffp-contract=off)
target_include_directories(project_options INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)

if(MEGREADER_FUZZ)
  target_compile_options(project_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(MEGREADER_SANITIZE)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # With sanitizers GCC takes members of an empty std::optional for uninitialised values that are used.
    target_compile_options(project_options INTERFACE -Wno-maybe-uninitialized)
  endif()
  set(sanitizers -fsanitize=${MEGREADER_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(project_options INTERFACE ${sanitizers})
  target_link_options(project_options INTERFACE ${sanitizers})
endif()
