# What every target of the project shares: warnings, and the one way to declare a folder's library.

add_library(orrery_options INTERFACE)
target_compile_options(orrery_options INTERFACE
  -Wall -Wextra -Wconversion -Werror
  # g++'s full -Wshadow refuses a constructor's parameter that bears its field's name, which is how we write.
  # g++ 12 warns of overlapping copies in its own std::string (its bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wsuggest-override;-Wshadow=local;-Wno-restrict>
  # The thread sanitizer of g++ warns of fences, which the network library uses; it sees their effect through
  # the atomics around them.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>
  $<$<CXX_COMPILER_ID:Clang>:-Wshadow;-Winconsistent-missing-override;-Wthread-safety;-Werror=thread-safety>)
target_include_directories(orrery_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(orrery_options INTERFACE Threads::Threads)

# orrery_library(NAME SOURCES file... [PUBLIC target...] [PRIVATE target...])
# A static library for one folder; headers are included from the root of src/.
function(orrery_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC orrery_options ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
endfunction()

# orrery_module(NAME SOURCES file... EXPORTS symbol... [PRIVATE target...])
# A library that is loaded at run time by its plain file name, NAME.so. What it needs lies beside it; it shows
# the named symbols and nothing else (a version script, as the standard library's templates escape hidden
# visibility).
function(orrery_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;EXPORTS;PRIVATE" ${ARGN})
  add_library(${name} MODULE ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES PREFIX "" BUILD_RPATH "$ORIGIN" INSTALL_RPATH "$ORIGIN")
  target_link_libraries(${name} PRIVATE orrery_options ${ARG_PRIVATE})
  target_link_options(${name} PRIVATE LINKER:--exclude-libs,ALL LINKER:--enable-new-dtags)
  if(ARG_EXPORTS)
    list(JOIN ARG_EXPORTS "; " exports)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${name}.map)
    file(CONFIGURE OUTPUT ${script} CONTENT "{ global: ${exports}; local: *; };\n")
    target_link_options(${name} PRIVATE LINKER:--version-script=${script})
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${script})
  endif()
endfunction()
