# The warning and sanitizer flags that every target of the project is built with.
add_library(brindlemux_flags INTERFACE)
target_compile_options(brindlemux_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-align $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond$<SEMICOLON>-Wlogical-op>
  -Wnull-dereference -Wformat=2
  # The server's macros are full of them.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-statement-expression>
  # Designated initializers leave out what keeps its default.
  -Wno-missing-field-initializers
  # A product and its sum are rounded separately, whatever the target processor can fuse.
  -ffp-contract=off)
if(BRINDLEMUX_WERROR)
  target_compile_options(brindlemux_flags INTERFACE -Werror)
endif()
if(BRINDLEMUX_SANITIZE)
  # The analyses of null pointers and of uninitialised values misfire on instrumented code.
  target_compile_options(brindlemux_flags INTERFACE
    -fsanitize=${BRINDLEMUX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -Wno-null-dereference
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(brindlemux_flags INTERFACE -fsanitize=${BRINDLEMUX_SANITIZE})
endif()
if(BRINDLEMUX_LIBFUZZER)
  target_compile_options(brindlemux_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
