# What an installed tree holds: the libraries with an exported target each, their public headers, the tools, and the
# bundles that programs load at run time. The tree may be moved as a whole.

include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/CoreDataStack")
set(resource_dir "${CMAKE_INSTALL_DATADIR}/CoreDataStack")

get_property(libraries GLOBAL PROPERTY CDS_LIBRARIES)
get_property(tools GLOBAL PROPERTY CDS_TOOLS)
get_property(bundles GLOBAL PROPERTY CDS_BUNDLES)

if(NOT libraries)
  return()
endif()
install(TARGETS ${libraries} ${tools} EXPORT CoreDataStackTargets)
install(
  EXPORT CoreDataStackTargets
  NAMESPACE CoreDataStack::
  DESTINATION "${package_dir}")

foreach(root CoreDataStack Platform/Foundation Platform/Combine Platform/UIKit Platform/CoreData Packages/Domain
             Packages/Logger)
  install(
    DIRECTORY ${root}
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/CoreDataStack"
    FILES_MATCHING
    PATTERN "*.h"
    PATTERN "*Private.h" EXCLUDE)
endforeach()

if(bundles)
  install(DIRECTORY ${bundles} DESTINATION "${resource_dir}")
endif()

configure_package_config_file(
  cmake/CoreDataStackConfig.cmake.in "${CMAKE_CURRENT_BINARY_DIR}/CoreDataStackConfig.cmake"
  INSTALL_DESTINATION "${package_dir}"
  PATH_VARS resource_dir)
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/CoreDataStackConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/CoreDataStackConfig.cmake"
              "${CMAKE_CURRENT_BINARY_DIR}/CoreDataStackConfigVersion.cmake"
        DESTINATION "${package_dir}")
