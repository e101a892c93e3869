# Compacted files: round trips through the machine, the stream against lhasa and jlha (through
# tools/lh5_archive.py), error numbers, the exported entry points and ovrun.
ov_add_tests(compacted_e2e_test SOURCES compacted_e2e_test.cpp LIBS ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(compacted_e2e_test ov200std64 ovrun)
target_compile_definitions(compacted_e2e_test PRIVATE OVRUN_PATH="$<TARGET_FILE:ovrun>" OV_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
