# Project-wide settings and the helpers every folder uses.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

option(OV_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(OV_BENCH "Build the benchmarks" ON)
# Warnings are errors in the developers' and CI builds (the scripts turn this on, and so do the
# development build types). A user's plain Release build keeps them as warnings, so that a
# compiler's false positive does not stop it.
if(CMAKE_BUILD_TYPE MATCHES "^(Release|MinSizeRel)$")
  option(OV_WERROR "Treat compiler warnings as errors" OFF)
else()
  option(OV_WERROR "Treat compiler warnings as errors" ON)
endif()

find_program(OV_CCACHE ccache)
if(OV_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${OV_CCACHE})
endif()

add_compile_options(-Wall -Wextra -Wno-unused-parameter)
if(OV_WERROR)
  add_compile_options(-Werror)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # g++ 12 at -O3 reports overlaps and over-reads inside libstdc++'s own string code that cannot
    # happen (its bugs 105329 and 105651): in optimised builds they stay warnings, not errors.
    add_compile_options($<$<CONFIG:Release,MinSizeRel>:-Wno-error=restrict>
                        $<$<CONFIG:Release,MinSizeRel>:-Wno-error=stringop-overread>
                        $<$<CONFIG:Release,MinSizeRel>:-Wno-error=stringop-overflow>)
  endif()
endif()
if(OV_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

enable_testing()
find_package(GTest REQUIRED)
include(GoogleTest)

# Every folder's library code lands in one object pool, built once and linked twice: into the
# shared component and into the static archive that unit tests link.
set_property(GLOBAL PROPERTY OV_FAMILY_OBJECTS "")

# ov_add_family(<folder> SOURCES ...): the folder's library sources.
function(ov_add_family name)
  cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
  add_library(ov_${name} OBJECT ${ARG_SOURCES})
  target_include_directories(ov_${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
  target_compile_options(ov_${name} PRIVATE -fvisibility=hidden -fvisibility-inlines-hidden)
  add_dependencies(ov_${name} ov_generated)
  set_property(GLOBAL APPEND PROPERTY OV_FAMILY_OBJECTS $<TARGET_OBJECTS:ov_${name}>)
endfunction()

# ov_add_tests(<name> SOURCES ... [LIBS ...] [ENV ...]): a GoogleTest binary registered with CTest.
function(ov_add_tests name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;ENV" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES ENVIRONMENT "${ARG_ENV}")
endfunction()

# The component: one shared library exporting only the entry points of exports.map, and a static
# archive of the same objects for unit tests.
function(ov_add_component_library)
  get_property(objects GLOBAL PROPERTY OV_FAMILY_OBJECTS)
  add_library(ov200std64 SHARED ${objects})
  set_target_properties(ov200std64 PROPERTIES PREFIX "" OUTPUT_NAME ov200std64 SUFFIX ".so")
  target_link_options(ov200std64 PRIVATE
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/component/exports.map
    -Wl,--no-undefined -Wl,-Bsymbolic)
  set_property(TARGET ov200std64 APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/component/exports.map)
  add_library(ov_core STATIC ${objects})
  target_include_directories(ov_core PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
endfunction()

# ov_add_fuzz(<name> SOURCES ... [LIBS ...] [SEEDS ...]): a fuzz target (LLVMFuzzerTestOneInput)
# linked with the bounded driver. In sanitizer builds it runs as a test for OV_FUZZ_SECONDS.
set(OV_FUZZ_SECONDS 15 CACHE STRING "Seconds each fuzz target runs as a test in sanitizer builds")
function(ov_add_fuzz name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;SEEDS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES} ${PROJECT_SOURCE_DIR}/tests/fuzz/fuzz_driver.cpp)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  if(OV_SANITIZE)
    add_test(NAME ${name} COMMAND ${name} ${OV_FUZZ_SECONDS} ${ARG_SEEDS})
  endif()
endfunction()
