# Finds a Rust that compiles for Windows: QV_RUSTC, empty when there is none. Debian's comes first, since what newer
# ones make does not start under Wine 8; nothing is kept, since a later set-up may bring it.
find_program(QV_RUSTC rustc PATHS /usr/bin NO_DEFAULT_PATH NO_CACHE)
find_program(QV_RUSTC rustc NO_CACHE)
set(QV_RUST_TARGET x86_64-pc-windows-gnu)
set(library "")
if(QV_RUSTC AND MINGW)
  execute_process(COMMAND ${QV_RUSTC} --print target-libdir --target ${QV_RUST_TARGET} OUTPUT_VARIABLE library
                  OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
if(NOT EXISTS "${library}")
  message(STATUS "there is no Rust for Windows here, as on Debian 13: nothing in Rust is built")
  set(QV_RUSTC "")
endif()
