# The encode functions through the machine and ovrun: strings, the UU shorthands, files of a
# million bytes against strings, errors.
ov_add_tests(encoders_e2e_test SOURCES encoders_e2e_test.cpp LIBS ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(encoders_e2e_test ov200std64 ovrun)
target_compile_definitions(encoders_e2e_test PRIVATE OVRUN_PATH="$<TARGET_FILE:ovrun>")
