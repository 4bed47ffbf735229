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
  add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${MERVANE_RUN_DIR})
  set_tests_properties(${name} PROPERTIES LABELS "${T_LABELS}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;MERVANE_SOURCE_DIR=${CMAKE_SOURCE_DIR};OMP_NUM_THREADS=2")
endfunction()
