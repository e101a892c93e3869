# File and directory operations: texts, buffers, copies, moves, trees and rights end to end.
ov_add_tests(file_operations_e2e_test SOURCES file_operations_e2e_test.cpp LIBS ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(file_operations_e2e_test ov200std64 ovrun)
target_compile_definitions(file_operations_e2e_test PRIVATE OVRUN_PATH="$<TARGET_FILE:ovrun>")
