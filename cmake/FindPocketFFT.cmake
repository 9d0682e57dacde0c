# Finds the header-only pocketfft (pocketfft_hdronly.h).
#
# PocketFFT_FOUND, target PocketFFT::PocketFFT. -DPOCKETFFT_INCLUDE_DIR=DIR names the folder of the header.
# The usual include folders come first; Debian has the header inside gemmi-dev.
find_path(POCKETFFT_INCLUDE_DIR
  NAMES pocketfft_hdronly.h
  PATH_SUFFIXES pocketfft gemmi/third_party
  DOC "Folder of pocketfft_hdronly.h")
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(PocketFFT REQUIRED_VARS POCKETFFT_INCLUDE_DIR)
mark_as_advanced(POCKETFFT_INCLUDE_DIR)
if(PocketFFT_FOUND AND NOT TARGET PocketFFT::PocketFFT)
  add_library(PocketFFT::PocketFFT INTERFACE IMPORTED)
  set_target_properties(PocketFFT::PocketFFT PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${POCKETFFT_INCLUDE_DIR}"
    INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${POCKETFFT_INCLUDE_DIR}")
endif()
