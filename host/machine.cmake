# The stand-in machine: a shared library, as the real machine is, so that the component can find
# the machine's Execution entry in it by name.
add_library(ovmachine SHARED
  ${CMAKE_CURRENT_LIST_DIR}/allocator.cpp
  ${CMAKE_CURRENT_LIST_DIR}/conversion.cpp
  ${CMAKE_CURRENT_LIST_DIR}/machine.cpp
  ${CMAKE_CURRENT_LIST_DIR}/table_reader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/value.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vm.cpp)
target_include_directories(ovmachine PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
target_link_libraries(ovmachine PUBLIC dl)

ov_add_tests(host_machine_test
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/table_reader_test.cpp
  LIBS ovmachine)

# The machine's conversions between type codes and its reading and writing of variants.
ov_add_tests(host_conversion_test
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/conversion_test.cpp
  LIBS ovmachine)
