# For scripts that compile many small sources: compiles what they have in common once. Sets `out` to the options that use it.
# Usage: qv_precompile(out FILE TEXT COMPILER ARGUMENT...), FILE being written with TEXT
function(qv_precompile out file text compiler)
  file(WRITE ${file} "${text}")
  set(precompiled ${file}.gch)
  set(use -include ${file})
  if(compiler MATCHES "clang")
    set(precompiled ${file}.pch)
    set(use -include-pch ${precompiled})
  endif()
  execute_process(COMMAND ${compiler} ${ARGN} -x c++-header -o ${precompiled} ${file} COMMAND_ERROR_IS_FATAL ANY)
  set(${out} ${use} PARENT_SCOPE)
endfunction()
