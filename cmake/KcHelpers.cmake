# kc_add_test(<name> SOURCES <files...> LIBS <targets...>)
# One GoogleTest program; each of its tests becomes one CTest test, listed when
# CTest runs (not at build time), so tests run in separate processes and in
# parallel.
function(kc_add_test name)
  cmake_parse_arguments(KT "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${KT_SOURCES})
  target_link_libraries(${name} PRIVATE ${KT_LIBS} kc_test_support GTest::gtest GTest::gtest_main)
  # Parameterised tests carry their own names (suffixes such as /Host2014_0),
  # so the printed parameter is left out of the CTest name.
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES
                       PROPERTIES TIMEOUT 300)
endfunction()
