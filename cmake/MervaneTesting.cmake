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

function(mervane_gtest name)
  cmake_parse_arguments(T "" "" "SOURCES;LABELS" ${ARGN})
  if(NOT T_LABELS)
    set(T_LABELS unit tsan)
  endif()
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE mervane_engine GTest::gtest GTest::gtest_main)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS "${T_LABELS}"
    ENVIRONMENT "MERVANE_SOURCE_DIR=${CMAKE_SOURCE_DIR};OMP_NUM_THREADS=2")
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
  add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${MERVANE_RUN_DIR})
  set_tests_properties(${name} PROPERTIES LABELS "${T_LABELS}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;MERVANE_SOURCE_DIR=${CMAKE_SOURCE_DIR};OMP_NUM_THREADS=2")
endfunction()

#   mervane_e2e_test(NAME SCRIPT script.sh [ARGS a...] [TIMEOUT s])
#       End to end: the script drives the real program on a virtual X
#       display (xvfb-run) with xdotool. It is called with the program's path
#       and ARGS, from the run directory, and sources tests/e2e/lib.sh
#       ($MERVANE_E2E_LIB). Label: e2e. Its work folder is build/e2e/NAME;
#       a failed run's screenshots stay in build/e2e/NAME-failed-<time>.
#
# The virtual displays share one lock: xvfb-run -a picks the first free
# display number by looking for lock files, so two servers started at once
# may pick the same one and one of them fails to start. The screen is fixed
# (size, depth and 96 dpi) so that the window's scale, and with it every
# position the scripts compute, is the same on every machine.
set(MERVANE_E2E_SCREEN "1600x1000x24")
set(MERVANE_E2E_DPI 96)
find_program(MERVANE_XVFB_RUN xvfb-run)
find_program(MERVANE_XDOTOOL xdotool)
find_program(MERVANE_IMPORT import)

function(mervane_e2e_test name)
  cmake_parse_arguments(T "" "SCRIPT;TIMEOUT" "ARGS" ${ARGN})
  if(NOT MERVANE_XVFB_RUN OR NOT MERVANE_XDOTOOL OR NOT MERVANE_IMPORT)
    message(STATUS "${name}: needs xvfb-run, xdotool and ImageMagick's import; not registered")
    return()
  endif()
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 180)
  endif()
  add_test(NAME ${name}
           COMMAND ${MERVANE_XVFB_RUN} -a
                   -s "-screen 0 ${MERVANE_E2E_SCREEN} -dpi ${MERVANE_E2E_DPI} -nolisten tcp"
                   sh ${T_SCRIPT} $<TARGET_FILE:mervane> ${T_ARGS}
           WORKING_DIRECTORY ${MERVANE_RUN_DIR})
  set_tests_properties(${name} PROPERTIES LABELS e2e TIMEOUT ${T_TIMEOUT} RESOURCE_LOCK mervane_xvfb
    ENVIRONMENT "MERVANE_SOURCE_DIR=${CMAKE_SOURCE_DIR};MERVANE_E2E_LIB=${CMAKE_SOURCE_DIR}/tests/e2e/lib.sh;MERVANE_E2E_WORK=${CMAKE_BINARY_DIR}/e2e/${name};OMP_NUM_THREADS=2")
endfunction()
