# The stand-in machine: a shared library, as the real machine is, so that the component can find
# the machine's Execution entry in it by name.
add_library(ovmachine SHARED
  ${CMAKE_CURRENT_LIST_DIR}/allocator.cpp
  ${CMAKE_CURRENT_LIST_DIR}/calendar.cpp
  ${CMAKE_CURRENT_LIST_DIR}/conversion.cpp
  ${CMAKE_CURRENT_LIST_DIR}/gauge.cpp
  ${CMAKE_CURRENT_LIST_DIR}/machine.cpp
  ${CMAKE_CURRENT_LIST_DIR}/table_reader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/utf8.cpp
  ${CMAKE_CURRENT_LIST_DIR}/value.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vm.cpp)
target_include_directories(ovmachine PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
target_link_libraries(ovmachine PUBLIC dl)
# The library is linked by its programs, never opened late, so its thread-local data (the calls in
# progress, and the guards C++ adds beside them) can take the cheap TLS model: every language call
# reads it several times.
target_compile_options(ovmachine PRIVATE -ftls-model=initial-exec)

ov_add_tests(host_machine_test
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/table_reader_test.cpp ${CMAKE_CURRENT_LIST_DIR}/machine_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/utf8_test.cpp ${CMAKE_CURRENT_LIST_DIR}/calendar_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/gauge_test.cpp
  LIBS ovmachine)
# A component that stops right after the binding of the conversions, for the load's own steps.
add_library(ov_fake_component MODULE ${CMAKE_CURRENT_LIST_DIR}/fake_component.cpp)
set_target_properties(ov_fake_component PROPERTIES CXX_VISIBILITY_PRESET hidden)
add_dependencies(host_machine_test ov_fake_component)
target_compile_definitions(host_machine_test PRIVATE OV_FAKE_COMPONENT="$<TARGET_FILE:ov_fake_component>")

# The machine's conversions between type codes and its reading and writing of variants.
ov_add_tests(host_conversion_test
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/conversion_test.cpp
  LIBS ovmachine)
