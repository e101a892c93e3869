# Split, merge and in-file search: pieces against the system's split, joins against the source,
# hits against a plain scan, the gauge's progress; through the machine and ovrun.
ov_add_tests(split_merge_e2e_test SOURCES split_merge_e2e_test.cpp LIBS ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(split_merge_e2e_test ov200std64 ovrun)
target_compile_definitions(split_merge_e2e_test PRIVATE OVRUN_PATH="$<TARGET_FILE:ovrun>")
