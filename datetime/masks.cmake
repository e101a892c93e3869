# Date-time masks: display, free parsing and input fields, with their tests, benchmark and fuzz
# target. Included from this folder's CMakeLists.txt.
ov_add_family(datetime_masks SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/mask.cpp
  ${CMAKE_CURRENT_LIST_DIR}/date_mask.cpp
  ${CMAKE_CURRENT_LIST_DIR}/date_mask_fast.cpp
  ${CMAKE_CURRENT_LIST_DIR}/date_mask_names.cpp
  ${CMAKE_CURRENT_LIST_DIR}/date_mask_input.cpp
)

# Under two zones: a missing year or month comes from the UTC clock, whatever the local zone.
ov_add_tests(date_mask_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/date_mask_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/date_mask_fast_test.cpp LIBS ov_core ENV TZ=Europe/Paris)
gtest_discover_tests(date_mask_test TEST_SUFFIX .utc DISCOVERY_TIMEOUT 60 PROPERTIES ENVIRONMENT "TZ=UTC")

ov_add_fuzz(date_mask_fuzz SOURCES ${CMAKE_CURRENT_LIST_DIR}/date_mask_fuzz.cpp LIBS ov_core
  SEEDS ${CMAKE_CURRENT_LIST_DIR}/testdata/mask_seed_date.bin ${CMAKE_CURRENT_LIST_DIR}/testdata/mask_seed_input.bin)

if(OV_BENCH)
  find_package(benchmark REQUIRED)
  add_executable(date_mask_bench ${CMAKE_CURRENT_LIST_DIR}/date_mask_bench.cpp)
  target_include_directories(date_mask_bench PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
  target_link_libraries(date_mask_bench PRIVATE ov_core benchmark::benchmark benchmark::benchmark_main)
endif()
