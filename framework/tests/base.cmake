add_executable(exec_child tests/base/exec_child.c)
# What is run is an ordinary program, also where the runner is instrumented.
target_compile_options(exec_child PRIVATE -fno-sanitize=all)
target_link_options(exec_child PRIVATE -fno-sanitize=all)
set_target_properties(exec_child PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)

# Counts allocations, in the place of a sanitizer's own allocator.
set(counting)
if(NOT CDPFI_SANITIZE)
  set(counting tests/base/run_record_memory_test.cpp ../bench/micro/allocations.cpp)
endif()

cdpfi_add_tests(framework_base_tests
  SOURCES tests/base/command_line_test.cpp tests/base/configuration_test.cpp tests/base/counted_pointer_test.cpp
    tests/base/exec_pipe_ending_test.cpp tests/base/exec_pipe_host_test.cpp tests/base/exec_pipe_output_test.cpp
    tests/base/little_memory.cpp tests/base/network_test.cpp tests/base/output_text_test.cpp tests/base/platform_error_test.cpp tests/base/process_output_test.cpp tests/base/running_program_test.cpp tests/base/record_layout.c
    tests/base/run_cancel_test.cpp tests/base/run_observer_test.cpp tests/base/run_record_test.cpp
    tests/base/runtime_functions_test.cpp tests/base/scratch.cpp tests/base/string_tool_test.cpp
    tests/base/temporary_files_test.cpp
    tests/base/trace_file_test.cpp tests/base/trace_format_test.cpp tests/base/trace_function_test.cpp
    tests/base/trace_observer_test.cpp
    ${counting}
    # Inside the library; not exported.
    src/command_line.cpp src/folder_names.cpp
    src/input_text.cpp src/process_output.cpp src/process_spawn.cpp src/regular_file.cpp src/run_cancel.cpp src/run_observer.cpp src/run_record.cpp src/running_program.cpp
    src/temporary_files.cpp
  LIBRARIES cdpfi_base obzx_pdk Threads::Threads
  DEPENDS exec_child
  DEFINITIONS EXEC_CHILD="$<TARGET_FILE:exec_child>")
