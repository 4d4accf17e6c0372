# The importer's iCalendar reader (libical 3), its tests and the comparison
# against the Python icalendar package. Linux only.
find_package(PkgConfig REQUIRED)
pkg_check_modules(LIBICAL REQUIRED IMPORTED_TARGET libical)

set(VIREL_IMPORT_DIR ${CMAKE_CURRENT_LIST_DIR})
file(GLOB VIREL_IMPORT_ICAL_SOURCES CONFIGURE_DEPENDS ${VIREL_IMPORT_DIR}/ical_*.cc)
add_library(virel_import_ical STATIC ${VIREL_IMPORT_ICAL_SOURCES})
target_include_directories(virel_import_ical PUBLIC ${VIREL_IMPORT_DIR})
target_compile_features(virel_import_ical PUBLIC cxx_std_17)
target_link_libraries(virel_import_ical PUBLIC PkgConfig::LIBICAL)

if(VIREL_BUILD_TESTS)
  find_package(GTest REQUIRED)
  include(GoogleTest)
  find_package(nlohmann_json 3 REQUIRED)
  file(GLOB VIREL_IMPORT_ICAL_TEST_SOURCES CONFIGURE_DEPENDS
       ${VIREL_IMPORT_DIR}/tests/ical_*_test.cc)
  add_executable(virel_import_ical_tests ${VIREL_IMPORT_ICAL_TEST_SOURCES})
  target_link_libraries(virel_import_ical_tests PRIVATE virel_import_ical GTest::gtest_main)
  gtest_discover_tests(virel_import_ical_tests DISCOVERY_TIMEOUT 60)

  # Prints what the reader makes of a file, for the comparison script.
  add_executable(virel_ical_dump ${VIREL_IMPORT_DIR}/tests/ical_dump.cc)
  target_link_libraries(virel_ical_dump PRIVATE virel_import_ical nlohmann_json::nlohmann_json)

  # The first Python that has the icalendar package decodes independently.
  find_program(VIREL_SYSTEM_PYTHON3 python3 PATHS /usr/bin NO_DEFAULT_PATH)
  find_program(VIREL_PATH_PYTHON3 python3)
  set(VIREL_ICAL_PYTHON "")
  foreach(candidate ${VIREL_SYSTEM_PYTHON3} ${VIREL_PATH_PYTHON3})
    if(NOT VIREL_ICAL_PYTHON)
      execute_process(COMMAND ${candidate} -c "import icalendar"
                      RESULT_VARIABLE has_icalendar OUTPUT_QUIET ERROR_QUIET)
      if(has_icalendar EQUAL 0)
        set(VIREL_ICAL_PYTHON ${candidate})
      endif()
    endif()
  endforeach()
  if(VIREL_ICAL_PYTHON)
    # The calendars of the icalendar package's own tests, then ours: first
    # as the reader alone decodes them (all-day and attendees included),
    # then imported with virel-import and read back from the written
    # mailbox (virel_mailbox_dump is defined in tools/import/CMakeLists.txt).
    set(VIREL_ICAL_COMPARE ${VIREL_ICAL_PYTHON} ${VIREL_IMPORT_DIR}/tests/ical_compare.py)
    set(VIREL_ICAL_READ_BACK --import $<TARGET_FILE:virel-import>
                             --mailbox-dump $<TARGET_FILE:virel_mailbox_dump>)
    add_test(NAME import_ical_python_comparison
             COMMAND ${VIREL_ICAL_COMPARE} $<TARGET_FILE:virel_ical_dump>)
    add_test(NAME import_ical_python_comparison_samples
             COMMAND ${VIREL_ICAL_COMPARE} $<TARGET_FILE:virel_ical_dump>
                     ${VIREL_IMPORT_DIR}/tests/ical_data)
    add_test(NAME import_ical_python_readback
             COMMAND ${VIREL_ICAL_COMPARE} ${VIREL_ICAL_READ_BACK})
    add_test(NAME import_ical_python_readback_samples
             COMMAND ${VIREL_ICAL_COMPARE} ${VIREL_ICAL_READ_BACK}
                     ${VIREL_IMPORT_DIR}/tests/ical_data)
    set_tests_properties(import_ical_python_comparison import_ical_python_readback
                         PROPERTIES SKIP_RETURN_CODE 77)
  else()
    message(WARNING "python3 with the icalendar package not found: "
                    "the iCalendar comparison test is not registered")
  endif()
endif()
