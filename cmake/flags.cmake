# Compiler and linker flags of every target: link against `project_flags`.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

add_library(project_flags INTERFACE)
target_compile_options(project_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wformat=2 -Wnon-virtual-dtor
  -Wold-style-cast -Woverloaded-virtual -Wnull-dereference -Wduplicated-cond -Wlogical-op -Werror
  -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # gcc 12 sees overlapping copies in any optimised `text + "literal"` (its bug 105329).
  target_compile_options(project_flags INTERFACE -Wno-restrict)
endif()
target_compile_definitions(project_flags INTERFACE _GNU_SOURCE CURRENTCONN_VERSION="${PROJECT_VERSION}")
target_link_options(project_flags INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--as-needed)

if(CURRENTCONN_SANITIZE)
  # Instrumented code makes gcc 12 see uninitialised members in the standard library; the release build still looks.
  target_compile_options(project_flags INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer -O1 -Wno-maybe-uninitialized)
  target_link_options(project_flags INTERFACE -fsanitize=address,undefined)
elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
  target_compile_options(project_flags INTERFACE
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection -fcf-protection)
endif()
