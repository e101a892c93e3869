# ovrun: the command line on the stand-in machine, the tour built into it, and the tests of its
# parts that need no library (tokenizer, parser, resolution against a fake, printing).

if(CMAKE_SCRIPT_MODE_FILE)
  # Run as `cmake -DOV_TOUR_INPUT=<script> -DOV_TOUR_OUTPUT=<header> -P ovrun.cmake`: writes the
  # tour as a byte array, so that no character of it needs quoting in C++.
  file(READ "${OV_TOUR_INPUT}" sHex HEX)
  string(LENGTH "${sHex}" nHexLength)
  math(EXPR nSize "${nHexLength} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," sBytes "${sHex}")
  file(WRITE "${OV_TOUR_OUTPUT}"
    "// Generated from host/tour.ovs by host/ovrun.cmake: edit the script, not this file.\n"
    "#pragma once\n"
    "#include <cstddef>\n"
    "inline constexpr unsigned char gbyTourScript[] = {${sBytes}0x00};\n"
    "inline constexpr std::size_t gnTourScriptSize = ${nSize};\n")
  return()
endif()

set(OV_TOUR_HEADER ${PROJECT_BINARY_DIR}/host/tour_ovs.h)
add_custom_command(
  OUTPUT ${OV_TOUR_HEADER}
  COMMAND ${CMAKE_COMMAND} -DOV_TOUR_INPUT=${CMAKE_CURRENT_LIST_DIR}/tour.ovs
          -DOV_TOUR_OUTPUT=${OV_TOUR_HEADER} -P ${CMAKE_CURRENT_LIST_FILE}
  DEPENDS ${CMAKE_CURRENT_LIST_DIR}/tour.ovs ${CMAKE_CURRENT_LIST_FILE}
  COMMENT "Embedding the ovrun tour"
  VERBATIM)

add_library(ovrun_script STATIC
  ${CMAKE_CURRENT_LIST_DIR}/script.cpp
  ${CMAKE_CURRENT_LIST_DIR}/operators.cpp
  ${CMAKE_CURRENT_LIST_DIR}/line_editor.cpp
  ${CMAKE_CURRENT_LIST_DIR}/printer.cpp)
target_include_directories(ovrun_script PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
target_link_libraries(ovrun_script PUBLIC ovmachine)  # the value model lives with the machine

ov_add_tests(ovrun_script_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/script_test.cpp LIBS ovrun_script)

if(TARGET ovmachine)
  add_executable(ovrun ${CMAKE_CURRENT_LIST_DIR}/ovrun_main.cpp ${OV_TOUR_HEADER})
  target_include_directories(ovrun PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
  target_link_libraries(ovrun PRIVATE ovrun_script ovmachine)
  target_compile_definitions(ovrun PRIVATE OV_VERSION_TEXT="${PROJECT_VERSION}")
  add_dependencies(ovrun ov_generated)  # the describing lines of the catalogue
  # Beside ov200std64.so, where the machine looks for the library by default.
  set_target_properties(ovrun PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
endif()
