# End-to-end tests of ovrun: the built command line run on small scripts against the built library.
if(TARGET ovrun AND TARGET ov200std64)
  ov_add_tests(ovrun_cli_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/ovrun_cli_test.cpp)
  target_compile_definitions(ovrun_cli_test PRIVATE
    OVRUN_PATH="$<TARGET_FILE:ovrun>"
    OVRUN_LIBRARY_PATH="$<TARGET_FILE:ov200std64>")
  add_dependencies(ovrun_cli_test ovrun ov200std64)
endif()
