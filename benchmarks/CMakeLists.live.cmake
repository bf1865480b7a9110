# The daemon measured from outside (needs the black-box harness of the tests).
if(TARGET test_harness)
  add_executable(bench_live ${CMAKE_CURRENT_LIST_DIR}/live_throughput.cpp)
  target_link_libraries(bench_live PRIVATE test_harness mainboard_record)
  target_include_directories(bench_live PRIVATE ${PROJECT_SOURCE_DIR}/MainBoard ${PROJECT_SOURCE_DIR}/tests/common)
endif()
