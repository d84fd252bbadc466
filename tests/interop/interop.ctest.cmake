# The check against other BGP implementations: GoBGP writes a table dump of
# routes carrying every community kind it can set, and bgpcomm's reading of
# it must match GoBGP's own RIB and bgpdump's reading. Needs gobgpd and
# bgpdump (installed by the driver when missing and run as root); it waits
# for GoBGP's once-a-minute dump, hence the generous timeout.
if(TARGET bgpcomm)
   ovbgp_add_script_test(NAME interop.gobgp_table_dump
      COMMAND /usr/bin/python3 "${CMAKE_SOURCE_DIR}/tests/interop/gobgp_interop.py"
              --bgpcomm "$<TARGET_FILE:bgpcomm>"
      LABELS interop
      TIMEOUT 420)
   set_tests_properties(interop.gobgp_table_dump PROPERTIES SKIP_RETURN_CODE 77)
endif()

# `bgpcomm mrt --bgpdump` against Debian's `bgpdump -m -l`, line for line, on
# the real dumps of ../shared/mrt, the hand-written RFC records and a
# generated dump; and the interned community lists against bgpdump's fields.
if(TARGET bgpcomm)
   ovbgp_add_script_test(NAME interop.bgpdump_lines
      COMMAND /usr/bin/python3 "${CMAKE_SOURCE_DIR}/tests/interop/bgpdump_interop.py"
              --bgpcomm "$<TARGET_FILE:bgpcomm>"
      LABELS interop
      TIMEOUT 300)
   set_tests_properties(interop.bgpdump_lines PROPERTIES SKIP_RETURN_CODE 77)
endif()
