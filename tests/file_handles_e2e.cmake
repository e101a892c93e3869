# File handles: lines in ANSI and Unicode files against Python's codecs, positions, locks seen by
# another process, descriptors, full disks; through the machine and through ovrun.
ov_add_tests(file_handles_e2e_test SOURCES file_handles_e2e_test.cpp LIBS ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(file_handles_e2e_test ov200std64 ovrun)
target_compile_definitions(file_handles_e2e_test PRIVATE OVRUN_PATH="$<TARGET_FILE:ovrun>"
  OV_TESTDATA="${PROJECT_SOURCE_DIR}/files/testdata")
