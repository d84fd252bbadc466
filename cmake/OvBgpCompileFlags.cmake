# Warnings and sanitizer flags for every target of the build.
#
# Sets OVBGP_SANITIZE_FLAGS: the flags that a program linking our libraries
# from outside this build needs too (the install check passes them on).

add_compile_options(-Wall -Wextra)
if(OVBGP_WERROR)
   add_compile_options(-Werror)
endif()

set(OVBGP_SANITIZE_FLAGS "")
if(OVBGP_SANITIZE)
   set(known address undefined thread leak)
   foreach(s IN LISTS OVBGP_SANITIZE)
      if(NOT s IN_LIST known)
         message(FATAL_ERROR "OVBGP_SANITIZE: unknown sanitizer '${s}' (use \"address;undefined\" or \"thread\")")
      endif()
   endforeach()
   if("thread" IN_LIST OVBGP_SANITIZE AND "address" IN_LIST OVBGP_SANITIZE)
      message(FATAL_ERROR "OVBGP_SANITIZE: thread and address cannot be combined")
   endif()
   list(JOIN OVBGP_SANITIZE "," joined)
   list(APPEND OVBGP_SANITIZE_FLAGS "-fsanitize=${joined}" -fno-omit-frame-pointer)
   if("undefined" IN_LIST OVBGP_SANITIZE)
      list(APPEND OVBGP_SANITIZE_FLAGS -fno-sanitize-recover=all)
   endif()
endif()

if(OVBGP_FUZZ)
   if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
      message(FATAL_ERROR "OVBGP_FUZZ needs clang (configure with -DCMAKE_CXX_COMPILER=clang++)")
   endif()
   if("thread" IN_LIST OVBGP_SANITIZE)
      message(FATAL_ERROR "OVBGP_FUZZ cannot be combined with OVBGP_SANITIZE=thread")
   endif()
   # Coverage instrumentation everywhere so that the fuzzer sees inside the
   # library; the fuzzer's main() is linked into the fuzz targets only.
   list(APPEND OVBGP_SANITIZE_FLAGS -fsanitize=fuzzer-no-link)
   if(NOT "address" IN_LIST OVBGP_SANITIZE)
      list(APPEND OVBGP_SANITIZE_FLAGS -fsanitize=address -fno-omit-frame-pointer)
   endif()
endif()

if(OVBGP_SANITIZE_FLAGS)
   add_compile_options(${OVBGP_SANITIZE_FLAGS})
   add_link_options(${OVBGP_SANITIZE_FLAGS})
   # Sanitizer reports need file and line, not variables: line tables make
   # these builds (two of the three in CI) noticeably cheaper.
   if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
      add_compile_options($<$<CONFIG:RelWithDebInfo>:-gline-tables-only>)
   else()
      add_compile_options($<$<CONFIG:RelWithDebInfo>:-g1>)
   endif()
endif()
