# The crypt functions through the machine and ovrun: values in each string mode, option words,
# files enciphered and encoded, and the failures that must leave destinations as they were.
ov_add_tests(crypt_e2e_test SOURCES crypt_e2e_test.cpp LIBS ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(crypt_e2e_test ov200std64 ovrun)
target_compile_definitions(crypt_e2e_test PRIVATE OVRUN_PATH="$<TARGET_FILE:ovrun>")
