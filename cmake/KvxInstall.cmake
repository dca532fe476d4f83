# What `cmake --install` puts where: the shared libraries, the headers a host needs, kvxim, the shipped
# material data, and the package files that let a host find it all (CMake package and pkg-config).
include(CMakePackageConfigHelpers)

set(KVX_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/kvximrules)
set(KVX_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/KVXIMRules)

# The libraries a host links or loads, with the interface targets that carry their headers.
set(kvx_installed_libraries KvxPlatform KorvexFrameWorku KVXCommonRulesu KVXDatabaseu KVXCLRMangedHelper KVXIMRulesu)
foreach(target IN LISTS kvx_installed_libraries ITEMS kvx_module_api KVXDatabaseInterface)
  target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${KVX_INSTALL_INCLUDEDIR}>)
endforeach()
install(TARGETS ${kvx_installed_libraries} kvx_module_api KVXDatabaseInterface
  EXPORT KVXIMRulesTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS kvxim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# Headers: the exports, the framework types they take (with the platform types those use) and the
# database interface.
install(DIRECTORY
  ${PROJECT_SOURCE_DIR}/module/exports/include/
  ${PROJECT_SOURCE_DIR}/host/framework/include/
  ${PROJECT_SOURCE_DIR}/platform/include/
  ${PROJECT_SOURCE_DIR}/host/database/include/
  DESTINATION ${KVX_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")

install(FILES ${PROJECT_SOURCE_DIR}/host/database/data/materials.csv
              ${PROJECT_SOURCE_DIR}/host/database/data/moulding-tolerances.csv
        DESTINATION ${CMAKE_INSTALL_DATADIR}/kvximrules)

# find_package(KVXIMRules CONFIG): imported targets KVXIMRules::<library>, KVXIMRules::kvx_module_api.
install(EXPORT KVXIMRulesTargets NAMESPACE KVXIMRules:: DESTINATION ${KVX_INSTALL_CMAKEDIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KVXIMRulesConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KVXIMRulesConfig.cmake INSTALL_DESTINATION ${KVX_INSTALL_CMAKEDIR}
  PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KVXIMRulesConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KVXIMRulesConfig.cmake ${PROJECT_BINARY_DIR}/KVXIMRulesConfigVersion.cmake
        DESTINATION ${KVX_INSTALL_CMAKEDIR})

# pkg-config: what a host compiles and links with when it uses the framework types. The prefix is found
# from the file's own place, so the package may be installed under any prefix.
file(RELATIVE_PATH KVX_PREFIX_FROM_PKGCONFIG ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/kvximrules.pc.in ${PROJECT_BINARY_DIR}/kvximrules.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kvximrules.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
