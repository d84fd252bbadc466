# How tests are registered with CTest.
#
# Every test runs in the build directory with OVBGP_SOURCE_DIR set to the
# source tree (for tests/data and samples/) and carries one label:
#   unit         ordinary tests
#   concurrency  GoogleTest suites whose name contains "Concurrency" (the
#                ThreadSanitizer build runs exactly these)
#   interop      checks against other programs (skipped by the ASan build)
# Suites named MvpnToggleOff* run in one process of their own with the "Mvpn"
# feature toggle switched off.

include(GoogleTest)
find_package(GTest REQUIRED)

set(OVBGP_TEST_ENVIRONMENT "OVBGP_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
# Seconds before a hung test is killed; a unit test takes well under one.
set(OVBGP_TEST_TIMEOUT 120)
set(OVBGP_MVPN_OFF_TOGGLE_DIR "${PROJECT_SOURCE_DIR}/tests/data/toggle-mvpn-off")

# ovbgp_add_gtest_executable(<target> <dir> <libraries>...): one executable
# from <dir>/**/*_test.cpp (plus any other .cpp under <dir> as helpers),
# linked with <libraries>, gtest_main and gmock. Nothing when <dir> has no
# test file.
function(ovbgp_add_gtest_executable target dir)
   ovbgp_glob(tests "${dir}/*_test.cpp")
   if(NOT tests)
      return()
   endif()
   ovbgp_glob(helpers "${dir}/*.cpp")
   list(REMOVE_ITEM helpers ${tests})

   add_executable(${target} ${tests} ${helpers})
   target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}")
   target_link_libraries(${target} PRIVATE ${ARGN} GTest::gtest_main GTest::gmock)
   set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
   # Test files are many and heavy to compile; they are parsed against one
   # precompiled GoogleTest header and built without optimization. The code
   # under test keeps the build type's optimization (it lives in the
   # libraries), and speed is measured in bench/, never here.
   target_precompile_headers(${target} PRIVATE <gtest/gtest.h> <gmock/gmock.h>)
   target_compile_options(${target} PRIVATE -O0)

   # Two disjoint discoveries: concurrency suites, then everything else.
   foreach(label IN ITEMS concurrency unit)
      if(label STREQUAL "concurrency")
         set(filter "*Concurrency*.*:-MvpnToggleOff*")
      else()
         set(filter "-*Concurrency*.*:MvpnToggleOff*")
      endif()
      gtest_discover_tests(${target}
         TEST_FILTER "${filter}"
         WORKING_DIRECTORY "${PROJECT_BINARY_DIR}"
         DISCOVERY_TIMEOUT 60
         PROPERTIES
            LABELS ${label}
            ENVIRONMENT "${OVBGP_TEST_ENVIRONMENT}"
            TIMEOUT ${OVBGP_TEST_TIMEOUT})
   endforeach()

   # The toggle is read once per process, so these suites share one process
   # with the toggle directory set. Registered only when some file has such
   # a suite; test files are configure dependencies so that a suite added to
   # an existing file is not silently dropped.
   set_property(DIRECTORY "${PROJECT_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${tests})
   set(has_mvpn_off FALSE)
   foreach(file IN LISTS tests)
      file(STRINGS "${file}" hits REGEX "MvpnToggleOff")
      if(hits)
         set(has_mvpn_off TRUE)
         break()
      endif()
   endforeach()
   if(has_mvpn_off)
      add_test(NAME ${target}.MvpnToggleOff
               COMMAND ${target} --gtest_filter=MvpnToggleOff*
               WORKING_DIRECTORY "${PROJECT_BINARY_DIR}")
      set_tests_properties(${target}.MvpnToggleOff PROPERTIES
         LABELS unit
         TIMEOUT ${OVBGP_TEST_TIMEOUT}
         ENVIRONMENT "${OVBGP_TEST_ENVIRONMENT};OV_TOGGLE_DIR=${OVBGP_MVPN_OFF_TOGGLE_DIR}")
   endif()
endfunction()

# ovbgp_add_script_test(NAME <name> COMMAND <command>...
#                       [LABELS <label>...] [ENVIRONMENT <VAR=value>...]
#                       [TIMEOUT <seconds>])
# Registers any command as a test, with the same working directory and
# environment as the GoogleTest cases. LABELS defaults to "unit". Generator
# expressions such as $<TARGET_FILE:bgpcomm> work in COMMAND.
function(ovbgp_add_script_test)
   cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME;TIMEOUT" "COMMAND;LABELS;ENVIRONMENT")
   if(NOT arg_NAME OR NOT arg_COMMAND)
      message(FATAL_ERROR "ovbgp_add_script_test: NAME and COMMAND are required")
   endif()
   if(NOT arg_LABELS)
      set(arg_LABELS unit)
   endif()
   if(NOT arg_TIMEOUT)
      set(arg_TIMEOUT ${OVBGP_TEST_TIMEOUT})
   endif()
   set(environment ${OVBGP_TEST_ENVIRONMENT} ${arg_ENVIRONMENT})
   add_test(NAME ${arg_NAME} COMMAND ${arg_COMMAND} WORKING_DIRECTORY "${PROJECT_BINARY_DIR}")
   set_tests_properties(${arg_NAME} PROPERTIES
      LABELS "${arg_LABELS}"
      TIMEOUT ${arg_TIMEOUT}
      ENVIRONMENT "${environment}")
endfunction()
