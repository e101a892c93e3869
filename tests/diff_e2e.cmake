# Differences through the machine and ovrun: made and applied, options and limit, refusals.
ov_add_tests(diff_e2e_test SOURCES diff_e2e_test.cpp LIBS ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(diff_e2e_test ov200std64 ovrun)
target_compile_definitions(diff_e2e_test PRIVATE OVRUN_PATH="$<TARGET_FILE:ovrun>")
