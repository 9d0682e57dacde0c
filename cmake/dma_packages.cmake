# find_package with a message that names the Debian package and the script that installs it.
macro(dma_require_package name debian_package)
  find_package(${name} ${ARGN} QUIET)
  if(NOT ${name}_FOUND)
    message(FATAL_ERROR
      "${name} was not found. On Debian it comes with the package ${debian_package}; "
      "scripts/install-deps installs it with everything else that the build needs.")
  endif()
endmacro()
