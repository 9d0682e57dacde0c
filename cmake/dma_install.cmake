include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(dma_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/dma_demod")

install(TARGETS dma_demod EXPORT dma_demodTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/dma_demod")
# stage/ is what the demodulators share among themselves; it is not part of the interface.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/source/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/dma_demod"
  FILES_MATCHING PATTERN "*.h"
  PATTERN "stage" EXCLUDE
  PATTERN "internal" EXCLUDE
  PATTERN "clamp_value.h" EXCLUDE
  PATTERN "log_macro.h" EXCLUDE
  PATTERN "reference_constellation.h" EXCLUDE
  PATTERN "channel_power.h" EXCLUDE
  PATTERN "run_in.h" EXCLUDE)
install(EXPORT dma_demodTargets NAMESPACE dma_demod:: DESTINATION "${dma_package_dir}")
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/dma_demodConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/dma_demodConfig.cmake" INSTALL_DESTINATION "${dma_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/dma_demodConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/dma_demodConfig.cmake" "${PROJECT_BINARY_DIR}/dma_demodConfigVersion.cmake"
  DESTINATION "${dma_package_dir}")
if(TARGET dmatool)
  install(TARGETS dmatool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
