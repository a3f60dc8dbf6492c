# obzx::fi_glue is what a provider links to: the runtime, and what keeps two providers of a process apart.
include(CMakeFindDependencyMacro)
find_dependency(PkgConfig)
pkg_check_modules(ACE REQUIRED IMPORTED_TARGET ACE)
include(${CMAKE_CURRENT_LIST_DIR}/obzx-pdk-targets.cmake)
