# Helpers for registering tests, so each suite's CMakeLists stays a list of names.
#
#   mervane_gtest(NAME SOURCES src... [LABELS l...])
#       GoogleTest against the engine library. Default labels: unit;tsan
#       (run again under AddressSanitizer and ThreadSanitizer).
#   mervane_qtest(NAME SOURCES src... [LABELS l...])
#       Qt Test against the widget library, run headless on the offscreen
#       platform from the run directory. Default label: unit.
#
# Labels: "unit" tests are rerun in the ASan/UBSan build, "tsan" ones in the
# ThreadSanitizer engine build; give slow or display-bound tests other labels
# (for example "e2e") to keep them out of the sanitizer runs.
#
# Every test runs through tests/common/run_checked.sh: a skipped case fails
# the test unless its message names a missing optional tool ("optional tool
# missing: <tool>"); those are listed in MERVANE_SKIP_LOG and reported by
# `make test` at the end.
set(MERVANE_RUN_CHECKED ${CMAKE_SOURCE_DIR}/tests/common/run_checked.sh)
set(MERVANE_SKIP_LOG ${CMAKE_BINARY_DIR}/optional-skips.txt)

function(mervane_gtest name)
  cmake_parse_arguments(T "" "" "SOURCES;LABELS" ${ARGN})
  if(NOT T_LABELS)
    set(T_LABELS unit tsan)
  endif()
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE mervane_engine GTest::gtest GTest::gtest_main)
  add_test(NAME ${name} COMMAND sh ${MERVANE_RUN_CHECKED} ${name} $<TARGET_FILE:${name}>)
  set_tests_properties(${name} PROPERTIES LABELS "${T_LABELS}"
    ENVIRONMENT "MERVANE_SOURCE_DIR=${CMAKE_SOURCE_DIR};OMP_NUM_THREADS=2;MERVANE_SKIP_LOG=${MERVANE_SKIP_LOG}")
endfunction()

function(mervane_qtest name)
  cmake_parse_arguments(T "" "" "SOURCES;LABELS" ${ARGN})
  if(NOT T_LABELS)
    set(T_LABELS unit)
  endif()
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE mervane_ui Qt5::Test)
  # Helpers shared by the widget suites (photos, settings store, dialogs).
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests/common)
  add_test(NAME ${name} COMMAND sh ${MERVANE_RUN_CHECKED} ${name} $<TARGET_FILE:${name}>
           WORKING_DIRECTORY ${MERVANE_RUN_DIR})
  set_tests_properties(${name} PROPERTIES LABELS "${T_LABELS}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;MERVANE_SOURCE_DIR=${CMAKE_SOURCE_DIR};OMP_NUM_THREADS=2;MERVANE_SKIP_LOG=${MERVANE_SKIP_LOG}")
endfunction()

#   mervane_e2e_test(NAME SCRIPT script.sh [ARGS a...] [TIMEOUT s])
#       End to end: the script drives the real program on a virtual X
#       display of its own (tests/e2e/xvfb.sh) with xdotool. It is called
#       with the program's path and ARGS, from the run directory, and sources
#       tests/e2e/lib.sh ($MERVANE_E2E_LIB). Label: e2e. Its work folder is
#       build/e2e/NAME; a failed run's screenshots stay in
#       build/e2e/NAME-failed-<time>.
#
# Each test starts its own X server, which picks a free display number
# itself, so tests and builds running at once never collide; the tests still
# run one at a time (RESOURCE_LOCK) so that they do not take each other's
# processor time and hit their deadlines. The screen is fixed (size, depth
# and 96 dpi) so that the window's scale, and with it every position the
# scripts compute, is the same on every machine.
#
# The X tools are installed by the set-up and are not optional: where one is
# missing, each end-to-end test is still registered and fails saying which.
set(MERVANE_E2E_SCREEN "1600x1000x24")
set(MERVANE_E2E_DPI 96)
find_program(MERVANE_XVFB Xvfb)
find_program(MERVANE_XDOTOOL xdotool)
find_program(MERVANE_IMPORT import)
find_program(MERVANE_COMPARE compare)

function(mervane_e2e_test name)
  cmake_parse_arguments(T "" "SCRIPT;TIMEOUT" "ARGS" ${ARGN})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 180)
  endif()
  set(_missing "")
  foreach(_tool XVFB XDOTOOL IMPORT COMPARE)
    if(NOT MERVANE_${_tool})
      string(TOLOWER ${_tool} _lower)
      list(APPEND _missing ${_lower})
    endif()
  endforeach()
  if(_missing)
    string(REPLACE ";" ", " _missing "${_missing}")
    message(WARNING "${name}: missing ${_missing} (xvfb, xdotool, imagemagick); the test will fail")
    add_test(NAME ${name} COMMAND sh -c "echo 'FAIL: missing ${_missing}: run scripts/setup.sh'; exit 1")
    set_tests_properties(${name} PROPERTIES LABELS e2e)
    return()
  endif()
  add_test(NAME ${name}
           COMMAND sh ${MERVANE_RUN_CHECKED} ${name}
                   sh ${CMAKE_SOURCE_DIR}/tests/e2e/xvfb.sh ${MERVANE_E2E_SCREEN} ${MERVANE_E2E_DPI}
                   sh ${T_SCRIPT} $<TARGET_FILE:mervane> ${T_ARGS}
           WORKING_DIRECTORY ${MERVANE_RUN_DIR})
  set_tests_properties(${name} PROPERTIES LABELS e2e TIMEOUT ${T_TIMEOUT} RESOURCE_LOCK mervane_xvfb
    ENVIRONMENT "MERVANE_SOURCE_DIR=${CMAKE_SOURCE_DIR};MERVANE_E2E_LIB=${CMAKE_SOURCE_DIR}/tests/e2e/lib.sh;MERVANE_E2E_WORK=${CMAKE_BINARY_DIR}/e2e/${name};OMP_NUM_THREADS=2;MERVANE_SKIP_LOG=${MERVANE_SKIP_LOG}")
endfunction()
