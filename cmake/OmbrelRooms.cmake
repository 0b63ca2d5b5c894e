# A room is one library made of every source below src/<name>; it links only the rooms named, so
# an include against the arrows does not even compile into a program.
function(ombrel_room name)
  cmake_parse_arguments(ROOM "" "" "ROOMS;LIBRARIES" ${ARGN})
  string(TOLOWER ${name} lower)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${name}/*.cpp
       ${CMAKE_SOURCE_DIR}/src/${name}/*.h)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(ombrel_${lower} STATIC ${sources})
  target_include_directories(ombrel_${lower} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  set_target_properties(ombrel_${lower} PROPERTIES LINKER_LANGUAGE CXX)
  foreach(room ${ROOM_ROOMS})
    string(TOLOWER ${room} roomLower)
    target_link_libraries(ombrel_${lower} PUBLIC ombrel_${roomLower})
  endforeach()
  target_link_libraries(ombrel_${lower} PUBLIC ${ROOM_LIBRARIES} PRIVATE ombrel_compile)
endfunction()

# Tests of one room: every tests/<name>/*Test.cpp in one program, listed one by one to ctest.
function(ombrel_tests name)
  cmake_parse_arguments(TESTS "" "LABEL;TIMEOUT" "ROOMS;LIBRARIES;LAUNCHER" ${ARGN})
  string(TOLOWER ${name} lower)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/${name}/*.cpp
       ${CMAKE_SOURCE_DIR}/tests/${name}/*.h)
  if(NOT sources)
    return()
  endif()
  add_executable(${lower}_tests ${sources})
  target_include_directories(${lower}_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  foreach(room ${TESTS_ROOMS})
    string(TOLOWER ${room} roomLower)
    target_link_libraries(${lower}_tests PRIVATE ombrel_${roomLower})
  endforeach()
  target_link_libraries(${lower}_tests PRIVATE ${TESTS_LIBRARIES} GTest::gtest_main ombrel_compile)
  target_compile_definitions(
    ${lower}_tests PRIVATE OMBREL_TEST_DATA="${CMAKE_SOURCE_DIR}/tests/data"
                           OMBREL_TEST_GOLDEN="${CMAKE_SOURCE_DIR}/tests/golden"
                           OMBREL_DOCS="${CMAKE_SOURCE_DIR}/docs"
                           OMBREL_CORPUS="${CMAKE_SOURCE_DIR}/../shared/corpus")
  if(NOT TESTS_LABEL)
    set(TESTS_LABEL unit)
  endif()
  if(NOT TESTS_TIMEOUT)
    set(TESTS_TIMEOUT 300)
  endif()
  if(TESTS_LAUNCHER)
    # As a whole: what it is started under costs more than the tests.
    add_test(NAME ${lower}_tests COMMAND ${TESTS_LAUNCHER} $<TARGET_FILE:${lower}_tests>)
    set_tests_properties(${lower}_tests PROPERTIES LABELS ${TESTS_LABEL} TIMEOUT ${TESTS_TIMEOUT})
    return()
  endif()
  include(GoogleTest)
  gtest_discover_tests(${lower}_tests DISCOVERY_MODE PRE_TEST
                       PROPERTIES LABELS ${TESTS_LABEL} TIMEOUT ${TESTS_TIMEOUT})
endfunction()
