# What `cmake --install` puts where: the library and the modules that it loads, its public headers in the layout of
# Sources, the tool, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS OrvexPDF EXPORT OrvexPDFTargets)
get_property(modules GLOBAL PROPERTY ORVEX_MODULES)
set_target_properties(${modules} PROPERTIES INSTALL_RPATH "$ORIGIN/..")
install(TARGETS ${modules} DESTINATION ${CMAKE_INSTALL_LIBDIR}/orvexpdf)
if(TARGET orvexpdf)
    set_target_properties(orvexpdf PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    install(TARGETS orvexpdf)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Sources/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvexpdf
    FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/OrvexPDF)
install(EXPORT OrvexPDFTargets NAMESPACE OrvexPDF:: DESTINATION ${package_folder})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/OrvexPDFConfig.cmake.in
    ${PROJECT_BINARY_DIR}/OrvexPDFConfig.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrvexPDFConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OrvexPDFConfig.cmake ${PROJECT_BINARY_DIR}/OrvexPDFConfigVersion.cmake
    DESTINATION ${package_folder})

# Relative to the .pc file, so that an installed copy may be moved.
file(RELATIVE_PATH ORVEX_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/orvexpdf.pc.in ${PROJECT_BINARY_DIR}/orvexpdf.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvexpdf.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
