# Warnings and hardening that every target of ours takes from one place: link to qv::rules.
add_library(qv_rules INTERFACE)
add_library(qv::rules ALIAS qv_rules)
target_compile_definitions(qv_rules INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601
                                              _CRT_SECURE_NO_WARNINGS)

if(MSVC)
  target_compile_options(qv_rules INTERFACE /W4 /WX /utf-8 /permissive-)
  target_link_options(qv_rules INTERFACE /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT)
else()
  target_compile_options(
    qv_rules INTERFACE $<$<COMPILE_LANGUAGE:C,CXX>:-Wall -Wextra -Wshadow -Wformat=2 -Wundef -Werror>
                       $<$<COMPILE_LANGUAGE:CXX>:-Wconversion -Wsign-conversion -Wnon-virtual-dtor>)
  # Two builds of one tree are equal byte for byte: no date in a file, and no folder of the build's.
  target_compile_options(qv_rules INTERFACE $<$<COMPILE_LANGUAGE:C,CXX>:-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=>)
  target_link_options(qv_rules INTERFACE -Wl,--no-insert-timestamp)
  target_link_options(qv_rules INTERFACE -static -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat
                                         $<$<CONFIG:Release>:-s>)
endif()

if(MINGW AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # Two builds' PDBs are equal too, though compiler and linker write their whole commands into them: there the tree is
  # called "source", and the file names are those of the archive of sources that a release has.
  file(CREATE_LINK ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/source SYMBOLIC)
  set(without_folders ${CMAKE_CURRENT_LIST_DIR}/without-folders ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
  foreach(language IN ITEMS C CXX)
    set(CMAKE_${language}_COMPILER_LAUNCHER ${without_folders})
    set(CMAKE_${language}_LINKER_LAUNCHER ${without_folders})
  endforeach()
  set(archive /qvjvm-${PROJECT_VERSION})
  target_compile_options(
    qv_rules INTERFACE $<$<COMPILE_LANGUAGE:C,CXX>:-g -gcodeview -ffile-compilation-dir=.
                       -fdebug-prefix-map=${PROJECT_SOURCE_DIR}/=${archive}/>)
  target_link_options(qv_rules INTERFACE -pthread)  # which g++'s own library wants
endif()

# What only the product's own code gets: counters and traps stay out of the test frameworks.
add_library(qv_product INTERFACE)
add_library(qv::product ALIAS qv_product)
target_link_libraries(qv_product INTERFACE qv_rules)
if(QV_COVERAGE)
  target_compile_options(qv_product INTERFACE $<$<COMPILE_LANGUAGE:C,CXX>:--coverage -fprofile-update=atomic -O0>)
  target_link_options(qv_product INTERFACE --coverage)
endif()
if(QV_SANITIZE)
  target_compile_options(
    qv_product INTERFACE $<$<COMPILE_LANGUAGE:C,CXX>:-fsanitize=undefined -fsanitize-undefined-trap-on-error
                         -fstack-protector-strong>)
  target_link_options(qv_product INTERFACE -fstack-protector-strong)  # brings the library that ends the process
endif()

# For the targets of a folder that need no speed, tools and tests: compiling them is half of what ./test does. At this
# level g++ 12 sees short texts copied out of their bounds, or over themselves, which nobody does.
macro(qv_compile_quickly)
  if(NOT MSVC)
    add_compile_options($<$<CONFIG:Release>:-O1>)
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-array-bounds -Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread)
  endif()
endmacro()
