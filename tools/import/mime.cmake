# MIME decoding for virel-import (GMime 3), a dump tool that shows what it
# reads, and its tests. Included from tools/CMakeLists.txt (not on Windows).
find_package(PkgConfig REQUIRED)
pkg_check_modules(GMIME REQUIRED IMPORTED_TARGET gmime-3.0)
find_package(nlohmann_json 3 REQUIRED)

set(VIREL_IMPORT_DIR ${CMAKE_CURRENT_LIST_DIR})
add_library(virel_import_mime STATIC
  ${VIREL_IMPORT_DIR}/attachment_name.cc
  ${VIREL_IMPORT_DIR}/encoded_words.cc
  ${VIREL_IMPORT_DIR}/gmime_init.cc
  ${VIREL_IMPORT_DIR}/mime_addresses.cc
  ${VIREL_IMPORT_DIR}/mime_headers.cc
  ${VIREL_IMPORT_DIR}/mime_parts.cc
  ${VIREL_IMPORT_DIR}/mime_reader.cc
  ${VIREL_IMPORT_DIR}/parser_warnings.cc
  ${VIREL_IMPORT_DIR}/single_byte_table.cc
  ${VIREL_IMPORT_DIR}/text_charset.cc)
target_include_directories(virel_import_mime PUBLIC ${VIREL_IMPORT_DIR})
target_compile_features(virel_import_mime PUBLIC cxx_std_17)
target_link_libraries(virel_import_mime PUBLIC PkgConfig::GMIME)

add_executable(virel-mime-dump ${VIREL_IMPORT_DIR}/mime_dump.cc)
target_link_libraries(virel-mime-dump PRIVATE virel_import_mime nlohmann_json::nlohmann_json)

if(VIREL_BUILD_TESTS)
  find_package(GTest REQUIRED)
  include(GoogleTest)
  add_executable(virel_mime_tests ${VIREL_IMPORT_DIR}/tests/mime_reader_test.cc
                                  ${VIREL_IMPORT_DIR}/tests/mime_decode_test.cc)
  target_link_libraries(virel_mime_tests PRIVATE virel_import_mime GTest::gtest_main)
  gtest_discover_tests(virel_mime_tests DISCOVERY_TIMEOUT 60)

  # Python's own test messages, decoded by Python's email package, against
  # what virel-import writes of them, read back with the project's reader
  # (virel_mailbox_dump is defined in tools/import/CMakeLists.txt).
  # Then ours, which hold what the file stores in its own way: one-letter
  # texts, a 3-byte HTML body, an empty attachment, a body that is moved.
  find_package(Python3 COMPONENTS Interpreter)
  if(Python3_FOUND)
    set(VIREL_EMAIL_COMPARE ${Python3_EXECUTABLE} ${VIREL_IMPORT_DIR}/tests/compare_email.py
                            --import $<TARGET_FILE:virel-import>
                            --mailbox-dump $<TARGET_FILE:virel_mailbox_dump>)
    add_test(NAME mime_matches_python_email COMMAND ${VIREL_EMAIL_COMPARE})
    add_test(NAME mime_matches_python_email_samples
             COMMAND ${VIREL_EMAIL_COMPARE} --data-dir ${VIREL_IMPORT_DIR}/tests/mail_data)
    set_tests_properties(mime_matches_python_email PROPERTIES SKIP_RETURN_CODE 77)
  endif()
endif()
