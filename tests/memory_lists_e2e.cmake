# Memory lists through the machine and ovrun: French and astral texts, sorting, the errors.
ov_add_tests(memory_lists_e2e_test SOURCES memory_lists_e2e_test.cpp LIBS ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(memory_lists_e2e_test ov200std64 ovrun)
target_compile_definitions(memory_lists_e2e_test PRIVATE OVRUN_PATH="$<TARGET_FILE:ovrun>")
