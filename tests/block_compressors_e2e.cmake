# Block compression through the machine and ovrun: texts and buffers there and back, refusals.
ov_add_tests(block_compressors_e2e_test SOURCES block_compressors_e2e_test.cpp LIBS ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(block_compressors_e2e_test ov200std64 ovrun)
target_compile_definitions(block_compressors_e2e_test PRIVATE OVRUN_PATH="$<TARGET_FILE:ovrun>")
