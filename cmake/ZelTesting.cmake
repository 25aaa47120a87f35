# GoogleTest from the Debian source package, built with our flags.
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
if(NOT TARGET gtest)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
endif()
include(GoogleTest)

# zel_add_test_executable(name SOURCES... LIBS... [ANY_WIRE] [LOCK name]):
# one executable per subsystem; every test is its own CTest entry with a
# timeout. Suites run on the in-process wire, whose timing they may rely
# on, also when run by hand, unless ANY_WIRE says that they choose their
# wire themselves. Tests
# that hold the same LOCK never run at the same time.
function(zel_add_test_executable name)
  cmake_parse_arguments(ARG "ANY_WIRE" "TIMEOUT;LOCK" "SOURCES;LIBS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  if(NOT ARG_ANY_WIRE)
    list(APPEND ARG_SOURCES ${PROJECT_SOURCE_DIR}/tests/support/loopback_wire_default.cpp)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  zel_target_warnings(${name})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gtest_main GTest::gmock)
  set(properties TIMEOUT ${ARG_TIMEOUT})
  if(ARG_LOCK)
    list(APPEND properties RESOURCE_LOCK ${ARG_LOCK})
  endif()
  # A cross build lists a program's tests when CTest runs, under the
  # emulator, rather than after every link.
  set(discovery "")
  if(CMAKE_CROSSCOMPILING)
    set(discovery DISCOVERY_MODE PRE_TEST)
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120 ${discovery} PROPERTIES ${properties})
endfunction()
