# Shared memory zones with a second real process: notification both ways, a peer killed holding
# the lock, the registration block as laid out, nothing left in the system.
add_executable(shared_memory_peer shared_memory_peer.cpp)
target_include_directories(shared_memory_peer PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
target_link_libraries(shared_memory_peer PRIVATE ovmachine)
ov_add_tests(shared_memory_e2e_test SOURCES shared_memory_e2e_test.cpp LIBS ov_core ovmachine
  ENV OV200STD64=$<TARGET_FILE:ov200std64>)
add_dependencies(shared_memory_e2e_test ov200std64 shared_memory_peer)
add_dependencies(shared_memory_peer ov200std64)
target_compile_definitions(shared_memory_e2e_test PRIVATE PEER_PATH="$<TARGET_FILE:shared_memory_peer>")
