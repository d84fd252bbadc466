# How bgpcomm_core is linked: with the shared library and the shared
# decompressors for the tests, benchmarks and fuzz targets, which also link
# the library themselves; with the static library and, where Debian ships
# them, the decompressors' static archives for the bgpcomm program, whose
# start-up is most of its time on a small file.
#
#   target_link_libraries(bgpcomm_core PUBLIC ${BGPCOMM_LINKS})
#   bgpcomm_link_static(bgpcomm)
#
# Which form a program gets is its BGPCOMM_STATIC property, read when it is
# linked. isa-l has no static archive in Debian: it stays shared.

pkg_check_modules(BGPCOMM_ISAL REQUIRED IMPORTED_TARGET libisal)

set(bgpcomm_archives "")
foreach(name IN ITEMS z lzma zstd)
   find_library(BGPCOMM_${name}_ARCHIVE NAMES lib${name}.a)
   if(NOT BGPCOMM_${name}_ARCHIVE)
      set(bgpcomm_archives "")
      break()
   endif()
   list(APPEND bgpcomm_archives "${BGPCOMM_${name}_ARCHIVE}")
endforeach()
if(NOT bgpcomm_archives)
   set(bgpcomm_archives ZLIB::ZLIB PkgConfig::BGPCOMM_INFLATE)
endif()

set(bgpcomm_static "$<BOOL:$<TARGET_PROPERTY:BGPCOMM_STATIC>>")
set(BGPCOMM_LINKS
   "$<IF:${bgpcomm_static},OvBgpCommunityStatic,OvBgpCommunity>"
   "$<${bgpcomm_static}:${bgpcomm_archives};PkgConfig::BGPCOMM_ISAL;Threads::Threads>"
   "$<$<NOT:${bgpcomm_static}>:ZLIB::ZLIB;PkgConfig::BGPCOMM_INFLATE>")

# bgpcomm_link_static(<target>): the program links everything it can
# statically, the C++ runtime too unless a sanitizer (which must see every
# allocation through the shared runtime) is built in.
function(bgpcomm_link_static target)
   set_target_properties(${target} PROPERTIES BGPCOMM_STATIC ON)
   target_link_options(${target} PRIVATE "LINKER:-O1,--hash-style=gnu,--as-needed")
   if(NOT OVBGP_SANITIZE AND NOT OVBGP_FUZZ)
      target_link_options(${target} PRIVATE -static-libstdc++ -static-libgcc)
   endif()
endfunction()
