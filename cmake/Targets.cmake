# What every target of the project shares. Nothing here is set globally, so that a parent project's targets
# are left alone.

function(cds_configure_target target)
  target_compile_features(${target} PUBLIC cxx_std_23)
  # Programs lie in bin/ beside share/, as they do once installed: they find their resources the same way.
  set_target_properties(
    ${target} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON
                         RUNTIME_OUTPUT_DIRECTORY "${CoreDataStack_BINARY_DIR}/bin")
  # The progress and intensity of a check-in depend on the rules of NaN.
  target_compile_options(${target} PRIVATE -fno-fast-math)
  if(COREDATASTACK_WARNINGS)
    target_compile_options(
      ${target}
      PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
              -Wimplicit-fallthrough -Wundef
              # One meaning of -Wconversion under both compilers; and the standard library's own use of what it
              # deprecates (in std::stable_sort) is not ours to mend: g++ reports what is.
              $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion> $<$<CXX_COMPILER_ID:Clang>:-Wno-deprecated-declarations>
              # GCC 12 sees overlaps in "text" + string that are not there (its bug 105651).
              $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
              # A source that is one of a batch looks like a header to it.
              $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wno-subobject-linkage>)
  endif()
  if(COREDATASTACK_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(COREDATASTACK_SANITIZE)
    target_compile_options(${target} PUBLIC -fsanitize=${COREDATASTACK_SANITIZE}
                                            -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(${target} PUBLIC -fsanitize=${COREDATASTACK_SANITIZE})
  endif()
  if(COREDATASTACK_BUILD_FUZZERS)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
  if(COREDATASTACK_COVERAGE)
    # Tests too: of a header's function the linker keeps one copy, whoever compiled it. Relocated counters lie in the
    # file that they end up in: processes that are killed count as well.
    target_compile_options(${target} PRIVATE -fprofile-instr-generate -fcoverage-mapping
                                             "SHELL:-mllvm -runtime-counter-relocation")
    target_link_options(${target} PUBLIC -fprofile-instr-generate)
  endif()
endfunction()

# cds_add_library(<name> SOURCES <file>... [PUBLIC <target>...] [PRIVATE <target>...])
# One folder, one static library; headers are included from the module root. Without sources it is the headers alone.
function(cds_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  if(ARG_SOURCES)
    add_library(${name} ${ARG_SOURCES})
    set(scope PUBLIC)
    cds_configure_target(${name})
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
  else()
    add_library(${name} INTERFACE)
    set(scope INTERFACE)
    target_compile_features(${name} INTERFACE cxx_std_23)
    target_link_libraries(${name} INTERFACE ${ARG_PUBLIC} ${ARG_PRIVATE})
  endif()
  add_library(CoreDataStack::${name} ALIAS ${name})
  target_include_directories(
    ${name}
    ${scope} $<BUILD_INTERFACE:${CoreDataStack_SOURCE_DIR}>
             $<BUILD_INTERFACE:${CoreDataStack_SOURCE_DIR}/Platform>
             $<BUILD_INTERFACE:${CoreDataStack_SOURCE_DIR}/Packages>
             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/CoreDataStack>)
  set_property(GLOBAL APPEND PROPERTY CDS_LIBRARIES ${name})
endfunction()

# cds_add_umbrella(<name>)
# One target that stands for every library declared so far.
function(cds_add_umbrella name)
  if(NOT TARGET ${name})
    get_property(libraries GLOBAL PROPERTY CDS_LIBRARIES)
    cds_add_library(${name} PUBLIC ${libraries})
  endif()
endfunction()

# cds_add_tool(<name> SOURCES <file>... LIBRARIES <target>...)
# A program that is installed beside the library.
function(cds_add_tool name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  cds_configure_target(${name})
  target_include_directories(${name} PRIVATE ${CoreDataStack_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES})
  set_property(GLOBAL APPEND PROPERTY CDS_TOOLS ${name})
endfunction()

# Where branches are counted, a test and the programs that it starts have files of their own: the runtime tells programs
# apart by a number that two with the same libraries share.
function(_cds_name_profiles test)
  if(COREDATASTACK_COVERAGE)
    set_property(
      TEST ${test} APPEND
      PROPERTY ENVIRONMENT "LLVM_PROFILE_FILE=${CoreDataStack_BINARY_DIR}/profiles/${test}-%c%m.profraw")
  endif()
endfunction()

# cds_add_test(<name> [FULL] [BUSY] [TIMEOUT <seconds>] SOURCES <file>... LIBRARIES <target>...)
# Tests are quick unless FULL is given; ctest -L quick runs the first tier alone. BUSY is for those whose own code takes
# much of their time.
function(cds_add_test name)
  cmake_parse_arguments(ARG "FULL;BUSY" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  cds_configure_target(${name})
  target_include_directories(${name} PRIVATE ${CoreDataStack_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} GTest::gtest GTest::gmock GTest::gtest_main)
  if(NOT COREDATASTACK_OPTIMIZE_TESTS AND NOT ARG_BUSY)
    # What takes time when they run lies in the libraries; the tests themselves compile in two thirds of the time.
    target_compile_options(${name} PRIVATE -O0)
  endif()
  set(label quick)
  if(ARG_FULL)
    set(label full)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS ${label} TIMEOUT ${ARG_TIMEOUT})
  _cds_name_profiles(${name})
endfunction()

# cds_add_test_run(<test> <tier>... TIMEOUT <seconds> [FIRST] [FILTER <tests>] [ENVIRONMENT <variable=value>...])
# The program of a test once more, as <test>_<first tier>, with other settings and in later tiers. FIRST is for those that
# last a set time.
function(cds_add_test_run test)
  cmake_parse_arguments(ARG "FIRST" "TIMEOUT;FILTER" "ENVIRONMENT" ${ARGN})
  set(tiers ${ARG_UNPARSED_ARGUMENTS})
  list(GET tiers 0 first)
  set(name ${test}_${first})
  add_test(NAME ${name} COMMAND ${test} $<$<BOOL:${ARG_FILTER}>:--gtest_filter=${ARG_FILTER}> COMMAND_EXPAND_LISTS)
  # The long ones begin first, so that in the end none runs alone.
  set(cost ${ARG_TIMEOUT})
  if(ARG_FIRST)
    math(EXPR cost "${cost} + 10000")
  endif()
  set_tests_properties(${name} PROPERTIES LABELS "${tiers}" TIMEOUT ${ARG_TIMEOUT} COST ${cost}
                                          ENVIRONMENT "${ARG_ENVIRONMENT}")
  _cds_name_profiles(${name})
endfunction()

# cds_add_benchmark(<name> SOURCES <file>... LIBRARIES <target>...)
function(cds_add_benchmark name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  cds_configure_target(${name})
  target_include_directories(${name} PRIVATE ${CoreDataStack_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES})
endfunction()

# cds_add_fuzzer(<topic>_fuzzer SOURCES <file>... LIBRARIES <target>...)
# A libFuzzer program, with its seeds and former finds in Fuzz/corpus/<topic>. Where the fuzzers are not built it is a
# test instead that runs once over that folder.
function(cds_add_fuzzer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  cds_configure_target(${name})
  target_include_directories(${name} PRIVATE ${CoreDataStack_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES})
  if(COREDATASTACK_BUILD_FUZZERS)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    return()
  endif()
  target_sources(${name} PRIVATE ${CoreDataStack_SOURCE_DIR}/Fuzz/Replay.cpp)
  string(REGEX REPLACE "_fuzzer$" "" topic ${name})
  add_test(NAME ${topic}_corpus COMMAND ${name} ${CoreDataStack_SOURCE_DIR}/Fuzz/corpus/${topic})
  set_tests_properties(${topic}_corpus PROPERTIES LABELS quick TIMEOUT 60)
endfunction()
