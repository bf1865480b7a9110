# The daemon measured from outside (needs the black-box harness of the tests):
# latency against the transport floor, and the reader pass's instructions per
# record (scripts/bench-instructions.sh runs it inside netns-run.sh).
if(TARGET test_harness)
  add_executable(bench_live ${CMAKE_CURRENT_LIST_DIR}/live_throughput.cpp ${CMAKE_CURRENT_LIST_DIR}/live_floor.cpp)
  target_link_libraries(bench_live PRIVATE test_harness mainboard_render)
  add_executable(bench_pass_instructions ${CMAKE_CURRENT_LIST_DIR}/instructions_pass.cpp)
  target_link_libraries(bench_pass_instructions PRIVATE test_harness mainboard_record)
  foreach(bench bench_live bench_pass_instructions)
    target_include_directories(${bench} PRIVATE ${PROJECT_SOURCE_DIR}/MainBoard ${PROJECT_SOURCE_DIR}/tests/common)
  endforeach()
endif()
