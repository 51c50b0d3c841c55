# Calls that tests have made to fail are compared with all calls of a library that can fail.

# Lets the tests named write down what they refuse, and compares. `services` is the header of the
# services that count too, or empty.
function(kelvo_compare_failed_sites library services)
  set(directory ${CMAKE_CURRENT_BINARY_DIR}/failed_sites_of_${library})
  file(MAKE_DIRECTORY ${directory})
  set_property(TEST ${ARGN} APPEND PROPERTY ENVIRONMENT KELVO_FAILED_SITES=${directory})
  set_property(TEST ${ARGN} APPEND PROPERTY FIXTURES_SETUP failed_sites_of_${library})
  # A sanitizer's build asks for memory in other places.
  if(NOT KELVO_SANITIZE AND NOT KELVO_COVERAGE)
    add_test(NAME every_call_of_${library}_has_failed
      COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/checks/failed_sites.py
      $<TARGET_FILE:${library}> ${directory} ${services})
    set_property(TEST every_call_of_${library}_has_failed APPEND PROPERTY
      FIXTURES_REQUIRED failed_sites_of_${library})
  endif()
endfunction()

set(every_failure_tests ${unit_tests})
list(FILTER every_failure_tests INCLUDE REGEX /every_failure_)
list(TRANSFORM every_failure_tests REPLACE ".*/(.*).cpp" "\\1")
kelvo_compare_failed_sites(kelvoutils ${PROJECT_SOURCE_DIR}/platform/include/kelvo_platform.h
  ${every_failure_tests})

set(platform_tests ${host_tests})
list(FILTER platform_tests INCLUDE REGEX /platform_)
list(TRANSFORM platform_tests REPLACE ".*/(.*).cpp" "\\1")
kelvo_compare_failed_sites(kelvo_platform "" ${platform_tests})
