# Flags shared by the libraries, tests and benchmarks.
#
# -ffp-contract=off: the compiler must not fuse a*b+c behind our back; results
# of float paths are part of the contract. FMA is used only where written.
set(NYX_ISA_FLAGS -march=haswell -mtune=generic)
set(NYX_COMMON_FLAGS ${NYX_ISA_FLAGS} -ffp-contract=off -fno-strict-aliasing
    -Wall -Wextra -Werror -Wno-unused-parameter)

# Library code: no exceptions, RTTI or thread-safe statics, so that nothing
# from libstdc++ or libgcc_s is needed at run time.
set(NYX_LIB_FLAGS ${NYX_COMMON_FLAGS} -fvisibility=hidden -fvisibility-inlines-hidden
    -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-plt
    -Wmissing-declarations)

if(NYX_SANITIZE)
  set(NYX_SAN_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=undefined
      -fno-omit-frame-pointer)
  add_compile_options(${NYX_SAN_FLAGS})
  add_link_options(${NYX_SAN_FLAGS})
endif()

# Turns a list file (one name a line, '#' comments) into a linker version script.
function(nyx_version_script list_file out_file version_node)
  file(STRINGS ${list_file} names REGEX "^[A-Za-z_]")
  set(body "${version_node} {\n  global:\n")
  foreach(n IN LISTS names)
    string(STRIP "${n}" n)
    string(APPEND body "    ${n};\n")
  endforeach()
  string(APPEND body "  local:\n    *;\n};\n")
  file(CONFIGURE OUTPUT ${out_file} CONTENT "${body}")
  set_property(DIRECTORY ${CMAKE_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list_file})
endfunction()
