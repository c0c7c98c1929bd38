# The stand-in host is tested with a library of its own, so that its faults are not mistaken for the shipped one's.
add_library(host_sample_library MODULE ${CMAKE_CURRENT_LIST_DIR}/host_sample_library.cpp)
target_include_directories(host_sample_library PRIVATE ${PROJECT_SOURCE_DIR})

add_executable(host_tests
    ${CMAKE_CURRENT_LIST_DIR}/host_calls_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/host_ledger_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/host_services_test.cpp)
target_link_libraries(host_tests PRIVATE vornik_host GTest::gtest_main)
target_compile_definitions(host_tests PRIVATE HOST_SAMPLE_LIBRARY="$<TARGET_FILE:host_sample_library>")
add_dependencies(host_tests host_sample_library)
gtest_discover_tests(host_tests TEST_PREFIX host. DISCOVERY_TIMEOUT 60)
