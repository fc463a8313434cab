# Compiler and linker flags of every target: link against `project_flags`.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

add_library(project_flags INTERFACE)
target_compile_options(project_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wformat=2 -Wnon-virtual-dtor
  -Wold-style-cast -Woverloaded-virtual -Wnull-dereference -Wduplicated-cond -Wlogical-op
  -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # gcc 12 sees overlapping copies in any optimised `text + "literal"` (its bug 105329).
  target_compile_options(project_flags INTERFACE -Wno-restrict)
endif()
target_compile_definitions(project_flags INTERFACE _GNU_SOURCE CURRENTCONN_VERSION="${PROJECT_VERSION}")
target_link_options(project_flags INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--as-needed)

if(CURRENTCONN_SANITIZE)
  # In instrumented code gcc 12 reports uninitialised members in the standard library; the release build keeps the
  # warning.
  target_compile_options(project_flags INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer -O0 -g1 -Wno-maybe-uninitialized)
  define_property(TARGET PROPERTY CURRENTCONN_TEST_CODE INITIALIZE_FROM_VARIABLE CURRENTCONN_TEST_CODE)
  # The tests' own code, mostly matchers from headers, is the bulk of this build. It omits the checks that would make it
  # three times as long; the tested code has them all.
  target_compile_options(project_flags INTERFACE
    $<$<BOOL:$<TARGET_PROPERTY:CURRENTCONN_TEST_CODE>>:-fno-sanitize=alignment,null,vptr>)
  target_link_options(project_flags INTERFACE -fsanitize=address,undefined)
elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
  target_compile_options(project_flags INTERFACE
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection -fcf-protection)
endif()
