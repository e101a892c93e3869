# Listings: fListeFichier and fListeRepertoire against find(1), and their callback forms through ovrun.
ov_add_tests(file_listing_e2e_test SOURCES file_listing_e2e_test.cpp LIBS ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(file_listing_e2e_test ov200std64 ovrun)
target_compile_definitions(file_listing_e2e_test PRIVATE OVRUN_PATH="$<TARGET_FILE:ovrun>")
