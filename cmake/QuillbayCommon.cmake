# Compile flags shared by every target of the project, kept on one INTERFACE target.
add_library(quillbay_common INTERFACE)
target_compile_features(quillbay_common INTERFACE cxx_std_20)
target_compile_definitions(quillbay_common INTERFACE
  QT_NO_CAST_FROM_ASCII
  QT_NO_CAST_TO_ASCII
  QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
  QT_NO_URL_CAST_FROM_STRING
  QT_NO_FOREACH
  QUILLBAY_VERSION="${PROJECT_VERSION}")
target_compile_options(quillbay_common INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wold-style-cast -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
  -Wcast-align -Wimplicit-fallthrough)

if(QUILLBAY_SANITIZE)
  target_compile_options(quillbay_common INTERFACE -fsanitize=address,undefined -fno-omit-frame-pointer
                         -fno-sanitize-recover=undefined)
  target_link_options(quillbay_common INTERFACE -fsanitize=address,undefined)
endif()

if(QUILLBAY_TSAN)
  target_compile_options(quillbay_common INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
  target_link_options(quillbay_common INTERFACE -fsanitize=thread)
endif()

# The fuzz build instruments every library for libFuzzer's coverage (clang only).
if(QUILLBAY_FUZZ)
  target_compile_options(quillbay_common INTERFACE -fsanitize=fuzzer-no-link,address,undefined
                         -fno-omit-frame-pointer)
  target_link_options(quillbay_common INTERFACE -fsanitize=address,undefined)
endif()

# quillbay_add_library(<name> [GUI] SOURCES ... LIBS ...)
# A subsystem library; a GUI library is skipped when the windows are not built.
function(quillbay_add_library name)
  cmake_parse_arguments(ARG "GUI" "" "SOURCES;LIBS;RESOURCES" ${ARGN})
  if(ARG_GUI AND NOT QUILLBAY_GUI)
    return()
  endif()
  add_library(${name} STATIC ${ARG_SOURCES} ${ARG_RESOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC quillbay_common ${ARG_LIBS})
endfunction()

# quillbay_add_test(<name> [GUI] SOURCES ... LIBS ... [TIMEOUT seconds] [LABELS ...])
# One QtTest executable per test class, run by ctest with a fixed locale, an offscreen
# display and the path of the shared sample files.
function(quillbay_add_test name)
  cmake_parse_arguments(ARG "GUI" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  if(ARG_GUI AND NOT QUILLBAY_GUI)
    return()
  endif()
  add_executable(tst_${name} ${ARG_SOURCES})
  target_link_libraries(tst_${name} PRIVATE quillbay_test_support Qt6::Test ${ARG_LIBS})
  add_test(NAME ${name} COMMAND tst_${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  get_filename_component(fixtures "${PROJECT_SOURCE_DIR}/../shared/fixtures" ABSOLUTE)
  set_tests_properties(${name} PROPERTIES
    TIMEOUT ${ARG_TIMEOUT}
    LABELS "${ARG_LABELS}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LANG=C.UTF-8;LC_ALL=C.UTF-8;TZ=UTC;QUILLBAY_FIXTURES=${fixtures};QUILLBAY_SOURCE_DIR=${PROJECT_SOURCE_DIR};ASAN_OPTIONS=detect_leaks=0")
endfunction()
