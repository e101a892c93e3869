# Checksums through the machine and ovrun: buffers, 8-bit and wide text, the empty value.
ov_add_tests(checksums_e2e_test SOURCES checksums_e2e_test.cpp LIBS ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(checksums_e2e_test ov200std64 ovrun)
target_compile_definitions(checksums_e2e_test PRIVATE OVRUN_PATH="$<TARGET_FILE:ovrun>")
