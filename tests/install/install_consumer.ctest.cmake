# install_consumer: installs this build into a scratch prefix and builds a
# small program against it, once through the CMake package and once through
# pkg-config. Programs built with sanitizers need the same flags to link.
list(JOIN OVBGP_SANITIZE_FLAGS " " ovbgp_consumer_flags)
ovbgp_add_script_test(NAME install_consumer
   COMMAND bash "${CMAKE_CURRENT_LIST_DIR}/check-install"
           "${PROJECT_BINARY_DIR}" "${CMAKE_CXX_COMPILER}" "${ovbgp_consumer_flags}"
   LABELS unit
   TIMEOUT 600)
